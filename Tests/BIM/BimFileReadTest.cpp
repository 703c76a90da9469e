#include "BimFileTestSupport.h"

#include <Oskal/Lib/BIM/UBimHeaderParameterDateOfCreation.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterLongDescription.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterShortDescription.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterTargetSystem.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterUnknown.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerFirmware.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerUnknown.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerWindows.h>

#include "MemoryImageTestSupport.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace Oskal::Lib::BIM;
using namespace OskalTests;

namespace {

std::wstring ShortText(const UBimHeader& header, long index)
{
    return static_cast<const UBimHeaderParameterShortDescription*>(
               header.GetParameter(eBimHeaderParameterTag_ShortDescription, index))
        ->GetShortDescription();
}

std::string ImageBytes(const UBimPayloadContainerBase* container, unsigned int address, unsigned int length)
{
    UMemoryImage& image =
        const_cast<UBimPayloadContainerFirmware*>(dynamic_cast<const UBimPayloadContainerFirmware*>(container))
            ->GetMemoryImage();
    return Get(image, address, length);
}

std::string AsString(const Bytes& bytes)
{
    return std::string(bytes.begin(), bytes.end());
}

TEST(UBimFileRead, EveryPartOfAHandBuiltFile)
{
    Bytes records;
    Append(records, Tlv(3, B("Boot \xC3\xBC")));
    Append(records, Tlv(4, B("")));
    Append(records, Tlv(1, B("TARGET01")));
    Bytes date = B("\x17\x0B\xEA\x07\x0E\x05\x3B");
    date.push_back(0);
    Append(records, Tlv(5, date));
    Append(records, Tlv(0x42, B("\x01\x02\x03")));
    Append(records, Tlv(3, B("again")));
    Bytes payload;
    Append(payload, PlainContainer(1, FirmwareInner({{0x1000, Counting(8, 0x10)}, {0x3000, Counting(4, 0x30)}})));
    Append(payload, PlainContainer(2, Counting(100, 0)));
    Append(payload, PlainContainer(7, B("seven")));
    Bytes bytes = BimFile(records, payload);
    UBimFile file;
    KeyCallback callback;
    ASSERT_EQ(L"", LoadBytes(file, bytes, callback));
    EXPECT_EQ(1, callback.headerCalls);
    EXPECT_EQ(0, callback.algorithmCalls);
    const UBimHeader& header = file.GetHeader();
    EXPECT_EQ(payload.size(), header.GetPayloadLength());
    ASSERT_EQ(6, header.GetParameterCount());
    EXPECT_EQ(L"Boot \u00FC", ShortText(header, 0));
    EXPECT_EQ(L"again", ShortText(header, 1));
    EXPECT_STREQ(L"",
                 static_cast<const UBimHeaderParameterLongDescription*>(header.GetParameter(1))->GetLongDescription());
    EXPECT_EQ(
        0,
        std::memcmp(
            "TARGET01",
            static_cast<const UBimHeaderParameterTargetSystem*>(header.GetParameter(2))->GetTargetSystem().abyData, 8));
    BIM_DATETIME when =
        static_cast<const UBimHeaderParameterDateOfCreation*>(header.GetParameter(3))->GetDateOfCreation();
    EXPECT_EQ(23, when.byDay);
    EXPECT_EQ(11, when.byMonth);
    EXPECT_EQ(2026, when.wYear);
    EXPECT_EQ(14, when.byHour);
    const UBimHeaderParameterBase* unknown = header.GetParameter(4);
    EXPECT_NE(nullptr, dynamic_cast<const UBimHeaderParameterUnknown*>(unknown));
    EXPECT_EQ(0x42, unknown->GetTag());
    EXPECT_EQ(3, unknown->GetTLV().wLength);
    EXPECT_EQ(0, std::memcmp("\x01\x02\x03", unknown->GetTLV().abyValue, 3));
    const UBimPayload& content = file.GetPayload();
    ASSERT_EQ(3u, content.GetContainerCount());
    EXPECT_EQ(nullptr, content.GetContainer(3));
    const UBimPayloadContainerBase* firmware = content.GetContainer(0);
    EXPECT_EQ(eBimPayloadContainerType_Firmware, firmware->GetContainerType());
    EXPECT_EQ(eBimPayloadContainerEncryption_None, firmware->GetEncryptionType());
    EXPECT_FALSE(firmware->IsRaw());
    EXPECT_EQ(28u, firmware->GetPlainSize());
    EXPECT_EQ("1000-1008 3000-3004",
              Layout(dynamic_cast<const UBimPayloadContainerFirmware*>(firmware)->GetMemoryImage()));
    EXPECT_EQ(AsString(Counting(8, 0x10)), ImageBytes(firmware, 0x1000, 8));
    EXPECT_EQ(AsString(Counting(4, 0x30)), ImageBytes(firmware, 0x3000, 4));
    // The Windows-image container's bytes are checked and dropped.
    const UBimPayloadContainerBase* windows = content.GetContainer(1);
    EXPECT_NE(nullptr, dynamic_cast<const UBimPayloadContainerWindows*>(windows));
    EXPECT_FALSE(windows->IsRaw());
    EXPECT_EQ(0u, windows->GetPlainSize());
    EXPECT_EQ(32u, windows->GetTotalContainerSize());
    // 5 stored bytes: the digest is found behind the 3 padding bytes.
    const UBimPayloadContainerBase* seven = content.GetContainer(2);
    EXPECT_EQ(7, seven->GetContainerType());
    EXPECT_FALSE(seven->IsRaw());
    EXPECT_EQ(5u, seven->GetPlainSize());
    EXPECT_EQ(0, std::memcmp("seven", dynamic_cast<const UBimPayloadContainerUnknown*>(seven)->GetData(), 5));
    EXPECT_EQ(AsString(Sha1(B("seven"))), std::string(reinterpret_cast<const char*>(seven->GetHashFromFile()), 20));
}

TEST(UBimFileRead, EncryptedContainerNeedsTheRightKey)
{
    // 20 plain bytes are stored as two cipher blocks.
    const Bytes inner = FirmwareInner({{0x8000, B("0123456789AB")}});
    ASSERT_EQ(20u, inner.size());
    const Bytes bytes = BimFile(Tlv(3, B("enc")), EncryptedContainer(1, inner));
    UBimFile file;
    KeyCallback right;
    ASSERT_EQ(L"", LoadBytes(file, bytes, right));
    EXPECT_EQ(1, right.algorithmCalls);
    const UBimPayloadContainerBase* container = file.GetPayload().GetContainer(0);
    EXPECT_EQ(eBimPayloadContainerEncryption_Rijndael, container->GetEncryptionType());
    EXPECT_FALSE(container->IsRaw());
    EXPECT_EQ(32u, container->GetStoredSize());
    EXPECT_EQ(20u, container->GetPlainSize());
    EXPECT_EQ("0123456789AB", ImageBytes(container, 0x8000, 12));
    // A wrong key is no error: the container stays raw and is written back unchanged.
    unsigned char wrongKey[32];
    std::memcpy(wrongKey, TestKey(), 32);
    wrongKey[31] ^= 1;
    KeyCallback wrong(wrongKey);
    ASSERT_EQ(L"", LoadBytes(file, bytes, wrong));
    container = file.GetPayload().GetContainer(0);
    EXPECT_TRUE(container->IsRaw());
    EXPECT_EQ(32u, container->GetStoredSize());
    EXPECT_EQ(20u, container->GetPlainSize());
    EXPECT_EQ(bytes, SaveBytes(file));
}

TEST(UBimFileRead, RegionLengthsNoMultipleOfFour)
{
    // As the writer lays them out: each region padded, the plain size counting the padding.
    const Bytes inner = FirmwareInner({{0x100, B("abcdef")}, {0x200, B("g")}, {0x300, B("hijk")}});
    for (int encrypted = 0; encrypted < 2; ++encrypted)
    {
        const Bytes bytes = BimFile(Bytes(), encrypted ? EncryptedContainer(1, inner) : PlainContainer(1, inner));
        UBimFile file;
        ASSERT_EQ(L"", LoadBytes(file, bytes));
        const UBimPayloadContainerBase* container = file.GetPayload().GetContainer(0);
        ASSERT_FALSE(container->IsRaw());
        // Reading ends where the plain bytes end, although the count still holds the padding.
        EXPECT_EQ("100-106 200-201 300-304",
                  Layout(dynamic_cast<const UBimPayloadContainerFirmware*>(container)->GetMemoryImage()));
        EXPECT_EQ("abcdef", ImageBytes(container, 0x100, 6));
        EXPECT_EQ("g", ImageBytes(container, 0x200, 1));
        EXPECT_EQ("hijk", ImageBytes(container, 0x300, 4));
        EXPECT_EQ(bytes, SaveBytes(file));
    }
}

TEST(UBimFileRead, RegionLongerThanItsContainerFails)
{
    Bytes inner = FirmwareInner({{0x100, B("abcdefgh")}});
    // Length 0x7FFFFFF0 with a matching digest: refused before any memory is reserved for it.
    inner[4] = 0xF0;
    inner[5] = inner[6] = 0xFF;
    inner[7] = 0x7F;
    UBimFile file;
    EXPECT_EQ(L"!Unexpected end of stream.", LoadBytes(file, BimFile(Bytes(), PlainContainer(1, inner))));
    // A region past the top of the address space is a format error like any other.
    TempFile path(L"bimtop");
    WriteFile(path.Path(), BimFile(Bytes(), PlainContainer(1, FirmwareInner({{0xFFFFFFF8, Counting(16, 1)}}))));
    KeyCallback callback;
    EXPECT_EQ(L"Memory region runs past the end of the 32-bit address space.",
              Thrown<UBimException>([&] { file.Load(path.Path(), callback); }));
}

TEST(UBimFileRead, EveryFormatFailureHasItsMessage)
{
    UBimFile file;
    EXPECT_EQ(L"!Image file is too small to contain a checksum.", LoadBytes(file, Bytes(19, 0)));
    Bytes flipped = BimFile(Tlv(3, B("x")), Bytes());
    flipped[5] ^= 1;
    EXPECT_EQ(L"!Checksum error.", LoadBytes(file, flipped));
    flipped = BimFile(Tlv(3, B("x")), Bytes());
    flipped.back() ^= 0x40;
    EXPECT_EQ(L"!Checksum error.", LoadBytes(file, flipped));
    // Exactly the checksum of nothing: it matches, and the header is then read from offset 0.
    EXPECT_EQ(L"!BIM file marker (BIMF) not found.", LoadBytes(file, Sha1(Bytes())));
    Bytes marker = B("BIMX");
    Append(marker, Sha1(marker));
    EXPECT_EQ(L"!BIM file marker (BIMF) not found.", LoadBytes(file, marker));
    // A record whose value runs past the end of the file.
    Bytes cut = B("BIMF");
    Put16(cut, 3);
    Put16(cut, 100);
    Append(cut, B("0123456789"));
    Append(cut, Sha1(cut));
    EXPECT_EQ(L"!Unexpected end of file.", LoadBytes(file, cut));
    // A record head cut short: the value takes the checksum's bytes, nothing follows.
    cut = B("BIMF");
    Put16(cut, 3);
    Put16(cut, 18);
    Append(cut, Sha1(cut));
    EXPECT_EQ(L"!Unexpected end of file.", LoadBytes(file, cut));
    EXPECT_EQ(L"!Invalid parameter length.", LoadBytes(file, BimFile(Tlv(2, Bytes{1, 0}), Bytes())));
    EXPECT_EQ(L"!Header parameter 0x01 is invalid.", LoadBytes(file, BimFile(Tlv(1, B("1234567")), Bytes())));
    EXPECT_EQ(L"!Header parameter 0x05 is invalid.", LoadBytes(file, BimFile(Tlv(5, Bytes()), Bytes())));
    // A container without its digest: the file checksum stands in for it, and the payload
    // length asks for more.
    Bytes payload = PlainContainer(1, FirmwareInner({{0, B("abcd")}}));
    payload.resize(payload.size() - 20);
    Bytes noDigest = BimFile(Bytes(), payload);
    noDigest[8] = static_cast<unsigned char>(payload.size() + 20 + 4);
    Reseal(noDigest);
    EXPECT_EQ(L"!Unexpected end of stream.", LoadBytes(file, noDigest));
    // The stored bytes run into the checksum, leaving too few bytes for the digest.
    payload = Container(1, 1, Bytes(32, 0), 32, Bytes());
    Bytes shortDigest = BimFile(Bytes(), payload);
    // Stored size 40: the last 8 stored bytes are the checksum's first 8.
    shortDigest[16 + 4] = 40;
    Reseal(shortDigest);
    EXPECT_EQ(L"!Unexpected end of stream.", LoadBytes(file, shortDigest));
    // A stored size past the end of the file fails with the view's error.
    Bytes huge = BimFile(Bytes(), PlainContainer(1, FirmwareInner({{0, B("abcd")}})));
    huge[16 + 4] = huge[16 + 5] = huge[16 + 6] = huge[16 + 7] = 0xFF;
    Reseal(huge);
    const std::wstring message = LoadBytes(file, huge);
    EXPECT_EQ(L'!', message[0]);
    // A missing file comes from the file stream.
    KeyCallback callback;
    EXPECT_THROW(file.Load(L"Z:\\no\\such\\file.bim", callback), Oskal::Lib::Exceptions::UException);
}

} // namespace
