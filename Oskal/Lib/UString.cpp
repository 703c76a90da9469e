#include <Oskal/Lib/UString.h>

#include <Oskal/Lib/Memory.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UStringBuilder.h>

#include <cstring>
#include <cwchar>
#include <new>

namespace Oskal { namespace Lib {

namespace {

wchar_t g_emptyBuffer[1] = {0};

// Finds the separator occurrences with a reset scan: a unit that breaks a partial match restarts
// the match without being compared again. Tokenize counts and splits with this same scan so the
// two passes agree. Calls onMatch(first unit of the separator, first unit after it).
template <typename F>
unsigned long ScanSeparators(const wchar_t* pText, unsigned long ulLength, const wchar_t* pszSeparator, F onMatch)
{
    unsigned long count = 0;
    if (pszSeparator[0] == 0)
        return 0;
    unsigned long matched = 0;
    for (unsigned long i = 0; i < ulLength; ++i)
    {
        if (pText[i] != pszSeparator[matched])
        {
            matched = 0;
            continue;
        }
        if (pszSeparator[++matched] == 0)
        {
            onMatch(i + 1 - matched, i + 1);
            matched = 0;
            ++count;
        }
    }
    return count;
}

} // namespace

const UString UString::Empty;

wchar_t* UString::SharedEmptyBuffer()
{
    return g_emptyBuffer;
}

void UString::FreeBuffer()
{
    if (OwnsBuffer())
        Free(m_pszBuffer);
}

void UString::SetEmpty()
{
    FreeBuffer();
    m_pszBuffer = SharedEmptyBuffer();
    m_ulCapacity = 1;
    m_ulLength = 0;
}

void UString::SetText(const wchar_t* pText, unsigned long ulLength)
{
    if (ulLength == 0)
    {
        SetEmpty();
        return;
    }
    if (ulLength + 1 == m_ulCapacity)
    {
        // The source may lie inside this buffer.
        std::memmove(m_pszBuffer, pText, ulLength * sizeof(wchar_t));
    }
    else
    {
        wchar_t* buffer = AllocUnits(ulLength + 1);
        std::memcpy(buffer, pText, ulLength * sizeof(wchar_t));
        FreeBuffer();
        m_pszBuffer = buffer;
        m_ulCapacity = ulLength + 1;
    }
    m_pszBuffer[ulLength] = 0;
    m_ulLength = ulLength;
}

void UString::AppendUnits(const wchar_t* pUnits, unsigned long ulCount)
{
    const unsigned long length = m_ulLength + ulCount;
    wchar_t* buffer = AllocUnits(length + 1);
    std::memcpy(buffer, m_pszBuffer, m_ulLength * sizeof(wchar_t));
    std::memcpy(buffer + m_ulLength, pUnits, ulCount * sizeof(wchar_t));
    buffer[length] = 0;
    FreeBuffer();
    m_pszBuffer = buffer;
    m_ulCapacity = length + 1;
    m_ulLength = length;
}

UString::UString() : m_pszBuffer(SharedEmptyBuffer()), m_ulCapacity(1), m_ulLength(0) {}

UString::UString(const wchar_t* pszText) : UString()
{
    SetText(pszText, static_cast<unsigned long>(std::wcslen(pszText)));
}

UString::UString(const wchar_t* pszText, unsigned long ulCount) : UString()
{
    SetText(pszText, BoundedLength(pszText, ulCount));
}

UString::UString(const UString& other) : UString()
{
    if (other.m_ulLength == 0)
        return;
    // Keeps the source's capacity, which is larger than needed when the source is a builder.
    wchar_t* buffer = AllocUnits(other.m_ulCapacity);
    std::memcpy(buffer, other.m_pszBuffer, other.m_ulLength * sizeof(wchar_t));
    buffer[other.m_ulLength] = 0;
    m_pszBuffer = buffer;
    m_ulCapacity = other.m_ulCapacity;
    m_ulLength = other.m_ulLength;
}

UString::~UString()
{
    FreeBuffer();
}

UString& UString::operator=(const wchar_t* pszText)
{
    Assign(pszText);
    return *this;
}

UString& UString::operator=(const UStringBuilder& other)
{
    const UString& source = other;
    Assign(source.m_pszBuffer, source.m_ulLength);
    return *this;
}

UString& UString::operator=(const UString& other)
{
    if (this != &other)
        Assign(other.m_pszBuffer, other.m_ulLength);
    return *this;
}

bool UString::operator<(const UString& other) const
{
    return Compare(static_cast<const wchar_t*>(other)) < 0;
}

bool UString::operator>(const UString& other) const
{
    return Compare(static_cast<const wchar_t*>(other)) > 0;
}

bool UString::operator==(const UString& other) const
{
    return Compare(static_cast<const wchar_t*>(other)) == 0;
}

UString::operator const wchar_t*() const
{
    return m_pszBuffer;
}

void UString::Append(unsigned long ulCodePoint)
{
    wchar_t units[2];
    AppendUnits(units, CodePointUnits(ulCodePoint, units));
}

void UString::Append(wchar_t wc)
{
    AppendUnits(&wc, 1);
}

void UString::Append(const wchar_t* pszText, unsigned long ulCount)
{
    const unsigned long added = BoundedLength(pszText, ulCount);
    if (added != 0)
        AppendUnits(pszText, added);
}

void UString::Append(const wchar_t* pszText)
{
    const unsigned long added = static_cast<unsigned long>(std::wcslen(pszText));
    if (added != 0)
        AppendUnits(pszText, added);
}

void UString::Assign(const wchar_t* pszText, unsigned long ulCount)
{
    if (pszText == nullptr)
        SetEmpty();
    else
        SetText(pszText, BoundedLength(pszText, ulCount));
}

void UString::Assign(const wchar_t* pszText)
{
    if (pszText == nullptr)
        SetEmpty();
    else
        SetText(pszText, static_cast<unsigned long>(std::wcslen(pszText)));
}

void UString::Clear()
{
    SetEmpty();
}

int UString::Compare(const wchar_t* pszText, unsigned long ulCount) const
{
    // Kept: lengths decide before characters, so this orders differently from
    // Compare(const wchar_t*) (pinned by UString.Compare)
    if (m_ulLength < ulCount)
        return -1;
    if (m_ulLength > ulCount)
        return 1;
    return std::wcsncmp(m_pszBuffer, pszText, ulCount);
}

int UString::Compare(const wchar_t* pszText) const
{
    const wchar_t* own = m_pszBuffer;
    for (;; ++own, ++pszText)
    {
        const unsigned short left = static_cast<unsigned short>(*own);
        const unsigned short right = static_cast<unsigned short>(*pszText);
        if (left != right)
            return left < right ? -1 : 1;
        if (left == 0)
            return 0;
    }
}

Collections::UVector<UString> UString::Tokenize(const wchar_t* pszSeparator) const
{
    Collections::UVector<UString> tokens;
    if (m_ulLength == 0)
        return tokens;
    const unsigned long count =
        ScanSeparators(m_pszBuffer, m_ulLength, pszSeparator, [](unsigned long, unsigned long) {});
    tokens.SetCapacity(count + 1);
    unsigned long tokenStart = 0;
    ScanSeparators(m_pszBuffer, m_ulLength, pszSeparator, [&](unsigned long ulSeparator, unsigned long ulNext) {
        tokens.Add(UString(m_pszBuffer + tokenStart, ulSeparator - tokenStart));
        tokenStart = ulNext;
    });
    tokens.Add(UString(m_pszBuffer + tokenStart, m_ulLength - tokenStart));
    return tokens;
}

unsigned long UString::GetLength() const
{
    return m_ulLength;
}

wchar_t UString::GetAt(unsigned long ulIndex) const
{
    // Kept: the index may equal the length, and the terminator is returned then (pinned by
    // UString.GetAtAcceptsTheLengthAndThrowsBeyond)
    if (ulIndex > m_ulLength)
        throw Exceptions::UArgumentException(L"ulIndex", L"Index is out of range.");
    return m_pszBuffer[ulIndex];
}

const wchar_t* UString::GetBuffer() const
{
    return m_pszBuffer;
}

int UString::IsEmpty() const
{
    return m_ulLength == 0 ? 1 : 0;
}

int UString::BeginsWith(const wchar_t* pszText)
{
    const unsigned long length = static_cast<unsigned long>(std::wcslen(pszText));
    if (length > m_ulLength)
        return 0;
    return std::memcmp(m_pszBuffer, pszText, length * sizeof(wchar_t)) == 0 ? 1 : 0;
}

int UString::EndsWith(const wchar_t* pszText)
{
    const unsigned long length = static_cast<unsigned long>(std::wcslen(pszText));
    if (length > m_ulLength)
        return 0;
    return std::memcmp(m_pszBuffer + m_ulLength - length, pszText, length * sizeof(wchar_t)) == 0 ? 1 : 0;
}

wchar_t* UString::AllocUnits(unsigned long ulUnits)
{
    // The byte count must not wrap around in 32 bits.
    if (ulUnits > 0x7FFFFFFFUL)
        throw std::bad_alloc();
    return static_cast<wchar_t*>(Alloc(ulUnits * sizeof(wchar_t)));
}

unsigned long UString::CodePointUnits(unsigned long ulCodePoint, wchar_t awcUnits[2])
{
    if (ulCodePoint <= 0xFFFF)
    {
        awcUnits[0] = static_cast<wchar_t>(ulCodePoint);
        return 1;
    }
    // No range check: values past 0x10FFFF are written as computed.
    awcUnits[0] = static_cast<wchar_t>(0xD7C0 + (ulCodePoint >> 10));
    awcUnits[1] = static_cast<wchar_t>(0xDC00 + (ulCodePoint & 0x3FF));
    return 2;
}

unsigned long UString::BoundedLength(const wchar_t* pszText, unsigned long ulCount)
{
    unsigned long length = 0;
    while (length < ulCount && pszText[length] != 0)
        ++length;
    return length;
}

bool UString::FindTrimmedRun(unsigned long& ulFirst, unsigned long& ulLast) const
{
    bool found = false;
    for (unsigned long i = 0; i < m_ulLength; ++i)
    {
        const wchar_t wc = m_pszBuffer[i];
        if (wc == L' ' || wc == L'\t' || wc == L'\n' || wc == L'\r')
            continue;
        if (!found)
            ulFirst = i;
        ulLast = i;
        found = true;
    }
    return found;
}

void UString::Trim()
{
    if (m_ulLength == 0)
        return;
    unsigned long first = 0;
    unsigned long last = 0;
    if (!FindTrimmedRun(first, last))
    {
        // Only white space: nothing is kept.
        SetEmpty();
        return;
    }
    if (first == 0 && last == m_ulLength - 1)
        return;
    SetText(m_pszBuffer + first, last - first + 1);
}

namespace {

// Fills a buffer of exactly the summed length plus the terminator.
wchar_t* JoinUnits(wchar_t* buffer, const wchar_t* pLeft, unsigned long ulLeft, const wchar_t* pRight,
                   unsigned long ulRight)
{
    std::memcpy(buffer, pLeft, ulLeft * sizeof(wchar_t));
    std::memcpy(buffer + ulLeft, pRight, ulRight * sizeof(wchar_t));
    buffer[ulLeft + ulRight] = 0;
    return buffer;
}

} // namespace

UString operator+(const UString& left, const UString& right)
{
    UString result;
    const unsigned long leftLength = left.GetLength();
    const unsigned long length = leftLength + right.m_ulLength;
    if (length != 0)
    {
        result.m_pszBuffer = JoinUnits(UString::AllocUnits(length + 1), left.m_pszBuffer, leftLength,
                                       right.m_pszBuffer, right.m_ulLength);
        result.m_ulCapacity = length + 1;
        result.m_ulLength = length;
    }
    return result;
}

UString operator+(const UString& left, const wchar_t* pszRight)
{
    UString result;
    const unsigned long leftLength = left.GetLength();
    const unsigned long rightLength = static_cast<unsigned long>(std::wcslen(pszRight));
    const unsigned long length = leftLength + rightLength;
    if (length != 0)
    {
        result.m_pszBuffer =
            JoinUnits(UString::AllocUnits(length + 1), left.m_pszBuffer, leftLength, pszRight, rightLength);
        result.m_ulCapacity = length + 1;
        result.m_ulLength = length;
    }
    return result;
}

}} // namespace Oskal::Lib
