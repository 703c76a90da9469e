#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UDecoder.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

class UUTF8Encoding;

class OSKAL_LIB_API UUTF8Decoder : public UDecoder
{
public:
    // Takes the encoding's fallback and throw-on-invalid flag; reference count 1.
    static UUTF8Decoder* Create(UUTF8Encoding* pEncoding);

protected:
    explicit UUTF8Decoder(UUTF8Encoding* pEncoding);
    ~UUTF8Decoder() override;

    long DecodeCodePoint(const unsigned char* pbyInput, unsigned long ulCount, unsigned long* pulCodePoint) override;
    unsigned long DecodeRun(const unsigned char* pbyInput, unsigned long ulInputCount, wchar_t* pwcOutput,
                            unsigned long ulOutputSize, unsigned long* pulBytesUsed) override;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
