#include <Oskal/Lib/Cryptography/URijndaelTransform.h>

#include <Oskal/Lib/Cryptography/UCryptoCpu.h>
#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/UArgumentException.h>

#include <windows.h>

#include <immintrin.h>

#include <cstdint>
#include <cstring>

namespace Oskal { namespace Lib { namespace Cryptography {

namespace
{

const unsigned long kBlock = 16;
const int kMaxRounds = 14;
const unsigned long kScheduleSize = 16 * (kMaxRounds + 1);

// ---- Portable cipher: the usual 32-bit table implementation ------------------------------------

inline std::uint32_t Ror(std::uint32_t x, int n)
{
    return (x >> n) | (x << (32 - n));
}

inline std::uint32_t LoadBigEndian(const unsigned char* p)
{
    return (static_cast<std::uint32_t>(p[0]) << 24) | (static_cast<std::uint32_t>(p[1]) << 16) |
           (static_cast<std::uint32_t>(p[2]) << 8) | p[3];
}

inline void StoreBigEndian(unsigned char* p, std::uint32_t v)
{
    p[0] = static_cast<unsigned char>(v >> 24);
    p[1] = static_cast<unsigned char>(v >> 16);
    p[2] = static_cast<unsigned char>(v >> 8);
    p[3] = static_cast<unsigned char>(v);
}

struct Tables
{
    unsigned char S[256];
    unsigned char Si[256];
    std::uint32_t Te[4][256];
    std::uint32_t Td[4][256];

    static unsigned char Mul(unsigned char a, unsigned char b)
    {
        unsigned char r = 0;
        while (b != 0)
        {
            if (b & 1)
                r ^= a;
            a = static_cast<unsigned char>((a << 1) ^ ((a & 0x80) ? 0x1B : 0));
            b >>= 1;
        }
        return r;
    }

    Tables()
    {
        // Inverses from powers of the generator 3, then the affine map of FIPS 197.
        unsigned char power[255];
        unsigned char log[256] = {};
        unsigned char x = 1;
        for (int i = 0; i < 255; ++i)
        {
            power[i] = x;
            log[x] = static_cast<unsigned char>(i);
            x = static_cast<unsigned char>(x ^ Mul(x, 2));
        }
        for (int i = 0; i < 256; ++i)
        {
            const unsigned int inv = i == 0 ? 0 : power[(255 - log[i]) % 255];
            unsigned int s = inv;
            for (int k = 1; k <= 4; ++k)
                s ^= ((inv << k) | (inv >> (8 - k))) & 0xFF;
            s ^= 0x63;
            S[i] = static_cast<unsigned char>(s);
            Si[s] = static_cast<unsigned char>(i);
        }
        for (int i = 0; i < 256; ++i)
        {
            const unsigned char s = S[i];
            const std::uint32_t te = (static_cast<std::uint32_t>(Mul(s, 2)) << 24) |
                                     (static_cast<std::uint32_t>(s) << 16) | (static_cast<std::uint32_t>(s) << 8) |
                                     Mul(s, 3);
            const unsigned char si = Si[i];
            const std::uint32_t td = (static_cast<std::uint32_t>(Mul(si, 14)) << 24) |
                                     (static_cast<std::uint32_t>(Mul(si, 9)) << 16) |
                                     (static_cast<std::uint32_t>(Mul(si, 13)) << 8) | Mul(si, 11);
            for (int k = 0; k < 4; ++k)
            {
                Te[k][i] = k == 0 ? te : Ror(te, 8 * k);
                Td[k][i] = k == 0 ? td : Ror(td, 8 * k);
            }
        }
    }
};

const Tables& T()
{
    static const Tables s_tables;
    return s_tables;
}

void EncryptBlockPortable(const unsigned char* keys, int rounds, const unsigned char* in, unsigned char* out)
{
    const Tables& t = T();
    const unsigned char* rk = keys;
    std::uint32_t s0 = LoadBigEndian(in) ^ LoadBigEndian(rk);
    std::uint32_t s1 = LoadBigEndian(in + 4) ^ LoadBigEndian(rk + 4);
    std::uint32_t s2 = LoadBigEndian(in + 8) ^ LoadBigEndian(rk + 8);
    std::uint32_t s3 = LoadBigEndian(in + 12) ^ LoadBigEndian(rk + 12);
    for (int r = 1; r < rounds; ++r)
    {
        rk += 16;
        const std::uint32_t t0 = t.Te[0][s0 >> 24] ^ t.Te[1][(s1 >> 16) & 0xFF] ^ t.Te[2][(s2 >> 8) & 0xFF] ^
                                 t.Te[3][s3 & 0xFF] ^ LoadBigEndian(rk);
        const std::uint32_t t1 = t.Te[0][s1 >> 24] ^ t.Te[1][(s2 >> 16) & 0xFF] ^ t.Te[2][(s3 >> 8) & 0xFF] ^
                                 t.Te[3][s0 & 0xFF] ^ LoadBigEndian(rk + 4);
        const std::uint32_t t2 = t.Te[0][s2 >> 24] ^ t.Te[1][(s3 >> 16) & 0xFF] ^ t.Te[2][(s0 >> 8) & 0xFF] ^
                                 t.Te[3][s1 & 0xFF] ^ LoadBigEndian(rk + 8);
        const std::uint32_t t3 = t.Te[0][s3 >> 24] ^ t.Te[1][(s0 >> 16) & 0xFF] ^ t.Te[2][(s1 >> 8) & 0xFF] ^
                                 t.Te[3][s2 & 0xFF] ^ LoadBigEndian(rk + 12);
        s0 = t0;
        s1 = t1;
        s2 = t2;
        s3 = t3;
    }
    rk += 16;
    const unsigned char* S = t.S;
#define LAST(a, b, c, d)                                                                                               \
    ((static_cast<std::uint32_t>(S[(a) >> 24]) << 24) | (static_cast<std::uint32_t>(S[((b) >> 16) & 0xFF]) << 16) |    \
     (static_cast<std::uint32_t>(S[((c) >> 8) & 0xFF]) << 8) | S[(d)&0xFF])
    StoreBigEndian(out, LAST(s0, s1, s2, s3) ^ LoadBigEndian(rk));
    StoreBigEndian(out + 4, LAST(s1, s2, s3, s0) ^ LoadBigEndian(rk + 4));
    StoreBigEndian(out + 8, LAST(s2, s3, s0, s1) ^ LoadBigEndian(rk + 8));
    StoreBigEndian(out + 12, LAST(s3, s0, s1, s2) ^ LoadBigEndian(rk + 12));
#undef LAST
}

// Equivalent inverse cipher: the round keys were put through InvMixColumns at expansion.
void DecryptBlockPortable(const unsigned char* keys, int rounds, const unsigned char* in, unsigned char* out)
{
    const Tables& t = T();
    const unsigned char* rk = keys;
    std::uint32_t s0 = LoadBigEndian(in) ^ LoadBigEndian(rk);
    std::uint32_t s1 = LoadBigEndian(in + 4) ^ LoadBigEndian(rk + 4);
    std::uint32_t s2 = LoadBigEndian(in + 8) ^ LoadBigEndian(rk + 8);
    std::uint32_t s3 = LoadBigEndian(in + 12) ^ LoadBigEndian(rk + 12);
    for (int r = 1; r < rounds; ++r)
    {
        rk += 16;
        const std::uint32_t t0 = t.Td[0][s0 >> 24] ^ t.Td[1][(s3 >> 16) & 0xFF] ^ t.Td[2][(s2 >> 8) & 0xFF] ^
                                 t.Td[3][s1 & 0xFF] ^ LoadBigEndian(rk);
        const std::uint32_t t1 = t.Td[0][s1 >> 24] ^ t.Td[1][(s0 >> 16) & 0xFF] ^ t.Td[2][(s3 >> 8) & 0xFF] ^
                                 t.Td[3][s2 & 0xFF] ^ LoadBigEndian(rk + 4);
        const std::uint32_t t2 = t.Td[0][s2 >> 24] ^ t.Td[1][(s1 >> 16) & 0xFF] ^ t.Td[2][(s0 >> 8) & 0xFF] ^
                                 t.Td[3][s3 & 0xFF] ^ LoadBigEndian(rk + 8);
        const std::uint32_t t3 = t.Td[0][s3 >> 24] ^ t.Td[1][(s2 >> 16) & 0xFF] ^ t.Td[2][(s1 >> 8) & 0xFF] ^
                                 t.Td[3][s0 & 0xFF] ^ LoadBigEndian(rk + 12);
        s0 = t0;
        s1 = t1;
        s2 = t2;
        s3 = t3;
    }
    rk += 16;
    const unsigned char* Si = t.Si;
#define LAST(a, b, c, d)                                                                                               \
    ((static_cast<std::uint32_t>(Si[(a) >> 24]) << 24) | (static_cast<std::uint32_t>(Si[((b) >> 16) & 0xFF]) << 16) |  \
     (static_cast<std::uint32_t>(Si[((c) >> 8) & 0xFF]) << 8) | Si[(d)&0xFF])
    StoreBigEndian(out, LAST(s0, s3, s2, s1) ^ LoadBigEndian(rk));
    StoreBigEndian(out + 4, LAST(s1, s0, s3, s2) ^ LoadBigEndian(rk + 4));
    StoreBigEndian(out + 8, LAST(s2, s1, s0, s3) ^ LoadBigEndian(rk + 8));
    StoreBigEndian(out + 12, LAST(s3, s2, s1, s0) ^ LoadBigEndian(rk + 12));
#undef LAST
}

// ---- AES-NI ------------------------------------------------------------------------------------
// The round keys are 16-byte aligned, so they serve as memory operands and the eight XMM registers
// of 32-bit code all hold blocks: eight blocks in flight hide the latency of the round instruction.

#define AESNI __attribute__((target("aes,sse4.1")))

#define FOR8(op) op(0) op(1) op(2) op(3) op(4) op(5) op(6) op(7)
#define LOAD8(i) __m128i b##i = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 16 * (i)));
#define WHITEN8(i) b##i = _mm_xor_si128(b##i, k0);
#define ENC8(i) b##i = _mm_aesenc_si128(b##i, rk[r]);
#define ENCLAST8(i) b##i = _mm_aesenclast_si128(b##i, rk[rounds]);
#define DEC8(i) b##i = _mm_aesdec_si128(b##i, rk[r]);
#define DECLAST8(i) b##i = _mm_aesdeclast_si128(b##i, rk[rounds]);
#define STORE8(i) _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16 * (i)), b##i);

AESNI __m128i EncryptOneNi(const __m128i* rk, int rounds, __m128i b)
{
    b = _mm_xor_si128(b, rk[0]);
    for (int r = 1; r < rounds; ++r)
        b = _mm_aesenc_si128(b, rk[r]);
    return _mm_aesenclast_si128(b, rk[rounds]);
}

AESNI __m128i DecryptOneNi(const __m128i* rk, int rounds, __m128i b)
{
    b = _mm_xor_si128(b, rk[0]);
    for (int r = 1; r < rounds; ++r)
        b = _mm_aesdec_si128(b, rk[r]);
    return _mm_aesdeclast_si128(b, rk[rounds]);
}

AESNI void EncryptBlocksNi(const unsigned char* keys, int rounds, const unsigned char* in, unsigned char* out,
                           unsigned long blocks)
{
    const __m128i* rk = reinterpret_cast<const __m128i*>(keys);
    for (; blocks >= 8; blocks -= 8, in += 128, out += 128)
    {
        const __m128i k0 = rk[0];
        FOR8(LOAD8)
        FOR8(WHITEN8)
        for (int r = 1; r < rounds; ++r)
        {
            FOR8(ENC8)
        }
        FOR8(ENCLAST8)
        FOR8(STORE8)
    }
    for (; blocks != 0; --blocks, in += 16, out += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                         EncryptOneNi(rk, rounds, _mm_loadu_si128(reinterpret_cast<const __m128i*>(in))));
}

AESNI void DecryptBlocksNi(const unsigned char* keys, int rounds, const unsigned char* in, unsigned char* out,
                           unsigned long blocks)
{
    const __m128i* rk = reinterpret_cast<const __m128i*>(keys);
    for (; blocks >= 8; blocks -= 8, in += 128, out += 128)
    {
        const __m128i k0 = rk[0];
        FOR8(LOAD8)
        FOR8(WHITEN8)
        for (int r = 1; r < rounds; ++r)
        {
            FOR8(DEC8)
        }
        FOR8(DECLAST8)
        FOR8(STORE8)
    }
    for (; blocks != 0; --blocks, in += 16, out += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                         DecryptOneNi(rk, rounds, _mm_loadu_si128(reinterpret_cast<const __m128i*>(in))));
}

// CBC enciphering is serial; the whitening of the next plain block is done off the chain.
AESNI void CbcEncryptNi(const unsigned char* keys, int rounds, unsigned char* chain, const unsigned char* in,
                        unsigned char* out, unsigned long blocks)
{
    const __m128i* rk = reinterpret_cast<const __m128i*>(keys);
    __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(chain));
    for (; blocks != 0; --blocks, in += 16, out += 16)
    {
        const __m128i p = _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in)), rk[0]);
        c = _mm_xor_si128(c, p);
        for (int r = 1; r < rounds; ++r)
            c = _mm_aesenc_si128(c, rk[r]);
        c = _mm_aesenclast_si128(c, rk[rounds]);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), c);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(chain), c);
}

#define CHAIN8(i)                                                                                                      \
    b##i = _mm_xor_si128(b##i, (i) == 0 ? c : _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 16 * (i)-16)));

// All eight results are chained before anything is stored, so the output may be the input.
AESNI void CbcDecryptNi(const unsigned char* keys, int rounds, unsigned char* chain, const unsigned char* in,
                        unsigned char* out, unsigned long blocks)
{
    const __m128i* rk = reinterpret_cast<const __m128i*>(keys);
    __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(chain));
    for (; blocks >= 8; blocks -= 8, in += 128, out += 128)
    {
        const __m128i k0 = rk[0];
        FOR8(LOAD8)
        FOR8(WHITEN8)
        for (int r = 1; r < rounds; ++r)
        {
            FOR8(DEC8)
        }
        FOR8(DECLAST8)
        FOR8(CHAIN8)
        c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 112));
        FOR8(STORE8)
    }
    for (; blocks != 0; --blocks, in += 16, out += 16)
    {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_xor_si128(DecryptOneNi(rk, rounds, x), c));
        c = x;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(chain), c);
}

AESNI void EncryptBlockNi(const unsigned char* keys, int rounds, const unsigned char* in, unsigned char* out)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                     EncryptOneNi(reinterpret_cast<const __m128i*>(keys), rounds,
                                  _mm_loadu_si128(reinterpret_cast<const __m128i*>(in))));
}

AESNI void DecryptBlockNi(const unsigned char* keys, int rounds, const unsigned char* in, unsigned char* out)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                     DecryptOneNi(reinterpret_cast<const __m128i*>(keys), rounds,
                                  _mm_loadu_si128(reinterpret_cast<const __m128i*>(in))));
}

#undef CHAIN8
#undef STORE8
#undef DECLAST8
#undef DEC8
#undef ENCLAST8
#undef ENC8
#undef WHITEN8
#undef LOAD8
#undef FOR8
#undef AESNI

// ---- Run-time choice ----------------------------------------------------------------------------

void EncryptBlocks(const unsigned char* keys, int rounds, const unsigned char* in, unsigned char* out,
                   unsigned long blocks)
{
    if (IsAesAccelerated())
        EncryptBlocksNi(keys, rounds, in, out, blocks);
    else
        for (; blocks != 0; --blocks, in += 16, out += 16)
            EncryptBlockPortable(keys, rounds, in, out);
}

void DecryptBlocks(const unsigned char* keys, int rounds, const unsigned char* in, unsigned char* out,
                   unsigned long blocks)
{
    if (IsAesAccelerated())
        DecryptBlocksNi(keys, rounds, in, out, blocks);
    else
        for (; blocks != 0; --blocks, in += 16, out += 16)
            DecryptBlockPortable(keys, rounds, in, out);
}

void CbcEncrypt(const unsigned char* keys, int rounds, unsigned char* chain, const unsigned char* in,
                unsigned char* out, unsigned long blocks)
{
    if (IsAesAccelerated())
    {
        CbcEncryptNi(keys, rounds, chain, in, out, blocks);
        return;
    }
    for (; blocks != 0; --blocks, in += 16, out += 16)
    {
        for (int i = 0; i < 16; ++i)
            chain[i] ^= in[i];
        EncryptBlockPortable(keys, rounds, chain, out);
        std::memcpy(chain, out, 16);
    }
}

void CbcDecrypt(const unsigned char* keys, int rounds, unsigned char* chain, const unsigned char* in,
                unsigned char* out, unsigned long blocks)
{
    if (IsAesAccelerated())
    {
        CbcDecryptNi(keys, rounds, chain, in, out, blocks);
        return;
    }
    unsigned char kept[16];
    for (; blocks != 0; --blocks, in += 16, out += 16)
    {
        std::memcpy(kept, in, 16);
        DecryptBlockPortable(keys, rounds, kept, out);
        for (int i = 0; i < 16; ++i)
            out[i] ^= chain[i];
        std::memcpy(chain, kept, 16);
    }
}

} // namespace

URijndaelTransform* URijndaelTransform::Create(int bEncrypting, unsigned long ulBlockSize, unsigned long ulFeedbackSize,
                                               UCipherMode eCipherMode, UPaddingMode ePaddingMode,
                                               const unsigned char* pbyKey, unsigned long ulKeySize,
                                               const unsigned char* pbyIV)
{
    return new URijndaelTransform(bEncrypting, ulBlockSize, ulFeedbackSize, eCipherMode, ePaddingMode, pbyKey,
                                  ulKeySize, pbyIV);
}

URijndaelTransform::URijndaelTransform(int bEncrypting, unsigned long ulBlockSize, unsigned long ulFeedbackSize,
                                       UCipherMode eCipherMode, UPaddingMode ePaddingMode, const unsigned char* pbyKey,
                                       unsigned long ulKeySize, const unsigned char* pbyIV)
    : USymmetricTransform(bEncrypting, ulBlockSize, ulFeedbackSize, eCipherMode, ePaddingMode, pbyIV), m_iRounds(0),
      m_pbyEncryptKeys(nullptr), m_pbyDecryptKeys(nullptr)
{
    if (ulBlockSize != 128)
        throw Exceptions::UArgumentException(L"ulBlockSize", L"Invalid block size.");
    if (ulKeySize != 128 && ulKeySize != 192 && ulKeySize != 256)
        throw Exceptions::UArgumentException(L"ulKeySize", L"Key size is not supported by the algorithm.");
    Internal::ThrowIfNull(pbyKey, L"pbyKey");
    m_ulKeySize = ulKeySize;
    m_iRounds = static_cast<int>(ulKeySize / 32) + 6;
    // Two schedules plus slack to align them for the AES instructions' memory operands.
    m_ulKeyMaterialSize = 2 * kScheduleSize + 15;
    m_pbyKeyMaterial = new unsigned char[m_ulKeyMaterialSize]();
    const std::uintptr_t base = reinterpret_cast<std::uintptr_t>(m_pbyKeyMaterial);
    m_pbyEncryptKeys = m_pbyKeyMaterial + ((16 - (base & 15)) & 15);
    m_pbyDecryptKeys = m_pbyEncryptKeys + kScheduleSize;
    ExpandKey(pbyKey);
}

URijndaelTransform::~URijndaelTransform() {}

void URijndaelTransform::ExpandKey(const unsigned char* pbyKey)
{
    const Tables& t = T();
    const int nk = static_cast<int>(m_ulKeySize / 32);
    const int words = 4 * (m_iRounds + 1);
    std::uint32_t w[4 * (kMaxRounds + 1)];
    for (int i = 0; i < nk; ++i)
        w[i] = LoadBigEndian(pbyKey + 4 * i);
    std::uint32_t rcon = 1;
    for (int i = nk; i < words; ++i)
    {
        std::uint32_t x = w[i - 1];
        if (i % nk == 0)
        {
            x = (x << 8) | (x >> 24);
            x = (static_cast<std::uint32_t>(t.S[x >> 24]) << 24) |
                (static_cast<std::uint32_t>(t.S[(x >> 16) & 0xFF]) << 16) |
                (static_cast<std::uint32_t>(t.S[(x >> 8) & 0xFF]) << 8) | t.S[x & 0xFF];
            x ^= rcon << 24;
            rcon = Tables::Mul(static_cast<unsigned char>(rcon), 2);
        }
        else if (nk > 6 && i % nk == 4)
        {
            x = (static_cast<std::uint32_t>(t.S[x >> 24]) << 24) |
                (static_cast<std::uint32_t>(t.S[(x >> 16) & 0xFF]) << 16) |
                (static_cast<std::uint32_t>(t.S[(x >> 8) & 0xFF]) << 8) | t.S[x & 0xFF];
        }
        w[i] = w[i - nk] ^ x;
    }
    for (int i = 0; i < words; ++i)
        StoreBigEndian(m_pbyEncryptKeys + 4 * i, w[i]);
    // Inverse schedule for the equivalent inverse cipher: reversed, with InvMixColumns applied to
    // the inner round keys. Td[k][S[b]] is InvMixColumns of the byte b in row k.
    for (int r = 0; r <= m_iRounds; ++r)
    {
        const unsigned char* src = m_pbyEncryptKeys + 16 * (m_iRounds - r);
        unsigned char* dst = m_pbyDecryptKeys + 16 * r;
        for (int j = 0; j < 4; ++j)
        {
            const std::uint32_t v = LoadBigEndian(src + 4 * j);
            if (r == 0 || r == m_iRounds)
                StoreBigEndian(dst + 4 * j, v);
            else
                StoreBigEndian(dst + 4 * j, t.Td[0][t.S[v >> 24]] ^ t.Td[1][t.S[(v >> 16) & 0xFF]] ^
                                                t.Td[2][t.S[(v >> 8) & 0xFF]] ^ t.Td[3][t.S[v & 0xFF]]);
        }
    }
    SecureZeroMemory(w, sizeof(w));
}

void URijndaelTransform::ECB(const unsigned char* pbyInput, unsigned char* pbyOutput)
{
    const bool forward = m_bEncrypting || m_eCipherMode == eCipherMode_CFB || m_eCipherMode == eCipherMode_OFB;
    if (IsAesAccelerated())
    {
        if (forward)
            EncryptBlockNi(m_pbyEncryptKeys, m_iRounds, pbyInput, pbyOutput);
        else
            DecryptBlockNi(m_pbyDecryptKeys, m_iRounds, pbyInput, pbyOutput);
    }
    else if (forward)
        EncryptBlockPortable(m_pbyEncryptKeys, m_iRounds, pbyInput, pbyOutput);
    else
        DecryptBlockPortable(m_pbyDecryptKeys, m_iRounds, pbyInput, pbyOutput);
}

unsigned long URijndaelTransform::TransformBlock(const unsigned char* pbyInput, unsigned long ulCount,
                                                 unsigned char* pbyOutput)
{
    // Runs of ECB and CBC blocks take the bulk paths; everything else goes block by block.
    if ((m_eCipherMode != eCipherMode_ECB && m_eCipherMode != eCipherMode_CBC) || ulCount < kBlock)
        return USymmetricTransform::TransformBlock(pbyInput, ulCount, pbyOutput);
    Internal::ThrowIfNull(pbyInput, L"pbyInput");
    Internal::ThrowIfNull(pbyOutput, L"pbyOutput");
    const unsigned long blocks = ulCount / kBlock;
    if (m_eCipherMode == eCipherMode_ECB)
    {
        if (m_bEncrypting)
            EncryptBlocks(m_pbyEncryptKeys, m_iRounds, pbyInput, pbyOutput, blocks);
        else
            DecryptBlocks(m_pbyDecryptKeys, m_iRounds, pbyInput, pbyOutput, blocks);
    }
    else if (m_bEncrypting)
        CbcEncrypt(m_pbyEncryptKeys, m_iRounds, m_pbyChain, pbyInput, pbyOutput, blocks);
    else
        CbcDecrypt(m_pbyDecryptKeys, m_iRounds, m_pbyChain, pbyInput, pbyOutput, blocks);
    return ulCount;
}

}}} // namespace Oskal::Lib::Cryptography
