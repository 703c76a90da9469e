// SHA-1, SHA-256 and SHA-512: the NIST byte-oriented vectors on both paths, the states of a
// digest, pass-through as a transform, and argument checks.
#include <Oskal/Lib/Cryptography/UCryptoException.h>
#include <Oskal/Lib/Cryptography/USHA1.h>
#include <Oskal/Lib/Cryptography/USHA256.h>
#include <Oskal/Lib/Cryptography/USHA512.h>
#include <Oskal/Lib/UArgumentException.h>

#include "CryptoTestSupport.h"

#include <memory>

using namespace Oskal::Lib::Cryptography;
using namespace CryptoTests;

namespace
{

class ShaVectors : public BothPaths
{
    int HardwareAvailable() const override { return IsShaAccelerated() || IsVectorAccelerated(); }

protected:
    // Returns the message lengths (bytes) that were checked.
    std::vector<size_t> Run(const wchar_t* file, unsigned long ulDigestSize)
    {
        std::vector<size_t> lengths;
        const std::string text = ReadTestFile(std::wstring(L"nist/sha/") + file);
        EXPECT_FALSE(text.empty()) << "missing or empty vector file";
        size_t bits = 0;
        Bytes msg;
        for (const RspLine& line : ParseRsp(text))
        {
            if (line.section)
                EXPECT_EQ("L = " + std::to_string(ulDigestSize), line.name);
            else if (line.name == "Len")
                bits = std::stoul(line.value);
            else if (line.name == "Msg")
                msg = FromHex(line.value);
            else if (line.name == "MD")
            {
                // Len 0 carries a placeholder "00" message.
                msg.resize(bits / 8);
                EXPECT_EQ(line.value, OneShot(ulDigestSize, msg)) << "Len = " << bits;
                lengths.push_back(msg.size());
            }
        }
        EXPECT_FALSE(lengths.empty()) << "no vectors in the file";
        return lengths;
    }
};

TEST_P(ShaVectors, Sha1AndSha256ShortMessages)
{
    OSKAL_REQUIRE_TESTDATA();
    Run(L"SHA1ShortMsg.rsp", 20);
    Run(L"SHA256ShortMsg.rsp", 32);
}

TEST_P(ShaVectors, Sha512ShortMessagesIncludingTheSixteenByteLengthField)
{
    OSKAL_REQUIRE_TESTDATA();
    const std::vector<size_t> lengths = Run(L"SHA512ShortMsg.rsp", 64);
    // 112 to 119 bytes after a whole block leave room for an 8-byte length but not for FIPS
    // 180-2's 16-byte one: those messages need the extra padding block.
    bool covered = false;
    for (size_t n : lengths)
        covered = covered || (n % 128 >= 112 && n % 128 < 120);
    EXPECT_TRUE(covered);
}

// Splitting a message at random points, across and within blocks, gives the one-shot digest; and
// the hardware and portable paths agree on long messages.
TEST_P(ShaVectors, RandomPiecesGiveTheOneShotDigest)
{
    std::mt19937 rng(7);
    for (unsigned long size : {20ul, 32ul, 64ul})
    {
        const Bytes data = RandomBytes(rng, 100000 + rng() % 1000);
        HashPtr hash = MakeHash(size);
        Bytes copy(data.size());
        size_t offset = 0;
        while (offset < data.size())
        {
            size_t n = rng() % 300;
            if (n > data.size() - offset)
                n = data.size() - offset;
            // Some pieces go through the transform, which hands the bytes on as it digests them.
            if (rng() & 1)
            {
                hash->HashCore(data.data() + offset, static_cast<long>(n));
                std::copy(data.begin() + offset, data.begin() + offset + n, copy.begin() + offset);
            }
            else
                hash->TransformBlock(data.data() + offset, static_cast<unsigned long>(n), copy.data() + offset);
            offset += n;
        }
        hash->HashFinal();
        EXPECT_TRUE(copy == data);
        const std::string pieces = Digest(*hash);
        EXPECT_EQ(OneShot(size, data), pieces);
        Bytes whole(data.size());
        hash->TransformBlock(data.data(), static_cast<unsigned long>(data.size()), whole.data());
        hash->HashFinal();
        EXPECT_TRUE(whole == data);
        EXPECT_EQ(pieces, Digest(*hash));
        SetHardwareAcceleration(!GetParam());
        EXPECT_EQ(OneShot(size, data), pieces) << "paths disagree";
        SetHardwareAcceleration(GetParam());
    }
}

INSTANTIATE_TEST_SUITE_P(Paths, ShaVectors, ::testing::Values(1, 0), PathName);

TEST(Sha, FinishedAndRestartedDigests)
{
    USHA256 hash;
    EXPECT_EQ(32u, hash.GetHashSize());
    hash.HashCore("abc", 3);
    hash.HashFinal();
    const std::string first = Digest(hash);
    hash.HashFinal();
    EXPECT_EQ(first, Digest(hash)) << "a second HashFinal changes nothing";
    // Data after the final value starts a new message instead of extending the old one.
    hash.HashCore("abc", 3);
    hash.HashFinal();
    EXPECT_EQ(first, Digest(hash));
    // Reset drops a message in progress.
    hash.HashCore("xyz", 3);
    hash.Reset();
    hash.HashCore("abc", 3);
    hash.HashFinal();
    EXPECT_EQ(first, Digest(hash));
}

// Messages of 2^32 bits and more need the high word of the bit count in the padding. Hashing
// half a gigabyte would take long, so whole blocks are skipped here: only the count moves, and
// the padded last block is kept to read its length field.
template <typename Sha> class CountingOnly : public Sha
{
public:
    explicit CountingOnly(size_t blockSize) : m_blockSize(blockSize) {}
    Bytes lastBlock;

protected:
    void ProcessMessageBlocks(const unsigned char*, unsigned long, unsigned char*) override {}
    void ProcessMessageBlock(const unsigned char* pbyBlock) override
    {
        lastBlock.assign(pbyBlock, pbyBlock + m_blockSize);
        Sha::ProcessMessageBlock(pbyBlock);
    }

private:
    size_t m_blockSize;
};

template <typename Sha> Bytes LengthFieldAfterHalfAGigabyte(size_t blockSize)
{
    CountingOnly<Sha> hash(blockSize);
    const Bytes chunk(1u << 20, 0x61);
    for (int i = 0; i < 512; ++i)
        hash.HashCore(chunk.data(), static_cast<long>(chunk.size()));
    hash.HashCore(chunk.data(), 3);
    hash.HashFinal();
    return Bytes(hash.lastBlock.end() - 8, hash.lastBlock.end());
}

TEST(Sha, BitCountsAboveThirtyTwoBitsAreBigEndian)
{
    // 2^29 + 3 bytes are 2^32 + 24 bits.
    const Bytes expected = {0, 0, 0, 1, 0, 0, 0, 0x18};
    EXPECT_EQ(expected, LengthFieldAfterHalfAGigabyte<USHA1>(64));
    EXPECT_EQ(expected, LengthFieldAfterHalfAGigabyte<USHA256>(64));
    EXPECT_EQ(expected, LengthFieldAfterHalfAGigabyte<USHA512>(128));
}

// 64-bit vector code may use MMX registers, which alias the x87 stack that 32-bit code computes
// floating point on: unless the SHA-512 vector path hands them back, the next result is NaN.
TEST(Sha, FloatingPointStillWorksAfterSha512)
{
    OneShot(64, Bytes(1000, 0x61));
    volatile double x = 1.5;
    EXPECT_EQ(4.75, x * 3.0 + 0.25);
}

TEST(Sha, BadArguments)
{
    USHA1 hash;
    using Oskal::Lib::Exceptions::UArgumentException;
    EXPECT_EQ(L"lCount|Argument 'lCount' must be >= 0.", Thrown<UArgumentException>([&] { hash.HashCore("x", -1); }));
    EXPECT_EQ(L"pvData|Argument 'pvData' must not be NULL.",
              Thrown<UArgumentException>([&] { hash.HashCore(nullptr, 4); }));
    // Nothing to hash: a null pointer is fine, and the digest is still the empty message's.
    hash.HashCore(nullptr, 0);
    hash.HashFinal();
    EXPECT_EQ("da39a3ee5e6b4b0d3255bfef95601890afd80709", Digest(hash));
}

// The hardware paths follow the processor's CPUID bits and can be switched off for testing.
// The switch forces every portable path and gives the processor's choice back unchanged. The
// hardware paths need SSSE3 at least, so a processor with an AES or SHA path has the vector one.
TEST(CryptoCpu, SwitchForcesThePortablePathsAndGivesThemBack)
{
    SetHardwareAcceleration(1);
    const std::vector<int> probed = {IsShaAccelerated(), IsAesAccelerated(), IsVectorAccelerated()};
    SetHardwareAcceleration(0);
    EXPECT_EQ((std::vector<int>{0, 0, 0}),
              (std::vector<int>{IsShaAccelerated(), IsAesAccelerated(), IsVectorAccelerated()}));
    SetHardwareAcceleration(1);
    EXPECT_EQ(probed, (std::vector<int>{IsShaAccelerated(), IsAesAccelerated(), IsVectorAccelerated()}));
    EXPECT_TRUE(!(probed[0] || probed[1]) || probed[2] == 1);
}

} // namespace
