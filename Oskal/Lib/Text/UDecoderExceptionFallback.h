#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UDecoderFallback.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

// Turns every fallback into a UDecoderFallbackException.
class OSKAL_LIB_API UDecoderExceptionFallback : public UDecoderFallback
{
public:
    static UDecoderExceptionFallback* Create();

    UDecoderFallbackBuffer* CreateFallbackBuffer() override;
    // 0: nothing is ever produced.
    unsigned long GetMaxCharCount() override;
    UDecoderFallback* Clone() override;

protected:
    UDecoderExceptionFallback();
    ~UDecoderExceptionFallback() override;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
