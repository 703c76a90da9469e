#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UEncoderFallbackBuffer.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

// Fallback throws UEncoderFallbackException ("Encoder Exception Fallback"); it never holds anything.
class OSKAL_LIB_API UEncoderExceptionFallbackBuffer : public UEncoderFallbackBuffer
{
public:
    static UEncoderExceptionFallbackBuffer* Create();

    int Fallback(unsigned long ulCodePoint) override;
    wchar_t GetNextChar() override;
    int MovePrevious() override;
    unsigned long GetRemaining() override;
    const wchar_t* GetBuffer(unsigned long* pulLength) override;
    void Reset() override;

protected:
    UEncoderExceptionFallbackBuffer();
    ~UEncoderExceptionFallbackBuffer() override;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
