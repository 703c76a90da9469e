#include <Oskal/Lib/Text/UDecoderReplacementFallback.h>

#include <Oskal/Lib/Text/UDecoderReplacementFallbackBuffer.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

UDecoderReplacementFallback::UDecoderReplacementFallback(const wchar_t* pszReplacement)
    : m_replacement(pszReplacement != nullptr ? pszReplacement : L"")
{
}

UDecoderReplacementFallback::~UDecoderReplacementFallback() {}

UDecoderReplacementFallback* UDecoderReplacementFallback::Create()
{
    return new UDecoderReplacementFallback(L"?");
}

UDecoderReplacementFallback* UDecoderReplacementFallback::Create(const wchar_t* pszReplacement)
{
    return new UDecoderReplacementFallback(pszReplacement);
}

UDecoderFallbackBuffer* UDecoderReplacementFallback::CreateFallbackBuffer()
{
    return UDecoderReplacementFallbackBuffer::Create(this);
}

unsigned long UDecoderReplacementFallback::GetMaxCharCount()
{
    return m_replacement.GetLength();
}

UDecoderFallback* UDecoderReplacementFallback::Clone()
{
    return new UDecoderReplacementFallback(m_replacement.GetBuffer());
}

const UString& UDecoderReplacementFallback::GetDefaultString() const
{
    return m_replacement;
}

} // namespace Text
} // namespace Lib
} // namespace Oskal
