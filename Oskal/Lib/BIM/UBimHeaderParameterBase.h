#pragma once

#include <Oskal/Lib/BIM/BIM_HEADER_TLV.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterTag.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/UStream.h>
#include <Oskal/Lib/UReferenceManagement.h>
#include <Oskal/Lib/UString.h>

namespace Oskal { namespace Lib { namespace BIM {

// A header parameter: one record (tag, length, value) and whether its value is acceptable.
// Parameters are reference-counted; the header owns those in its list.
//
// The value is held in a buffer of its own padded length. The full 64 KiB record of GetTLV() is
// made on first use only and from then on holds the value: a header of many short records read
// from a file costs memory in proportion to the file, not 64 KiB per record.
class OSKAL_LIB_API UBimHeaderParameterBase : public UReferenceManagement
{
public:
    // A new, independent copy with a reference count of 1.
    virtual UBimHeaderParameterBase* Dupe() const = 0;

    UBimHeaderParameterTag GetTag() const;
    // The whole record; its value area is zero beyond the value's padded length.
    BIM_HEADER_TLV& GetTLV();
    const BIM_HEADER_TLV& GetTLV() const;
    int IsValid() const;
    // Tag, length and the value followed by zero bytes up to a multiple of 4.
    void Write(IO::UStream& stream) const;

protected:
    // The record has the tag, length 0 and an all-zero value area.
    UBimHeaderParameterBase(UBimHeaderParameterTag eTag, int bValid);
    // A copy of the record's tag, length and value.
    UBimHeaderParameterBase(const BIM_HEADER_TLV& tlv, int bValid);
    UBimHeaderParameterBase(const UBimHeaderParameterBase& other);
    UBimHeaderParameterBase& operator=(const UBimHeaderParameterBase& other);
    ~UBimHeaderParameterBase() override;

    // The value's bytes (at least 8 readable, zero beyond the length) and its length.
    const unsigned char* GetValue() const;
    unsigned short GetValueLength() const;
    // Puts a value into the record and marks it valid.
    void SetValue(const void* pvValue, unsigned short wLength);
    // The description classes' shared steps: the text into the record as UTF-8 (at most 65535
    // bytes, cut at a character boundary), and the record's value back into text.
    void EncodeText(const wchar_t* pszText, UString& text);
    void DecodeText(UString& text) const;

private:
    // Replaces the short value buffer; the full record, once made, takes the value instead.
    void StoreValue(const unsigned char* pbyValue, unsigned short wLength);

    unsigned short m_wTag;
    unsigned short m_wLength;
    // Value padded to a multiple of 4 (at least 8 bytes), zero-filled; null once m_pTlv exists.
    unsigned char* m_pbyValue;
    // The full record, made by GetTLV.
    BIM_HEADER_TLV* m_pTlv;
    int m_bValid;
};

}}} // namespace Oskal::Lib::BIM
