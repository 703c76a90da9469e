#include <Oskal/Lib/BIM/UMemoryRegion.h>

#include <Oskal/Lib/Memory.h>
#include <Oskal/Lib/UArgumentException.h>

#include <cstring>

using Oskal::Lib::Exceptions::UArgumentException;

namespace Oskal { namespace Lib { namespace BIM {

namespace {

const unsigned long long AddressSpaceEnd = 0x100000000ULL;

// Ends in 64 bits: a range may end exactly at the top of the address space.
unsigned long long EndOf(unsigned int uiAddress, unsigned int uiLength)
{
    return static_cast<unsigned long long>(uiAddress) + uiLength;
}

void CheckRange(unsigned int uiAddress, unsigned int uiLength, const wchar_t* pszName)
{
    if (EndOf(uiAddress, uiLength) > AddressSpaceEnd)
        throw UArgumentException(pszName, L"The range runs past the end of the 32-bit address space.");
}

} // namespace

UMemoryRegion::UMemoryRegion() : m_uiAddress(0), m_uiLength(0), m_pbyData(nullptr), m_byFill(0xFF) {}

UMemoryRegion::UMemoryRegion(unsigned int uiAddress, unsigned int uiLength)
    : m_uiAddress(uiAddress), m_uiLength(uiLength), m_pbyData(nullptr), m_byFill(0xFF)
{
    CheckRange(uiAddress, uiLength, L"uiLength");
}

UMemoryRegion::UMemoryRegion(const UMemoryRegion& other)
    : m_uiAddress(other.m_uiAddress), m_uiLength(other.m_uiLength), m_pbyData(nullptr), m_byFill(other.m_byFill)
{
    if (other.m_pbyData != nullptr)
    {
        m_pbyData = static_cast<unsigned char*>(Alloc(m_uiLength));
        std::memcpy(m_pbyData, other.m_pbyData, m_uiLength);
    }
}

UMemoryRegion::~UMemoryRegion()
{
    Free(m_pbyData);
}

UMemoryRegion& UMemoryRegion::operator=(const UMemoryRegion& other)
{
    if (this == &other)
        return *this;
    unsigned char* data = nullptr;
    if (other.m_pbyData != nullptr)
    {
        data = static_cast<unsigned char*>(Alloc(other.m_uiLength));
        std::memcpy(data, other.m_pbyData, other.m_uiLength);
    }
    Free(m_pbyData);
    m_pbyData = data;
    m_uiAddress = other.m_uiAddress;
    m_uiLength = other.m_uiLength;
    m_byFill = other.m_byFill;
    return *this;
}

int UMemoryRegion::operator<(const UMemoryRegion& other) const
{
    return m_uiAddress < other.m_uiAddress ? 1 : 0;
}

unsigned int UMemoryRegion::GetAddress() const
{
    return m_uiAddress;
}

void UMemoryRegion::SetAddress(unsigned int uiAddress)
{
    CheckRange(uiAddress, m_uiLength, L"uiAddress");
    m_uiAddress = uiAddress;
}

unsigned int UMemoryRegion::GetLength() const
{
    return m_uiLength;
}

void UMemoryRegion::SetLength(unsigned int uiLength)
{
    if (uiLength == m_uiLength)
        return;
    CheckRange(m_uiAddress, uiLength, L"uiLength");
    if (m_pbyData != nullptr)
    {
        unsigned char* data = static_cast<unsigned char*>(Alloc(uiLength));
        const unsigned int kept = uiLength < m_uiLength ? uiLength : m_uiLength;
        std::memcpy(data, m_pbyData, kept);
        std::memset(data + kept, m_byFill, uiLength - kept);
        Free(m_pbyData);
        m_pbyData = data;
    }
    m_uiLength = uiLength;
}

unsigned char* UMemoryRegion::GetData()
{
    if (m_pbyData == nullptr)
    {
        m_pbyData = static_cast<unsigned char*>(Alloc(m_uiLength));
        std::memset(m_pbyData, m_byFill, m_uiLength);
    }
    return m_pbyData;
}

int UMemoryRegion::HasData() const
{
    return m_pbyData != nullptr ? 1 : 0;
}

unsigned char UMemoryRegion::GetFillByte() const
{
    return m_byFill;
}

void UMemoryRegion::SetFillByte(unsigned char byFill)
{
    m_byFill = byFill;
}

void UMemoryRegion::Grow(unsigned long long ullLength, unsigned long long ullShift)
{
    if (ullLength > 0xFFFFFFFFULL)
        throw UArgumentException(L"region", L"The merged region would be longer than 0xFFFFFFFF bytes.");
    const unsigned int length = static_cast<unsigned int>(ullLength);
    if (m_pbyData != nullptr && (length != m_uiLength || ullShift != 0))
    {
        unsigned char* data = static_cast<unsigned char*>(Alloc(length));
        std::memset(data, m_byFill, length);
        std::memcpy(data + ullShift, m_pbyData, m_uiLength);
        Free(m_pbyData);
        m_pbyData = data;
    }
    m_uiLength = length;
}

void UMemoryRegion::Overlay(const UMemoryRegion& region, unsigned int uiOffset)
{
    if (region.m_pbyData != nullptr)
        std::memcpy(GetData() + uiOffset, region.m_pbyData, region.m_uiLength);
    else if (m_pbyData != nullptr)
        std::memset(m_pbyData + uiOffset, region.m_byFill, region.m_uiLength);
    else if (m_byFill != region.m_byFill)
        std::memset(GetData() + uiOffset, region.m_byFill, region.m_uiLength);
    // Otherwise both read as the same fill byte and no buffer is needed.
}

void UMemoryRegion::Merge(const UMemoryRegion& region)
{
    // Merging a region into itself changes nothing; it would also read a buffer that Grow frees.
    if (region.m_uiLength == 0 || &region == this)
        return;
    const unsigned long long start = m_uiAddress;
    const unsigned long long end = EndOf(m_uiAddress, m_uiLength);
    const unsigned long long otherStart = region.m_uiAddress;
    const unsigned long long otherEnd = EndOf(region.m_uiAddress, region.m_uiLength);

    if (end == otherStart)
    {
        // The other region follows.
        const unsigned int oldLength = m_uiLength;
        Grow(static_cast<unsigned long long>(m_uiLength) + region.m_uiLength, 0);
        Overlay(region, oldLength);
        return;
    }
    if (otherEnd == start)
    {
        // The other region precedes.
        Grow(static_cast<unsigned long long>(m_uiLength) + region.m_uiLength, region.m_uiLength);
        m_uiAddress = region.m_uiAddress;
        Overlay(region, 0);
        return;
    }
    if (!Intersects(region))
        throw UArgumentException(
            L"region",
            L"Specified region is neither adjacent to the current region nor intersects it the current region.");

    if (start <= otherStart)
    {
        // The other region begins inside this one.
        const unsigned long long overlap =
            (end - otherStart) < region.m_uiLength ? end - otherStart : region.m_uiLength;
        Grow(m_uiLength - overlap + region.m_uiLength, 0);
        Overlay(region, static_cast<unsigned int>(otherStart - start));
    }
    else
    {
        // The other region begins below this one.
        const unsigned long long overlap = (otherEnd - start) < m_uiLength ? otherEnd - start : m_uiLength;
        Grow(m_uiLength - overlap + region.m_uiLength, region.m_uiLength - overlap);
        m_uiAddress = region.m_uiAddress;
        Overlay(region, 0);
    }
}

int UMemoryRegion::Contains(unsigned int uiAddress, unsigned int uiLength) const
{
    return (m_uiAddress <= uiAddress && EndOf(uiAddress, uiLength) <= EndOf(m_uiAddress, m_uiLength)) ? 1 : 0;
}

int UMemoryRegion::Contains(const UMemoryRegion& region) const
{
    return Contains(region.m_uiAddress, region.m_uiLength);
}

int UMemoryRegion::Precedes(unsigned int uiAddress, unsigned int /*uiLength*/) const
{
    return EndOf(m_uiAddress, m_uiLength) == uiAddress ? 1 : 0;
}

int UMemoryRegion::Precedes(const UMemoryRegion& region) const
{
    return Precedes(region.m_uiAddress, region.m_uiLength);
}

int UMemoryRegion::Succeeds(unsigned int uiAddress, unsigned int uiLength) const
{
    return EndOf(uiAddress, uiLength) == m_uiAddress ? 1 : 0;
}

int UMemoryRegion::Succeeds(const UMemoryRegion& region) const
{
    return Succeeds(region.m_uiAddress, region.m_uiLength);
}

int UMemoryRegion::Intersects(unsigned int uiAddress, unsigned int uiLength) const
{
    if (uiAddress < m_uiAddress)
        return m_uiAddress < EndOf(uiAddress, uiLength) ? 1 : 0;
    return uiAddress < EndOf(m_uiAddress, m_uiLength) ? 1 : 0;
}

int UMemoryRegion::Intersects(const UMemoryRegion& region) const
{
    return Intersects(region.m_uiAddress, region.m_uiLength);
}

}}} // namespace Oskal::Lib::BIM
