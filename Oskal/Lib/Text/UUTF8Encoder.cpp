#include <Oskal/Lib/Text/UUTF8Encoder.h>

#include <Oskal/Lib/Internal/CpuFeatures.h>
#include <Oskal/Lib/Text/UUTF8Encoding.h>

#include <cstdlib>
#include <cstring>
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

// Narrows the ASCII run at the start of pwcInput to pbyOutput (room for every unit read) and
// returns its length (with no output, only measures it).
__attribute__((target("sse2"))) unsigned long NarrowAsciiSse2(const wchar_t* pwcInput, unsigned long ulCount,
                                                              unsigned char* pbyOutput)
{
    const __m128i high = _mm_set1_epi16(static_cast<short>(0xFF80));
    const __m128i zero = _mm_setzero_si128();
    unsigned long i = 0;
    for (; i + 16 <= ulCount; i += 16)
    {
        __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pwcInput + i));
        __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pwcInput + i + 8));
        __m128i outside = _mm_and_si128(_mm_or_si128(a, b), high);
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(outside, zero)) != 0xFFFF)
            break;
        if (pbyOutput != nullptr)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(pbyOutput + i), _mm_packus_epi16(a, b));
    }
    if (pbyOutput != nullptr)
    {
        for (; i < ulCount && pwcInput[i] < 0x80; ++i)
            pbyOutput[i] = static_cast<unsigned char>(pwcInput[i]);
    }
    else
    {
        while (i < ulCount && pwcInput[i] < 0x80)
            ++i;
    }
    return i;
}

// The code-point loop's result for input that needs no fallback. Stops before an unpaired
// surrogate and before a high surrogate that ends the input (the loop keeps that one pending).
// Units below U+10000 are written without branching on their length, as one four-byte store of
// which one to three bytes count; the caller leaves room for the byte beyond the last unit.
template <bool kWrite, bool kSse2>
unsigned long EncodeWellFormed(const wchar_t* pwcInput, unsigned char* pbyOutput, unsigned long ulLimit,
                               unsigned long* pulCharsUsed)
{
    const wchar_t* p = pwcInput;
    const wchar_t* const end = pwcInput + ulLimit;
    unsigned char* o = pbyOutput;
    unsigned long counted = 0;

    while (p < end)
    {
        const unsigned int unit = p[0];
        if ((unit & 0xF800) != 0xD800)
        {
            if (unit < 0x80)
            {
                // ASCII one unit at a time while the run is short; a run that goes on goes to
                // the vector loop. Mixed text thus pays no call for its short runs.
                const wchar_t* const runStart = p;
                do
                {
                    if (kWrite)
                        *o++ = static_cast<unsigned char>(*p);
                    else
                        ++counted;
                    ++p;
                    if (kSse2 && p - runStart == 16 && end - p >= 32)
                    {
                        unsigned long run =
                            NarrowAsciiSse2(p, static_cast<unsigned long>(end - p), kWrite ? o : nullptr);
                        p += run;
                        if (kWrite)
                            o += run;
                        else
                            counted += run;
                        break;
                    }
                } while (p < end && *p < 0x80);
                continue;
            }
            const unsigned int length = 2 + (unit >= 0x800);
            if (kWrite)
            {
                const unsigned int two = (0xC0 | (unit >> 6)) | ((0x80 | (unit & 0x3F)) << 8);
                const unsigned int three =
                    (0xE0 | (unit >> 12)) | ((0x80 | ((unit >> 6) & 0x3F)) << 8) | ((0x80 | (unit & 0x3F)) << 16);
                const unsigned int word = unit < 0x800 ? two : three;
                std::memcpy(o, &word, 4);
                o += length;
            }
            else
                counted += length;
            ++p;
        }
        else
        {
            if (unit > 0xDBFF || end - p < 2 || (p[1] & 0xFC00) != 0xDC00)
                break;
            const unsigned int value = 0x10000 + ((unit - 0xD800) << 10) + (p[1] - 0xDC00u);
            if (kWrite)
            {
                o[0] = static_cast<unsigned char>(0xF0 | (value >> 18));
                o[1] = static_cast<unsigned char>(0x80 | ((value >> 12) & 0x3F));
                o[2] = static_cast<unsigned char>(0x80 | ((value >> 6) & 0x3F));
                o[3] = static_cast<unsigned char>(0x80 | (value & 0x3F));
                o += 4;
            }
            else
                counted += 4;
            p += 2;
        }
    }
    *pulCharsUsed = static_cast<unsigned long>(p - pwcInput);
    return kWrite ? static_cast<unsigned long>(o - pbyOutput) : counted;
}

} // namespace

UUTF8Encoder::UUTF8Encoder(UUTF8Encoding* pEncoding) : UEncoder(pEncoding) {}

UUTF8Encoder::~UUTF8Encoder() {}

UUTF8Encoder* UUTF8Encoder::Create(UUTF8Encoding* pEncoding)
{
    return new UUTF8Encoder(pEncoding);
}

long UUTF8Encoder::EncodeCodePoint(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize)
{
    return UUTF8Encoding::Encode(ulCodePoint, pbyOutput, ulSize);
}

long UUTF8Encoder::GetByteCountFromCodePoint(unsigned long ulCodePoint)
{
    return UUTF8Encoding::ByteCount(ulCodePoint);
}

unsigned long UUTF8Encoder::EncodeRun(const wchar_t* pwcInput, unsigned long ulInputCount, unsigned char* pbyOutput,
                                      unsigned long ulOutputSize, unsigned long* pulCharsUsed)
{
    if (pbyOutput == nullptr)
        return UseSse2() ? EncodeWellFormed<false, true>(pwcInput, nullptr, ulInputCount, pulCharsUsed)
                       : EncodeWellFormed<false, false>(pwcInput, nullptr, ulInputCount, pulCharsUsed);

    // When the room limits the input, repeat with what is left until a unit stops the run.
    unsigned long used = 0, written = 0;
    for (;;)
    {
        unsigned long left = ulInputCount - used, step = 0;
        // Three bytes per unit at most, plus the spare byte of the four-byte stores.
        unsigned long room = ulOutputSize - written;
        unsigned long limit = room != 0 ? (room - 1) / 3 : 0;
        if (limit > left)
            limit = left;
        if (limit == 0)
            break;
        written += UseSse2() ? EncodeWellFormed<true, true>(pwcInput + used, pbyOutput + written, limit, &step)
                           : EncodeWellFormed<true, false>(pwcInput + used, pbyOutput + written, limit, &step);
        used += step;
        if (step < limit || limit == left)
            break;
    }
    *pulCharsUsed = used;
    return written;
}

} // namespace Text
} // namespace Lib
} // namespace Oskal
