#include <Oskal/Lib/BIM/UBimHeaderParameterShortDescription.h>

namespace Oskal { namespace Lib { namespace BIM {

UBimHeaderParameterShortDescription* UBimHeaderParameterShortDescription::Create()
{
    return new UBimHeaderParameterShortDescription();
}

UBimHeaderParameterShortDescription* UBimHeaderParameterShortDescription::Create(const wchar_t* pszText)
{
    return new UBimHeaderParameterShortDescription(pszText);
}

UBimHeaderParameterShortDescription* UBimHeaderParameterShortDescription::Create(const BIM_HEADER_TLV& tlv)
{
    return new UBimHeaderParameterShortDescription(tlv);
}

UBimHeaderParameterShortDescription::UBimHeaderParameterShortDescription()
    : UBimHeaderParameterBase(eBimHeaderParameterTag_ShortDescription, 1)
{
}

UBimHeaderParameterShortDescription::UBimHeaderParameterShortDescription(const wchar_t* pszText)
    : UBimHeaderParameterBase(eBimHeaderParameterTag_ShortDescription, 1)
{
    EncodeText(pszText, m_text);
}

UBimHeaderParameterShortDescription::UBimHeaderParameterShortDescription(const BIM_HEADER_TLV& tlv)
    : UBimHeaderParameterBase(tlv, 1)
{
    DecodeText(m_text);
}

UBimHeaderParameterShortDescription::UBimHeaderParameterShortDescription(
    const UBimHeaderParameterShortDescription& other)
    : UBimHeaderParameterBase(other), m_text(other.m_text)
{
}

UBimHeaderParameterShortDescription& UBimHeaderParameterShortDescription::operator=(
    const UBimHeaderParameterShortDescription& other)
{
    if (this != &other)
    {
        m_text = other.m_text;
        UBimHeaderParameterBase::operator=(other);
    }
    return *this;
}

UBimHeaderParameterShortDescription::~UBimHeaderParameterShortDescription() {}

UBimHeaderParameterShortDescription* UBimHeaderParameterShortDescription::Dupe() const
{
    return new UBimHeaderParameterShortDescription(*this);
}

const wchar_t* UBimHeaderParameterShortDescription::GetShortDescription() const
{
    return m_text.GetBuffer();
}

void UBimHeaderParameterShortDescription::SetShortDescription(const wchar_t* pszText)
{
    EncodeText(pszText, m_text);
}

}}} // namespace Oskal::Lib::BIM
