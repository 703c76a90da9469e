#include <Oskal/Lib/Text/UEncoder.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/Text/UEncoderFallbackException.h>
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

bool IsHighSurrogate(unsigned long u)
{
    return u >= 0xD800 && u <= 0xDBFF;
}

bool IsLowSurrogate(unsigned long u)
{
    return u >= 0xDC00 && u <= 0xDFFF;
}

void ThrowBufferTooSmall()
{
    throw UArgumentException(L"ulOutputSize", L"Buffer is too small.");
}

void ThrowInvalidSequence()
{
    throw UArgumentException(L"pwcInput", L"Invalid character sequence detected.");
}

} // namespace

UEncoder::UEncoder(UEncoding* pEncoding)
    : m_pbyPreamble(nullptr), m_ulPreambleLength(0), m_ulPreambleOwed(0),
      m_bThrowOnInvalid(pEncoding->GetThrowOnInvalid()), m_lPendingHighSurrogate(-1),
      m_pFallback(pEncoding->GetEncoderFallback()), m_pFallbackBuffer(nullptr)
{
    unsigned long length = 0;
    const unsigned char* preamble = pEncoding->GetPreamble(&length);
    if (preamble != nullptr && length != 0)
    {
        m_pbyPreamble = new unsigned char[length];
        std::memcpy(m_pbyPreamble, preamble, length);
        m_ulPreambleLength = length;
        m_ulPreambleOwed = length;
    }
    m_pFallback->AddRef();
}

UEncoder::~UEncoder()
{
    if (m_pFallbackBuffer != nullptr)
        m_pFallbackBuffer->Release();
    m_pFallback->Release();
    delete[] m_pbyPreamble;
}

unsigned long UEncoder::GetByteCount(const wchar_t* pwcInput, unsigned long ulInputCount, int bFlush)
{
    unsigned long charsUsed;
    int completed;
    return Encode(pwcInput, ulInputCount, nullptr, 0, bFlush, eMode_Count, &charsUsed, &completed);
}

unsigned long UEncoder::GetBytes(const wchar_t* pwcInput, unsigned long ulInputCount, unsigned char* pbyOutput,
                                 unsigned long ulOutputSize, int bFlush)
{
    unsigned long charsUsed;
    int completed;
    return Encode(pwcInput, ulInputCount, pbyOutput, ulOutputSize, bFlush, eMode_Write, &charsUsed, &completed);
}

void UEncoder::Convert(const wchar_t* pwcInput, unsigned long ulInputCount, unsigned char* pbyOutput,
                       unsigned long ulOutputSize, int bFlush, unsigned long* pulCharsUsed, unsigned long* pulBytesUsed,
                       int* pbCompleted)
{
    unsigned long charsUsed = 0;
    int completed = 0;
    unsigned long bytes =
        Encode(pwcInput, ulInputCount, pbyOutput, ulOutputSize, bFlush, eMode_Convert, &charsUsed, &completed);
    if (pulCharsUsed != nullptr)
        *pulCharsUsed = charsUsed;
    if (pulBytesUsed != nullptr)
        *pulBytesUsed = bytes;
    if (pbCompleted != nullptr)
        *pbCompleted = completed;
}

void UEncoder::Reset()
{
    m_ulPreambleOwed = m_ulPreambleLength;
    m_lPendingHighSurrogate = -1;
    if (m_pFallbackBuffer != nullptr)
        m_pFallbackBuffer->Reset();
}

unsigned long UEncoder::EncodeRun(const wchar_t* /*pwcInput*/, unsigned long /*ulInputCount*/,
                                  unsigned char* /*pbyOutput*/, unsigned long /*ulOutputSize*/,
                                  unsigned long* pulCharsUsed)
{
    *pulCharsUsed = 0;
    return 0;
}

UEncoderFallbackBuffer* UEncoder::GetFallbackBuffer()
{
    if (m_pFallbackBuffer == nullptr)
        m_pFallbackBuffer = m_pFallback->CreateFallbackBuffer();
    return m_pFallbackBuffer;
}

// Encodes the fallback's replacement for ulCodePoint. Returns the bytes written (or counted), or
// -2 when they do not fit the output.
long UEncoder::EncodeFallback(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize, EMode eMode)
{
    UEncoderFallbackBuffer* buffer = GetFallbackBuffer();
    if (!buffer->Fallback(ulCodePoint))
        return 0;
    std::vector<wchar_t> units;
    unsigned long remaining = buffer->GetRemaining();
    for (unsigned long i = 0; i < remaining; ++i)
        units.push_back(buffer->GetNextChar());

    long total = 0;
    for (size_t i = 0; i < units.size(); ++i)
    {
        unsigned long codePoint = units[i];
        if (IsHighSurrogate(codePoint))
        {
            if (i + 1 >= units.size() || !IsLowSurrogate(units[i + 1]))
                throw UEncoderFallbackException(L"Invalid character sequence in fallback string detected.");
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (units[++i] - 0xDC00);
        }
        else if (IsLowSurrogate(codePoint))
            throw UEncoderFallbackException(L"Invalid character sequence in fallback string detected.");

        long result;
        if (eMode == eMode_Count)
            result = GetByteCountFromCodePoint(codePoint);
        else
            result = EncodeCodePoint(codePoint, pbyOutput + total, ulSize - static_cast<unsigned long>(total));
        if (result == -1)
            throw UEncoderFallbackException(L"Encoding fallback string failed.");
        if (result < 0)
            return -2;
        total += result;
    }
    return total;
}

// The code-point loop. Works on local copies of the owed preamble and the pending surrogate and
// stores them back at the end unless it only counts.
unsigned long UEncoder::Encode(const wchar_t* pwcInput, unsigned long ulInputCount, unsigned char* pbyOutput,
                               unsigned long ulOutputSize, int bFlush, EMode eMode, unsigned long* pulCharsUsed,
                               int* pbCompleted)
{
    if (ulInputCount != 0)
        Internal::ThrowIfNull(pwcInput, L"pwcInput");
    if (eMode != eMode_Count && ulOutputSize != 0)
        Internal::ThrowIfNull(pbyOutput, L"pbyOutput");
    const bool counting = eMode == eMode_Count;
    if (pbyOutput == nullptr)
        ulOutputSize = 0;

    unsigned long owed = m_ulPreambleOwed;
    long pending = m_lPendingHighSurrogate;
    unsigned long in = 0;
    unsigned long out = 0;
    bool stopped = false;

    if (owed != 0)
    {
        unsigned long writable = owed;
        if (!counting && writable > ulOutputSize)
        {
            if (eMode == eMode_Write)
                ThrowBufferTooSmall();
            writable = ulOutputSize;
            stopped = true;
        }
        if (!counting)
            std::memcpy(pbyOutput, m_pbyPreamble + (m_ulPreambleLength - owed), writable);
        owed -= writable;
        out += writable;
    }

    while (!stopped)
    {
        // The fast run reads a null output as "count only", so it needs room to write into.
        if (pending < 0 && in < ulInputCount && (counting || out < ulOutputSize))
        {
            unsigned long used = 0;
            out += EncodeRun(pwcInput + in, ulInputCount - in, counting ? nullptr : pbyOutput + out,
                             counting ? 0xFFFFFFFFUL : ulOutputSize - out, &used);
            in += used;
        }
        if (in >= ulInputCount)
            break;

        unsigned long unit = pwcInput[in];
        unsigned long codePoint;
        if (pending >= 0)
        {
            if (!IsLowSurrogate(unit))
            {
                // The held high surrogate has no partner: drop it and look at this unit afresh.
                if (m_bThrowOnInvalid)
                    ThrowInvalidSequence();
                pending = -1;
                continue;
            }
            codePoint = 0x10000 + ((static_cast<unsigned long>(pending) - 0xD800) << 10) + (unit - 0xDC00);
        }
        else if (IsHighSurrogate(unit))
        {
            pending = static_cast<long>(unit);
            ++in;
            continue;
        }
        else if (IsLowSurrogate(unit))
        {
            // A low surrogate without a high one is treated like a high one without a low one.
            if (m_bThrowOnInvalid)
                ThrowInvalidSequence();
            ++in;
            continue;
        }
        else
            codePoint = unit;

        long result;
        if (counting)
        {
            result = GetByteCountFromCodePoint(codePoint);
            if (result < 0)
                result = EncodeFallback(codePoint, nullptr, 0, eMode);
        }
        else
        {
            result = EncodeCodePoint(codePoint, pbyOutput + out, ulOutputSize - out);
            if (result == -1)
                result = EncodeFallback(codePoint, pbyOutput + out, ulOutputSize - out, eMode);
        }
        if (result < 0)
        {
            // Convert stops for lack of room, unless it could make no progress at all.
            if (eMode == eMode_Write || (out == 0 && in == 0))
                ThrowBufferTooSmall();
            stopped = true;
            break;
        }
        out += static_cast<unsigned long>(result);
        pending = -1;
        ++in;
    }

    if (bFlush && !stopped && in >= ulInputCount)
        pending = -1;
    if (!counting)
    {
        m_ulPreambleOwed = owed;
        m_lPendingHighSurrogate = pending;
    }
    *pulCharsUsed = in;
    *pbCompleted = !stopped && in >= ulInputCount && pending < 0 && owed == 0;
    return out;
}

} // namespace Text
} // namespace Lib
} // namespace Oskal
