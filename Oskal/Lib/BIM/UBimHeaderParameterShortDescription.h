#pragma once

#include <Oskal/Lib/BIM/UBimHeaderParameterBase.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UString.h>

namespace Oskal { namespace Lib { namespace BIM {

// Tag 3: text, stored as UTF-8 without terminator or byte-order mark. The text is held
// beside the record as well. Always valid.
class OSKAL_LIB_API UBimHeaderParameterShortDescription : public UBimHeaderParameterBase
{
public:
    // Each returns a new object with a reference count of 1.
    static UBimHeaderParameterShortDescription* Create();
    static UBimHeaderParameterShortDescription* Create(const wchar_t* pszText);
    static UBimHeaderParameterShortDescription* Create(const BIM_HEADER_TLV& tlv);

    UBimHeaderParameterShortDescription(const UBimHeaderParameterShortDescription& other);
    UBimHeaderParameterShortDescription& operator=(const UBimHeaderParameterShortDescription& other);

    UBimHeaderParameterShortDescription* Dupe() const override;

    // Never null.
    const wchar_t* GetShortDescription() const;
    // A text whose UTF-8 form exceeds 65535 bytes is cut at a character boundary; the getter
    // then returns the cut text. Null counts as empty.
    void SetShortDescription(const wchar_t* pszText);

protected:
    UBimHeaderParameterShortDescription();
    explicit UBimHeaderParameterShortDescription(const wchar_t* pszText);
    explicit UBimHeaderParameterShortDescription(const BIM_HEADER_TLV& tlv);
    ~UBimHeaderParameterShortDescription() override;

private:
    UString m_text;
};

}}} // namespace Oskal::Lib::BIM
