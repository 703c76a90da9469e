#include <Oskal/Lib/Text/UEncoderReplacementFallback.h>

#include <Oskal/Lib/Text/UEncoderReplacementFallbackBuffer.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

UEncoderReplacementFallback::UEncoderReplacementFallback(const wchar_t* pszReplacement)
    : m_replacement(pszReplacement != nullptr ? pszReplacement : L"")
{
}

UEncoderReplacementFallback::~UEncoderReplacementFallback() {}

UEncoderReplacementFallback* UEncoderReplacementFallback::Create()
{
    return new UEncoderReplacementFallback(L"?");
}

UEncoderReplacementFallback* UEncoderReplacementFallback::Create(const wchar_t* pszReplacement)
{
    return new UEncoderReplacementFallback(pszReplacement);
}

UEncoderFallbackBuffer* UEncoderReplacementFallback::CreateFallbackBuffer()
{
    return UEncoderReplacementFallbackBuffer::Create(this);
}

unsigned long UEncoderReplacementFallback::GetMaxCharCount()
{
    return m_replacement.GetLength();
}

UEncoderFallback* UEncoderReplacementFallback::Clone()
{
    return new UEncoderReplacementFallback(m_replacement.GetBuffer());
}

const UString& UEncoderReplacementFallback::GetDefaultString() const
{
    return m_replacement;
}

} // namespace Text
} // namespace Lib
} // namespace Oskal
