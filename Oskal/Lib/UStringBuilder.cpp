#include <Oskal/Lib/UStringBuilder.h>

#include <Oskal/Lib/Memory.h>

#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <cwchar>
#include <new>

namespace Oskal { namespace Lib {

namespace {

const unsigned long DefaultGrowStep = 128;
// Texts from this many code units on get a heap reserve behind their capacity.
const unsigned long LargeText = 32768;

} // namespace

UStringBuilder::UStringBuilder() : UString(), m_ulGrowStep(DefaultGrowStep)
{
    m_pszBuffer = AllocUnits(m_ulGrowStep);
    m_pszBuffer[0] = 0;
    m_ulCapacity = m_ulGrowStep;
}

UStringBuilder::UStringBuilder(const wchar_t* pszText) : UString(), m_ulGrowStep(DefaultGrowStep)
{
    AssignUnits(pszText, static_cast<unsigned long>(std::wcslen(pszText)));
}

UStringBuilder::UStringBuilder(const wchar_t* pszText, unsigned long ulCount) : UString(), m_ulGrowStep(DefaultGrowStep)
{
    AssignUnits(pszText, BoundedLength(pszText, ulCount));
}

UStringBuilder::UStringBuilder(const UStringBuilder& other) : UString(), m_ulGrowStep(other.m_ulGrowStep)
{
    wchar_t* buffer = AllocUnits(other.m_ulCapacity);
    std::memcpy(buffer, other.m_pszBuffer, other.m_ulLength * sizeof(wchar_t));
    buffer[other.m_ulLength] = 0;
    m_pszBuffer = buffer;
    m_ulCapacity = other.m_ulCapacity;
    m_ulLength = other.m_ulLength;
}

void UStringBuilder::GrowTo(unsigned long ulCapacity, const wchar_t*& pUnits)
{
    // The capacity follows the grow-step rule exactly. Behind a large text the heap block keeps a
    // reserve of half its size, so that growing a long text by one step does not copy it every
    // time: appends stay amortised linear while short texts keep exact-size blocks.
    const size_t block = _msize(m_pszBuffer) / sizeof(wchar_t);
    if (ulCapacity <= block)
        return;
    size_t reserve = ulCapacity;
    if (ulCapacity >= LargeText && block + block / 2 > reserve)
        reserve = block + block / 2 < 0x7FFFFFFFUL ? block + block / 2 : 0x7FFFFFFFUL;
    // The units may come from the buffer itself; keep their offset across the move.
    const bool inside = pUnits >= m_pszBuffer && pUnits < m_pszBuffer + m_ulCapacity;
    const size_t offset = inside ? static_cast<size_t>(pUnits - m_pszBuffer) : 0;
    void* grown = std::realloc(m_pszBuffer, reserve * sizeof(wchar_t));
    if (grown == nullptr)
        throw std::bad_alloc();
    m_pszBuffer = static_cast<wchar_t*>(grown);
    if (inside)
        pUnits = m_pszBuffer + offset;
}

void UStringBuilder::AppendUnits(const wchar_t* pUnits, unsigned long ulCount)
{
    const unsigned long needed = m_ulLength + ulCount;
    if (needed >= m_ulCapacity)
    {
        const unsigned long capacity = (m_ulGrowStep + needed + 1) / m_ulGrowStep * m_ulGrowStep;
        if (capacity > 0x7FFFFFFFUL)
            throw std::bad_alloc();
        GrowTo(capacity, pUnits);
        std::memmove(m_pszBuffer + m_ulLength, pUnits, ulCount * sizeof(wchar_t));
        m_ulCapacity = capacity;
    }
    else
    {
        std::memmove(m_pszBuffer + m_ulLength, pUnits, ulCount * sizeof(wchar_t));
    }
    m_ulLength = needed;
    m_pszBuffer[m_ulLength] = 0;
}

void UStringBuilder::AssignUnits(const wchar_t* pUnits, unsigned long ulCount)
{
    const unsigned long wanted = m_ulGrowStep + ulCount + 1;
    if (m_ulCapacity < wanted)
    {
        wchar_t* buffer = AllocUnits(wanted);
        std::memcpy(buffer, pUnits, ulCount * sizeof(wchar_t));
        FreeBuffer();
        m_pszBuffer = buffer;
        m_ulCapacity = wanted;
    }
    else
    {
        std::memmove(m_pszBuffer, pUnits, ulCount * sizeof(wchar_t));
    }
    m_ulLength = ulCount;
    m_pszBuffer[m_ulLength] = 0;
}

UStringBuilder& UStringBuilder::operator=(const UStringBuilder& other)
{
    if (this != &other)
        Assign(other.m_pszBuffer, other.m_ulLength);
    return *this;
}

UStringBuilder& UStringBuilder::operator=(const UString& other)
{
    // No self-check: assigning the own text reuses or replaces the buffer safely.
    Assign(other.GetBuffer(), other.GetLength());
    return *this;
}

void UStringBuilder::Append(unsigned long ulCodePoint)
{
    wchar_t units[2];
    AppendUnits(units, CodePointUnits(ulCodePoint, units));
}

void UStringBuilder::Append(wchar_t wc)
{
    AppendUnits(&wc, 1);
}

void UStringBuilder::Append(const wchar_t* pszText, unsigned long ulCount)
{
    AppendUnits(pszText, BoundedLength(pszText, ulCount));
}

void UStringBuilder::Append(const wchar_t* pszText)
{
    AppendUnits(pszText, static_cast<unsigned long>(std::wcslen(pszText)));
}

void UStringBuilder::Assign(const wchar_t* pszText, unsigned long ulCount)
{
    if (pszText == nullptr)
        Clear(0);
    else
        AssignUnits(pszText, BoundedLength(pszText, ulCount));
}

void UStringBuilder::Assign(const wchar_t* pszText)
{
    if (pszText == nullptr)
        Clear(0);
    else
        AssignUnits(pszText, static_cast<unsigned long>(std::wcslen(pszText)));
}

void UStringBuilder::Clear()
{
    Clear(1);
}

void UStringBuilder::Clear(int bShrink)
{
    if (bShrink != 0 && m_ulCapacity > m_ulGrowStep)
    {
        wchar_t* buffer = AllocUnits(m_ulGrowStep);
        FreeBuffer();
        m_pszBuffer = buffer;
        m_ulCapacity = m_ulGrowStep;
    }
    m_ulLength = 0;
    m_pszBuffer[0] = 0;
}

void UStringBuilder::Trim()
{
    if (m_ulLength == 0)
        return;
    unsigned long first = 0;
    unsigned long last = 0;
    if (!FindTrimmedRun(first, last))
    {
        // Only white space: nothing is kept.
        m_ulLength = 0;
        m_pszBuffer[0] = 0;
        return;
    }
    if (first == 0 && last == m_ulLength - 1)
        return;
    m_ulLength = last - first + 1;
    std::memmove(m_pszBuffer, m_pszBuffer + first, m_ulLength * sizeof(wchar_t));
    m_pszBuffer[m_ulLength] = 0;
}

}} // namespace Oskal::Lib
