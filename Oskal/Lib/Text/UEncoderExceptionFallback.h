#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UEncoderFallback.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

// Turns every fallback into a UEncoderFallbackException.
class OSKAL_LIB_API UEncoderExceptionFallback : public UEncoderFallback
{
public:
    static UEncoderExceptionFallback* Create();

    UEncoderFallbackBuffer* CreateFallbackBuffer() override;
    // 0: nothing is ever produced.
    unsigned long GetMaxCharCount() override;
    UEncoderFallback* Clone() override;

protected:
    UEncoderExceptionFallback();
    ~UEncoderExceptionFallback() override;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
