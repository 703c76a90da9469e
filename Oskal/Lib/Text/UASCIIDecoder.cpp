#include <Oskal/Lib/Text/UASCIIDecoder.h>

#include <Oskal/Lib/Text/UASCIIEncoding.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

UASCIIDecoder::UASCIIDecoder(UASCIIEncoding* pEncoding) : UDecoder(pEncoding) {}

UASCIIDecoder::~UASCIIDecoder() {}

UASCIIDecoder* UASCIIDecoder::Create(UASCIIEncoding* pEncoding)
{
    return new UASCIIDecoder(pEncoding);
}

long UASCIIDecoder::DecodeCodePoint(const unsigned char* pbyInput, unsigned long ulCount, unsigned long* pulCodePoint)
{
    return UASCIIEncoding::Decode(pbyInput, ulCount, pulCodePoint);
}

unsigned long UASCIIDecoder::DecodeRun(const unsigned char* pbyInput, unsigned long ulInputCount, wchar_t* pwcOutput,
                                       unsigned long ulOutputSize, unsigned long* pulBytesUsed)
{
    unsigned long limit = ulInputCount < ulOutputSize ? ulInputCount : ulOutputSize;
    unsigned long i = 0;
    if (pwcOutput == nullptr)
    {
        while (i < ulInputCount && pbyInput[i] < 0x80)
            ++i;
    }
    else
    {
        for (; i < limit && pbyInput[i] < 0x80; ++i)
            pwcOutput[i] = pbyInput[i];
    }
    *pulBytesUsed = i;
    return i;
}

} // namespace Text
} // namespace Lib
} // namespace Oskal
