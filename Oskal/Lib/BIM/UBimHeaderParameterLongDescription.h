#pragma once

#include <Oskal/Lib/BIM/UBimHeaderParameterBase.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UString.h>

namespace Oskal { namespace Lib { namespace BIM {

// Tag 4: text, stored as UTF-8 without terminator or byte-order mark. The text is held
// beside the record as well. Always valid.
class OSKAL_LIB_API UBimHeaderParameterLongDescription : public UBimHeaderParameterBase
{
public:
    // Each returns a new object with a reference count of 1.
    static UBimHeaderParameterLongDescription* Create();
    static UBimHeaderParameterLongDescription* Create(const wchar_t* pszText);
    static UBimHeaderParameterLongDescription* Create(const BIM_HEADER_TLV& tlv);

    UBimHeaderParameterLongDescription(const UBimHeaderParameterLongDescription& other);
    UBimHeaderParameterLongDescription& operator=(const UBimHeaderParameterLongDescription& other);

    UBimHeaderParameterLongDescription* Dupe() const override;

    // Never null.
    const wchar_t* GetLongDescription() const;
    // A text whose UTF-8 form exceeds 65535 bytes is cut at a character boundary; the getter
    // then returns the cut text. Null counts as empty.
    void SetLongDescription(const wchar_t* pszText);

protected:
    UBimHeaderParameterLongDescription();
    explicit UBimHeaderParameterLongDescription(const wchar_t* pszText);
    explicit UBimHeaderParameterLongDescription(const BIM_HEADER_TLV& tlv);
    ~UBimHeaderParameterLongDescription() override;

private:
    UString m_text;
};

}}} // namespace Oskal::Lib::BIM
