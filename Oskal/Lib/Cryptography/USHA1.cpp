#include <Oskal/Lib/Cryptography/USHA1.h>

#include <Oskal/Lib/Cryptography/UCryptoCpu.h>

#include <windows.h>

#include <immintrin.h>

#include <cstring>

namespace Oskal { namespace Lib { namespace Cryptography {

namespace
{

inline unsigned long Rol(unsigned long x, int n)
{
    return (x << n) | (x >> (32 - n));
}

inline unsigned long LoadBigEndian(const unsigned char* p)
{
    return (static_cast<unsigned long>(p[0]) << 24) | (static_cast<unsigned long>(p[1]) << 16) |
           (static_cast<unsigned long>(p[2]) << 8) | p[3];
}

void CompressPortable(unsigned long* state, const unsigned char* data, unsigned long blocks, unsigned char* copy)
{
    unsigned long w[16];
    for (; blocks != 0; --blocks, data += 64)
    {
        if (copy != nullptr)
        {
            std::memcpy(copy, data, 64);
            copy += 64;
        }
        unsigned long a = state[0], b = state[1], c = state[2], d = state[3], e = state[4];
        for (int i = 0; i < 16; ++i)
            w[i] = LoadBigEndian(data + 4 * i);
        for (int i = 0; i < 80; ++i)
        {
            if (i >= 16)
                w[i & 15] = Rol(w[(i - 3) & 15] ^ w[(i - 8) & 15] ^ w[(i - 14) & 15] ^ w[i & 15], 1);
            unsigned long f, k;
            if (i < 20)
            {
                f = d ^ (b & (c ^ d));
                k = 0x5A827999;
            }
            else if (i < 40)
            {
                f = b ^ c ^ d;
                k = 0x6ED9EBA1;
            }
            else if (i < 60)
            {
                f = (b & c) | (d & (b | c));
                k = 0x8F1BBCDC;
            }
            else
            {
                f = b ^ c ^ d;
                k = 0xCA62C1D6;
            }
            const unsigned long t = Rol(a, 5) + f + e + k + w[i & 15];
            e = d;
            d = c;
            c = Rol(b, 30);
            b = a;
            a = t;
        }
        state[0] += a;
        state[1] += b;
        state[2] += c;
        state[3] += d;
        state[4] += e;
    }
    SecureZeroMemory(w, sizeof(w));
}

// Four rounds of the SHA extensions' schedule: group i covers rounds 4i to 4i+3. The message
// words of groups 4 to 19 are built three groups ahead (msg1, xor, msg2), in registers W[0..3].
#define SHA1_GROUP(i)                                                                                                  \
    do                                                                                                                 \
    {                                                                                                                  \
        if ((i) < 4)                                                                                                   \
        {                                                                                                              \
            const __m128i raw = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + 16 * (i)));                    \
            if (copy != nullptr)                                                                                       \
                _mm_storeu_si128(reinterpret_cast<__m128i*>(copy + 16 * (i)), raw);                                    \
            W[(i)&3] = _mm_shuffle_epi8(raw, mask);                                                                    \
        }                                                                                                              \
        if ((i) == 0)                                                                                                  \
            E[0] = _mm_add_epi32(E[0], W[0]);                                                                          \
        else                                                                                                           \
            E[(i)&1] = _mm_sha1nexte_epu32(E[(i)&1], W[(i)&3]);                                                        \
        E[((i) + 1) & 1] = abcd;                                                                                       \
        if ((i) >= 3 && (i) <= 18)                                                                                     \
            W[((i) + 1) & 3] = _mm_sha1msg2_epu32(W[((i) + 1) & 3], W[(i)&3]);                                         \
        abcd = _mm_sha1rnds4_epu32(abcd, E[(i)&1], (i) / 5);                                                           \
        if ((i) >= 1 && (i) <= 16)                                                                                     \
            W[((i) + 3) & 3] = _mm_sha1msg1_epu32(W[((i) + 3) & 3], W[(i)&3]);                                         \
        if ((i) >= 2 && (i) <= 17)                                                                                     \
            W[((i) + 2) & 3] = _mm_xor_si128(W[((i) + 2) & 3], W[(i)&3]);                                              \
    } while (0)

__attribute__((target("sha,sse4.1"))) void CompressSha(unsigned long* state, const unsigned char* data,
                                                       unsigned long blocks, unsigned char* copy)
{
    const __m128i mask = _mm_set_epi64x(0x0001020304050607LL, 0x08090a0b0c0d0e0fLL);
    __m128i abcd = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(state)), 0x1B);
    __m128i e0 = _mm_set_epi32(static_cast<int>(state[4]), 0, 0, 0);
    for (; blocks != 0; --blocks, data += 64, copy = copy != nullptr ? copy + 64 : nullptr)
    {
        const __m128i abcdSave = abcd;
        const __m128i eSave = e0;
        __m128i W[4];
        __m128i E[2];
        E[0] = e0;
        E[1] = e0;
        SHA1_GROUP(0);
        SHA1_GROUP(1);
        SHA1_GROUP(2);
        SHA1_GROUP(3);
        SHA1_GROUP(4);
        SHA1_GROUP(5);
        SHA1_GROUP(6);
        SHA1_GROUP(7);
        SHA1_GROUP(8);
        SHA1_GROUP(9);
        SHA1_GROUP(10);
        SHA1_GROUP(11);
        SHA1_GROUP(12);
        SHA1_GROUP(13);
        SHA1_GROUP(14);
        SHA1_GROUP(15);
        SHA1_GROUP(16);
        SHA1_GROUP(17);
        SHA1_GROUP(18);
        SHA1_GROUP(19);
        e0 = _mm_sha1nexte_epu32(E[0], eSave);
        abcd = _mm_add_epi32(abcd, abcdSave);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(state), _mm_shuffle_epi32(abcd, 0x1B));
    state[4] = static_cast<unsigned long>(_mm_extract_epi32(e0, 3));
}

#undef SHA1_GROUP

void Compress(unsigned long* state, const unsigned char* data, unsigned long blocks, unsigned char* copy)
{
    if (IsShaAccelerated())
        CompressSha(state, data, blocks, copy);
    else
        CompressPortable(state, data, blocks, copy);
}

} // namespace

USHA1* USHA1::Create()
{
    return new USHA1();
}

USHA1::USHA1() : USHABase(20, 64)
{
    Reset();
}

USHA1::USHA1(const USHA1& other) : USHABase(other)
{
    std::memcpy(m_aulState, other.m_aulState, sizeof(m_aulState));
}

USHA1& USHA1::operator=(const USHA1& other)
{
    USHABase::operator=(other);
    std::memcpy(m_aulState, other.m_aulState, sizeof(m_aulState));
    return *this;
}

USHA1::~USHA1()
{
    SecureZeroMemory(m_aulState, sizeof(m_aulState));
}

void USHA1::Reset()
{
    USHABase::Reset();
    m_aulState[0] = 0x67452301;
    m_aulState[1] = 0xEFCDAB89;
    m_aulState[2] = 0x98BADCFE;
    m_aulState[3] = 0x10325476;
    m_aulState[4] = 0xC3D2E1F0;
}

void USHA1::ProcessMessageBlock(const unsigned char* pbyBlock)
{
    Compress(m_aulState, pbyBlock, 1, nullptr);
}

void USHA1::ProcessMessageBlocks(const unsigned char* pbyBlocks, unsigned long ulBlocks, unsigned char* pbyCopy)
{
    Compress(m_aulState, pbyBlocks, ulBlocks, pbyCopy);
}

void USHA1::InitDigest()
{
    StoreDigestWords(m_aulState, 5);
}

}}} // namespace Oskal::Lib::Cryptography
