#include <Oskal/Lib/Text/UUTF8Decoder.h>

#include <Oskal/Lib/Internal/CpuFeatures.h>
#include <Oskal/Lib/Text/UUTF8Encoding.h>

#include <cstdlib>
#include <emmintrin.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

namespace
{

// Asked per call, so that the portable switch takes effect at once.
bool UseSse2()
{
    return Internal::HasCpuFeatures(Internal::eCpuFeature_Sse2);
}

// Widens the ASCII run at the start of pbyInput (at least 16 bytes readable) to pwcOutput (room
// for every byte read) and returns its length. Whole blocks of 16 are written even when they
// end in a non-ASCII byte; the caller only counts the returned units as written.
__attribute__((target("sse2"))) unsigned long WidenAsciiSse2(const unsigned char* pbyInput, unsigned long ulCount,
                                                             wchar_t* pwcOutput)
{
    const __m128i zero = _mm_setzero_si128();
    unsigned long i = 0;
    for (; i + 16 <= ulCount; i += 16)
    {
        __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pbyInput + i));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pwcOutput + i), _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pwcOutput + i + 8), _mm_unpackhi_epi8(bytes, zero));
        unsigned int mask = static_cast<unsigned int>(_mm_movemask_epi8(bytes));
        if (mask != 0)
            return i + static_cast<unsigned long>(__builtin_ctz(mask));
    }
    return i;
}

__attribute__((target("sse2"))) unsigned long CountAsciiSse2(const unsigned char* pbyInput, unsigned long ulCount)
{
    unsigned long i = 0;
    for (; i + 16 <= ulCount; i += 16)
    {
        __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pbyInput + i));
        unsigned int mask = static_cast<unsigned int>(_mm_movemask_epi8(bytes));
        if (mask != 0)
            return i + static_cast<unsigned long>(__builtin_ctz(mask));
    }
    return i;
}

inline bool IsTrail(unsigned int b)
{
    return (b & 0xC0) == 0x80;
}

// The code-point loop's result for well-formed input, without its per-value bookkeeping. Stops
// at anything that needs it: an invalid or incomplete sequence, a surrogate value, a value beyond
// U+10FFFF. No sequence yields more units than it has bytes, so limiting the input to the room
// left keeps every write in bounds.
template <bool kWrite, bool kSse2>
unsigned long DecodeWellFormed(const unsigned char* pbyInput, unsigned long ulInputCount, wchar_t* pwcOutput,
                               unsigned long ulOutputSize, unsigned long* pulBytesUsed)
{
    const unsigned char* p = pbyInput;
    const unsigned char* end = pbyInput + (kWrite && ulOutputSize < ulInputCount ? ulOutputSize : ulInputCount);
    wchar_t* o = pwcOutput;
    unsigned long counted = 0;

    while (p < end)
    {
        const unsigned int lead = p[0];
        if (lead < 0x80)
        {
            // The vector loop also takes short runs: it ends at the first non-ASCII byte.
            const unsigned long left = static_cast<unsigned long>(end - p);
            if (kSse2 && left >= 32)
            {
                unsigned long run = kWrite ? WidenAsciiSse2(p, left, o) : CountAsciiSse2(p, left);
                p += run;
                if (kWrite)
                    o += run;
                else
                    counted += run;
                continue;
            }
            if (kWrite)
                *o++ = static_cast<wchar_t>(lead);
            else
                ++counted;
            ++p;
        }
        else if (lead < 0xE0)
        {
            if (end - p < 2 || !IsTrail(p[1]))
                break;
            if (kWrite)
                *o++ = static_cast<wchar_t>(((lead & 0x1F) << 6) | (p[1] & 0x3F));
            else
                ++counted;
            p += 2;
        }
        else if (lead < 0xF0)
        {
            if (end - p < 3 || !IsTrail(p[1]) || !IsTrail(p[2]))
                break;
            const unsigned int value = ((lead & 0x0F) << 12) | ((p[1] & 0x3Fu) << 6) | (p[2] & 0x3Fu);
            if ((value & 0xF800) == 0xD800)
                break;
            if (kWrite)
                *o++ = static_cast<wchar_t>(value);
            else
                ++counted;
            p += 3;
        }
        else if (lead < 0xF8)
        {
            if (end - p < 4 || !IsTrail(p[1]) || !IsTrail(p[2]) || !IsTrail(p[3]))
                break;
            const unsigned int value =
                ((lead & 0x07) << 18) | ((p[1] & 0x3Fu) << 12) | ((p[2] & 0x3Fu) << 6) | (p[3] & 0x3Fu);
            if (value >= 0x10000)
            {
                if (value > 0x10FFFF)
                    break;
                if (kWrite)
                {
                    o[0] = static_cast<wchar_t>(0xD7C0 + (value >> 10));
                    o[1] = static_cast<wchar_t>(0xDC00 + (value & 0x3FF));
                    o += 2;
                }
                else
                    counted += 2;
            }
            else
            {
                // An overlong four-byte form: accepted like any other, unless it is a surrogate.
                if ((value & 0xF800) == 0xD800)
                    break;
                if (kWrite)
                    *o++ = static_cast<wchar_t>(value);
                else
                    ++counted;
            }
            p += 4;
        }
        else
            break;
    }
    *pulBytesUsed = static_cast<unsigned long>(p - pbyInput);
    return kWrite ? static_cast<unsigned long>(o - pwcOutput) : counted;
}

} // namespace

UUTF8Decoder::UUTF8Decoder(UUTF8Encoding* pEncoding) : UDecoder(pEncoding) {}

UUTF8Decoder::~UUTF8Decoder() {}

UUTF8Decoder* UUTF8Decoder::Create(UUTF8Encoding* pEncoding)
{
    return new UUTF8Decoder(pEncoding);
}

long UUTF8Decoder::DecodeCodePoint(const unsigned char* pbyInput, unsigned long ulCount, unsigned long* pulCodePoint)
{
    return UUTF8Encoding::Decode(pbyInput, ulCount, pulCodePoint);
}

unsigned long UUTF8Decoder::DecodeRun(const unsigned char* pbyInput, unsigned long ulInputCount, wchar_t* pwcOutput,
                                      unsigned long ulOutputSize, unsigned long* pulBytesUsed)
{
    if (pwcOutput == nullptr)
        return UseSse2() ? DecodeWellFormed<false, true>(pbyInput, ulInputCount, nullptr, 0, pulBytesUsed)
                       : DecodeWellFormed<false, false>(pbyInput, ulInputCount, nullptr, 0, pulBytesUsed);

    // When the room limits the input, repeat with what is left until a sequence stops the run.
    unsigned long used = 0, written = 0;
    for (;;)
    {
        unsigned long room = ulOutputSize - written, left = ulInputCount - used, step = 0;
        unsigned long limit = room < left ? room : left;
        if (limit == 0)
            break;
        written += UseSse2() ? DecodeWellFormed<true, true>(pbyInput + used, left, pwcOutput + written, room, &step)
                           : DecodeWellFormed<true, false>(pbyInput + used, left, pwcOutput + written, room, &step);
        used += step;
        if (step < limit || limit == left)
            break;
    }
    *pulBytesUsed = used;
    return written;
}

} // namespace Text
} // namespace Lib
} // namespace Oskal
