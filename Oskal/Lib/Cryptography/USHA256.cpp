#include <Oskal/Lib/Cryptography/USHA256.h>

#include <Oskal/Lib/Cryptography/UCryptoCpu.h>

#include <windows.h>

#include <immintrin.h>

#include <cstring>

namespace Oskal { namespace Lib { namespace Cryptography {

namespace
{

alignas(16) const unsigned long K[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

inline unsigned long Ror(unsigned long x, int n)
{
    return (x >> n) | (x << (32 - n));
}

inline unsigned long LoadBigEndian(const unsigned char* p)
{
    return (static_cast<unsigned long>(p[0]) << 24) | (static_cast<unsigned long>(p[1]) << 16) |
           (static_cast<unsigned long>(p[2]) << 8) | p[3];
}

void CompressPortable(unsigned long* state, const unsigned char* data, unsigned long blocks, unsigned char* copy)
{
    unsigned long w[64];
    for (; blocks != 0; --blocks, data += 64)
    {
        if (copy != nullptr)
        {
            std::memcpy(copy, data, 64);
            copy += 64;
        }
        for (int i = 0; i < 16; ++i)
            w[i] = LoadBigEndian(data + 4 * i);
        for (int i = 16; i < 64; ++i)
        {
            const unsigned long s0 = Ror(w[i - 15], 7) ^ Ror(w[i - 15], 18) ^ (w[i - 15] >> 3);
            const unsigned long s1 = Ror(w[i - 2], 17) ^ Ror(w[i - 2], 19) ^ (w[i - 2] >> 10);
            w[i] = w[i - 16] + s0 + w[i - 7] + s1;
        }
        unsigned long a = state[0], b = state[1], c = state[2], d = state[3];
        unsigned long e = state[4], f = state[5], g = state[6], h = state[7];
        for (int i = 0; i < 64; ++i)
        {
            const unsigned long t1 = h + (Ror(e, 6) ^ Ror(e, 11) ^ Ror(e, 25)) + (g ^ (e & (f ^ g))) + K[i] + w[i];
            const unsigned long t2 = (Ror(a, 2) ^ Ror(a, 13) ^ Ror(a, 22)) + ((a & b) | (c & (a | b)));
            h = g;
            g = f;
            f = e;
            e = d + t1;
            d = c;
            c = b;
            b = a;
            a = t1 + t2;
        }
        state[0] += a;
        state[1] += b;
        state[2] += c;
        state[3] += d;
        state[4] += e;
        state[5] += f;
        state[6] += g;
        state[7] += h;
    }
    SecureZeroMemory(w, sizeof(w));
}

// Four rounds with the SHA extensions: group i covers rounds 4i to 4i+3. Message words of later
// groups are built ahead in registers W[0..3] (msg1 three groups ahead, msg2 one group ahead).
#define SHA256_GROUP(i)                                                                                                \
    do                                                                                                                 \
    {                                                                                                                  \
        if ((i) < 4)                                                                                                   \
        {                                                                                                              \
            const __m128i raw = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + 16 * (i)));                    \
            if (copy != nullptr)                                                                                       \
                _mm_storeu_si128(reinterpret_cast<__m128i*>(copy + 16 * (i)), raw);                                    \
            W[(i)&3] = _mm_shuffle_epi8(raw, mask);                                                                    \
        }                                                                                                              \
        msg = _mm_add_epi32(W[(i)&3], _mm_load_si128(reinterpret_cast<const __m128i*>(K + 4 * (i))));                  \
        state1 = _mm_sha256rnds2_epu32(state1, state0, msg);                                                           \
        if ((i) >= 3 && (i) <= 14)                                                                                     \
        {                                                                                                              \
            const __m128i t = _mm_alignr_epi8(W[(i)&3], W[((i) + 3) & 3], 4);                                          \
            W[((i) + 1) & 3] = _mm_sha256msg2_epu32(_mm_add_epi32(W[((i) + 1) & 3], t), W[(i)&3]);                     \
        }                                                                                                              \
        msg = _mm_shuffle_epi32(msg, 0x0E);                                                                            \
        state0 = _mm_sha256rnds2_epu32(state0, state1, msg);                                                           \
        if ((i) >= 1 && (i) <= 12)                                                                                     \
            W[((i) + 3) & 3] = _mm_sha256msg1_epu32(W[((i) + 3) & 3], W[(i)&3]);                                       \
    } while (0)

__attribute__((target("sha,sse4.1"))) void CompressSha(unsigned long* state, const unsigned char* data,
                                                       unsigned long blocks, unsigned char* copy)
{
    const __m128i mask = _mm_set_epi64x(0x0c0d0e0f08090a0bLL, 0x0405060700010203LL);
    // The instructions want the state as ABEF and CDGH.
    __m128i t = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(state)), 0xB1);
    __m128i state1 = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(state + 4)), 0x1B);
    __m128i state0 = _mm_alignr_epi8(t, state1, 8);
    state1 = _mm_blend_epi16(state1, t, 0xF0);
    for (; blocks != 0; --blocks, data += 64, copy = copy != nullptr ? copy + 64 : nullptr)
    {
        const __m128i abefSave = state0;
        const __m128i cdghSave = state1;
        __m128i W[4];
        __m128i msg;
        SHA256_GROUP(0);
        SHA256_GROUP(1);
        SHA256_GROUP(2);
        SHA256_GROUP(3);
        SHA256_GROUP(4);
        SHA256_GROUP(5);
        SHA256_GROUP(6);
        SHA256_GROUP(7);
        SHA256_GROUP(8);
        SHA256_GROUP(9);
        SHA256_GROUP(10);
        SHA256_GROUP(11);
        SHA256_GROUP(12);
        SHA256_GROUP(13);
        SHA256_GROUP(14);
        SHA256_GROUP(15);
        state0 = _mm_add_epi32(state0, abefSave);
        state1 = _mm_add_epi32(state1, cdghSave);
    }
    t = _mm_shuffle_epi32(state0, 0x1B);
    state1 = _mm_shuffle_epi32(state1, 0xB1);
    state0 = _mm_blend_epi16(t, state1, 0xF0);
    state1 = _mm_alignr_epi8(state1, t, 8);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(state), state0);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(state + 4), state1);
}

#undef SHA256_GROUP

void Compress(unsigned long* state, const unsigned char* data, unsigned long blocks, unsigned char* copy)
{
    if (IsShaAccelerated())
        CompressSha(state, data, blocks, copy);
    else
        CompressPortable(state, data, blocks, copy);
}

} // namespace

USHA256* USHA256::Create()
{
    return new USHA256();
}

USHA256::USHA256() : USHABase(32, 64)
{
    Reset();
}

USHA256::USHA256(const USHA256& other) : USHABase(other)
{
    std::memcpy(m_aulState, other.m_aulState, sizeof(m_aulState));
}

USHA256& USHA256::operator=(const USHA256& other)
{
    USHABase::operator=(other);
    std::memcpy(m_aulState, other.m_aulState, sizeof(m_aulState));
    return *this;
}

USHA256::~USHA256()
{
    SecureZeroMemory(m_aulState, sizeof(m_aulState));
}

void USHA256::Reset()
{
    USHABase::Reset();
    m_aulState[0] = 0x6a09e667;
    m_aulState[1] = 0xbb67ae85;
    m_aulState[2] = 0x3c6ef372;
    m_aulState[3] = 0xa54ff53a;
    m_aulState[4] = 0x510e527f;
    m_aulState[5] = 0x9b05688c;
    m_aulState[6] = 0x1f83d9ab;
    m_aulState[7] = 0x5be0cd19;
}

void USHA256::ProcessMessageBlock(const unsigned char* pbyBlock)
{
    Compress(m_aulState, pbyBlock, 1, nullptr);
}

void USHA256::ProcessMessageBlocks(const unsigned char* pbyBlocks, unsigned long ulBlocks, unsigned char* pbyCopy)
{
    Compress(m_aulState, pbyBlocks, ulBlocks, pbyCopy);
}

void USHA256::InitDigest()
{
    StoreDigestWords(m_aulState, 8);
}

}}} // namespace Oskal::Lib::Cryptography
