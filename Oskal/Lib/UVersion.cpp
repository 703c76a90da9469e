#include <Oskal/Lib/UVersion.h>

namespace Oskal { namespace Lib {

UVersion::UVersion() : m_byBugfix(0), m_byFeature(0), m_byGeneral(0), m_byReserved(0) {}

UVersion::UVersion(unsigned char byGeneral, unsigned char byFeature, unsigned char byBugfix)
    : m_byBugfix(byBugfix), m_byFeature(byFeature), m_byGeneral(byGeneral), m_byReserved(0)
{
}

UVersion::UVersion(unsigned long ulPacked)
    : m_byBugfix(static_cast<unsigned char>(ulPacked & 0xFF)),
      m_byFeature(static_cast<unsigned char>((ulPacked >> 8) & 0xFF)),
      m_byGeneral(static_cast<unsigned char>((ulPacked >> 16) & 0xFF)), m_byReserved(0)
{
}

UVersion::UVersion(const UVersion& other)
    : m_byBugfix(other.m_byBugfix), m_byFeature(other.m_byFeature), m_byGeneral(other.m_byGeneral), m_byReserved(0)
{
}

UVersion& UVersion::operator=(const UVersion& other)
{
    m_byBugfix = other.m_byBugfix;
    m_byFeature = other.m_byFeature;
    m_byGeneral = other.m_byGeneral;
    m_byReserved = other.m_byReserved;
    return *this;
}

unsigned char UVersion::GetGeneral() const
{
    return m_byGeneral;
}

unsigned char UVersion::GetFeature() const
{
    return m_byFeature;
}

unsigned char UVersion::GetBugfix() const
{
    return m_byBugfix;
}

unsigned long UVersion::GetPacked() const
{
    return (static_cast<unsigned long>(m_byGeneral) << 16) | (static_cast<unsigned long>(m_byFeature) << 8) |
           m_byBugfix;
}

bool UVersion::operator==(const UVersion& other) const
{
    return m_byGeneral == other.m_byGeneral && m_byFeature == other.m_byFeature && m_byBugfix == other.m_byBugfix;
}

bool UVersion::operator<(const UVersion& other) const
{
    if (m_byGeneral < other.m_byGeneral)
        return true;
    if (m_byFeature < other.m_byFeature)
        return true;
    return m_byBugfix < other.m_byBugfix;
}

bool UVersion::operator>(const UVersion& other) const
{
    if (m_byGeneral > other.m_byGeneral)
        return true;
    if (m_byFeature > other.m_byFeature)
        return true;
    return m_byBugfix > other.m_byBugfix;
}

}} // namespace Oskal::Lib
