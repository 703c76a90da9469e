// Loading parses each container in the same pass that checks its digest: what a parse made of
// bytes whose digest then does not match must vanish, and a parse failure counts only when the
// digest matches.
#include "BimFileTestSupport.h"

#include <Oskal/Lib/BIM/UBimPayloadContainerFirmware.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerUnknown.h>
#include <Oskal/Lib/Cryptography/USymmetricAlgorithm.h>

#include "MemoryImageTestSupport.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace Oskal::Lib::BIM;
using namespace OskalTests;

namespace {

// Remembers the algorithm objects it was handed.
class RecordingCallback : public KeyCallback
{
public:
    explicit RecordingCallback(const unsigned char* key = TestKey()) : KeyCallback(key) {}
    int ProcessEncryptionAlgorithm(UBimPayloadContainerEncryption eEncryption,
                                   Oskal::Lib::Cryptography::UEncryptionAlgorithm* pAlgorithm) override
    {
        algorithms.push_back(pAlgorithm);
        return KeyCallback::ProcessEncryptionAlgorithm(eEncryption, pAlgorithm);
    }
    std::vector<const Oskal::Lib::Cryptography::UEncryptionAlgorithm*> algorithms;
};

Bytes WrongDigest(const Bytes& inner)
{
    Bytes digest = Sha1(inner);
    digest[19] ^= 0x01;
    return digest;
}

const UMemoryImage& ImageOf(const UBimPayloadContainerBase* container)
{
    return dynamic_cast<const UBimPayloadContainerFirmware*>(container)->GetMemoryImage();
}

// Regions spanning several pieces of the crypto stream's buffer, one of an odd length.
Bytes LargeFirmware()
{
    return FirmwareInner(
        {{0x100000, Counting(600000, 1, 13)}, {0x400000, Counting(70001, 2, 13)}, {0x10, Counting(3, 3, 13)}});
}

TEST(UBimFileSinglePass, LargeContainersParseAndCheckInOnePass)
{
    const Bytes inner = LargeFirmware();
    for (int encrypted = 0; encrypted < 2; ++encrypted)
    {
        SCOPED_TRACE(encrypted);
        const Bytes bytes = BimFile(Bytes(), encrypted ? EncryptedContainer(1, inner) : PlainContainer(1, inner));
        UBimFile file;
        ASSERT_EQ(L"", LoadBytes(file, bytes));
        const UBimPayloadContainerBase* container = file.GetPayload().GetContainer(0);
        ASSERT_FALSE(container->IsRaw());
        EXPECT_EQ("100000-1927c0 400000-411171 10-13", Layout(ImageOf(container)));
        EXPECT_EQ(bytes, SaveBytes(file));

        // The last byte of the stored bytes alone decides the digest.
        Bytes damaged = bytes;
        damaged[damaged.size() - 20 - 20 - 1 - (encrypted ? 0 : 1)] ^= 0x40;
        Reseal(damaged);
        ASSERT_EQ(L"", LoadBytes(file, damaged));
        container = file.GetPayload().GetContainer(0);
        EXPECT_TRUE(container->IsRaw());
        EXPECT_EQ(nullptr, ImageOf(container).GetMemoryRegion(0));
        EXPECT_EQ(damaged, SaveBytes(file));
    }
}

// A digest mismatch leaves a container exactly as if it had never been parsed: no regions, no
// data, and still the algorithm the application keyed.
TEST(UBimFileSinglePass, MismatchDropsWhatTheParseMade)
{
    const Bytes inner = FirmwareInner({{0x2000, Counting(40, 1, 13)}, {0x3000, Counting(8, 2, 13)}});
    Bytes payload;
    Append(payload, Container(1, 1, inner, static_cast<unsigned int>(inner.size()), WrongDigest(inner)));
    Append(payload, Container(1, 2, Encrypt(inner), static_cast<unsigned int>(inner.size()), WrongDigest(inner)));
    Append(payload, Container(9, 1, Counting(12, 3, 13), 12, WrongDigest(Counting(12, 3, 13))));
    Append(payload, EncryptedContainer(1, inner));
    const Bytes bytes = BimFile(Bytes(), payload);

    UBimFile file;
    RecordingCallback callback;
    ASSERT_EQ(L"", LoadBytes(file, bytes, callback));
    ASSERT_EQ(2u, callback.algorithms.size());
    const UBimPayload& loaded = file.GetPayload();
    ASSERT_EQ(4u, loaded.GetContainerCount());
    for (unsigned long i = 0; i < 3; ++i)
        EXPECT_TRUE(loaded.GetContainer(i)->IsRaw()) << i;
    EXPECT_EQ(nullptr, ImageOf(loaded.GetContainer(0)).GetMemoryRegion(0));
    EXPECT_EQ(nullptr, ImageOf(loaded.GetContainer(1)).GetMemoryRegion(0));
    EXPECT_EQ(nullptr, dynamic_cast<const UBimPayloadContainerUnknown*>(loaded.GetContainer(2))->GetData());

    EXPECT_EQ(eBimPayloadContainerEncryption_Rijndael, loaded.GetContainer(1)->GetEncryptionType());
    EXPECT_EQ(callback.algorithms[0], loaded.GetContainer(1)->GetEncryptionAlgorithm());
    const auto* keyed = dynamic_cast<const Oskal::Lib::Cryptography::USymmetricAlgorithm*>(
        loaded.GetContainer(1)->GetEncryptionAlgorithm());
    ASSERT_NE(nullptr, keyed);
    EXPECT_EQ(0, std::memcmp(TestKey(), keyed->GetKey(), 32));

    EXPECT_FALSE(loaded.GetContainer(3)->IsRaw());
    EXPECT_EQ(callback.algorithms[1], loaded.GetContainer(3)->GetEncryptionAlgorithm());
    EXPECT_EQ("2000-2028 3000-3008", Layout(ImageOf(loaded.GetContainer(3))));
    EXPECT_EQ(bytes, SaveBytes(file));
}

// A region longer than the bytes left is an error only in a container whose digest matches;
// otherwise the container stays raw and the containers after it are read as usual.
TEST(UBimFileSinglePass, ParseFailureCountsOnlyWithAMatchingDigest)
{
    Bytes inner = FirmwareInner({{0x100, Counting(8, 1, 13)}, {0x200, Counting(8, 2, 13)}});
    inner[4] = 0x40;
    for (int encrypted = 0; encrypted < 2; ++encrypted)
    {
        SCOPED_TRACE(encrypted);
        const Bytes stored = encrypted ? Encrypt(inner) : inner;
        const unsigned int plainSize = static_cast<unsigned int>(inner.size());
        UBimFile file;
        EXPECT_EQ(L"!Unexpected end of stream.",
                  LoadBytes(file, BimFile(Bytes(), Container(1, 1 + encrypted, stored, plainSize, Sha1(inner)))));

        Bytes payload;
        Append(payload, Container(1, 1 + encrypted, stored, plainSize, WrongDigest(inner)));
        Append(payload, PlainContainer(1, FirmwareInner({{0x500, Counting(4, 5, 13)}})));
        const Bytes bytes = BimFile(Bytes(), payload);
        ASSERT_EQ(L"", LoadBytes(file, bytes));
        ASSERT_EQ(2u, file.GetPayload().GetContainerCount());
        EXPECT_TRUE(file.GetPayload().GetContainer(0)->IsRaw());
        EXPECT_EQ(nullptr, ImageOf(file.GetPayload().GetContainer(0)).GetMemoryRegion(0));
        EXPECT_EQ("500-504", Layout(ImageOf(file.GetPayload().GetContainer(1))));
        EXPECT_EQ(bytes, SaveBytes(file));
    }
}

} // namespace
