#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UDecoderFallbackBuffer.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

// Fallback throws UDecoderFallbackException ("Decoder Exception Fallback"); it never holds anything.
class OSKAL_LIB_API UDecoderExceptionFallbackBuffer : public UDecoderFallbackBuffer
{
public:
    static UDecoderExceptionFallbackBuffer* Create();

    int Fallback(unsigned long ulCodePoint) override;
    wchar_t GetNextChar() override;
    int MovePrevious() override;
    unsigned long GetRemaining() override;
    const wchar_t* GetBuffer(unsigned long* pulLength) override;
    void Reset() override;

protected:
    UDecoderExceptionFallbackBuffer();
    ~UDecoderExceptionFallbackBuffer() override;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
