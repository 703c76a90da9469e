#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UEncoder.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

class UASCIIEncoding;

class OSKAL_LIB_API UASCIIEncoder : public UEncoder
{
public:
    // Takes the encoding's fallback and throw-on-invalid flag; reference count 1.
    static UASCIIEncoder* Create(UASCIIEncoding* pEncoding);

protected:
    explicit UASCIIEncoder(UASCIIEncoding* pEncoding);
    ~UASCIIEncoder() override;

    long EncodeCodePoint(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize) override;
    long GetByteCountFromCodePoint(unsigned long ulCodePoint) override;
    unsigned long EncodeRun(const wchar_t* pwcInput, unsigned long ulInputCount, unsigned char* pbyOutput,
                            unsigned long ulOutputSize, unsigned long* pulCharsUsed) override;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
