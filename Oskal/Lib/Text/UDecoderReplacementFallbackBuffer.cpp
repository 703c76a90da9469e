#include <Oskal/Lib/Text/UDecoderReplacementFallbackBuffer.h>

#include <Oskal/Lib/Text/UDecoderReplacementFallback.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

// Starts with nothing remaining: only Fallback hands out the replacement.
UDecoderReplacementFallbackBuffer::UDecoderReplacementFallbackBuffer(UDecoderReplacementFallback* pFallback)
    : m_pFallback(pFallback), m_ulIndex(pFallback->GetDefaultString().GetLength())
{
    m_pFallback->AddRef();
}

UDecoderReplacementFallbackBuffer::~UDecoderReplacementFallbackBuffer()
{
    m_pFallback->Release();
}

UDecoderReplacementFallbackBuffer* UDecoderReplacementFallbackBuffer::Create(UDecoderReplacementFallback* pFallback)
{
    return new UDecoderReplacementFallbackBuffer(pFallback);
}

int UDecoderReplacementFallbackBuffer::Fallback(unsigned long /*ulCodePoint*/)
{
    m_ulIndex = 0;
    return m_pFallback->GetDefaultString().GetLength() != 0 ? 1 : 0;
}

wchar_t UDecoderReplacementFallbackBuffer::GetNextChar()
{
    const UString& text = m_pFallback->GetDefaultString();
    if (m_ulIndex >= text.GetLength())
        return 0;
    return text.GetBuffer()[m_ulIndex++];
}

int UDecoderReplacementFallbackBuffer::MovePrevious()
{
    if (m_ulIndex == 0)
        return 0;
    --m_ulIndex;
    return 1;
}

unsigned long UDecoderReplacementFallbackBuffer::GetRemaining()
{
    unsigned long length = m_pFallback->GetDefaultString().GetLength();
    return m_ulIndex < length ? length - m_ulIndex : 0;
}

const wchar_t* UDecoderReplacementFallbackBuffer::GetBuffer(unsigned long* pulLength)
{
    if (pulLength != nullptr)
        *pulLength = GetRemaining();
    const UString& text = m_pFallback->GetDefaultString();
    return text.GetBuffer() + (m_ulIndex < text.GetLength() ? m_ulIndex : text.GetLength());
}

void UDecoderReplacementFallbackBuffer::Reset()
{
    m_ulIndex = m_pFallback->GetDefaultString().GetLength();
}

} // namespace Text
} // namespace Lib
} // namespace Oskal
