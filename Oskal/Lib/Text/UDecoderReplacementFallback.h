#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UDecoderFallback.h>
#include <Oskal/Lib/UString.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

// Replaces with a fixed text, "?" unless another is given. The text is checked for well-formed
// UTF-16 when it is used, not here.
class OSKAL_LIB_API UDecoderReplacementFallback : public UDecoderFallback
{
public:
    static UDecoderReplacementFallback* Create();
    // A null pointer gives an empty replacement: the value is then dropped.
    static UDecoderReplacementFallback* Create(const wchar_t* pszReplacement);

    UDecoderFallbackBuffer* CreateFallbackBuffer() override;
    unsigned long GetMaxCharCount() override;
    UDecoderFallback* Clone() override;

    virtual const UString& GetDefaultString() const;

protected:
    explicit UDecoderReplacementFallback(const wchar_t* pszReplacement);
    ~UDecoderReplacementFallback() override;

private:
    UString m_replacement;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
