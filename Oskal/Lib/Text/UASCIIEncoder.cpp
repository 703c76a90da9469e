#include <Oskal/Lib/Text/UASCIIEncoder.h>

#include <Oskal/Lib/Text/UASCIIEncoding.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

UASCIIEncoder::UASCIIEncoder(UASCIIEncoding* pEncoding) : UEncoder(pEncoding) {}

UASCIIEncoder::~UASCIIEncoder() {}

UASCIIEncoder* UASCIIEncoder::Create(UASCIIEncoding* pEncoding)
{
    return new UASCIIEncoder(pEncoding);
}

long UASCIIEncoder::EncodeCodePoint(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize)
{
    return UASCIIEncoding::Encode(ulCodePoint, pbyOutput, ulSize);
}

long UASCIIEncoder::GetByteCountFromCodePoint(unsigned long ulCodePoint)
{
    return UASCIIEncoding::ByteCount(ulCodePoint);
}

unsigned long UASCIIEncoder::EncodeRun(const wchar_t* pwcInput, unsigned long ulInputCount, unsigned char* pbyOutput,
                                       unsigned long ulOutputSize, unsigned long* pulCharsUsed)
{
    unsigned long limit = ulInputCount < ulOutputSize ? ulInputCount : ulOutputSize;
    unsigned long i = 0;
    if (pbyOutput == nullptr)
    {
        while (i < ulInputCount && pwcInput[i] < 0x80)
            ++i;
    }
    else
    {
        for (; i < limit && pwcInput[i] < 0x80; ++i)
            pbyOutput[i] = static_cast<unsigned char>(pwcInput[i]);
    }
    *pulCharsUsed = i;
    return i;
}

} // namespace Text
} // namespace Lib
} // namespace Oskal
