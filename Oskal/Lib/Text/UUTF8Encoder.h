#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UEncoder.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

class UUTF8Encoding;

class OSKAL_LIB_API UUTF8Encoder : public UEncoder
{
public:
    // Takes the encoding's fallback and throw-on-invalid flag; reference count 1.
    static UUTF8Encoder* Create(UUTF8Encoding* pEncoding);

protected:
    explicit UUTF8Encoder(UUTF8Encoding* pEncoding);
    ~UUTF8Encoder() override;

    long EncodeCodePoint(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize) override;
    long GetByteCountFromCodePoint(unsigned long ulCodePoint) override;
    unsigned long EncodeRun(const wchar_t* pwcInput, unsigned long ulInputCount, unsigned char* pbyOutput,
                            unsigned long ulOutputSize, unsigned long* pulCharsUsed) override;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
