// Cryptography throughput against Windows CNG (bcrypt.dll) in the same process, over 64 MiB
// buffers, best of three runs; and SHA-1 through a crypto stream against SHA-1 called directly.
#include <Oskal/Lib/Cryptography/UCryptoStream.h>
#include <Oskal/Lib/Cryptography/URijndaelTransform.h>
#include <Oskal/Lib/Cryptography/USHA1.h>
#include <Oskal/Lib/Cryptography/USHA256.h>
#include <Oskal/Lib/Cryptography/USHA512.h>
#include <Oskal/Lib/IO/UStream.h>

#include "BenchReport.h"

#include <bcrypt.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

using namespace Oskal::Lib::Cryptography;

namespace
{

const unsigned long kSize = 64ul << 20;
const int kRuns = 3;

double MBps(double seconds)
{
    return kSize / 1e6 / seconds;
}

void Check(NTSTATUS status, const char* what)
{
    if (status < 0)
    {
        std::fprintf(stderr, "%s failed: 0x%08lx\n", what, static_cast<unsigned long>(status));
        std::exit(1);
    }
}

void Warn(bool same, const char* name)
{
    if (!same)
        std::fprintf(stderr, "warning: %s: results differ from CNG\n", name);
}

template <typename THash> std::vector<unsigned char> OurHash(const std::vector<unsigned char>& data)
{
    THash hash;
    hash.HashCore(data.data(), static_cast<long>(data.size()));
    hash.HashFinal();
    return std::vector<unsigned char>(hash.GetHash(), hash.GetHash() + hash.GetHashSize());
}

std::vector<unsigned char> CngHash(BCRYPT_ALG_HANDLE alg, unsigned long ulDigest,
                                   const std::vector<unsigned char>& data)
{
    BCRYPT_HASH_HANDLE hash = nullptr;
    Check(BCryptCreateHash(alg, &hash, nullptr, 0, nullptr, 0, 0), "BCryptCreateHash");
    Check(BCryptHashData(hash, const_cast<PUCHAR>(data.data()), static_cast<ULONG>(data.size()), 0), "BCryptHashData");
    std::vector<unsigned char> digest(ulDigest);
    Check(BCryptFinishHash(hash, digest.data(), ulDigest, 0), "BCryptFinishHash");
    BCryptDestroyHash(hash);
    return digest;
}

template <typename THash>
double BenchHash(const char* name, const wchar_t* cngName, unsigned long ulDigest,
                 const std::vector<unsigned char>& data)
{
    BCRYPT_ALG_HANDLE alg = nullptr;
    Check(BCryptOpenAlgorithmProvider(&alg, cngName, nullptr, 0), "BCryptOpenAlgorithmProvider");
    std::vector<unsigned char> ours, theirs;
    const double mine = OskalBench::BestOf(kRuns, [&] { ours = OurHash<THash>(data); });
    const double cng = OskalBench::BestOf(kRuns, [&] { theirs = CngHash(alg, ulDigest, data); });
    BCryptCloseAlgorithmProvider(alg, 0);
    Warn(ours == theirs, name);
    OskalBench::Report(name, MBps(mine), "MB/s", "cng", MBps(cng));
    return mine;
}

void BenchAes(const char* name, UCipherMode eMode, unsigned long ulKeyBits, int bEncrypt,
              const std::vector<unsigned char>& data)
{
    unsigned char key[32], iv[16];
    for (int i = 0; i < 32; ++i)
        key[i] = static_cast<unsigned char>(i * 7 + 1);
    for (int i = 0; i < 16; ++i)
        iv[i] = static_cast<unsigned char>(0xA0 + i);
    std::vector<unsigned char> ours(data.size()), theirs(data.size());

    const double mine = OskalBench::BestOf(kRuns, [&] {
        URijndaelTransform* t =
            URijndaelTransform::Create(bEncrypt, 128, 128, eMode, ePaddingMode_None, key, ulKeyBits, iv);
        t->TransformBlock(data.data(), static_cast<unsigned long>(data.size()), ours.data());
        t->Release();
    });

    BCRYPT_ALG_HANDLE alg = nullptr;
    Check(BCryptOpenAlgorithmProvider(&alg, BCRYPT_AES_ALGORITHM, nullptr, 0), "BCryptOpenAlgorithmProvider");
    const wchar_t* chain = eMode == eCipherMode_CBC ? BCRYPT_CHAIN_MODE_CBC : BCRYPT_CHAIN_MODE_ECB;
    Check(BCryptSetProperty(alg, BCRYPT_CHAINING_MODE, reinterpret_cast<PUCHAR>(const_cast<wchar_t*>(chain)),
                            static_cast<ULONG>((wcslen(chain) + 1) * sizeof(wchar_t)), 0),
          "BCryptSetProperty");
    BCRYPT_KEY_HANDLE master = nullptr;
    Check(BCryptGenerateSymmetricKey(alg, &master, nullptr, 0, key, ulKeyBits / 8, 0), "BCryptGenerateSymmetricKey");
    const double cng = OskalBench::BestOf(kRuns, [&] {
        // A fresh key object per message: Wine's CNG would otherwise continue the old CBC chain.
        BCRYPT_KEY_HANDLE k = nullptr;
        Check(BCryptDuplicateKey(master, &k, nullptr, 0, 0), "BCryptDuplicateKey");
        unsigned char ivCopy[16];
        std::memcpy(ivCopy, iv, 16);
        PUCHAR pIv = eMode == eCipherMode_CBC ? ivCopy : nullptr;
        const ULONG cbIv = eMode == eCipherMode_CBC ? 16 : 0;
        ULONG done = 0;
        PUCHAR in = const_cast<PUCHAR>(data.data());
        const ULONG n = static_cast<ULONG>(data.size());
        if (bEncrypt)
            Check(BCryptEncrypt(k, in, n, nullptr, pIv, cbIv, theirs.data(), n, &done, 0), "BCryptEncrypt");
        else
            Check(BCryptDecrypt(k, in, n, nullptr, pIv, cbIv, theirs.data(), n, &done, 0), "BCryptDecrypt");
        BCryptDestroyKey(k);
    });
    BCryptDestroyKey(master);
    BCryptCloseAlgorithmProvider(alg, 0);
    Warn(ours == theirs, name);
    OskalBench::Report(name, MBps(mine), "MB/s", "cng", MBps(cng));
}

} // namespace

int main()
{
    std::vector<unsigned char> data(kSize);
    unsigned int x = 0x12345678;
    for (auto& b : data)
    {
        x = x * 1103515245u + 12345u;
        b = static_cast<unsigned char>(x >> 24);
    }

    const double sha1 = BenchHash<USHA1>("sha1", BCRYPT_SHA1_ALGORITHM, 20, data);
    BenchHash<USHA256>("sha256", BCRYPT_SHA256_ALGORITHM, 32, data);
    BenchHash<USHA512>("sha512", BCRYPT_SHA512_ALGORITHM, 64, data);
    BenchAes("aes256cbc.encrypt", eCipherMode_CBC, 256, 1, data);
    BenchAes("aes256cbc.decrypt", eCipherMode_CBC, 256, 0, data);
    BenchAes("aes128ecb.encrypt", eCipherMode_ECB, 128, 1, data);
    BenchAes("aes128ecb.decrypt", eCipherMode_ECB, 128, 0, data);

    const double stream = OskalBench::BestOf(kRuns, [&] {
        USHA1 hash;
        UCryptoStream cs(&Oskal::Lib::IO::UStream::Null(), &hash, eCryptoStreamMode_Write);
        cs.Write(data.data(), static_cast<long>(data.size()));
        cs.FlushFinalBlock();
    });
    OskalBench::Report("cryptostream.sha1", MBps(stream), "MB/s", "sha1.direct", MBps(sha1));
    return 0;
}
