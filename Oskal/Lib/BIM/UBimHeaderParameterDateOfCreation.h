#pragma once

#include <Oskal/Lib/BIM/BIM_DATETIME.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterBase.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace BIM {

// Tag 5: when the image was made, a BIM_DATETIME of 8 bytes.
// Made empty, the record has length 0 and the parameter is invalid until a value is set; made
// from a record, it is valid only when the length fits.
class OSKAL_LIB_API UBimHeaderParameterDateOfCreation : public UBimHeaderParameterBase
{
public:
    // Each returns a new object with a reference count of 1.
    static UBimHeaderParameterDateOfCreation* Create();
    static UBimHeaderParameterDateOfCreation* Create(const BIM_DATETIME& dateTime);
    static UBimHeaderParameterDateOfCreation* Create(const BIM_HEADER_TLV& tlv);

    UBimHeaderParameterDateOfCreation(const UBimHeaderParameterDateOfCreation& other);
    UBimHeaderParameterDateOfCreation& operator=(const UBimHeaderParameterDateOfCreation& other);

    UBimHeaderParameterDateOfCreation* Dupe() const override;

    BIM_DATETIME GetDateOfCreation() const;
    // The reserved byte is written as 0.
    void SetDateOfCreation(const BIM_DATETIME& dateTime);

protected:
    UBimHeaderParameterDateOfCreation();
    explicit UBimHeaderParameterDateOfCreation(const BIM_DATETIME& dateTime);
    explicit UBimHeaderParameterDateOfCreation(const BIM_HEADER_TLV& tlv);
    ~UBimHeaderParameterDateOfCreation() override;
};

}}} // namespace Oskal::Lib::BIM
