// Loading parses each container in the same pass that checks its digest: what a parse made of
// bytes whose digest then does not match must vanish.
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

} // namespace
