// The crypto stream: hashing and cipher round trips in random pieces, its buffering rules (held
// back partial block, kept last block, buffer sizes) and its errors.
#include <Oskal/Lib/Cryptography/UCryptoException.h>
#include <Oskal/Lib/Cryptography/UCryptoStream.h>
#include <Oskal/Lib/Cryptography/UIdentityTransform.h>
#include <Oskal/Lib/Cryptography/URijndael.h>
#include <Oskal/Lib/Cryptography/USHA1.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UNotSupportedException.h>

#include "CryptoTestSupport.h"

#include <cstring>
#include <memory>

using namespace Oskal::Lib::Cryptography;
using namespace CryptoTests;
using Oskal::Lib::Collections::UVector;
using Oskal::Lib::Exceptions::UArgumentException;
using Oskal::Lib::Exceptions::UNotSupportedException;

namespace
{

typedef Oskal::Lib::Internal::ReleasePtr<URijndael> RijndaelPtr;

const unsigned long kBufferSize = 251904;

RijndaelPtr MakeAes(UPaddingMode ePadding)
{
    RijndaelPtr aes(URijndael::Create());
    aes->SetPaddingMode(ePadding);
    return aes;
}

void WriteInPieces(UCryptoStream& stream, const Bytes& data, std::mt19937& rng, size_t maxPiece)
{
    size_t offset = 0;
    while (offset < data.size())
    {
        size_t n = rng() % (maxPiece + 1);
        if (n > data.size() - offset)
            n = data.size() - offset;
        stream.Write(data.data() + offset, static_cast<long>(n));
        offset += n;
    }
}

Bytes ReadInPieces(UCryptoStream& stream, std::mt19937& rng, size_t maxPiece)
{
    Bytes out;
    Bytes buffer(maxPiece + 1);
    for (;;)
    {
        const long want = static_cast<long>(1 + rng() % maxPiece);
        const long n = stream.Read(buffer.data(), want);
        if (n == 0)
            break;
        out.insert(out.end(), buffer.begin(), buffer.begin() + n);
    }
    return out;
}

// A cipher that says it can take only one block per call, to see the stream hand it single blocks.
class SingleBlockCipher : public ICryptoTransform
{
public:
    explicit SingleBlockCipher(ICryptoTransform* pInner) : m_pInner(pInner) {}
    void Release() override { delete this; }
    int CanReuseTransform() const override { return 1; }
    int CanTransformMultipleBlocks() const override { return 0; }
    unsigned long GetInputBlockSize() const override { return m_pInner->GetInputBlockSize(); }
    unsigned long GetOutputBlockSize() const override { return m_pInner->GetOutputBlockSize(); }
    unsigned long GetTransformedSize(unsigned long n) const override { return m_pInner->GetTransformedSize(n); }
    unsigned long TransformBlock(const unsigned char* in, unsigned long n, unsigned char* out) override
    {
        calls.push_back(n);
        return m_pInner->TransformBlock(in, n, out);
    }
    UVector<unsigned char> TransformFinalBlock(const unsigned char* in, unsigned long n) override
    {
        return m_pInner->TransformFinalBlock(in, n);
    }
    std::vector<unsigned long> calls;

private:
    TransformPtr m_pInner;
};

// Enciphering through a write-mode stream and deciphering through a read-mode stream round-trips
// data of every awkward length with every padding mode, read in small pieces or in pieces larger
// than the stream's buffer, and the cipher text equals a one-shot transform's.
TEST(CryptoStream, CipherRoundTripsWithEveryPaddingMode)
{
    std::mt19937 rng(9);
    for (UPaddingMode ePadding :
         {ePaddingMode_None, ePaddingMode_Zeros, ePaddingMode_ANSIX923, ePaddingMode_ISO10126, ePaddingMode_PKCS7})
    {
        RijndaelPtr aes = MakeAes(ePadding);
        for (size_t length : {size_t(0), size_t(1), size_t(15), size_t(16), size_t(17), size_t(32), size_t(kBufferSize),
                              size_t(kBufferSize + 16), size_t(300000 + rng() % 5000)})
        {
            SCOPED_TRACE(testing::Message() << "padding " << ePadding << " length " << length);
            Bytes plain = RandomBytes(rng, length);
            // Zero padding can't tell trailing zeros of the message from the filler.
            if (!plain.empty())
                plain.back() |= 1;
            TransformPtr enc(aes->CreateEncryptor());
            MemoryStream cipher;
            UCryptoStream writer(&cipher, enc.Get(), eCryptoStreamMode_Write);
            WriteInPieces(writer, plain, rng, 40000);
            writer.Close();
            EXPECT_EQ(enc->GetTransformedSize(static_cast<unsigned long>(length)), cipher.m_data.size());
            TransformPtr oneShot(aes->CreateEncryptor());
            UVector<unsigned char> expected =
                oneShot->TransformFinalBlock(plain.data(), static_cast<unsigned long>(plain.size()));
            EXPECT_TRUE(Bytes(expected.GetBuffer(), expected.GetBuffer() + expected.GetLength()) == cipher.m_data);
            TransformPtr dec(aes->CreateDecryptor());
            MemoryStream source(cipher.m_data);
            source.m_maxRead = 1 + rng() % 200000;
            UCryptoStream reader(&source, dec.Get(), eCryptoStreamMode_Read);
            Bytes back = ReadInPieces(reader, rng, length % 2 ? 50000 : 3 * kBufferSize);
            if (ePadding == ePaddingMode_None)
                plain.resize(cipher.m_data.size());
            EXPECT_TRUE(back == plain);
        }
    }
}

// Reads that have room for a whole buffer take the transform's output straight into the
// caller's buffer: reads larger than the stream's buffer (the hash read through in one request, the cipher text
// through a transform that takes one block per call) give the bytes whole.
TEST(CryptoStream, LargeReadsGiveTheSameBytes)
{
    std::mt19937 rng(21);
    const Bytes data = RandomBytes(rng, 2 * kBufferSize + 100);
    USHA1 hash;
    MemoryStream hashed(data);
    UCryptoStream hashing(&hashed, &hash, eCryptoStreamMode_Read);
    Bytes through(data.size() + 10);
    EXPECT_EQ(static_cast<long>(data.size()), hashing.Read(through.data(), static_cast<long>(through.size())));
    through.resize(data.size());
    EXPECT_TRUE(through == data);
    EXPECT_EQ(OneShot(20, data), ToHex(hash.GetHash(), 20));
    RijndaelPtr aes = MakeAes(ePaddingMode_PKCS7);
    TransformPtr enc(aes->CreateEncryptor());
    UVector<unsigned char> cipher = enc->TransformFinalBlock(data.data(), static_cast<unsigned long>(data.size()));
    SingleBlockCipher* dec = new SingleBlockCipher(aes->CreateDecryptor());
    TransformPtr decOwner(dec);
    MemoryStream source(Bytes(cipher.GetBuffer(), cipher.GetBuffer() + cipher.GetLength()));
    UCryptoStream reader(&source, dec, eCryptoStreamMode_Read);
    Bytes back(data.size() + 10);
    EXPECT_EQ(static_cast<long>(data.size()), reader.Read(back.data(), static_cast<long>(back.size())));
    back.resize(data.size());
    EXPECT_TRUE(back == data);
}

TEST(CryptoStream, PartialBlockIsHeldBackUntilTheFinalBlock)
{
    RijndaelPtr aes = MakeAes(ePaddingMode_PKCS7);
    TransformPtr enc(aes->CreateEncryptor());
    MemoryStream sink;
    UCryptoStream stream(&sink, enc.Get(), eCryptoStreamMode_Write);
    stream.Write(nullptr, 0);
    stream.Write("12345", 5);
    EXPECT_TRUE(sink.m_data.empty());
    stream.Write("67890123456", 11);
    EXPECT_EQ(16u, sink.m_data.size()) << "a completed block goes out";
    stream.Write("x", 1);
    EXPECT_EQ(16u, sink.m_data.size());
    stream.FlushFinalBlock();
    EXPECT_EQ(32u, sink.m_data.size());
    EXPECT_EQ(1, sink.m_flushes);
    EXPECT_EQ(L"The final block has already been transformed.", Thrown<UCryptoException>([&] { stream.Close(); }));
    EXPECT_THROW(stream.Write("x", 1), UCryptoException);
    EXPECT_THROW(stream.FlushFinalBlock(), UCryptoException);
}

// A pass-through transform with one large block, to see a read-mode stream whose block fills a
// whole buffer still make progress (one block is always kept back for the final transform).
class LargeBlockIdentity : public ICryptoTransform
{
public:
    explicit LargeBlockIdentity(unsigned long ulBlock) : m_ulBlock(ulBlock) {}
    void Release() override { delete this; }
    int CanReuseTransform() const override { return 1; }
    int CanTransformMultipleBlocks() const override { return 1; }
    unsigned long GetInputBlockSize() const override { return m_ulBlock; }
    unsigned long GetOutputBlockSize() const override { return m_ulBlock; }
    unsigned long GetTransformedSize(unsigned long n) const override { return n; }
    unsigned long TransformBlock(const unsigned char* in, unsigned long n, unsigned char* out) override
    {
        std::memmove(out, in, n);
        return n;
    }
    UVector<unsigned char> TransformFinalBlock(const unsigned char* in, unsigned long n) override
    {
        return UVector<unsigned char>(in, n);
    }

private:
    unsigned long m_ulBlock;
};

TEST(CryptoStream, BlocksAsLargeAsTheBufferStillGetRead)
{
    std::mt19937 rng(8);
    for (unsigned long block : {kBufferSize - 1, kBufferSize, kBufferSize + 1})
    {
        const Bytes data = RandomBytes(rng, 2 * block + 100);
        MemoryStream source(data);
        LargeBlockIdentity identity(block);
        UCryptoStream reader(&source, &identity, eCryptoStreamMode_Read);
        EXPECT_TRUE(ReadInPieces(reader, rng, 300000) == data) << "block " << block;
    }
}

TEST(CryptoStream, TransformsThatTakeOneBlockGetOneBlockPerCall)
{
    RijndaelPtr aes = MakeAes(ePaddingMode_PKCS7);
    SingleBlockCipher* enc = new SingleBlockCipher(aes->CreateEncryptor());
    TransformPtr owner(enc);
    MemoryStream sink;
    UCryptoStream writer(&sink, enc, eCryptoStreamMode_Write);
    const Bytes plain(100, 0x7E);
    writer.Write(plain.data(), 100);
    writer.Close();
    EXPECT_EQ(std::vector<unsigned long>(6, 16), enc->calls);
    EXPECT_EQ(std::vector<long>(7, 16), sink.m_writes);
    SingleBlockCipher* dec = new SingleBlockCipher(aes->CreateDecryptor());
    TransformPtr decOwner(dec);
    MemoryStream source(sink.m_data);
    UCryptoStream reader(&source, dec, eCryptoStreamMode_Read);
    Bytes out(200);
    EXPECT_EQ(100, reader.Read(out.data(), 200));
    out.resize(100);
    EXPECT_EQ(plain, out);
    EXPECT_EQ(std::vector<unsigned long>(6, 16), dec->calls);
}

TEST(CryptoStream, Errors)
{
    TransformPtr identity(UIdentityTransform::Create());
    MemoryStream under;
    UCryptoStream reader(&under, identity.Get(), eCryptoStreamMode_Read);
    UCryptoStream writer(&under, identity.Get(), eCryptoStreamMode_Write);
    char buffer[4];
    EXPECT_EQ(L"pvBuffer|Argument 'pvBuffer' must not be NULL.",
              Thrown<UArgumentException>([&] { reader.Read(nullptr, 1); }));
    EXPECT_EQ(L"pvBuffer|Argument 'pvBuffer' must not be NULL when lCount is greater than 0.",
              Thrown<UArgumentException>([&] { writer.Write(nullptr, 1); }));
    EXPECT_EQ(L"lCount|Argument 'lCount' must be >= 0.", Thrown<UArgumentException>([&] { reader.Read(buffer, -1); }));
    EXPECT_EQ(L"lCount|Argument 'lCount' must be >= 0.", Thrown<UArgumentException>([&] { writer.Write(buffer, -1); }));
    EXPECT_EQ(L"Stream is not readable.", Thrown<UNotSupportedException>([&] { writer.Read(buffer, 1); }));
    EXPECT_EQ(L"Stream is not writeable.", Thrown<UNotSupportedException>([&] { reader.Write(buffer, 1); }));
    EXPECT_EQ(L"Stream is not writeable.", Thrown<UNotSupportedException>([&] { reader.FlushFinalBlock(); }));
    EXPECT_TRUE(reader.CanRead());
    EXPECT_FALSE(reader.CanWrite());
    EXPECT_TRUE(writer.CanWrite());
    EXPECT_FALSE(writer.CanRead());
    EXPECT_FALSE(writer.CanSeek());
    reader.Close();
    // An unknown mode makes a stream that can do neither.
    UCryptoStream neither(&under, identity.Get(), static_cast<UCryptoStreamMode>(3));
    EXPECT_FALSE(neither.CanRead());
    EXPECT_FALSE(neither.CanWrite());
    EXPECT_THROW(neither.Write(buffer, 1), UNotSupportedException);
}

} // namespace
