#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UEncoderFallbackBuffer.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

class UEncoderReplacementFallback;

// Reads out the replacement text of its fallback, which it holds by reference.
class OSKAL_LIB_API UEncoderReplacementFallbackBuffer : public UEncoderFallbackBuffer
{
public:
    static UEncoderReplacementFallbackBuffer* Create(UEncoderReplacementFallback* pFallback);

    int Fallback(unsigned long ulCodePoint) override;
    wchar_t GetNextChar() override;
    int MovePrevious() override;
    unsigned long GetRemaining() override;
    const wchar_t* GetBuffer(unsigned long* pulLength) override;
    void Reset() override;

protected:
    explicit UEncoderReplacementFallbackBuffer(UEncoderReplacementFallback* pFallback);
    ~UEncoderReplacementFallbackBuffer() override;

private:
    UEncoderReplacementFallback* m_pFallback;
    unsigned long m_ulIndex;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
