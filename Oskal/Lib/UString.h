#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Collections/UVector.h>

namespace Oskal { namespace Lib {

class UStringBuilder;

// Mutable wide string of UTF-16 code units with an exact-size, always terminated buffer.
// Every empty string shares one static empty buffer and owns no memory.
class OSKAL_LIB_API UString
{
public:
    UString();
    UString(const wchar_t* pszText);
    UString(const wchar_t* pszText, unsigned long ulCount);
    UString(const UString& other);

    // The virtual functions keep this order: derived builders and existing callers rely on it.
    virtual ~UString();
    virtual UString& operator=(const wchar_t* pszText);
    virtual UString& operator=(const UStringBuilder& other);
    virtual UString& operator=(const UString& other);
    virtual bool operator<(const UString& other) const;
    virtual bool operator>(const UString& other) const;
    virtual bool operator==(const UString& other) const;
    virtual operator const wchar_t*() const;
    virtual void Append(unsigned long ulCodePoint);
    virtual void Append(wchar_t wc);
    virtual void Append(const wchar_t* pszText, unsigned long ulCount);
    virtual void Append(const wchar_t* pszText);
    virtual void Assign(const wchar_t* pszText, unsigned long ulCount);
    virtual void Assign(const wchar_t* pszText);
    virtual void Clear();
    virtual int Compare(const wchar_t* pszText, unsigned long ulCount) const;
    virtual int Compare(const wchar_t* pszText) const;
    virtual Collections::UVector<UString> Tokenize(const wchar_t* pszSeparator) const;
    virtual unsigned long GetLength() const;
    virtual wchar_t GetAt(unsigned long ulIndex) const;
    virtual const wchar_t* GetBuffer() const;
    virtual int IsEmpty() const;
    virtual int BeginsWith(const wchar_t* pszText);
    virtual int EndsWith(const wchar_t* pszText);
    virtual void Trim();

    // The capacity in code units, terminator included (length + 1 for a plain string).
    unsigned long GetCapacity() const { return m_ulCapacity; }

    static const UString Empty;

    // Concatenation builds the exact-size result buffer directly.
    friend OSKAL_LIB_API UString operator+(const UString& left, const UString& right);
    friend OSKAL_LIB_API UString operator+(const UString& left, const wchar_t* pszRight);

protected:
    // The shared buffer of every empty string: a single 0 code unit.
    static wchar_t* SharedEmptyBuffer();
    bool OwnsBuffer() const { return m_pszBuffer != SharedEmptyBuffer(); }
    // Releases an owned buffer; the fields are left for the caller to set.
    void FreeBuffer();
    // A buffer of ulUnits code units; throws std::bad_alloc when the byte count would wrap.
    static wchar_t* AllocUnits(unsigned long ulUnits);
    // The code units of a code point: one up to 0xFFFF, else a surrogate pair computed without
    // range checks. Returns how many were written to awcUnits.
    static unsigned long CodePointUnits(unsigned long ulCodePoint, wchar_t awcUnits[2]);
    // Code units before the first 0 among at most ulCount.
    static unsigned long BoundedLength(const wchar_t* pszText, unsigned long ulCount);
    // Finds the first and last code unit that is not space, tab, line feed or carriage return;
    // returns false when there is none.
    bool FindTrimmedRun(unsigned long& ulFirst, unsigned long& ulLast) const;

    wchar_t* m_pszBuffer;
    unsigned long m_ulCapacity;
    unsigned long m_ulLength;

private:
    void SetEmpty();
    // Replaces the text with exactly ulLength code units (embedded zeros included).
    void SetText(const wchar_t* pText, unsigned long ulLength);
    // Appends exactly ulCount code units into a new exact-size buffer.
    void AppendUnits(const wchar_t* pUnits, unsigned long ulCount);
};

OSKAL_LIB_API UString operator+(const UString& left, const UString& right);
OSKAL_LIB_API UString operator+(const UString& left, const wchar_t* pszRight);

}} // namespace Oskal::Lib
