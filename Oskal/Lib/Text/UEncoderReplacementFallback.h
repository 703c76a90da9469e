#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UEncoderFallback.h>
#include <Oskal/Lib/UString.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

// Replaces with a fixed text, "?" unless another is given. The text is checked for well-formed
// UTF-16 when it is used, not here.
class OSKAL_LIB_API UEncoderReplacementFallback : public UEncoderFallback
{
public:
    static UEncoderReplacementFallback* Create();
    // A null pointer gives an empty replacement: the value is then dropped.
    static UEncoderReplacementFallback* Create(const wchar_t* pszReplacement);

    UEncoderFallbackBuffer* CreateFallbackBuffer() override;
    unsigned long GetMaxCharCount() override;
    UEncoderFallback* Clone() override;

    virtual const UString& GetDefaultString() const;

protected:
    explicit UEncoderReplacementFallback(const wchar_t* pszReplacement);
    ~UEncoderReplacementFallback() override;

private:
    UString m_replacement;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
