#include <Oskal/Lib/BIM/UBimHeaderParameterPayloadLength.h>

#include <Oskal/Lib/Internal/ByteOrder.h>

#include <cstring>

namespace Oskal { namespace Lib { namespace BIM {

UBimHeaderParameterPayloadLength* UBimHeaderParameterPayloadLength::Create()
{
    return new UBimHeaderParameterPayloadLength();
}

UBimHeaderParameterPayloadLength* UBimHeaderParameterPayloadLength::Create(unsigned int uiPayloadLength)
{
    return new UBimHeaderParameterPayloadLength(uiPayloadLength);
}

UBimHeaderParameterPayloadLength* UBimHeaderParameterPayloadLength::Create(const BIM_HEADER_TLV& tlv)
{
    return new UBimHeaderParameterPayloadLength(tlv);
}

UBimHeaderParameterPayloadLength::UBimHeaderParameterPayloadLength()
    : UBimHeaderParameterBase(eBimHeaderParameterTag_PayloadLength, 0)
{
}

UBimHeaderParameterPayloadLength::UBimHeaderParameterPayloadLength(unsigned int uiPayloadLength)
    : UBimHeaderParameterBase(eBimHeaderParameterTag_PayloadLength, 0)
{
    SetPayloadLength(uiPayloadLength);
}

UBimHeaderParameterPayloadLength::UBimHeaderParameterPayloadLength(const BIM_HEADER_TLV& tlv)
    : UBimHeaderParameterBase(tlv, tlv.wLength == 4)
{
}

UBimHeaderParameterPayloadLength::UBimHeaderParameterPayloadLength(const UBimHeaderParameterPayloadLength& other)
    : UBimHeaderParameterBase(other)
{
}

UBimHeaderParameterPayloadLength& UBimHeaderParameterPayloadLength::operator=(
    const UBimHeaderParameterPayloadLength& other)
{
    UBimHeaderParameterBase::operator=(other);
    return *this;
}

UBimHeaderParameterPayloadLength::~UBimHeaderParameterPayloadLength() {}

UBimHeaderParameterPayloadLength* UBimHeaderParameterPayloadLength::Dupe() const
{
    return new UBimHeaderParameterPayloadLength(*this);
}

unsigned int UBimHeaderParameterPayloadLength::GetPayloadLength() const
{
    const unsigned char* value = GetValue();
    return Internal::LoadLE32(value);
}

void UBimHeaderParameterPayloadLength::SetPayloadLength(unsigned int uiPayloadLength)
{
    unsigned char value[4];
    Internal::StoreLE32(value, uiPayloadLength);
    SetValue(value, 4);
}

}}} // namespace Oskal::Lib::BIM
