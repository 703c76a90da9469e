#include "ImageReport.h"

#include "Hex.h"
#include "Output.h"

#include <Oskal/Lib/BIM/UBimFile.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterDateOfCreation.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterLongDescription.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterShortDescription.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterTargetSystem.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerFirmware.h>
#include <Oskal/Lib/BIM/UMemoryRegion.h>

#include <cstdio>

namespace BimTool {

using namespace Oskal::Lib::BIM;

namespace {

std::string FormatDate(const BIM_DATETIME& date)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%04u-%02u-%02uT%02u:%02u:%02u", date.wYear, date.byMonth, date.byDay,
                  date.byHour, date.byMinute, date.bySecond);
    return text;
}

ImageReport::Parameter Describe(const UBimHeaderParameterBase& parameter)
{
    const BIM_HEADER_TLV& tlv = parameter.GetTLV();
    ImageReport::Parameter result{tlv.wTag, "Unknown", FormatHex(tlv.abyValue, tlv.wLength)};
    if (auto* shortText = dynamic_cast<const UBimHeaderParameterShortDescription*>(&parameter))
        result = {tlv.wTag, "ShortDescription", ToUtf8(shortText->GetShortDescription())};
    else if (auto* longText = dynamic_cast<const UBimHeaderParameterLongDescription*>(&parameter))
        result = {tlv.wTag, "LongDescription", ToUtf8(longText->GetLongDescription())};
    else if (auto* date = dynamic_cast<const UBimHeaderParameterDateOfCreation*>(&parameter))
        result = {tlv.wTag, "DateOfCreation", FormatDate(date->GetDateOfCreation())};
    else if (dynamic_cast<const UBimHeaderParameterTargetSystem*>(&parameter) != nullptr)
        result.kind = "TargetSystem";
    return result;
}

} // namespace

ImageReport ImageReport::Of(UBimFile& file)
{
    ImageReport report;
    const UBimHeader& header = file.GetHeader();
    for (long i = 0; header.GetParameter(i) != nullptr; ++i)
        report.parameters.push_back(Describe(*header.GetParameter(i)));
    report.payloadLength = header.GetPayloadLength();

    UBimPayload& payload = file.GetPayload();
    for (unsigned long i = 0; payload.GetContainer(i) != nullptr; ++i)
    {
        UBimPayloadContainerBase* container = payload.GetContainer(i);
        Container facts{i,
                        static_cast<unsigned int>(container->GetContainerType()),
                        static_cast<unsigned int>(container->GetEncryptionType()),
                        container->GetStoredSize(),
                        container->GetPlainSize(),
                        container->IsRaw() != 0,
                        {}};
        auto* firmware = dynamic_cast<UBimPayloadContainerFirmware*>(container);
        if (firmware != nullptr && !facts.raw)
        {
            const UMemoryImage& image = firmware->GetMemoryImage();
            for (unsigned long r = 0; const UMemoryRegion* region = image.GetMemoryRegion(r); ++r)
                facts.regions.emplace_back(region->GetAddress(), region->GetLength());
        }
        report.containers.push_back(facts);
    }
    return report;
}

std::string ImageReport::ToText() const
{
    std::string text = "Header parameters:\n";
    if (parameters.empty())
        text += "  (none)\n";
    char line[160];
    for (const Parameter& parameter : parameters)
    {
        std::snprintf(line, sizeof(line), "  tag 0x%04x  %-16s  ", parameter.tag, parameter.kind.c_str());
        text += line + parameter.value + "\n";
    }
    std::snprintf(line, sizeof(line), "Payload length: %u bytes\n", payloadLength);
    text += line;
    for (const Container& container : containers)
    {
        std::snprintf(line, sizeof(line),
                      "Container %lu: type %u, encryption %u, stored %u bytes, plain %u bytes%s\n", container.index,
                      container.type, container.encryption, container.storedSize, container.plainSize,
                      container.raw ? ", held raw" : "");
        text += line;
        for (const auto& region : container.regions)
        {
            std::snprintf(line, sizeof(line), "  region 0x%08x, %u bytes\n", region.first, region.second);
            text += line;
        }
    }
    return text;
}

std::string ImageReport::ToJson() const
{
    std::string json = "{\"header\":{\"parameters\":[";
    for (size_t i = 0; i < parameters.size(); ++i)
    {
        json += i ? "," : "";
        json += "{\"tag\":" + std::to_string(parameters[i].tag) + ",\"kind\":\"" + parameters[i].kind +
                "\",\"value\":" + JsonString(parameters[i].value) + "}";
    }
    json += "],\"payloadLength\":" + std::to_string(payloadLength) + "},\"containers\":[";
    for (size_t i = 0; i < containers.size(); ++i)
    {
        const Container& c = containers[i];
        json += i ? "," : "";
        json += "{\"index\":" + std::to_string(c.index) + ",\"type\":" + std::to_string(c.type) +
                ",\"encryption\":" + std::to_string(c.encryption) + ",\"storedSize\":" + std::to_string(c.storedSize) +
                ",\"plainSize\":" + std::to_string(c.plainSize) + ",\"raw\":" + (c.raw ? "true" : "false") +
                ",\"regions\":[";
        for (size_t r = 0; r < c.regions.size(); ++r)
        {
            json += r ? "," : "";
            json += "{\"address\":" + std::to_string(c.regions[r].first) +
                    ",\"length\":" + std::to_string(c.regions[r].second) + "}";
        }
        json += "]}";
    }
    return json + "]}\n";
}

} // namespace BimTool
