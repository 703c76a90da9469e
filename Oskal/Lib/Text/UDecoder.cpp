#include <Oskal/Lib/Text/UDecoder.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/Text/UDecoderFallbackException.h>
#include <Oskal/Lib/Text/UEncoding.h>
#include <Oskal/Lib/UArgumentException.h>

#include <cstring>
#include <vector>

namespace Oskal
{
namespace Lib
{
namespace Text
{

using Exceptions::UArgumentException;

namespace
{

const unsigned long kPendingCapacity = 20;

bool IsHighSurrogate(unsigned long u)
{
    return u >= 0xD800 && u <= 0xDBFF;
}

bool IsLowSurrogate(unsigned long u)
{
    return u >= 0xDC00 && u <= 0xDFFF;
}

bool IsWellFormed(const wchar_t* pUnits, unsigned long ulCount)
{
    for (unsigned long i = 0; i < ulCount; ++i)
    {
        if (IsHighSurrogate(pUnits[i]))
        {
            if (i + 1 >= ulCount || !IsLowSurrogate(pUnits[i + 1]))
                return false;
            ++i;
        }
        else if (IsLowSurrogate(pUnits[i]))
            return false;
    }
    return true;
}

void ThrowOutputTooSmall()
{
    throw UArgumentException(L"ulOutputSize", L"Output buffer is too small.");
}

} // namespace

UDecoder::UDecoder(UEncoding* pEncoding)
    : m_pFallback(pEncoding->GetDecoderFallback()), m_pFallbackBuffer(nullptr),
      m_bThrowOnInvalid(pEncoding->GetThrowOnInvalid()), m_bActive(1), m_bSkipIdentifier(1), m_ulCodePoint(0),
      m_ulPendingCount(0)
{
    std::memset(m_abyPending, 0, sizeof(m_abyPending));
    m_pFallback->AddRef();
}

UDecoder::~UDecoder()
{
    if (m_pFallbackBuffer != nullptr)
        m_pFallbackBuffer->Release();
    m_pFallback->Release();
}

unsigned long UDecoder::GetCharCount(const unsigned char* pbyInput, unsigned long ulInputCount, int bFlush)
{
    unsigned long bytesUsed;
    int completed;
    return Decode(pbyInput, ulInputCount, nullptr, 0, bFlush, eMode_Count, L"Invalid sequence of bytes.", &bytesUsed,
                  &completed);
}

unsigned long UDecoder::GetChars(const unsigned char* pbyInput, unsigned long ulInputCount, wchar_t* pwcOutput,
                                 unsigned long ulOutputSize, int bFlush)
{
    unsigned long bytesUsed;
    int completed;
    return Decode(pbyInput, ulInputCount, pwcOutput, ulOutputSize, bFlush, eMode_Write, L"Invalid sequence of bytes.",
                  &bytesUsed, &completed);
}

void UDecoder::Convert(const unsigned char* pbyInput, unsigned long ulInputCount, wchar_t* pwcOutput,
                       unsigned long ulOutputSize, int bFlush, unsigned long* pulBytesUsed, unsigned long* pulCharsUsed,
                       int* pbCompleted)
{
    unsigned long bytesUsed = 0;
    int completed = 0;
    unsigned long chars = Decode(pbyInput, ulInputCount, pwcOutput, ulOutputSize, bFlush, eMode_Convert,
                                 L"Invalid sequence of bytes.", &bytesUsed, &completed);
    if (pulBytesUsed != nullptr)
        *pulBytesUsed = bytesUsed;
    if (pulCharsUsed != nullptr)
        *pulCharsUsed = chars;
    if (pbCompleted != nullptr)
        *pbCompleted = completed;
}

void UDecoder::Reset()
{
    m_ulPendingCount = 0;
    m_bSkipIdentifier = 1;
    m_ulCodePoint = 0;
    if (m_pFallbackBuffer != nullptr)
        m_pFallbackBuffer->Reset();
}

unsigned long UDecoder::DecodeRun(const unsigned char* /*pbyInput*/, unsigned long /*ulInputCount*/,
                                  wchar_t* /*pwcOutput*/, unsigned long /*ulOutputSize*/, unsigned long* pulBytesUsed)
{
    *pulBytesUsed = 0;
    return 0;
}

UDecoderFallbackBuffer* UDecoder::GetFallbackBuffer()
{
    if (m_pFallbackBuffer == nullptr)
        m_pFallbackBuffer = m_pFallback->CreateFallbackBuffer();
    return m_pFallbackBuffer;
}

// The code-point loop. Works on local copies of the pending bytes and the identifier flag and
// stores them back at the end unless it only counts.
unsigned long UDecoder::Decode(const unsigned char* pbyInput, unsigned long ulInputCount, wchar_t* pwcOutput,
                               unsigned long ulOutputSize, int bFlush, EMode eMode, const wchar_t* pszInvalidMessage,
                               unsigned long* pulBytesUsed, int* pbCompleted)
{
    if (ulInputCount != 0)
        Internal::ThrowIfNull(pbyInput, L"pbyInput");
    if (eMode != eMode_Count && ulOutputSize != 0)
        Internal::ThrowIfNull(pwcOutput, L"pwcOutput");
    const bool counting = eMode == eMode_Count;
    if (pwcOutput == nullptr)
        ulOutputSize = 0;

    unsigned char pending[kPendingCapacity];
    unsigned long pendingCount = m_ulPendingCount;
    std::memcpy(pending, m_abyPending, pendingCount);
    int skipIdentifier = m_bSkipIdentifier;

    unsigned long in = 0;
    unsigned long out = 0;
    bool stopped = false;
    std::vector<wchar_t> replacement;

    if (ulInputCount == 0)
    {
        if (bFlush)
            pendingCount = 0;
    }
    else
    {
        for (;;)
        {
            // The fast run reads a null output as "count only", so it needs room to write into.
            if (pendingCount == 0 && !skipIdentifier && in < ulInputCount && (counting || out < ulOutputSize))
            {
                unsigned long used = 0;
                out += DecodeRun(pbyInput + in, ulInputCount - in, counting ? nullptr : pwcOutput + out,
                                 counting ? 0xFFFFFFFFUL : ulOutputSize - out, &used);
                in += used;
            }
            if (pendingCount == 0 && in >= ulInputCount)
                break;

            // Decode one code point, from the pending bytes topped up with input when some are held.
            unsigned char joined[kPendingCapacity];
            const unsigned char* source;
            unsigned long available;
            if (pendingCount != 0)
            {
                unsigned long take = kPendingCapacity - pendingCount;
                if (take > ulInputCount - in)
                    take = ulInputCount - in;
                std::memcpy(joined, pending, pendingCount);
                std::memcpy(joined + pendingCount, pbyInput + in, take);
                source = joined;
                available = pendingCount + take;
            }
            else
            {
                source = pbyInput + in;
                available = ulInputCount - in;
            }

            unsigned long codePoint = 0;
            long result = DecodeCodePoint(source, available, &codePoint);
            if (result == 0)
            {
                // An incomplete sequence runs to the end of the input: keep it, or drop it on flush.
                if (bFlush)
                    pendingCount = 0;
                else
                {
                    std::memmove(pending, source, available);
                    pendingCount = available;
                }
                in = ulInputCount;
                break;
            }

            unsigned long consumed = result > 0 ? static_cast<unsigned long>(result) : 1;
            if (result < 0)
            {
                if (m_bThrowOnInvalid)
                    throw UArgumentException(L"pbyInput", pszInvalidMessage);
            }
            else
            {
                m_ulCodePoint = codePoint;
                bool dropIdentifier = skipIdentifier && codePoint == 0xFEFF;
                if (!dropIdentifier)
                {
                    unsigned long units;
                    const wchar_t* unitSource;
                    wchar_t pair[2];
                    if (codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF))
                    {
                        UDecoderFallbackBuffer* buffer = GetFallbackBuffer();
                        replacement.clear();
                        if (buffer->Fallback(codePoint))
                        {
                            unsigned long remaining = buffer->GetRemaining();
                            for (unsigned long i = 0; i < remaining; ++i)
                                replacement.push_back(buffer->GetNextChar());
                        }
                        if (!IsWellFormed(replacement.data(), static_cast<unsigned long>(replacement.size())))
                            throw UDecoderFallbackException(L"Invalid character sequence in encoding fallback.");
                        units = static_cast<unsigned long>(replacement.size());
                        unitSource = replacement.data();
                    }
                    else if (codePoint < 0x10000)
                    {
                        pair[0] = static_cast<wchar_t>(codePoint);
                        units = 1;
                        unitSource = pair;
                    }
                    else
                    {
                        pair[0] = static_cast<wchar_t>(0xD7C0 + (codePoint >> 10));
                        pair[1] = static_cast<wchar_t>(0xDC00 + (codePoint & 0x3FF));
                        units = 2;
                        unitSource = pair;
                    }
                    if (!counting)
                    {
                        if (ulOutputSize - out < units)
                        {
                            // Convert stops for lack of room, unless it could make no progress at all.
                            if (eMode == eMode_Convert && (out != 0 || in != 0))
                            {
                                stopped = true;
                                break;
                            }
                            ThrowOutputTooSmall();
                        }
                        std::memcpy(pwcOutput + out, unitSource, units * sizeof(wchar_t));
                    }
                    out += units;
                }
                skipIdentifier = 0;
            }

            // Consume from the pending bytes first, then from the input.
            if (pendingCount != 0)
            {
                if (consumed >= pendingCount)
                {
                    in += consumed - pendingCount;
                    pendingCount = 0;
                }
                else
                {
                    std::memmove(pending, pending + consumed, pendingCount - consumed);
                    pendingCount -= consumed;
                }
            }
            else
                in += consumed;
        }
    }

    if (!counting)
    {
        std::memcpy(m_abyPending, pending, pendingCount);
        m_ulPendingCount = pendingCount;
        m_bSkipIdentifier = skipIdentifier;
    }
    *pulBytesUsed = in;
    *pbCompleted = !stopped && in >= ulInputCount && pendingCount == 0;
    return out;
}

} // namespace Text
} // namespace Lib
} // namespace Oskal
