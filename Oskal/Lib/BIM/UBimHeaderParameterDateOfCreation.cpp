#include <Oskal/Lib/BIM/UBimHeaderParameterDateOfCreation.h>

#include <Oskal/Lib/Internal/ByteOrder.h>

#include <cstring>

namespace Oskal { namespace Lib { namespace BIM {

UBimHeaderParameterDateOfCreation* UBimHeaderParameterDateOfCreation::Create()
{
    return new UBimHeaderParameterDateOfCreation();
}

UBimHeaderParameterDateOfCreation* UBimHeaderParameterDateOfCreation::Create(const BIM_DATETIME& dateTime)
{
    return new UBimHeaderParameterDateOfCreation(dateTime);
}

UBimHeaderParameterDateOfCreation* UBimHeaderParameterDateOfCreation::Create(const BIM_HEADER_TLV& tlv)
{
    return new UBimHeaderParameterDateOfCreation(tlv);
}

UBimHeaderParameterDateOfCreation::UBimHeaderParameterDateOfCreation()
    : UBimHeaderParameterBase(eBimHeaderParameterTag_DateOfCreation, 0)
{
}

UBimHeaderParameterDateOfCreation::UBimHeaderParameterDateOfCreation(const BIM_DATETIME& dateTime)
    : UBimHeaderParameterBase(eBimHeaderParameterTag_DateOfCreation, 0)
{
    SetDateOfCreation(dateTime);
}

UBimHeaderParameterDateOfCreation::UBimHeaderParameterDateOfCreation(const BIM_HEADER_TLV& tlv)
    : UBimHeaderParameterBase(tlv, tlv.wLength == 8)
{
}

UBimHeaderParameterDateOfCreation::UBimHeaderParameterDateOfCreation(const UBimHeaderParameterDateOfCreation& other)
    : UBimHeaderParameterBase(other)
{
}

UBimHeaderParameterDateOfCreation& UBimHeaderParameterDateOfCreation::operator=(
    const UBimHeaderParameterDateOfCreation& other)
{
    UBimHeaderParameterBase::operator=(other);
    return *this;
}

UBimHeaderParameterDateOfCreation::~UBimHeaderParameterDateOfCreation() {}

UBimHeaderParameterDateOfCreation* UBimHeaderParameterDateOfCreation::Dupe() const
{
    return new UBimHeaderParameterDateOfCreation(*this);
}

BIM_DATETIME UBimHeaderParameterDateOfCreation::GetDateOfCreation() const
{
    const unsigned char* value = GetValue();
    BIM_DATETIME dateTime;
    dateTime.byDay = value[0];
    dateTime.byMonth = value[1];
    dateTime.wYear = Internal::LoadLE16(value + 2);
    dateTime.byHour = value[4];
    dateTime.byMinute = value[5];
    dateTime.bySecond = value[6];
    dateTime.byReserved = value[7];
    return dateTime;
}

void UBimHeaderParameterDateOfCreation::SetDateOfCreation(const BIM_DATETIME& dateTime)
{
    unsigned char value[8] = {dateTime.byDay, dateTime.byMonth, 0, 0, dateTime.byHour, dateTime.byMinute,
                              dateTime.bySecond, 0};
    Internal::StoreLE16(value + 2, dateTime.wYear);
    SetValue(value, 8);
}

}}} // namespace Oskal::Lib::BIM
