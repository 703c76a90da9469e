// Rijndael: the NIST AES vectors on both paths, the algorithm's settings and their checks, the
// padding modes, the refused cipher modes and the library's own CFB segment stepping.
#include <Oskal/Lib/Cryptography/UCryptoException.h>
#include <Oskal/Lib/Cryptography/URijndael.h>
#include <Oskal/Lib/Cryptography/URijndaelTransform.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UNotSupportedException.h>

#include "CryptoTestSupport.h"

#include <cstdlib>
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

Bytes ToBytes(const UVector<unsigned char>& v)
{
    return Bytes(v.GetBuffer(), v.GetBuffer() + v.GetLength());
}

Bytes Final(ICryptoTransform& t, const Bytes& in)
{
    return ToBytes(t.TransformFinalBlock(in.data(), static_cast<unsigned long>(in.size())));
}

RijndaelPtr MakeRijndael(const Bytes& key, const Bytes& iv, UCipherMode eMode, UPaddingMode ePadding,
                         unsigned long ulFeedback = 128)
{
    RijndaelPtr aes(URijndael::Create());
    aes->SetKey(key.data(), static_cast<unsigned long>(key.size()));
    if (!iv.empty())
        aes->SetInitializationVector(iv.data(), static_cast<unsigned long>(iv.size()));
    aes->SetCipherMode(eMode);
    aes->SetPaddingMode(ePadding);
    aes->SetFeedbackSize(ulFeedback);
    return aes;
}

class AesVectors : public BothPaths
{
    int HardwareAvailable() const override { return IsAesAccelerated(); }

protected:
    void RunMode(const std::string& mode, UCipherMode eMode, unsigned long ulFeedback)
    {
        for (const char* test : {"GFSbox", "KeySbox", "VarKey", "VarTxt", "MMT"})
            for (const char* bits : {"128", "192", "256"})
                RunFile(mode + test + bits + ".rsp", eMode, ulFeedback);
    }

private:
    void RunFile(const std::string& name, UCipherMode eMode, unsigned long ulFeedback)
    {
        SCOPED_TRACE(name);
        const std::string text = ReadTestFile(L"nist/aes/" + std::wstring(name.begin(), name.end()));
        ASSERT_FALSE(text.empty()) << "missing or empty vector file";
        bool encrypt = true;
        Bytes key, iv, plain, cipher;
        int count = 0;
        for (const RspLine& line : ParseRsp(text))
        {
            if (line.section)
            {
                encrypt = line.name == "ENCRYPT";
                continue;
            }
            if (line.name == "COUNT")
                key.clear(), iv.clear(), plain.clear(), cipher.clear();
            else if (line.name == "KEY")
                key = FromHex(line.value);
            else if (line.name == "IV")
                iv = FromHex(line.value);
            else if (line.name == "PLAINTEXT")
                plain = FromHex(line.value);
            else if (line.name == "CIPHERTEXT")
                cipher = FromHex(line.value);
            // The record is complete once its output has been read.
            if ((encrypt && line.name == "CIPHERTEXT") || (!encrypt && line.name == "PLAINTEXT"))
            {
                Check(encrypt, key, iv, encrypt ? plain : cipher, encrypt ? cipher : plain, eMode, ulFeedback);
                ++count;
            }
        }
        EXPECT_GT(count, 0) << "no vectors in the file";
    }
    void Check(bool encrypt, const Bytes& key, const Bytes& iv, const Bytes& input, const Bytes& expected,
               UCipherMode eMode, unsigned long ulFeedback)
    {
        RijndaelPtr aes = MakeRijndael(key, iv, eMode, ePaddingMode_None, ulFeedback);
        TransformPtr t(encrypt ? aes->CreateEncryptor() : aes->CreateDecryptor());
        // CFB-8 messages are any number of bytes: fill the block with zeros and compare the
        // prefix, which doesn't depend on what follows.
        Bytes padded = input;
        padded.resize((input.size() + 15) / 16 * 16);
        Bytes out = Final(*t, padded);
        out.resize(expected.size());
        EXPECT_EQ(ToHex(expected), ToHex(out));
        if (padded.size() != input.size())
            return;
        // The reused transform starts over from the initialization vector; in place this time.
        Bytes inPlace = input;
        EXPECT_EQ(inPlace.size(),
                  t->TransformBlock(inPlace.data(), static_cast<unsigned long>(inPlace.size()), inPlace.data()));
        EXPECT_EQ(ToHex(expected), ToHex(inPlace));
    }
};

// ECB, CBC, CFB-8 and CFB-128 known-answer and multi-block files, 128-, 192- and 256-bit keys.
TEST_P(AesVectors, AllModes)
{
    OSKAL_REQUIRE_TESTDATA();
    RunMode("ECB", eCipherMode_ECB, 128);
    RunMode("CBC", eCipherMode_CBC, 128);
    RunMode("CFB8", eCipherMode_CFB, 8);
    RunMode("CFB128", eCipherMode_CFB, 128);
}

INSTANTIATE_TEST_SUITE_P(Paths, AesVectors, ::testing::Values(1, 0), PathName);

TEST(Rijndael, SettersCheckTheirArgumentsAndKeepStateOnFailure)
{
    RijndaelPtr aes(URijndael::Create());
    const Bytes key(aes->GetKey(), aes->GetKey() + 32);
    const Bytes iv(aes->GetInitializationVector(), aes->GetInitializationVector() + 16);
    ExpectArgumentError([&] { aes->SetBlockSize(192); }, L"ulSize", L"Invalid block size.");
    ExpectArgumentError([&] { aes->SetFeedbackSize(136); }, L"ulFeedbackSize",
                   L"Feedback size is larger than the block size.");
    const unsigned char eight[8] = {};
    ExpectArgumentError([&] { aes->SetInitializationVector(eight, 8); }, L"ulSize",
                   L"Length of the initialization vector must match the block size.");
    const unsigned char twenty[20] = {};
    ExpectArgumentError([&] { aes->SetKey(twenty, 20); }, L"ulSize", L"Key size is not supported by the algorithm.");
    ExpectArgumentError([&] { aes->SetKeySize(100); }, L"ulKeySize", L"Key size is not supported by the algorithm.");
    EXPECT_EQ(256u, aes->GetKeySize());
    EXPECT_EQ(key, Bytes(aes->GetKey(), aes->GetKey() + 32));
    EXPECT_EQ(iv, Bytes(aes->GetInitializationVector(), aes->GetInitializationVector() + 16));
    // The same block size keeps the initialization vector but resets the feedback size.
    aes->SetFeedbackSize(8);
    aes->SetBlockSize(128);
    EXPECT_EQ(128u, aes->GetFeedbackSize());
    EXPECT_EQ(iv, Bytes(aes->GetInitializationVector(), aes->GetInitializationVector() + 16));
    // The same key length keeps the key; another one brings a new random key.
    aes->SetKeySize(256);
    EXPECT_EQ(key, Bytes(aes->GetKey(), aes->GetKey() + 32));
    aes->SetKeySize(128);
    EXPECT_EQ(128u, aes->GetKeySize());
    EXPECT_NE(0, std::memcmp(key.data(), aes->GetKey(), 16));
    const Bytes key24(24, 0x5A);
    aes->SetKey(key24.data(), 24);
    EXPECT_EQ(192u, aes->GetKeySize());
    EXPECT_EQ(key24, Bytes(aes->GetKey(), aes->GetKey() + 24));
}

TEST(Rijndael, PaddingModes)
{
    const Bytes key(16, 0x11), iv(16, 0x22);
    auto roundTrip = [&](UPaddingMode ePadding, const Bytes& plain, size_t expectedLength) {
        RijndaelPtr aes = MakeRijndael(key, iv, eCipherMode_CBC, ePadding);
        TransformPtr enc(aes->CreateEncryptor());
        EXPECT_EQ(expectedLength, enc->GetTransformedSize(static_cast<unsigned long>(plain.size())));
        const Bytes cipher = Final(*enc, plain);
        EXPECT_EQ(expectedLength, cipher.size());
        // Deciphered without padding, the last block shows the filler.
        aes->SetPaddingMode(ePaddingMode_None);
        TransformPtr raw(aes->CreateDecryptor());
        const Bytes shown = Final(*raw, cipher);
        aes->SetPaddingMode(ePadding);
        TransformPtr dec(aes->CreateDecryptor());
        return std::make_pair(shown, Final(*dec, cipher));
    };
    const Bytes sixteen(16, 0xAB);
    auto pkcs = roundTrip(ePaddingMode_PKCS7, sixteen, 32);
    EXPECT_EQ(Bytes(16, 0x10), Bytes(pkcs.first.begin() + 16, pkcs.first.end()));
    EXPECT_EQ(sixteen, pkcs.second);
    EXPECT_EQ(sixteen, roundTrip(ePaddingMode_None, sixteen, 16).second);
    const Bytes twenty(20, 0xCD);
    auto none = roundTrip(ePaddingMode_None, twenty, 32);
    Bytes twentyZeroFilled = twenty;
    twentyZeroFilled.resize(32);
    EXPECT_EQ(twentyZeroFilled, none.first);
    EXPECT_EQ(twentyZeroFilled, none.second) << "padding none strips nothing";
    EXPECT_EQ(twenty, roundTrip(ePaddingMode_Zeros, twenty, 32).second);
    auto ansi = roundTrip(ePaddingMode_ANSIX923, twenty, 32);
    Bytes ansiBlock(12, 0);
    ansiBlock[11] = 12;
    EXPECT_EQ(ansiBlock, Bytes(ansi.first.begin() + 20, ansi.first.end()));
    EXPECT_EQ(twenty, ansi.second);
    // ISO 10126 filler comes from rand seeded with srand(1) each time, so it repeats (kept on
    // purpose): the same message gives the same cipher text.
    auto iso = roundTrip(ePaddingMode_ISO10126, twenty, 32);
    Bytes isoBlock(12);
    std::srand(1);
    for (auto& b : isoBlock)
        b = static_cast<unsigned char>(std::rand());
    isoBlock[11] = 12;
    EXPECT_EQ(isoBlock, Bytes(iso.first.begin() + 20, iso.first.end()));
    EXPECT_EQ(twenty, iso.second);
    EXPECT_EQ(roundTrip(ePaddingMode_ISO10126, twenty, 32), iso);
    // Empty input: nothing without padding, one whole pad block with it.
    EXPECT_TRUE(roundTrip(ePaddingMode_Zeros, Bytes(), 0).second.empty());
    EXPECT_TRUE(roundTrip(ePaddingMode_PKCS7, Bytes(), 16).second.empty());
}

TEST(Rijndael, PaddingErrors)
{
    const Bytes key(16, 3), iv(16, 4);
    RijndaelPtr aes = MakeRijndael(key, iv, eCipherMode_CBC, static_cast<UPaddingMode>(7));
    TransformPtr enc(aes->CreateEncryptor());
    using Oskal::Lib::Exceptions::UException;
    EXPECT_EQ(L"Padding mode is not supported.", Thrown<UException>([&] { enc->GetTransformedSize(5); }));
    EXPECT_EQ(L"Padding mode is not supported.", Thrown<UException>([&] { Final(*enc, Bytes(5)); }));
    // A pad length beyond the data: the last plain byte says 0xFF.
    aes->SetPaddingMode(ePaddingMode_None);
    TransformPtr raw(aes->CreateEncryptor());
    const Bytes cipher = Final(*raw, Bytes(16, 0xFF));
    aes->SetPaddingMode(ePaddingMode_PKCS7);
    TransformPtr dec(aes->CreateDecryptor());
    EXPECT_EQ(L"Stripping padding bytes failed.", Thrown<UCryptoException>([&] { Final(*dec, cipher); }));
}

TEST(Rijndael, RefusedCipherModes)
{
    const Bytes key(16, 5), iv(16, 6), block(16, 7);
    Bytes out(16);
    for (auto c : {std::make_pair(5, L"Cipher mode 'OFB' is not supported."),
                   std::make_pair(3, L"Cipher mode 'CTS' is not supported."),
                   std::make_pair(9, L"Cipher mode is not supported.")})
    {
        RijndaelPtr aes = MakeRijndael(key, iv, static_cast<UCipherMode>(c.first), ePaddingMode_None);
        TransformPtr t(aes->CreateEncryptor());
        EXPECT_EQ(c.second, Thrown<UNotSupportedException>([&] { t->TransformBlock(block.data(), 16, out.data()); }));
    }
}

// With a feedback size other than 8 or 128 bits, each segment still starts only one byte after
// the previous one (kept on purpose). Model: 16-bit feedback, eight segments over bytes 0..8.
TEST(Rijndael, CfbSegmentsAdvanceOneBytePerSegment)
{
    const Bytes key(16, 0x42), iv = FromHex("000102030405060708090a0b0c0d0e0f");
    std::mt19937 rng(3);
    const Bytes plain = RandomBytes(rng, 16);
    RijndaelPtr aes = MakeRijndael(key, iv, eCipherMode_CFB, ePaddingMode_None, 16);
    TransformPtr t(aes->CreateEncryptor());
    Bytes out(16, 0);
    t->TransformBlock(plain.data(), 16, out.data());
    RijndaelPtr ecb = MakeRijndael(key, Bytes(), eCipherMode_ECB, ePaddingMode_None);
    TransformPtr forward(ecb->CreateEncryptor());
    Bytes chain = iv, expected = plain;
    for (int s = 0; s < 8; ++s)
    {
        Bytes k(16);
        forward->TransformBlock(chain.data(), 16, k.data());
        expected[s] = static_cast<unsigned char>(plain[s] ^ k[0]);
        expected[s + 1] = static_cast<unsigned char>(plain[s + 1] ^ k[1]);
        chain.erase(chain.begin(), chain.begin() + 2);
        chain.push_back(expected[s]);
        chain.push_back(expected[s + 1]);
    }
    // Bytes 9 to 15 are never reached by a segment and keep the input.
    EXPECT_EQ(ToHex(expected), ToHex(out));
}

} // namespace
