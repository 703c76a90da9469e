#pragma once

#include <Oskal/Lib/BIM/UBimHeaderParameterBase.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace BIM {

// Tag 0xFFFF: ends the header; no value. Always valid.
class OSKAL_LIB_API UBimHeaderParameterLastParameter : public UBimHeaderParameterBase
{
public:
    // Each returns a new object with a reference count of 1.
    static UBimHeaderParameterLastParameter* Create();
    static UBimHeaderParameterLastParameter* Create(const BIM_HEADER_TLV& tlv);

    UBimHeaderParameterLastParameter(const UBimHeaderParameterLastParameter& other);
    UBimHeaderParameterLastParameter& operator=(const UBimHeaderParameterLastParameter& other);

    UBimHeaderParameterLastParameter* Dupe() const override;

protected:
    UBimHeaderParameterLastParameter();
    explicit UBimHeaderParameterLastParameter(const BIM_HEADER_TLV& tlv);
    ~UBimHeaderParameterLastParameter() override;
};

}}} // namespace Oskal::Lib::BIM
