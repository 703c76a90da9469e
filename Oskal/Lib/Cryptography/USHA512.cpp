#include <Oskal/Lib/Cryptography/USHA512.h>

#include <Oskal/Lib/Cryptography/UCryptoCpu.h>

#include <windows.h>

#include <immintrin.h>

#include <cstring>

namespace Oskal { namespace Lib { namespace Cryptography {

namespace
{

typedef unsigned long long u64;

const u64 K[80] = {
    0x428a2f98d728ae22ULL, 0x7137449123ef65cdULL, 0xb5c0fbcfec4d3b2fULL, 0xe9b5dba58189dbbcULL, 0x3956c25bf348b538ULL,
    0x59f111f1b605d019ULL, 0x923f82a4af194f9bULL, 0xab1c5ed5da6d8118ULL, 0xd807aa98a3030242ULL, 0x12835b0145706fbeULL,
    0x243185be4ee4b28cULL, 0x550c7dc3d5ffb4e2ULL, 0x72be5d74f27b896fULL, 0x80deb1fe3b1696b1ULL, 0x9bdc06a725c71235ULL,
    0xc19bf174cf692694ULL, 0xe49b69c19ef14ad2ULL, 0xefbe4786384f25e3ULL, 0x0fc19dc68b8cd5b5ULL, 0x240ca1cc77ac9c65ULL,
    0x2de92c6f592b0275ULL, 0x4a7484aa6ea6e483ULL, 0x5cb0a9dcbd41fbd4ULL, 0x76f988da831153b5ULL, 0x983e5152ee66dfabULL,
    0xa831c66d2db43210ULL, 0xb00327c898fb213fULL, 0xbf597fc7beef0ee4ULL, 0xc6e00bf33da88fc2ULL, 0xd5a79147930aa725ULL,
    0x06ca6351e003826fULL, 0x142929670a0e6e70ULL, 0x27b70a8546d22ffcULL, 0x2e1b21385c26c926ULL, 0x4d2c6dfc5ac42aedULL,
    0x53380d139d95b3dfULL, 0x650a73548baf63deULL, 0x766a0abb3c77b2a8ULL, 0x81c2c92e47edaee6ULL, 0x92722c851482353bULL,
    0xa2bfe8a14cf10364ULL, 0xa81a664bbc423001ULL, 0xc24b8b70d0f89791ULL, 0xc76c51a30654be30ULL, 0xd192e819d6ef5218ULL,
    0xd69906245565a910ULL, 0xf40e35855771202aULL, 0x106aa07032bbd1b8ULL, 0x19a4c116b8d2d0c8ULL, 0x1e376c085141ab53ULL,
    0x2748774cdf8eeb99ULL, 0x34b0bcb5e19b48a8ULL, 0x391c0cb3c5c95a63ULL, 0x4ed8aa4ae3418acbULL, 0x5b9cca4f7763e373ULL,
    0x682e6ff3d6b2b8a3ULL, 0x748f82ee5defb2fcULL, 0x78a5636f43172f60ULL, 0x84c87814a1f0ab72ULL, 0x8cc702081a6439ecULL,
    0x90befffa23631e28ULL, 0xa4506cebde82bde9ULL, 0xbef9a3f7b2c67915ULL, 0xc67178f2e372532bULL, 0xca273eceea26619cULL,
    0xd186b8c721c0c207ULL, 0xeada7dd6cde0eb1eULL, 0xf57d4f7fee6ed178ULL, 0x06f067aa72176fbaULL, 0x0a637dc5a2c898a6ULL,
    0x113f9804bef90daeULL, 0x1b710b35131c471bULL, 0x28db77f523047d84ULL, 0x32caab7b40c72493ULL, 0x3c9ebe0a15c9bebcULL,
    0x431d67c49c100d4cULL, 0x4cc5d4becb3e42b6ULL, 0x597f299cfc657e2aULL, 0x5fcb6fab3ad6faecULL, 0x6c44198c4a475817ULL};

inline u64 Ror(u64 x, int n)
{
    return (x >> n) | (x << (64 - n));
}

inline u64 LoadBigEndian(const unsigned char* p)
{
    const unsigned long hi = (static_cast<unsigned long>(p[0]) << 24) | (static_cast<unsigned long>(p[1]) << 16) |
                             (static_cast<unsigned long>(p[2]) << 8) | p[3];
    const unsigned long lo = (static_cast<unsigned long>(p[4]) << 24) | (static_cast<unsigned long>(p[5]) << 16) |
                             (static_cast<unsigned long>(p[6]) << 8) | p[7];
    return (static_cast<u64>(hi) << 32) | lo;
}

#define S0(x) (Ror((x), 28) ^ Ror((x), 34) ^ Ror((x), 39))
#define S1(x) (Ror((x), 14) ^ Ror((x), 18) ^ Ror((x), 41))
#define G0(x) (Ror((x), 1) ^ Ror((x), 8) ^ ((x) >> 7))
#define G1(x) (Ror((x), 19) ^ Ror((x), 61) ^ ((x) >> 6))
#define ROUND(a, b, c, d, e, f, g, h, k, w)                                                                            \
    do                                                                                                                 \
    {                                                                                                                  \
        const u64 t1 = (h) + S1(e) + ((g) ^ ((e) & ((f) ^ (g)))) + (k) + (w);                                          \
        (d) += t1;                                                                                                     \
        (h) = t1 + S0(a) + (((a) & (b)) | ((c) & ((a) | (b))));                                                        \
    } while (0)

void CompressPortable(u64* state, const unsigned char* block)
{
    u64 w[16];
    for (int i = 0; i < 16; ++i)
        w[i] = LoadBigEndian(block + 8 * i);
    u64 a = state[0], b = state[1], c = state[2], d = state[3];
    u64 e = state[4], f = state[5], g = state[6], h = state[7];
    // Eight rounds per pass, so the variables rotate by renaming instead of by copying.
    for (int i = 0; i < 16; i += 8)
    {
        ROUND(a, b, c, d, e, f, g, h, K[i], w[i]);
        ROUND(h, a, b, c, d, e, f, g, K[i + 1], w[i + 1]);
        ROUND(g, h, a, b, c, d, e, f, K[i + 2], w[i + 2]);
        ROUND(f, g, h, a, b, c, d, e, K[i + 3], w[i + 3]);
        ROUND(e, f, g, h, a, b, c, d, K[i + 4], w[i + 4]);
        ROUND(d, e, f, g, h, a, b, c, K[i + 5], w[i + 5]);
        ROUND(c, d, e, f, g, h, a, b, K[i + 6], w[i + 6]);
        ROUND(b, c, d, e, f, g, h, a, K[i + 7], w[i + 7]);
    }
#define W(j) (w[(j)&15] += G1(w[((j)-2) & 15]) + w[((j)-7) & 15] + G0(w[((j)-15) & 15]))
    for (int i = 16; i < 80; i += 8)
    {
        ROUND(a, b, c, d, e, f, g, h, K[i], W(i));
        ROUND(h, a, b, c, d, e, f, g, K[i + 1], W(i + 1));
        ROUND(g, h, a, b, c, d, e, f, K[i + 2], W(i + 2));
        ROUND(f, g, h, a, b, c, d, e, K[i + 3], W(i + 3));
        ROUND(e, f, g, h, a, b, c, d, K[i + 4], W(i + 4));
        ROUND(d, e, f, g, h, a, b, c, K[i + 5], W(i + 5));
        ROUND(c, d, e, f, g, h, a, b, K[i + 6], W(i + 6));
        ROUND(b, c, d, e, f, g, h, a, K[i + 7], W(i + 7));
    }
#undef W
    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
    state[4] += e;
    state[5] += f;
    state[6] += g;
    state[7] += h;
    SecureZeroMemory(w, sizeof(w));
}

#undef ROUND
#undef G1
#undef G0
#undef S1
#undef S0

// 32-bit code has no 64-bit integer registers, but the vector unit has 64-bit lanes: each working
// variable lives in the low lane of an XMM register, and the message schedule is built two words
// at a time with the round constants already added.
#define VROR(x, n) _mm_xor_si128(_mm_srli_epi64((x), (n)), _mm_slli_epi64((x), 64 - (n)))
#define VSHR(x, n) _mm_srli_epi64((x), (n))
#define VROUND(a, b, c, d, e, f, g, h, i)                                                                              \
    do                                                                                                                 \
    {                                                                                                                  \
        const __m128i s1 = _mm_xor_si128(_mm_xor_si128(VROR(e, 14), VROR(e, 18)), VROR(e, 41));                        \
        const __m128i ch = _mm_xor_si128(g, _mm_and_si128(e, _mm_xor_si128(f, g)));                                    \
        const __m128i t1 = _mm_add_epi64(                                                                              \
            _mm_add_epi64(h, s1), _mm_add_epi64(ch, _mm_loadl_epi64(reinterpret_cast<const __m128i*>(wk + (i)))));     \
        const __m128i s0 = _mm_xor_si128(_mm_xor_si128(VROR(a, 28), VROR(a, 34)), VROR(a, 39));                        \
        const __m128i maj = _mm_or_si128(_mm_and_si128(a, b), _mm_and_si128(c, _mm_or_si128(a, b)));                   \
        d = _mm_add_epi64(d, t1);                                                                                      \
        h = _mm_add_epi64(t1, _mm_add_epi64(s0, maj));                                                                 \
    } while (0)

__attribute__((target("ssse3"))) void CompressVector(u64* state, const unsigned char* block)
{
    alignas(16) u64 w[80];
    alignas(16) u64 wk[80];
    const __m128i swap = _mm_set_epi8(8, 9, 10, 11, 12, 13, 14, 15, 0, 1, 2, 3, 4, 5, 6, 7);
    for (int i = 0; i < 16; i += 2)
    {
        const __m128i x = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(block + 8 * i)), swap);
        _mm_store_si128(reinterpret_cast<__m128i*>(w + i), x);
        _mm_store_si128(reinterpret_cast<__m128i*>(wk + i),
                        _mm_add_epi64(x, _mm_loadu_si128(reinterpret_cast<const __m128i*>(K + i))));
    }
    for (int i = 16; i < 80; i += 2)
    {
        const __m128i w2 = _mm_load_si128(reinterpret_cast<const __m128i*>(w + i - 2));
        const __m128i w7 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(w + i - 7));
        const __m128i w15 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(w + i - 15));
        const __m128i w16 = _mm_load_si128(reinterpret_cast<const __m128i*>(w + i - 16));
        const __m128i g1 = _mm_xor_si128(_mm_xor_si128(VROR(w2, 19), VROR(w2, 61)), VSHR(w2, 6));
        const __m128i g0 = _mm_xor_si128(_mm_xor_si128(VROR(w15, 1), VROR(w15, 8)), VSHR(w15, 7));
        const __m128i x = _mm_add_epi64(_mm_add_epi64(g1, w7), _mm_add_epi64(g0, w16));
        _mm_store_si128(reinterpret_cast<__m128i*>(w + i), x);
        _mm_store_si128(reinterpret_cast<__m128i*>(wk + i),
                        _mm_add_epi64(x, _mm_loadu_si128(reinterpret_cast<const __m128i*>(K + i))));
    }
    __m128i a = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(state + 0));
    __m128i b = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(state + 1));
    __m128i c = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(state + 2));
    __m128i d = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(state + 3));
    __m128i e = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(state + 4));
    __m128i f = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(state + 5));
    __m128i g = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(state + 6));
    __m128i h = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(state + 7));
    for (int i = 0; i < 80; i += 8)
    {
        VROUND(a, b, c, d, e, f, g, h, i);
        VROUND(h, a, b, c, d, e, f, g, i + 1);
        VROUND(g, h, a, b, c, d, e, f, i + 2);
        VROUND(f, g, h, a, b, c, d, e, i + 3);
        VROUND(e, f, g, h, a, b, c, d, i + 4);
        VROUND(d, e, f, g, h, a, b, c, i + 5);
        VROUND(c, d, e, f, g, h, a, b, i + 6);
        VROUND(b, c, d, e, f, g, h, a, i + 7);
    }
    const __m128i* s = reinterpret_cast<const __m128i*>(state);
    __m128i* out = reinterpret_cast<__m128i*>(state);
    _mm_storeu_si128(out, _mm_add_epi64(_mm_loadu_si128(s), _mm_unpacklo_epi64(a, b)));
    _mm_storeu_si128(out + 1, _mm_add_epi64(_mm_loadu_si128(s + 1), _mm_unpacklo_epi64(c, d)));
    _mm_storeu_si128(out + 2, _mm_add_epi64(_mm_loadu_si128(s + 2), _mm_unpacklo_epi64(e, f)));
    _mm_storeu_si128(out + 3, _mm_add_epi64(_mm_loadu_si128(s + 3), _mm_unpacklo_epi64(g, h)));
    SecureZeroMemory(w, sizeof(w));
    SecureZeroMemory(wk, sizeof(wk));
}

#undef VROUND
#undef VSHR
#undef VROR

void Compress(u64* state, const unsigned char* block)
{
    if (IsVectorAccelerated())
        CompressVector(state, block);
    else
        CompressPortable(state, block);
}

} // namespace

USHA512* USHA512::Create()
{
    return new USHA512();
}

USHA512::USHA512() : USHABase(64, 128)
{
    Reset();
}

USHA512::USHA512(const USHA512& other) : USHABase(other)
{
    std::memcpy(m_aullState, other.m_aullState, sizeof(m_aullState));
}

USHA512& USHA512::operator=(const USHA512& other)
{
    USHABase::operator=(other);
    std::memcpy(m_aullState, other.m_aullState, sizeof(m_aullState));
    return *this;
}

USHA512::~USHA512()
{
    SecureZeroMemory(m_aullState, sizeof(m_aullState));
}

void USHA512::Reset()
{
    USHABase::Reset();
    m_aullState[0] = 0x6a09e667f3bcc908ULL;
    m_aullState[1] = 0xbb67ae8584caa73bULL;
    m_aullState[2] = 0x3c6ef372fe94f82bULL;
    m_aullState[3] = 0xa54ff53a5f1d36f1ULL;
    m_aullState[4] = 0x510e527fade682d1ULL;
    m_aullState[5] = 0x9b05688c2b3e6c1fULL;
    m_aullState[6] = 0x1f83d9abfb41bd6bULL;
    m_aullState[7] = 0x5be0cd19137e2179ULL;
}

void USHA512::ProcessMessageBlock(const unsigned char* pbyBlock)
{
    Compress(m_aullState, pbyBlock);
}

void USHA512::InitDigest()
{
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j)
            m_pbyDigest[8 * i + j] = static_cast<unsigned char>(m_aullState[i] >> (56 - 8 * j));
}

}}} // namespace Oskal::Lib::Cryptography
