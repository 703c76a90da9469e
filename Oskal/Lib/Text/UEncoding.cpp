#include <Oskal/Lib/Text/UEncoding.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/Internal/ReleasePtr.h>
#include <Oskal/Lib/Memory.h>
#include <Oskal/Lib/Text/UDecoder.h>
#include <Oskal/Lib/Text/UDecoderReplacementFallback.h>
#include <Oskal/Lib/Text/UEncoder.h>
#include <Oskal/Lib/Text/UEncoderReplacementFallback.h>
#include <Oskal/Lib/UArgumentException.h>

#include <cwchar>
#include <new>

namespace Oskal
{
namespace Lib
{
namespace Text
{

using Exceptions::UArgumentException;

namespace
{

// A string that takes over a decoded buffer from the library heap instead of copying it.
class AdoptedString : public UString
{
public:
    AdoptedString(wchar_t* pBuffer, unsigned long ulLength)
    {
        if (ulLength == 0)
        {
            Free(pBuffer);
            return;
        }
        pBuffer[ulLength] = 0;
        m_pszBuffer = pBuffer;
        m_ulCapacity = ulLength + 1;
        m_ulLength = ulLength;
    }
};

// The most units a decoder writes for one byte: 1 for a valid sequence (a four-byte sequence
// gives a pair), or the whole replacement for an invalid value.
unsigned long MaxUnitsPerByte(UDecoderFallback* pFallback)
{
    unsigned long replacement = pFallback->GetMaxCharCount();
    return replacement > 1 ? replacement : 1;
}

} // namespace

UEncoding::UEncoding(int bThrowOnInvalid)
    : m_bThrowOnInvalid(bThrowOnInvalid), m_pEncoderFallback(nullptr), m_pDecoderFallback(nullptr)
{
    // The destructor does not run when the second one cannot be made.
    Internal::ReleasePtr<UEncoderFallback> encoderFallback(UEncoderReplacementFallback::Create());
    m_pDecoderFallback = UDecoderReplacementFallback::Create();
    m_pEncoderFallback = encoderFallback.Detach();
}

UEncoding::~UEncoding()
{
    m_pEncoderFallback->Release();
    m_pDecoderFallback->Release();
}

const unsigned char* UEncoding::GetPreamble(unsigned long* pulLength) const
{
    if (pulLength != nullptr)
        *pulLength = 0;
    return nullptr;
}

unsigned long UEncoding::GetMaxByteCount(unsigned long ulCharCount) const
{
    unsigned long product = ulCharCount * m_pEncoderFallback->GetMaxCharCount();
    return ulCharCount > product ? ulCharCount : product;
}

unsigned long UEncoding::GetMaxCharCount(unsigned long ulByteCount) const
{
    unsigned long product = ulByteCount * m_pDecoderFallback->GetMaxCharCount();
    return ulByteCount > product ? ulByteCount : product;
}

unsigned long UEncoding::GetByteCount(const wchar_t* pszInput)
{
    Internal::ThrowIfNull(pszInput, L"pwcInput");
    return GetByteCount(pszInput, static_cast<unsigned long>(std::wcslen(pszInput)));
}

unsigned long UEncoding::GetByteCount(const wchar_t* pwcInput, unsigned long ulInputCount)
{
    Internal::ReleasePtr<UEncoder> encoder(CreateEncoder());
    encoder->m_ulPreambleOwed = 0;
    unsigned long charsUsed;
    int completed;
    return encoder->Encode(pwcInput, ulInputCount, nullptr, 0, 1, UEncoder::eMode_Count, &charsUsed, &completed);
}

unsigned long UEncoding::GetBytes(const wchar_t* pszInput, unsigned char* pbyOutput, unsigned long ulOutputSize)
{
    Internal::ThrowIfNull(pszInput, L"pwcInput");
    return GetBytes(pszInput, static_cast<unsigned long>(std::wcslen(pszInput)), pbyOutput, ulOutputSize);
}

unsigned long UEncoding::GetBytes(const wchar_t* pwcInput, unsigned long ulInputCount, unsigned char* pbyOutput,
                                  unsigned long ulOutputSize)
{
    Internal::ReleasePtr<UEncoder> encoder(CreateEncoder());
    encoder->m_ulPreambleOwed = 0;
    unsigned long charsUsed;
    int completed;
    return encoder->Encode(pwcInput, ulInputCount, pbyOutput, ulOutputSize, 1, UEncoder::eMode_Write, &charsUsed,
                           &completed);
}

unsigned long UEncoding::GetCharCount(const unsigned char* pbyInput, unsigned long ulInputCount)
{
    Internal::ThrowIfNull(pbyInput, L"pbyInput");
    Internal::ReleasePtr<UDecoder> decoder(CreateDecoder());
    unsigned long bytesUsed;
    int completed;
    return decoder->Decode(pbyInput, ulInputCount, nullptr, 0, 1, UDecoder::eMode_Count,
                           L"Detected an invalid sequence of bytes.", &bytesUsed, &completed);
}

unsigned long UEncoding::GetChars(const unsigned char* pbyInput, unsigned long ulInputCount, wchar_t* pwcOutput,
                                  unsigned long ulOutputSize)
{
    Internal::ThrowIfNull(pbyInput, L"pbyInput");
    Internal::ThrowIfNull(pwcOutput, L"pwcOutput");
    Internal::ReleasePtr<UDecoder> decoder(CreateDecoder());
    unsigned long bytesUsed;
    int completed;
    return decoder->Decode(pbyInput, ulInputCount, pwcOutput, ulOutputSize, 1, UDecoder::eMode_Write,
                           L"Detected an invalid sequence of bytes.", &bytesUsed, &completed);
}

UString UEncoding::GetString(const unsigned char* pbyInput, unsigned long ulInputCount)
{
    Internal::ThrowIfNull(pbyInput, L"pbyInput");
    Internal::ReleasePtr<UDecoder> decoder(CreateDecoder());
    unsigned long bytesUsed;
    int completed;

    // Decode straight into a buffer that the string then takes over; when the bound on the
    // output would be unreasonably large, count first.
    unsigned long perByte = MaxUnitsPerByte(m_pDecoderFallback);
    unsigned long capacity;
    if (perByte <= 2 && ulInputCount <= 0x3FFFFFFFUL / perByte)
        capacity = ulInputCount * perByte;
    else
        capacity = decoder->Decode(pbyInput, ulInputCount, nullptr, 0, 1, UDecoder::eMode_Count,
                                   L"Detected an invalid sequence of bytes.", &bytesUsed, &completed);
    if (capacity >= 0x3FFFFFFFUL)
        throw std::bad_alloc();
    wchar_t* buffer = static_cast<wchar_t*>(Alloc((capacity + 1) * sizeof(wchar_t)));
    unsigned long length;
    try
    {
        length = decoder->Decode(pbyInput, ulInputCount, buffer, capacity, 1, UDecoder::eMode_Write,
                                 L"Detected an invalid sequence of bytes.", &bytesUsed, &completed);
    }
    catch (...)
    {
        Free(buffer);
        throw;
    }
    AdoptedString adopted(buffer, length);
    return adopted;
}

UEncoderFallback* UEncoding::GetEncoderFallback() const
{
    return m_pEncoderFallback;
}

void UEncoding::SetEncoderFallback(UEncoderFallback* pFallback)
{
    // Kept: this message has no full stop, unlike SetDecoderFallback's (pinned by
    // EncodingBehaviour.MalformedReplacementsAndMessages)
    if (pFallback == nullptr)
        throw UArgumentException(L"pFallback", L"Argument 'pFallback' must not be NULL");
    pFallback->AddRef();
    m_pEncoderFallback->Release();
    m_pEncoderFallback = pFallback;
}

UDecoderFallback* UEncoding::GetDecoderFallback() const
{
    return m_pDecoderFallback;
}

void UEncoding::SetDecoderFallback(UDecoderFallback* pFallback)
{
    Internal::ThrowIfNull(pFallback, L"pFallback");
    pFallback->AddRef();
    m_pDecoderFallback->Release();
    m_pDecoderFallback = pFallback;
}

} // namespace Text
} // namespace Lib
} // namespace Oskal
