#include <Oskal/Lib/Text/UASCIIEncoding.h>

#include <Oskal/Lib/Text/UASCIIDecoder.h>
#include <Oskal/Lib/Text/UASCIIEncoder.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

UASCIIEncoding::UASCIIEncoding() : UEncoding(0) {}

UASCIIEncoding::~UASCIIEncoding() {}

UASCIIEncoding* UASCIIEncoding::Create()
{
    return new UASCIIEncoding();
}

const wchar_t* UASCIIEncoding::GetName() const
{
    return L"ASCII";
}

UEncoder* UASCIIEncoding::CreateEncoder()
{
    return UASCIIEncoder::Create(this);
}

UDecoder* UASCIIEncoding::CreateDecoder()
{
    return UASCIIDecoder::Create(this);
}

long UASCIIEncoding::DecodeCodePoint(const unsigned char* pbyInput, unsigned long ulCount,
                                     unsigned long* pulCodePoint) const
{
    return Decode(pbyInput, ulCount, pulCodePoint);
}

long UASCIIEncoding::EncodeCodePoint(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize) const
{
    return Encode(ulCodePoint, pbyOutput, ulSize);
}

long UASCIIEncoding::GetByteCountFromCodePoint(unsigned long ulCodePoint) const
{
    return ByteCount(ulCodePoint);
}

long UASCIIEncoding::Decode(const unsigned char* pbyInput, unsigned long ulCount, unsigned long* pulCodePoint)
{
    if (ulCount == 0)
        return 0;
    if (pbyInput[0] >= 0x80)
        return -1;
    *pulCodePoint = pbyInput[0];
    return 1;
}

long UASCIIEncoding::Encode(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize)
{
    if (ulCodePoint >= 0x80)
        return -1;
    if (ulSize < 1)
        return -2;
    pbyOutput[0] = static_cast<unsigned char>(ulCodePoint);
    return 1;
}

long UASCIIEncoding::ByteCount(unsigned long ulCodePoint)
{
    return ulCodePoint < 0x80 ? 1 : -1;
}

} // namespace Text
} // namespace Lib
} // namespace Oskal
