#include <Oskal/Lib/BIM/UBimHeaderParameterBase.h>

#include <Oskal/Lib/Internal/ByteOrder.h>
#include <Oskal/Lib/Internal/ReleasePtr.h>
#include <Oskal/Lib/Text/UDecoder.h>
#include <Oskal/Lib/Text/UEncoder.h>
#include <Oskal/Lib/Text/UUTF8Encoding.h>

#include <cstring>
#include <cwchar>
#include <memory>

namespace Oskal { namespace Lib { namespace BIM {

namespace {

// Room for a value of that length: padded to a multiple of 4, never below 8 bytes so the
// fixed-size getters can always read their 8.
unsigned long ValueRoom(unsigned long ulLength)
{
    const unsigned long padded = (ulLength + 3) & ~3UL;
    return padded < 8 ? 8 : padded;
}

unsigned char* NewValue(const unsigned char* pbyValue, unsigned long ulLength)
{
    const unsigned long room = ValueRoom(ulLength);
    unsigned char* value = new unsigned char[room]();
    if (ulLength != 0)
        std::memcpy(value, pbyValue, ulLength);
    return value;
}

} // namespace

UBimHeaderParameterBase::UBimHeaderParameterBase(UBimHeaderParameterTag eTag, int bValid)
    : m_wTag(static_cast<unsigned short>(eTag)), m_wLength(0), m_pbyValue(NewValue(nullptr, 0)), m_pTlv(nullptr),
      m_bValid(bValid ? 1 : 0)
{
}

UBimHeaderParameterBase::UBimHeaderParameterBase(const BIM_HEADER_TLV& tlv, int bValid)
    : m_wTag(tlv.wTag), m_wLength(tlv.wLength), m_pbyValue(NewValue(tlv.abyValue, tlv.wLength)), m_pTlv(nullptr),
      m_bValid(bValid ? 1 : 0)
{
}

UBimHeaderParameterBase::UBimHeaderParameterBase(const UBimHeaderParameterBase& other)
    : UReferenceManagement(other), m_wTag(other.GetTag()), m_wLength(other.GetValueLength()),
      m_pbyValue(NewValue(other.GetValue(), other.GetValueLength())), m_pTlv(nullptr), m_bValid(other.m_bValid)
{
}

UBimHeaderParameterBase& UBimHeaderParameterBase::operator=(const UBimHeaderParameterBase& other)
{
    if (this != &other)
    {
        StoreValue(other.GetValue(), other.GetValueLength());
        if (m_pTlv != nullptr)
            m_pTlv->wTag = static_cast<unsigned short>(other.GetTag());
        m_wTag = static_cast<unsigned short>(other.GetTag());
        m_bValid = other.m_bValid;
    }
    return *this;
}

UBimHeaderParameterBase::~UBimHeaderParameterBase()
{
    delete[] m_pbyValue;
    delete m_pTlv;
}

UBimHeaderParameterTag UBimHeaderParameterBase::GetTag() const
{
    return static_cast<UBimHeaderParameterTag>(m_pTlv != nullptr ? m_pTlv->wTag : m_wTag);
}

BIM_HEADER_TLV& UBimHeaderParameterBase::GetTLV()
{
    if (m_pTlv == nullptr)
    {
        BIM_HEADER_TLV* tlv = new BIM_HEADER_TLV();
        tlv->wTag = m_wTag;
        tlv->wLength = m_wLength;
        std::memcpy(tlv->abyValue, m_pbyValue, m_wLength);
        m_pTlv = tlv;
        delete[] m_pbyValue;
        m_pbyValue = nullptr;
    }
    return *m_pTlv;
}

const BIM_HEADER_TLV& UBimHeaderParameterBase::GetTLV() const
{
    return const_cast<UBimHeaderParameterBase*>(this)->GetTLV();
}

int UBimHeaderParameterBase::IsValid() const
{
    return m_bValid;
}

const unsigned char* UBimHeaderParameterBase::GetValue() const
{
    return m_pTlv != nullptr ? m_pTlv->abyValue : m_pbyValue;
}

unsigned short UBimHeaderParameterBase::GetValueLength() const
{
    return m_pTlv != nullptr ? m_pTlv->wLength : m_wLength;
}

void UBimHeaderParameterBase::Write(IO::UStream& stream) const
{
    const unsigned short length = GetValueLength();
    unsigned char head[4];
    Internal::StoreLE16(head, static_cast<unsigned short>(GetTag()));
    Internal::StoreLE16(head + 2, length);
    stream.Write(head, 4);
    if (length != 0)
        stream.Write(GetValue(), length);
    // The padding is written as zeros whatever the record holds behind the value: a shorter
    // text set over a longer one leaves old bytes there.
    static const unsigned char zeros[3] = {0, 0, 0};
    if (length % 4 != 0)
        stream.Write(zeros, 4 - length % 4);
}

void UBimHeaderParameterBase::SetValue(const void* pvValue, unsigned short wLength)
{
    StoreValue(static_cast<const unsigned char*>(pvValue), wLength);
    m_bValid = 1;
}

void UBimHeaderParameterBase::StoreValue(const unsigned char* pbyValue, unsigned short wLength)
{
    if (m_pTlv != nullptr)
    {
        if (wLength != 0 && pbyValue != m_pTlv->abyValue)
            std::memmove(m_pTlv->abyValue, pbyValue, wLength);
        m_pTlv->wLength = wLength;
        return;
    }
    unsigned char* value = NewValue(pbyValue, wLength);
    delete[] m_pbyValue;
    m_pbyValue = value;
    m_wLength = wLength;
}

void UBimHeaderParameterBase::EncodeText(const wchar_t* pszText, UString& text)
{
    if (pszText == nullptr)
        pszText = L"";
    Internal::ReleasePtr<Text::UUTF8Encoding> encoding(Text::UUTF8Encoding::Create());
    Internal::ReleasePtr<Text::UEncoder> encoder(encoding->CreateEncoder());
    const unsigned long count = static_cast<unsigned long>(std::wcslen(pszText));
    // A length must fit 16 bits; a UTF-16 unit never takes more than 3 bytes.
    const unsigned long room = count < 65535 / 3 ? count * 3 : 65535;
    std::unique_ptr<unsigned char[]> bytes(new unsigned char[room != 0 ? room : 1]);
    unsigned long charsUsed = 0;
    unsigned long bytesUsed = 0;
    int completed = 0;
    encoder->Convert(pszText, count, bytes.get(), room, 1, &charsUsed, &bytesUsed, &completed);
    // A high surrogate whose partner didn't fit counts as used, but nothing of it was written:
    // the text keeps only whole characters.
    if (charsUsed != 0 && charsUsed < count && pszText[charsUsed - 1] >= 0xD800 && pszText[charsUsed - 1] <= 0xDBFF)
        --charsUsed;
    // Built before the record changes, so a failure leaves the two matching.
    UString kept(pszText, charsUsed);
    SetValue(bytes.get(), static_cast<unsigned short>(bytesUsed));
    text = kept;
}

void UBimHeaderParameterBase::DecodeText(UString& text) const
{
    Internal::ReleasePtr<Text::UUTF8Encoding> encoding(Text::UUTF8Encoding::Create());
    Internal::ReleasePtr<Text::UDecoder> decoder(encoding->CreateDecoder());
    const unsigned long length = GetValueLength();
    const unsigned char* value = GetValue();
    // Counted first and converted into exactly that room, so the whole value is decoded.
    const unsigned long count = decoder->GetCharCount(value, length, 1);
    wchar_t* chars = new wchar_t[count + 1];
    try
    {
        unsigned long bytesUsed = 0;
        unsigned long charsUsed = 0;
        int completed = 0;
        decoder->Convert(value, length, chars, count, 1, &bytesUsed, &charsUsed, &completed);
        chars[charsUsed] = 0;
        text.Assign(chars, charsUsed);
    }
    catch (...)
    {
        delete[] chars;
        throw;
    }
    delete[] chars;
}

}}} // namespace Oskal::Lib::BIM
