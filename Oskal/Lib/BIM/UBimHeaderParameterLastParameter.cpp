#include <Oskal/Lib/BIM/UBimHeaderParameterLastParameter.h>

namespace Oskal { namespace Lib { namespace BIM {

UBimHeaderParameterLastParameter* UBimHeaderParameterLastParameter::Create()
{
    return new UBimHeaderParameterLastParameter();
}

UBimHeaderParameterLastParameter* UBimHeaderParameterLastParameter::Create(const BIM_HEADER_TLV& tlv)
{
    return new UBimHeaderParameterLastParameter(tlv);
}

UBimHeaderParameterLastParameter::UBimHeaderParameterLastParameter()
    : UBimHeaderParameterBase(eBimHeaderParameterTag_LastParameter, 1)
{
}

UBimHeaderParameterLastParameter::UBimHeaderParameterLastParameter(const BIM_HEADER_TLV& tlv)
    : UBimHeaderParameterBase(tlv, 1)
{
}

UBimHeaderParameterLastParameter::UBimHeaderParameterLastParameter(const UBimHeaderParameterLastParameter& other)
    : UBimHeaderParameterBase(other)
{
}

UBimHeaderParameterLastParameter& UBimHeaderParameterLastParameter::operator=(
    const UBimHeaderParameterLastParameter& other)
{
    UBimHeaderParameterBase::operator=(other);
    return *this;
}

UBimHeaderParameterLastParameter::~UBimHeaderParameterLastParameter() {}

UBimHeaderParameterLastParameter* UBimHeaderParameterLastParameter::Dupe() const
{
    return new UBimHeaderParameterLastParameter(*this);
}

}}} // namespace Oskal::Lib::BIM
