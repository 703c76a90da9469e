#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UEncoding.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

// 7-bit ASCII: bytes from 0x80 up are invalid, code points from 0x80 up go to the encoder fallback.
class OSKAL_LIB_API UASCIIEncoding : public UEncoding
{
public:
    static UASCIIEncoding* Create();

    // "ASCII"
    const wchar_t* GetName() const override;
    UEncoder* CreateEncoder() override;
    UDecoder* CreateDecoder() override;

protected:
    UASCIIEncoding();
    ~UASCIIEncoding() override;

    long DecodeCodePoint(const unsigned char* pbyInput, unsigned long ulCount,
                         unsigned long* pulCodePoint) const override;
    long EncodeCodePoint(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize) const override;
    long GetByteCountFromCodePoint(unsigned long ulCodePoint) const override;

private:
    friend class UASCIIDecoder;
    friend class UASCIIEncoder;

    // The code-point operations, shared with the encoder and decoder.
    static long Decode(const unsigned char* pbyInput, unsigned long ulCount, unsigned long* pulCodePoint);
    static long Encode(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize);
    static long ByteCount(unsigned long ulCodePoint);
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
