#include <Oskal/Lib/Text/UUTF8Encoding.h>

#include <Oskal/Lib/Text/UUTF8Decoder.h>
#include <Oskal/Lib/Text/UUTF8Encoder.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

namespace
{

const unsigned char kIdentifier[3] = {0xEF, 0xBB, 0xBF};

} // namespace

UUTF8Encoding::UUTF8Encoding(int bEmitIdentifier, int bThrowOnInvalid)
    : UEncoding(bThrowOnInvalid), m_bEmitIdentifier(bEmitIdentifier)
{
}

UUTF8Encoding::~UUTF8Encoding() {}

UUTF8Encoding* UUTF8Encoding::Create()
{
    return new UUTF8Encoding(0, 0);
}

UUTF8Encoding* UUTF8Encoding::Create(int bEmitIdentifier)
{
    return new UUTF8Encoding(bEmitIdentifier, 0);
}

UUTF8Encoding* UUTF8Encoding::Create(int bEmitIdentifier, int bThrowOnInvalid)
{
    return new UUTF8Encoding(bEmitIdentifier, bThrowOnInvalid);
}

const wchar_t* UUTF8Encoding::GetName() const
{
    return L"UTF-8";
}

UEncoder* UUTF8Encoding::CreateEncoder()
{
    return UUTF8Encoder::Create(this);
}

UDecoder* UUTF8Encoding::CreateDecoder()
{
    return UUTF8Decoder::Create(this);
}

const unsigned char* UUTF8Encoding::GetPreamble(unsigned long* pulLength) const
{
    if (!m_bEmitIdentifier)
        return UEncoding::GetPreamble(pulLength);
    if (pulLength != nullptr)
        *pulLength = sizeof(kIdentifier);
    return kIdentifier;
}

unsigned long UUTF8Encoding::GetMaxByteCount(unsigned long ulCharCount) const
{
    return UEncoding::GetMaxByteCount(ulCharCount) * 3 + 3;
}

long UUTF8Encoding::DecodeCodePoint(const unsigned char* pbyInput, unsigned long ulCount,
                                    unsigned long* pulCodePoint) const
{
    return Decode(pbyInput, ulCount, pulCodePoint);
}

long UUTF8Encoding::EncodeCodePoint(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize) const
{
    return Encode(ulCodePoint, pbyOutput, ulSize);
}

long UUTF8Encoding::GetByteCountFromCodePoint(unsigned long ulCodePoint) const
{
    return ByteCount(ulCodePoint);
}

// Range checks (surrogates, values beyond U+10FFFF) are the caller's: this level only reads the form.
long UUTF8Encoding::Decode(const unsigned char* pbyInput, unsigned long ulCount, unsigned long* pulCodePoint)
{
    if (ulCount == 0)
        return 0;
    const unsigned long lead = pbyInput[0];
    if (lead < 0x80)
    {
        *pulCodePoint = lead;
        return 1;
    }
    unsigned long length, value;
    if (lead < 0xE0)
    {
        length = 2;
        value = (lead & 0x1F) << 6;
    }
    else if (lead < 0xF0)
    {
        length = 3;
        value = (lead & 0x0F) << 12;
    }
    else if (lead < 0xF8)
    {
        length = 4;
        value = (lead & 0x07) << 18;
    }
    else
        return -1;
    if (ulCount < length)
        return 0;
    for (unsigned long i = 1; i < length; ++i)
    {
        const unsigned long trail = pbyInput[i];
        if (trail < 0x80 || trail > 0xBF)
            return -1;
        value |= (trail & 0x3F) << (6 * (length - 1 - i));
    }
    *pulCodePoint = value;
    return static_cast<long>(length);
}

long UUTF8Encoding::Encode(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize)
{
    const long length = ByteCount(ulCodePoint);
    if (length < 0)
        return -1;
    if (ulSize < static_cast<unsigned long>(length))
        return -2;
    switch (length)
    {
    case 1:
        pbyOutput[0] = static_cast<unsigned char>(ulCodePoint);
        break;
    case 2:
        pbyOutput[0] = static_cast<unsigned char>(0xC0 | (ulCodePoint >> 6));
        pbyOutput[1] = static_cast<unsigned char>(0x80 | (ulCodePoint & 0x3F));
        break;
    case 3:
        pbyOutput[0] = static_cast<unsigned char>(0xE0 | (ulCodePoint >> 12));
        pbyOutput[1] = static_cast<unsigned char>(0x80 | ((ulCodePoint >> 6) & 0x3F));
        pbyOutput[2] = static_cast<unsigned char>(0x80 | (ulCodePoint & 0x3F));
        break;
    default:
        pbyOutput[0] = static_cast<unsigned char>(0xF0 | (ulCodePoint >> 18));
        pbyOutput[1] = static_cast<unsigned char>(0x80 | ((ulCodePoint >> 12) & 0x3F));
        pbyOutput[2] = static_cast<unsigned char>(0x80 | ((ulCodePoint >> 6) & 0x3F));
        pbyOutput[3] = static_cast<unsigned char>(0x80 | (ulCodePoint & 0x3F));
        break;
    }
    return length;
}

long UUTF8Encoding::ByteCount(unsigned long ulCodePoint)
{
    if (ulCodePoint < 0x80)
        return 1;
    if (ulCodePoint < 0x800)
        return 2;
    if (ulCodePoint < 0x10000)
        return 3;
    if (ulCodePoint < 0x110000)
        return 4;
    return -1;
}

} // namespace Text
} // namespace Lib
} // namespace Oskal
