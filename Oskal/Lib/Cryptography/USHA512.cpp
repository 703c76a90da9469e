#include <Oskal/Lib/Cryptography/USHA512.h>

#include <Oskal/Lib/Cryptography/UCryptoCpu.h>

#include <windows.h>

#include <immintrin.h>

#include <cstring>

namespace Oskal { namespace Lib { namespace Cryptography {

namespace
{

typedef unsigned long long u64;

alignas(16) const u64 K[80] = {
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

void CompressPortable(u64* state, const unsigned char* data, unsigned long blocks, unsigned char* copy)
{
    u64 w[16];
    for (; blocks != 0; --blocks, data += 128)
    {
        if (copy != nullptr)
        {
            std::memcpy(copy, data, 128);
            copy += 128;
        }
        for (int i = 0; i < 16; ++i)
            w[i] = LoadBigEndian(data + 8 * i);
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
    }
    SecureZeroMemory(w, sizeof(w));
}

#undef ROUND
#undef G1
#undef G0
#undef S1
#undef S0

// 32-bit code has no 64-bit integer registers, but SSE2 adds and shifts 64-bit lanes. The message
// schedule is built two words per XMM register, with the round constants already added. The
// rounds keep one word per register; eight registers cannot hold the eight working variables and
// a round's temporaries, so the variables live in a frame on the stack that slides down one word
// per round (last round's a is this round's b, and so on), with a and e also kept in registers.
#define VROR(x, n) _mm_xor_si128(_mm_srli_epi64((x), (n)), _mm_slli_epi64((x), 64 - (n)))

__attribute__((target("ssse3"), always_inline)) inline void ScheduleVector(u64* wk, const unsigned char* block)
{
    const __m128i swap = _mm_set_epi8(8, 9, 10, 11, 12, 13, 14, 15, 0, 1, 2, 3, 4, 5, 6, 7);
    // The last sixteen words, two per register; w[i & 7] holds words 2i-16 and 2i-15.
    __m128i w[8];
    for (int i = 0; i < 8; ++i)
    {
        w[i] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(block + 16 * i)), swap);
        _mm_store_si128(reinterpret_cast<__m128i*>(wk + 2 * i),
                        _mm_add_epi64(w[i], _mm_load_si128(reinterpret_cast<const __m128i*>(K + 2 * i))));
    }
    for (int i = 8; i < 40; ++i)
    {
        const __m128i w16 = w[i & 7];
        const __m128i w15 = _mm_alignr_epi8(w[(i + 1) & 7], w16, 8);
        const __m128i w7 = _mm_alignr_epi8(w[(i + 5) & 7], w[(i + 4) & 7], 8);
        const __m128i w2 = w[(i + 7) & 7];
        const __m128i g1 = _mm_xor_si128(_mm_xor_si128(VROR(w2, 19), VROR(w2, 61)), _mm_srli_epi64(w2, 6));
        const __m128i g0 = _mm_xor_si128(_mm_xor_si128(VROR(w15, 1), VROR(w15, 8)), _mm_srli_epi64(w15, 7));
        w[i & 7] = _mm_add_epi64(_mm_add_epi64(g1, w7), _mm_add_epi64(g0, w16));
        _mm_store_si128(reinterpret_cast<__m128i*>(wk + 2 * i),
                        _mm_add_epi64(w[i & 7], _mm_load_si128(reinterpret_cast<const __m128i*>(K + 2 * i))));
    }
}

// One round with the frame at O(%[p]): a..h at offsets 0..56, the new a goes to -8 and the new e
// over d, which the next frame sees as its e. xmm0 = a, xmm4 = e, BC = b ^ c on entry; AB gets
// a ^ b, the next round's b ^ c, so Maj(a, b, c) = ((a ^ b) & (b ^ c)) ^ b costs three
// operations. Each sigma shifts two copies of its input in opposite directions, each shift
// building on the last: Sigma1 rotates by 14, 18 and 41, Sigma0 by 28, 34 and 39.
#define SHA512_ROUND(O, K, BC, AB)                                                                                     \
    "movq " #O "+56(%[p]), %%xmm5\n\t"                                                                                 \
    "movq " #K "(%[w]), %%xmm2\n\t"                                                                                    \
    "paddq %%xmm2, %%xmm5\n\t"                                                                                         \
    "movq " #O "+40(%[p]), %%xmm3\n\t"                                                                                 \
    "movq " #O "+48(%[p]), %%xmm1\n\t"                                                                                 \
    "pxor %%xmm1, %%xmm3\n\t"                                                                                          \
    "pand %%xmm4, %%xmm3\n\t"                                                                                          \
    "pxor %%xmm1, %%xmm3\n\t"                                                                                          \
    "paddq %%xmm3, %%xmm5\n\t"                                                                                         \
    "movdqa %%xmm4, %%xmm1\n\t"                                                                                        \
    "movdqa %%xmm4, %%xmm2\n\t"                                                                                        \
    "psrlq $14, %%xmm1\n\t"                                                                                            \
    "psllq $23, %%xmm2\n\t"                                                                                            \
    "movdqa %%xmm1, %%xmm3\n\t"                                                                                        \
    "pxor %%xmm2, %%xmm3\n\t"                                                                                          \
    "psrlq $4, %%xmm1\n\t"                                                                                             \
    "pxor %%xmm1, %%xmm3\n\t"                                                                                          \
    "psllq $23, %%xmm2\n\t"                                                                                            \
    "pxor %%xmm2, %%xmm3\n\t"                                                                                          \
    "psrlq $23, %%xmm1\n\t"                                                                                            \
    "pxor %%xmm1, %%xmm3\n\t"                                                                                          \
    "psllq $4, %%xmm2\n\t"                                                                                             \
    "pxor %%xmm2, %%xmm3\n\t"                                                                                          \
    "paddq %%xmm3, %%xmm5\n\t"                                                                                         \
    "movq " #O "+24(%[p]), %%xmm4\n\t"                                                                                 \
    "paddq %%xmm5, %%xmm4\n\t"                                                                                         \
    "movq %%xmm4, " #O "+24(%[p])\n\t"                                                                                 \
    "movdqa %%xmm0, %%xmm1\n\t"                                                                                        \
    "movdqa %%xmm0, %%xmm2\n\t"                                                                                        \
    "psrlq $28, %%xmm1\n\t"                                                                                            \
    "psllq $25, %%xmm2\n\t"                                                                                            \
    "movdqa %%xmm1, %%xmm3\n\t"                                                                                        \
    "pxor %%xmm2, %%xmm3\n\t"                                                                                          \
    "psrlq $6, %%xmm1\n\t"                                                                                             \
    "pxor %%xmm1, %%xmm3\n\t"                                                                                          \
    "psllq $5, %%xmm2\n\t"                                                                                             \
    "pxor %%xmm2, %%xmm3\n\t"                                                                                          \
    "psrlq $5, %%xmm1\n\t"                                                                                             \
    "pxor %%xmm1, %%xmm3\n\t"                                                                                          \
    "psllq $6, %%xmm2\n\t"                                                                                             \
    "pxor %%xmm2, %%xmm3\n\t"                                                                                          \
    "paddq %%xmm3, %%xmm5\n\t"                                                                                         \
    "movq " #O "+8(%[p]), %%xmm1\n\t"                                                                                  \
    "movdqa %%xmm0, %%" #AB "\n\t"                                                                                     \
    "pxor %%xmm1, %%" #AB "\n\t"                                                                                       \
    "pand %%" #AB ", %%" #BC "\n\t"                                                                                    \
    "pxor %%xmm1, %%" #BC "\n\t"                                                                                       \
    "paddq %%" #BC ", %%xmm5\n\t"                                                                                      \
    "movdqa %%xmm5, %%xmm0\n\t"                                                                                        \
    "movq %%xmm5, " #O "-8(%[p])\n\t"

__attribute__((target("ssse3"))) void CompressVector(u64* state, const unsigned char* data, unsigned long blocks,
                                                     unsigned char* copy)
{
    alignas(16) u64 wk[80];
    // Starts with a..h at frame[80..87] and ends, 80 rounds lower, with them at frame[0..7].
    alignas(16) u64 frame[88];
    for (; blocks != 0; --blocks, data += 128)
    {
        if (copy != nullptr)
        {
            std::memcpy(copy, data, 128);
            copy += 128;
        }
        ScheduleVector(wk, data);
        std::memcpy(frame + 80, state, 64);
        u64* p = frame + 80;
        const u64* w = wk;
        int pairs = 40;
        // clang-format off
        __asm__ volatile("movq 0(%[p]), %%xmm0\n\t"
                         "movq 32(%[p]), %%xmm4\n\t"
                         "movq 8(%[p]), %%xmm6\n\t"
                         "movq 16(%[p]), %%xmm7\n\t"
                         "pxor %%xmm7, %%xmm6\n\t"
                         "1:\n\t"
                         SHA512_ROUND(0, 0, xmm6, xmm7)
                         SHA512_ROUND(-8, 8, xmm7, xmm6)
                         "sub $16, %[p]\n\t"
                         "add $16, %[w]\n\t"
                         "dec %[n]\n\t"
                         "jnz 1b\n\t"
                         : [p] "+r"(p), [w] "+r"(w), [n] "+r"(pairs)
                         :
                         : "memory", "cc", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7");
        // clang-format on
        for (int i = 0; i < 8; ++i)
            state[i] += frame[i];
    }
    // Sixteen-byte stores: a byte loop over the schedule would cost more than a block's rounds.
    volatile __m128i* wipe = reinterpret_cast<volatile __m128i*>(wk);
    for (int i = 0; i < 40; ++i)
        wipe[i] = _mm_setzero_si128();
    wipe = reinterpret_cast<volatile __m128i*>(frame);
    for (int i = 0; i < 44; ++i)
        wipe[i] = _mm_setzero_si128();
}

#undef SHA512_ROUND
#undef VROR

void Compress(u64* state, const unsigned char* data, unsigned long blocks, unsigned char* copy)
{
    if (IsVectorAccelerated())
        CompressVector(state, data, blocks, copy);
    else
        CompressPortable(state, data, blocks, copy);
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
    Compress(m_aullState, pbyBlock, 1, nullptr);
}

void USHA512::ProcessMessageBlocks(const unsigned char* pbyBlocks, unsigned long ulBlocks, unsigned char* pbyCopy)
{
    Compress(m_aullState, pbyBlocks, ulBlocks, pbyCopy);
}

void USHA512::InitDigest()
{
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j)
            m_pbyDigest[8 * i + j] = static_cast<unsigned char>(m_aullState[i] >> (56 - 8 * j));
}

}}} // namespace Oskal::Lib::Cryptography
