// SHA-1, SHA-256 and SHA-512: the NIST byte-oriented vectors on both paths, the states of a
// digest, pass-through as a transform, and argument checks.
#include <Oskal/Lib/Cryptography/UCryptoException.h>
#include <Oskal/Lib/Cryptography/USHA1.h>
#include <Oskal/Lib/Cryptography/USHA256.h>
#include <Oskal/Lib/Cryptography/USHA512.h>
#include <Oskal/Lib/UArgumentException.h>

#include "CryptoTestSupport.h"

#include <cpuid.h>
#include <memory>

using namespace Oskal::Lib::Cryptography;
using namespace CryptoTests;

namespace
{

class ShaVectors : public BothPaths
{
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

TEST(Sha, CopiesCarryTheStateInProgress)
{
    const std::string text(150, 'q');
    USHA512 original;
    original.HashCore(text.data(), 70);
    USHA512 copy(original);
    USHA512 assigned;
    assigned.HashCore("other", 5);
    assigned = original;
    for (USHA512* h : {&original, &copy, &assigned})
    {
        h->HashCore(text.data() + 70, 80);
        h->HashFinal();
    }
    EXPECT_EQ(OneShot(64, Bytes(text.begin(), text.end())), Digest(original));
    EXPECT_EQ(Digest(original), Digest(copy));
    EXPECT_EQ(Digest(original), Digest(assigned));
}

// 64-bit vector code may use MMX registers, which alias the x87 stack that 32-bit code computes
// floating point on: unless the SHA-512 vector path hands them back, the next result is NaN.
TEST(Sha, FloatingPointStillWorksAfterSha512)
{
    OneShot(64, Bytes(1000, 0x61));
    volatile double x = 1.5;
    EXPECT_EQ(4.75, x * 3.0 + 0.25);
}

// As a transform, a hash passes bytes through unchanged, so a stream stack writes them on.
TEST(Sha, TransformPassesDataThrough)
{
    HashPtr hash = MakeHash(20);
    EXPECT_EQ(1u, hash->GetInputBlockSize());
    EXPECT_EQ(1u, hash->GetOutputBlockSize());
    EXPECT_EQ(12345u, hash->GetTransformedSize(12345));
    EXPECT_TRUE(hash->CanReuseTransform());
    EXPECT_TRUE(hash->CanTransformMultipleBlocks());

    const std::string text = "The quick brown fox jumps over the lazy dog";
    const unsigned char* in = reinterpret_cast<const unsigned char*>(text.data());
    unsigned char out[64] = {};
    EXPECT_EQ(10u, hash->TransformBlock(in, 10, out));
    EXPECT_EQ(std::string(text, 0, 10), std::string(reinterpret_cast<char*>(out), 10));
    EXPECT_EQ(5u, hash->TransformBlock(in + 10, 5, nullptr));
    Bytes inPlace(in + 15, in + 25);
    EXPECT_EQ(10u, hash->TransformBlock(inPlace.data(), 10, inPlace.data()));
    EXPECT_EQ(Bytes(in + 15, in + 25), inPlace);
    // Overlapping buffers still receive the original bytes.
    Bytes shifted(70, 0);
    std::copy(in, in + 64, shifted.begin());
    HashPtr other = MakeHash(20);
    other->TransformBlock(shifted.data(), 64, shifted.data() + 3);
    EXPECT_EQ(Bytes(in, in + 64), Bytes(shifted.begin() + 3, shifted.begin() + 67));
    Oskal::Lib::Collections::UVector<unsigned char> last =
        hash->TransformFinalBlock(in + 25, static_cast<unsigned long>(text.size() - 25));
    ASSERT_EQ(text.size() - 25, last.GetLength());
    EXPECT_EQ(text.substr(25), std::string(reinterpret_cast<const char*>(last.GetBuffer()), last.GetLength()));
    EXPECT_EQ("2fd4e1c67a2d28fced849ee1bb76e7391b93eb12", Digest(*hash));
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
TEST(CryptoCpu, HardwarePathsFollowTheProcessorAndTheSwitch)
{
    unsigned int a = 0, b = 0, c = 0, d = 0;
    __cpuid(1, a, b, c, d);
    const bool sse = (c & bit_SSE4_1) && (c & bit_SSSE3);
    const int aes = sse && (c & bit_AES) ? 1 : 0;
    __cpuid_count(7, 0, a, b, c, d);
    const int sha = sse && (b & bit_SHA) ? 1 : 0;
    __cpuid(1, a, b, c, d);
    const int vector = (c & bit_SSSE3) && (d & bit_SSE2) ? 1 : 0;
    SetHardwareAcceleration(1);
    EXPECT_EQ(aes, IsAesAccelerated());
    EXPECT_EQ(sha, IsShaAccelerated());
    EXPECT_EQ(vector, IsVectorAccelerated());
    SetHardwareAcceleration(0);
    EXPECT_EQ(0, IsAesAccelerated());
    EXPECT_EQ(0, IsShaAccelerated());
    EXPECT_EQ(0, IsVectorAccelerated());
    SetHardwareAcceleration(1);
}

} // namespace
