#pragma once

#include <Oskal/Lib/BIM/UBimHeaderParameterBase.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace BIM {

// A record of a tag this library gives no meaning to, kept byte for byte; its value is reached
// through GetTLV(). Always valid.
class OSKAL_LIB_API UBimHeaderParameterUnknown : public UBimHeaderParameterBase
{
public:
    // Each returns a new object with a reference count of 1. The first has length 0.
    static UBimHeaderParameterUnknown* Create(UBimHeaderParameterTag eTag);
    static UBimHeaderParameterUnknown* Create(UBimHeaderParameterTag eTag, const unsigned char* pbyValue,
                                              unsigned short wLength);
    static UBimHeaderParameterUnknown* Create(const BIM_HEADER_TLV& tlv);

    UBimHeaderParameterUnknown(const UBimHeaderParameterUnknown& other);
    UBimHeaderParameterUnknown& operator=(const UBimHeaderParameterUnknown& other);

    UBimHeaderParameterUnknown* Dupe() const override;

protected:
    explicit UBimHeaderParameterUnknown(UBimHeaderParameterTag eTag);
    UBimHeaderParameterUnknown(UBimHeaderParameterTag eTag, const unsigned char* pbyValue, unsigned short wLength);
    explicit UBimHeaderParameterUnknown(const BIM_HEADER_TLV& tlv);
    ~UBimHeaderParameterUnknown() override;
};

}}} // namespace Oskal::Lib::BIM
