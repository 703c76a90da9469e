#include "BimFileTestSupport.h"

#include <Oskal/Lib/BIM/UBimHeaderParameterDateOfCreation.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterPayloadLength.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterShortDescription.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterTargetSystem.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterUnknown.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerFirmware.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerWindows.h>
#include <Oskal/Lib/Cryptography/USymmetricAlgorithm.h>

#include "MemoryImageTestSupport.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace Oskal::Lib::BIM;
using namespace OskalTests;

namespace {

// Adds a new container to the file's payload and hands back the caller's reference.
template <typename T> T* Add(UBimFile& file, T* container)
{
    file.GetPayload().AddContainer(*container);
    EXPECT_EQ(2u, container->GetRefCount());
    container->Release();
    return container;
}

TEST(UBimFileWrite, ExactBytesOfHeaderAndContainers)
{
    UBimFile file;
    UBimHeader& header = file.GetHeader();
    UBimHeaderParameterBase* parameter = nullptr;
    header.AddParameter(eBimHeaderParameterTag_ShortDescription, &parameter);
    static_cast<UBimHeaderParameterShortDescription*>(parameter)->SetShortDescription(L"Hi");
    // A value of 5 bytes takes 4 + 8 bytes, the last 3 zero.
    header.AddParameter(static_cast<UBimHeaderParameterTag>(0x42), &parameter);
    std::memcpy(parameter->GetTLV().abyValue, "12345", 5);
    parameter->GetTLV().wLength = 5;
    header.AddParameter(eBimHeaderParameterTag_TargetSystem, &parameter);
    BIM_TARGETSYSTEM target = {{'T', 'G', 0, 1, 2, 3, 4, 5}};
    static_cast<UBimHeaderParameterTargetSystem*>(parameter)->SetTargetSystem(target);
    header.AddParameter(eBimHeaderParameterTag_DateOfCreation, &parameter);
    BIM_DATETIME date;
    date.byDay = 1;
    date.byMonth = 2;
    date.wYear = 0x07E9;
    date.byHour = 3;
    date.byMinute = 4;
    date.bySecond = 5;
    date.byReserved = 0x99;
    static_cast<UBimHeaderParameterDateOfCreation*>(parameter)->SetDateOfCreation(date);
    // One region of 6 bytes: plain and stored size 16, 48 bytes in the payload.
    UBimPayloadContainerFirmware* firmware = Add(file, UBimPayloadContainerFirmware::Create());
    OskalTests::Set(firmware->GetMemoryImage(), 0x100, "abcdef");
    EXPECT_EQ(16u, firmware->GetUnencryptedInnerContainerSize());
    EXPECT_EQ(16u, firmware->GetEncryptedInnerContainerSize());
    EXPECT_EQ(48u, firmware->GetTotalContainerSize());
    Add(file, UBimPayloadContainerWindows::Create());
    EXPECT_EQ(80u, file.GetPayload().GetLength());
    Bytes records;
    Append(records, Tlv(3, B("Hi")));
    Append(records, Tlv(0x42, B("12345")));
    Append(records, Tlv(1, Bytes(target.abyData, target.abyData + 8)));
    Append(records, Tlv(5, Bytes{1, 2, 0xE9, 0x07, 3, 4, 5, 0}));
    Bytes payload;
    Append(payload, PlainContainer(1, FirmwareInner({{0x100, B("abcdef")}})));
    Append(payload, PlainContainer(2, Bytes()));
    const Bytes expected = BimFile(records, payload);
    EXPECT_EQ(expected, SaveBytes(file));
    EXPECT_EQ(80u, file.GetHeader().GetPayloadLength());
    // The saved file loads back to the same bytes.
    UBimFile again;
    ASSERT_EQ(L"", LoadBytes(again, expected));
    EXPECT_EQ(expected, SaveBytes(again));
}

TEST(UBimFileWrite, PayloadLengthInTheListIsWrittenTwiceAndTheLaterWins)
{
    UBimFile file;
    UBimHeaderParameterBase* parameter = nullptr;
    file.GetHeader().AddParameter(eBimHeaderParameterTag_PayloadLength, &parameter);
    static_cast<UBimHeaderParameterPayloadLength*>(parameter)->SetPayloadLength(999);
    Add(file, UBimPayloadContainerWindows::Create());
    const Bytes saved = SaveBytes(file);
    EXPECT_EQ(BimFile(Tlv(2, Bytes{0xE7, 3, 0, 0}), PlainContainer(2, Bytes())), saved);
    UBimFile again;
    ASSERT_EQ(L"", LoadBytes(again, saved));
    EXPECT_EQ(0, again.GetHeader().GetParameterCount());
    EXPECT_EQ(32u, again.GetHeader().GetPayloadLength());
    EXPECT_EQ(1u, again.GetPayload().GetContainerCount());
}

TEST(UBimFileWrite, RawBytesAreWrittenWithoutPadding)
{
    // Kept on purpose: a raw container of 5 stored bytes is written without its 3 padding bytes,
    // although the payload length counts them.
    const Bytes original = BimFile(Bytes(), Container(1, 4, B("raw!!"), 5, Bytes(20, 0x11)));
    UBimFile file;
    ASSERT_EQ(L"", LoadBytes(file, original));
    ASSERT_TRUE(file.GetPayload().GetContainer(0)->IsRaw());
    EXPECT_EQ(40u, file.GetPayload().GetLength());
    Bytes payload;
    payload.push_back(1);
    payload.push_back(0xFF);
    Append(payload, Bytes{0, 0, 5, 0, 0, 0, 5, 0, 0, 0});
    Append(payload, B("raw!!"));
    Append(payload, Bytes(20, 0));
    Bytes expected = BimFile(Bytes(), payload);
    expected[8] = 40;
    Reseal(expected);
    EXPECT_EQ(expected, SaveBytes(file));
}

TEST(UBimFileWrite, UnknownContainerReadWithEncryptionIsWrittenInPlainForm)
{
    const Bytes original = BimFile(Bytes(), EncryptedContainer(0x33, B("secret")));
    UBimFile file;
    ASSERT_EQ(L"", LoadBytes(file, original));
    const UBimPayloadContainerBase* container = file.GetPayload().GetContainer(0);
    ASSERT_FALSE(container->IsRaw());
    EXPECT_EQ(16u, container->GetStoredSize());
    // Plain bytes, zeros up to the stored size, the digest from the file.
    Bytes stored = B("secret");
    stored.resize(16, 0);
    EXPECT_EQ(BimFile(Bytes(), Container(0x33, 2, stored, 6, Sha1(B("secret")))), SaveBytes(file));
}

TEST(UBimPayload, AddContainerTakesItsOwnReference)
{
    UBimFile file;
    UBimPayloadContainerWindows* windows = UBimPayloadContainerWindows::Create();
    file.GetPayload().AddContainer(*windows);
    file.GetPayload().AddContainer(*windows);
    EXPECT_EQ(3u, windows->GetRefCount());
    EXPECT_EQ(2u, file.GetPayload().GetContainerCount());
    EXPECT_EQ(windows, file.GetPayload().GetContainer(1));
    EXPECT_EQ(nullptr, file.GetPayload().GetContainer(2));
    file.GetPayload().Clear();
    EXPECT_EQ(1u, windows->GetRefCount());
    windows->Release();
}

} // namespace
