#pragma once

#include <Oskal/Lib/BIM/BIM_TARGETSYSTEM.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterBase.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace BIM {

// Tag 1: the system the image is made for, 8 bytes kept as they stand.
// Made empty, the record has length 0 and the parameter is invalid until a value is set; made
// from a record, it is valid only when the length fits.
class OSKAL_LIB_API UBimHeaderParameterTargetSystem : public UBimHeaderParameterBase
{
public:
    // Each returns a new object with a reference count of 1.
    static UBimHeaderParameterTargetSystem* Create();
    static UBimHeaderParameterTargetSystem* Create(const BIM_TARGETSYSTEM& targetSystem);
    static UBimHeaderParameterTargetSystem* Create(const BIM_HEADER_TLV& tlv);

    UBimHeaderParameterTargetSystem(const UBimHeaderParameterTargetSystem& other);
    UBimHeaderParameterTargetSystem& operator=(const UBimHeaderParameterTargetSystem& other);

    UBimHeaderParameterTargetSystem* Dupe() const override;

    // The first 8 bytes of the value area.
    BIM_TARGETSYSTEM GetTargetSystem() const;
    void SetTargetSystem(const BIM_TARGETSYSTEM& targetSystem);

protected:
    UBimHeaderParameterTargetSystem();
    explicit UBimHeaderParameterTargetSystem(const BIM_TARGETSYSTEM& targetSystem);
    explicit UBimHeaderParameterTargetSystem(const BIM_HEADER_TLV& tlv);
    ~UBimHeaderParameterTargetSystem() override;
};

}}} // namespace Oskal::Lib::BIM
