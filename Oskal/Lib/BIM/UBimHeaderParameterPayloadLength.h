#pragma once

#include <Oskal/Lib/BIM/UBimHeaderParameterBase.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace BIM {

// Tag 2: the payload length, u32. The header writes this record itself; it never sits in the
// header's list when a file is read.
// Made empty, the record has length 0 and the parameter is invalid until a value is set; made
// from a record, it is valid only when the length fits.
class OSKAL_LIB_API UBimHeaderParameterPayloadLength : public UBimHeaderParameterBase
{
public:
    // Each returns a new object with a reference count of 1.
    static UBimHeaderParameterPayloadLength* Create();
    static UBimHeaderParameterPayloadLength* Create(unsigned int uiPayloadLength);
    static UBimHeaderParameterPayloadLength* Create(const BIM_HEADER_TLV& tlv);

    UBimHeaderParameterPayloadLength(const UBimHeaderParameterPayloadLength& other);
    UBimHeaderParameterPayloadLength& operator=(const UBimHeaderParameterPayloadLength& other);

    UBimHeaderParameterPayloadLength* Dupe() const override;

    unsigned int GetPayloadLength() const;
    void SetPayloadLength(unsigned int uiPayloadLength);

protected:
    UBimHeaderParameterPayloadLength();
    explicit UBimHeaderParameterPayloadLength(unsigned int uiPayloadLength);
    explicit UBimHeaderParameterPayloadLength(const BIM_HEADER_TLV& tlv);
    ~UBimHeaderParameterPayloadLength() override;
};

}}} // namespace Oskal::Lib::BIM
