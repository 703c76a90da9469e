#include <Oskal/Lib/BIM/UBimHeaderParameterLongDescription.h>

namespace Oskal { namespace Lib { namespace BIM {

UBimHeaderParameterLongDescription* UBimHeaderParameterLongDescription::Create()
{
    return new UBimHeaderParameterLongDescription();
}

UBimHeaderParameterLongDescription* UBimHeaderParameterLongDescription::Create(const wchar_t* pszText)
{
    return new UBimHeaderParameterLongDescription(pszText);
}

UBimHeaderParameterLongDescription* UBimHeaderParameterLongDescription::Create(const BIM_HEADER_TLV& tlv)
{
    return new UBimHeaderParameterLongDescription(tlv);
}

UBimHeaderParameterLongDescription::UBimHeaderParameterLongDescription()
    : UBimHeaderParameterBase(eBimHeaderParameterTag_LongDescription, 1)
{
}

UBimHeaderParameterLongDescription::UBimHeaderParameterLongDescription(const wchar_t* pszText)
    : UBimHeaderParameterBase(eBimHeaderParameterTag_LongDescription, 1)
{
    EncodeText(pszText, m_text);
}

UBimHeaderParameterLongDescription::UBimHeaderParameterLongDescription(const BIM_HEADER_TLV& tlv)
    : UBimHeaderParameterBase(tlv, 1)
{
    DecodeText(m_text);
}

UBimHeaderParameterLongDescription::UBimHeaderParameterLongDescription(const UBimHeaderParameterLongDescription& other)
    : UBimHeaderParameterBase(other), m_text(other.m_text)
{
}

UBimHeaderParameterLongDescription& UBimHeaderParameterLongDescription::operator=(
    const UBimHeaderParameterLongDescription& other)
{
    if (this != &other)
    {
        m_text = other.m_text;
        UBimHeaderParameterBase::operator=(other);
    }
    return *this;
}

UBimHeaderParameterLongDescription::~UBimHeaderParameterLongDescription() {}

UBimHeaderParameterLongDescription* UBimHeaderParameterLongDescription::Dupe() const
{
    return new UBimHeaderParameterLongDescription(*this);
}

const wchar_t* UBimHeaderParameterLongDescription::GetLongDescription() const
{
    return m_text.GetBuffer();
}

void UBimHeaderParameterLongDescription::SetLongDescription(const wchar_t* pszText)
{
    EncodeText(pszText, m_text);
}

}}} // namespace Oskal::Lib::BIM
