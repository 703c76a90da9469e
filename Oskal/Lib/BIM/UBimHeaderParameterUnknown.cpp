#include <Oskal/Lib/BIM/UBimHeaderParameterUnknown.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/UArgumentException.h>

namespace Oskal { namespace Lib { namespace BIM {

UBimHeaderParameterUnknown* UBimHeaderParameterUnknown::Create(UBimHeaderParameterTag eTag)
{
    return new UBimHeaderParameterUnknown(eTag);
}

UBimHeaderParameterUnknown* UBimHeaderParameterUnknown::Create(UBimHeaderParameterTag eTag,
                                                               const unsigned char* pbyValue, unsigned short wLength)
{
    return new UBimHeaderParameterUnknown(eTag, pbyValue, wLength);
}

UBimHeaderParameterUnknown* UBimHeaderParameterUnknown::Create(const BIM_HEADER_TLV& tlv)
{
    return new UBimHeaderParameterUnknown(tlv);
}

UBimHeaderParameterUnknown::UBimHeaderParameterUnknown(UBimHeaderParameterTag eTag) : UBimHeaderParameterBase(eTag, 1)
{
}

UBimHeaderParameterUnknown::UBimHeaderParameterUnknown(UBimHeaderParameterTag eTag, const unsigned char* pbyValue,
                                                       unsigned short wLength)
    : UBimHeaderParameterBase(eTag, 1)
{
    if (wLength != 0)
        Internal::ThrowIfNull(pbyValue, L"pbyValue");
    if (wLength != 0)
        SetValue(pbyValue, wLength);
}

UBimHeaderParameterUnknown::UBimHeaderParameterUnknown(const BIM_HEADER_TLV& tlv) : UBimHeaderParameterBase(tlv, 1) {}

UBimHeaderParameterUnknown::UBimHeaderParameterUnknown(const UBimHeaderParameterUnknown& other)
    : UBimHeaderParameterBase(other)
{
}

UBimHeaderParameterUnknown& UBimHeaderParameterUnknown::operator=(const UBimHeaderParameterUnknown& other)
{
    UBimHeaderParameterBase::operator=(other);
    return *this;
}

UBimHeaderParameterUnknown::~UBimHeaderParameterUnknown() {}

UBimHeaderParameterUnknown* UBimHeaderParameterUnknown::Dupe() const
{
    return new UBimHeaderParameterUnknown(*this);
}

}}} // namespace Oskal::Lib::BIM
