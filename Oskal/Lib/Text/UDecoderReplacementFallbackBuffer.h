#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UDecoderFallbackBuffer.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

class UDecoderReplacementFallback;

// Reads out the replacement text of its fallback, which it holds by reference.
class OSKAL_LIB_API UDecoderReplacementFallbackBuffer : public UDecoderFallbackBuffer
{
public:
    static UDecoderReplacementFallbackBuffer* Create(UDecoderReplacementFallback* pFallback);

    int Fallback(unsigned long ulCodePoint) override;
    wchar_t GetNextChar() override;
    int MovePrevious() override;
    unsigned long GetRemaining() override;
    const wchar_t* GetBuffer(unsigned long* pulLength) override;
    void Reset() override;

protected:
    explicit UDecoderReplacementFallbackBuffer(UDecoderReplacementFallback* pFallback);
    ~UDecoderReplacementFallbackBuffer() override;

private:
    UDecoderReplacementFallback* m_pFallback;
    unsigned long m_ulIndex;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
