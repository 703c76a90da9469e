#include "Commands.h"

#include "ImageReport.h"
#include "KeyCallback.h"
#include "Output.h"
#include "ProgressLine.h"
#include "ToolError.h"

#include <Oskal/Lib/BIM/UBimFile.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterDateOfCreation.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterLongDescription.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterShortDescription.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterTargetSystem.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerFirmware.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerWindows.h>
#include <Oskal/Lib/BIM/UMemoryRegion.h>
#include <Oskal/Lib/BIM/USoftwareInformationBlock.h>
#include <Oskal/Lib/Cryptography/USymmetricAlgorithm.h>
#include <Oskal/Lib/IO/UFileIoException.h>
#include <Oskal/Lib/IO/UFileStream.h>
#include <Oskal/Lib/Internal/ReleasePtr.h>

#include <Oskal/Lib/Win32Api.h>

#include <cstdio>
#include <cstring>
#include <cwchar>

namespace BimTool {

using namespace Oskal::Lib;
using namespace Oskal::Lib::BIM;

namespace {

bool ShowProgress(const Options& options, unsigned long long bytes)
{
    return !options.quiet && bytes > ProgressLine::Threshold && ProgressLine::OnTerminal();
}

void Load(UBimFile& file, const std::wstring& path, const Options& options, const char* pszLabel)
{
    KeyCallback callback(options.key, options.iv);
    const unsigned long long size = ProgressLine::FileSize(path);
    ProgressLine progress(pszLabel, size, std::wstring(), ShowProgress(options, size));
    file.Load(path.c_str(), callback);
}

BIM_DATETIME ParseDate(const std::wstring& text)
{
    unsigned year, month, day, hour, minute, second;
    wchar_t tail;
    if (text.size() != 19 || text[4] != L'-' || text[7] != L'-' || text[10] != L'T' || text[13] != L':' ||
        text[16] != L':' ||
        std::swscanf(text.c_str(), L"%4u-%2u-%2uT%2u:%2u:%2u%lc", &year, &month, &day, &hour, &minute, &second,
                     &tail) != 6 ||
        month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 59)
        throw ToolError{L"The date '" + text + L"' must be given as YYYY-MM-DDTHH:MM:SS."};
    BIM_DATETIME date;
    date.wYear = static_cast<unsigned short>(year);
    date.byMonth = static_cast<unsigned char>(month);
    date.byDay = static_cast<unsigned char>(day);
    date.byHour = static_cast<unsigned char>(hour);
    date.byMinute = static_cast<unsigned char>(minute);
    date.bySecond = static_cast<unsigned char>(second);
    return date;
}

// Reads a whole file straight into the image's region buffer, so large regions are held once.
void AddRegionFromFile(UMemoryImage& image, unsigned int address, const std::wstring& path)
{
    IO::UFileStream file;
    file.Open(path.c_str(), IO::eFileOpenMode_OpenExisting, IO::eFileAccessMode_Read, IO::eFileShareMode_Read);
    long long length = file.GetLength();
    if (length == 0)
        throw ToolError{L"The region file '" + path + L"' is empty."};
    if (length > 0x7FFFFFFFLL || static_cast<unsigned long long>(address) + static_cast<unsigned long long>(length) >
                                     0x100000000ULL)
        throw ToolError{L"The region file '" + path + L"' does not fit the 32-bit address space at that address."};
    const unsigned int size = static_cast<unsigned int>(length);
    // The image would merge overlapping data silently; two files for the same bytes are a mistake.
    // Read through the const view, so that the image keeps its start-address index.
    const UMemoryImage& regions = image;
    for (unsigned long i = 0; const UMemoryRegion* region = regions.GetMemoryRegion(i); ++i)
        if (region->Intersects(address, size))
            throw ToolError{L"The region file '" + path + L"' overlaps another region."};
    image.Reserve(address, size);
    unsigned char* buffer = image.GetBuffer(address, size);
    for (unsigned int done = 0; done < size;)
    {
        long chunk = static_cast<long>(size - done < (16u << 20) ? size - done : (16u << 20));
        long got = file.Read(buffer + done, chunk);
        if (got <= 0)
            throw ToolError{L"The region file '" + path + L"' could not be read to its end."};
        done += static_cast<unsigned int>(got);
    }
}

void SetKey(UBimPayloadContainerBase& container, const Options& options)
{
    auto* algorithm = dynamic_cast<Cryptography::USymmetricAlgorithm*>(container.GetEncryptionAlgorithm());
    algorithm->SetKey(options.key->data(), static_cast<unsigned long>(options.key->size()));
    algorithm->SetInitializationVector(options.iv->data(), static_cast<unsigned long>(options.iv->size()));
}

void AddParameters(UBimHeader& header, const Options& options)
{
    UBimHeaderParameterBase* parameter = nullptr;
    if (options.shortDescription)
    {
        header.AddParameter(eBimHeaderParameterTag_ShortDescription, &parameter);
        static_cast<UBimHeaderParameterShortDescription*>(parameter)->SetShortDescription(
            options.shortDescription->c_str());
    }
    if (options.longDescription)
    {
        header.AddParameter(eBimHeaderParameterTag_LongDescription, &parameter);
        static_cast<UBimHeaderParameterLongDescription*>(parameter)->SetLongDescription(
            options.longDescription->c_str());
    }
    if (options.date)
    {
        header.AddParameter(eBimHeaderParameterTag_DateOfCreation, &parameter);
        static_cast<UBimHeaderParameterDateOfCreation*>(parameter)->SetDateOfCreation(ParseDate(*options.date));
    }
    if (options.target)
    {
        BIM_TARGETSYSTEM target;
        for (size_t i = 0; i < sizeof(target.abyData); ++i)
            target.abyData[i] = (*options.target)[i];
        header.AddParameter(eBimHeaderParameterTag_TargetSystem, &parameter);
        static_cast<UBimHeaderParameterTargetSystem*>(parameter)->SetTargetSystem(target);
    }
}

// One firmware container (encrypted when a key is given) and, with --windows, a Windows-image
// container after it, which is always stored unencrypted.
void Build(UBimFile& file, const Options& options, const std::vector<std::pair<unsigned int, std::wstring>>& regions)
{
    file.GetHeader().Clear();
    file.GetPayload().Clear();
    AddParameters(file.GetHeader(), options);

    Internal::ReleasePtr<UBimPayloadContainerFirmware> firmware(UBimPayloadContainerFirmware::Create());
    if (options.key)
    {
        firmware->SetEncryptionType(eBimPayloadContainerEncryption_Rijndael);
        SetKey(*firmware, options);
    }
    for (const auto& region : regions)
        AddRegionFromFile(firmware->GetMemoryImage(), region.first, region.second);
    file.GetPayload().AddContainer(*firmware);

    if (options.windows)
    {
        Internal::ReleasePtr<UBimPayloadContainerWindows> windows(UBimPayloadContainerWindows::Create());
        file.GetPayload().AddContainer(*windows);
    }
}

void Save(UBimFile& file, const std::wstring& path, const Options& options, unsigned long long bytes)
{
    ProgressLine progress("writing", bytes, path, ShowProgress(options, bytes));
    file.Save(path.c_str());
}

std::wstring JoinPath(const std::wstring& directory, const std::wstring& name)
{
    if (!directory.empty() && directory.back() != L'\\' && directory.back() != L'/')
        return directory + L"\\" + name;
    return directory + name;
}

void EnsureDirectory(const std::wstring& directory)
{
    if (!CreateDirectoryW(directory.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
        throw IO::UFileIoException(L"Creating directory failed.", static_cast<long>(GetLastError()));
}

void WriteFile(const std::wstring& path, const unsigned char* data, unsigned int length)
{
    IO::UFileStream file;
    file.Open(path.c_str(), IO::eFileOpenMode_CreateAlways, IO::eFileAccessMode_Write, IO::eFileShareMode_Read);
    for (unsigned int done = 0; done < length;)
    {
        unsigned int chunk = length - done < (16u << 20) ? length - done : (16u << 20);
        file.Write(data + done, static_cast<long>(chunk));
        done += chunk;
    }
}

} // namespace

int Info(const Options& options)
{
    UBimFile file;
    Load(file, options.arguments[0], options, "loading");
    ImageReport report = ImageReport::Of(file);
    Print(options.json ? report.ToJson() : report.ToText());
    return 0;
}

int Verify(const Options& options)
{
    UBimFile file;
    Load(file, options.arguments[0], options, "verifying");
    ImageReport report = ImageReport::Of(file);
    for (const ImageReport::Container& container : report.containers)
    {
        if (container.raw)
        {
            Print("container " + std::to_string(container.index) +
                  " could not be verified: it stays raw (wrong or missing key, or unknown encryption)\n");
            return 2;
        }
    }
    Print("file checksum and " + std::to_string(report.containers.size()) + " container digest(s) match\n");
    return 0;
}

int Create(const Options& options)
{
    unsigned long long bytes = 0;
    for (const auto& region : options.regions)
        bytes += ProgressLine::FileSize(region.second);
    UBimFile file;
    Build(file, options, options.regions);
    Save(file, options.arguments[0], options, bytes);
    return 0;
}

int Extract(const Options& options)
{
    UBimFile file;
    Load(file, options.arguments[0], options, "extracting");
    EnsureDirectory(options.arguments[1]);
    UBimPayload& payload = file.GetPayload();
    int result = 0;
    for (unsigned long i = 0; payload.GetContainer(i) != nullptr; ++i)
    {
        auto* firmware = dynamic_cast<UBimPayloadContainerFirmware*>(payload.GetContainer(i));
        if (firmware == nullptr)
            continue;
        if (firmware->IsRaw())
        {
            // As verify does: the file loads, but this container's regions cannot be had.
            PrintError("bimtool: container " + std::to_string(i) +
                       " stays raw (wrong or missing key, or unknown encryption); its regions are not extracted\n");
            result = 2;
            continue;
        }
        // Regions are walked through the const view and their bytes taken through the image, so
        // that no region is handed out mutable and the image keeps its start-address index.
        UMemoryImage& image = firmware->GetMemoryImage();
        const UMemoryImage& regions = image;
        for (unsigned long r = 0; const UMemoryRegion* region = regions.GetMemoryRegion(r); ++r)
        {
            wchar_t name[48];
            std::swprintf(name, 48, L"c%lu-%08x.bin", i, region->GetAddress());
            WriteFile(JoinPath(options.arguments[1], name), image.GetBuffer(region->GetAddress(), region->GetLength()),
                      region->GetLength());
        }
    }
    return result;
}

int Demo(const Options& options)
{
    std::wstring directory;
    if (!options.arguments.empty())
    {
        directory = options.arguments[0];
    }
    else
    {
        wchar_t temp[MAX_PATH];
        GetTempPathW(MAX_PATH, temp);
        directory = JoinPath(temp, L"bimtool-demo-" + std::to_wstring(GetCurrentProcessId()));
    }
    EnsureDirectory(directory);

    // Three regions of a small controller: boot code, an application carrying its
    // software-information block, and a configuration page.
    struct Region
    {
        unsigned int address;
        unsigned int length;
        std::wstring name;
    };
    const Region regions[] = {{0x08000000, 0x1000, L"boot.bin"}, {0x08010000, 0x8000, L"application.bin"},
                              {0x20000000, 0x100, L"config.bin"}};
    unsigned int seed = 12345;
    std::vector<std::pair<unsigned int, std::wstring>> regionFiles;
    for (const Region& region : regions)
    {
        std::vector<unsigned char> bytes(region.length);
        for (unsigned char& byte : bytes)
            byte = static_cast<unsigned char>((seed = seed * 1103515245u + 12345u) >> 24);
        if (region.address == 0x08010000)
        {
            // Software-information block at the application's start: magic, product, version 2.1.7,
            // hardware revisions.
            const unsigned int block[4] = {USoftwareInformationBlock::Magic, 0x0042, 0x00020107, 0x3};
            std::memcpy(bytes.data(), block, sizeof(block));
        }
        std::wstring path = JoinPath(directory, region.name);
        WriteFile(path, bytes.data(), region.length);
        regionFiles.emplace_back(region.address, path);
    }

    Options demo = options;
    demo.shortDescription = L"Demo controller firmware";
    demo.longDescription = L"Sample image made by bimtool demo: boot code, application and configuration.";
    demo.date = L"2026-01-15T12:30:00";
    demo.target = std::vector<unsigned char>{0x4f, 0x53, 0x4b, 0x41, 0x4c, 0x00, 0x01, 0x02};
    demo.key = std::vector<unsigned char>(32);
    demo.iv = std::vector<unsigned char>(16);
    for (unsigned char i = 0; i < 32; ++i)
        (*demo.key)[i] = static_cast<unsigned char>(0xA0 + i);
    for (unsigned char i = 0; i < 16; ++i)
        (*demo.iv)[i] = static_cast<unsigned char>(0x10 * i);

    std::wstring path = JoinPath(directory, L"demo.bim");
    {
        UBimFile file;
        Build(file, demo, regionFiles);
        file.Save(path.c_str());
    }
    Print("Wrote " + ToUtf8(path) + " (" + std::to_string(ProgressLine::FileSize(path)) +
          " bytes), encrypted with the demo key a0a1...bf and IV 0010...f0.\n\n");

    UBimFile file;
    KeyCallback callback(demo.key, demo.iv);
    file.Load(path.c_str(), callback);
    Print(ImageReport::Of(file).ToText());

    auto* firmware = dynamic_cast<UBimPayloadContainerFirmware*>(file.GetPayload().GetContainer(0));
    Internal::ReleasePtr<USoftwareInformationBlock> info(
        USoftwareInformationBlock::FromMemoryImage(0x08010000, firmware->GetMemoryImage()));
    if (info)
    {
        const UVersion& version = info->GetVersion();
        char line[160];
        std::snprintf(line, sizeof(line),
                      "\nSoftware information at 0x08010000: product 0x%04x, version %u.%u.%u, hardware "
                      "revisions 0x%x\n",
                      static_cast<unsigned int>(info->GetProduct()), version.GetGeneral(),
                      version.GetFeature(), version.GetBugfix(),
                      static_cast<unsigned int>(info->GetHardwareRevisions()));
        Print(line);
    }
    return 0;
}

} // namespace BimTool
