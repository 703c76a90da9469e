#include <Oskal/Lib/Text/UEncoderReplacementFallbackBuffer.h>

#include <Oskal/Lib/Text/UEncoderReplacementFallback.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

// Starts with nothing remaining: only Fallback hands out the replacement.
UEncoderReplacementFallbackBuffer::UEncoderReplacementFallbackBuffer(UEncoderReplacementFallback* pFallback)
    : m_pFallback(pFallback), m_ulIndex(pFallback->GetDefaultString().GetLength())
{
    m_pFallback->AddRef();
}

UEncoderReplacementFallbackBuffer::~UEncoderReplacementFallbackBuffer()
{
    m_pFallback->Release();
}

UEncoderReplacementFallbackBuffer* UEncoderReplacementFallbackBuffer::Create(UEncoderReplacementFallback* pFallback)
{
    return new UEncoderReplacementFallbackBuffer(pFallback);
}

int UEncoderReplacementFallbackBuffer::Fallback(unsigned long /*ulCodePoint*/)
{
    m_ulIndex = 0;
    return m_pFallback->GetDefaultString().GetLength() != 0 ? 1 : 0;
}

wchar_t UEncoderReplacementFallbackBuffer::GetNextChar()
{
    const UString& text = m_pFallback->GetDefaultString();
    if (m_ulIndex >= text.GetLength())
        return 0;
    return text.GetBuffer()[m_ulIndex++];
}

int UEncoderReplacementFallbackBuffer::MovePrevious()
{
    if (m_ulIndex == 0)
        return 0;
    --m_ulIndex;
    return 1;
}

unsigned long UEncoderReplacementFallbackBuffer::GetRemaining()
{
    unsigned long length = m_pFallback->GetDefaultString().GetLength();
    return m_ulIndex < length ? length - m_ulIndex : 0;
}

const wchar_t* UEncoderReplacementFallbackBuffer::GetBuffer(unsigned long* pulLength)
{
    if (pulLength != nullptr)
        *pulLength = GetRemaining();
    const UString& text = m_pFallback->GetDefaultString();
    return text.GetBuffer() + (m_ulIndex < text.GetLength() ? m_ulIndex : text.GetLength());
}

void UEncoderReplacementFallbackBuffer::Reset()
{
    m_ulIndex = m_pFallback->GetDefaultString().GetLength();
}

} // namespace Text
} // namespace Lib
} // namespace Oskal
