#include <Oskal/Lib/BIM/UBimHeader.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterDateOfCreation.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterLastParameter.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterLongDescription.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterPayloadLength.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterShortDescription.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterTargetSystem.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterUnknown.h>

#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>
#include <string>

using namespace Oskal::Lib::BIM;

namespace {

std::string Value(const UBimHeaderParameterBase& parameter)
{
    const BIM_HEADER_TLV& tlv = parameter.GetTLV();
    return std::string(reinterpret_cast<const char*>(tlv.abyValue), tlv.wLength);
}

TEST(UBimHeaderParameter, DescriptionsAreUtf8WithoutMarkOrTerminator)
{
    UBimHeaderParameterShortDescription* text =
        UBimHeaderParameterShortDescription::Create(L"Gr\u00FC\u00DFe \U0001F600");
    EXPECT_EQ(eBimHeaderParameterTag_ShortDescription, text->GetTag());
    EXPECT_TRUE(text->IsValid());
    EXPECT_EQ("Gr\xC3\xBC\xC3\x9F"
              "e \xF0\x9F\x98\x80",
              Value(*text));
    EXPECT_STREQ(L"Gr\u00FC\u00DFe \U0001F600", text->GetShortDescription());
    // A shorter text over a longer one: the record and the getter follow.
    text->SetShortDescription(L"x");
    EXPECT_EQ("x", Value(*text));
    EXPECT_STREQ(L"x", text->GetShortDescription());
    text->SetShortDescription(nullptr);
    EXPECT_EQ(0, text->GetTLV().wLength);
    EXPECT_STREQ(L"", text->GetShortDescription());
    text->Release();
    UBimHeaderParameterLongDescription* empty = UBimHeaderParameterLongDescription::Create();
    EXPECT_EQ(eBimHeaderParameterTag_LongDescription, empty->GetTag());
    EXPECT_TRUE(empty->IsValid());
    EXPECT_STREQ(L"", empty->GetLongDescription());
    empty->Release();
}

TEST(UBimHeaderParameter, OverlongDescriptionIsCutAtACharacterBoundary)
{
    // 'a' and 16384 four-byte characters would take 65537 bytes: the last one doesn't fit.
    std::wstring text = L"a";
    for (int i = 0; i < 16384; ++i)
        text += L"\U0001F600";
    UBimHeaderParameterLongDescription* parameter = UBimHeaderParameterLongDescription::Create(text.c_str());
    EXPECT_EQ(1 + 16383 * 4, parameter->GetTLV().wLength);
    // Compared as a whole: a mismatch must not print 64 KiB of text.
    EXPECT_TRUE(text.substr(0, 1 + 16383 * 2) == parameter->GetLongDescription());
    EXPECT_EQ(1u + 16383 * 2, std::wstring(parameter->GetLongDescription()).size());
    // Exactly 65535 bytes fit.
    std::wstring fits(65535, L'z');
    parameter->SetLongDescription(fits.c_str());
    EXPECT_EQ(65535, parameter->GetTLV().wLength);
    EXPECT_TRUE(fits == parameter->GetLongDescription());
    parameter->Release();
}

// Record bytes of set values are pinned by the write tests; here the date taken from a
// SYSTEMTIME and validity by record length.
TEST(UBimHeaderParameter, FixedSizeValuesAndTheirValidity)
{
    UBimHeaderParameterDateOfCreation* date = UBimHeaderParameterDateOfCreation::Create();
    EXPECT_EQ(0, date->GetTLV().wLength);
    EXPECT_FALSE(date->IsValid());
    SYSTEMTIME time = {2026, 11, 1, 23, 14, 5, 59, 999};
    date->SetDateOfCreation(BIM_DATETIME(time));
    EXPECT_TRUE(date->IsValid());
    EXPECT_EQ(std::string("\x17\x0B\xEA\x07\x0E\x05\x3B\x00", 8), Value(*date));
    date->Release();
    UBimHeaderParameterPayloadLength* length = UBimHeaderParameterPayloadLength::Create(0x12345678u);
    EXPECT_EQ(std::string("\x78\x56\x34\x12", 4), Value(*length));
    length->Release();
    BIM_HEADER_TLV* tlv = new BIM_HEADER_TLV();
    tlv->wTag = eBimHeaderParameterTag_TargetSystem;
    tlv->wLength = 7;
    UBimHeaderParameterTargetSystem* system = UBimHeaderParameterTargetSystem::Create(*tlv);
    EXPECT_FALSE(system->IsValid());
    system->Release();
    tlv->wTag = eBimHeaderParameterTag_DateOfCreation;
    tlv->wLength = 8;
    date = UBimHeaderParameterDateOfCreation::Create(*tlv);
    EXPECT_TRUE(date->IsValid());
    date->Release();
    delete tlv;
}

} // namespace
