#pragma once

#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib {

// Three-part version number (general.feature.bugfix), one byte each, packable into 32 bits as
// general << 16 | feature << 8 | bugfix.
class OSKAL_LIB_API UVersion
{
public:
    UVersion();
    UVersion(unsigned char byGeneral, unsigned char byFeature, unsigned char byBugfix);
    // Bits 24 to 31 are dropped.
    UVersion(unsigned long ulPacked);
    UVersion(const UVersion& other);
    UVersion& operator=(const UVersion& other);

    unsigned char GetGeneral() const;
    unsigned char GetFeature() const;
    unsigned char GetBugfix() const;
    unsigned long GetPacked() const;

    bool operator==(const UVersion& other) const;
    // Kept: shortcut ordering; each step only tests "smaller" and falls through otherwise, so
    // 2.0.0 < 1.5.0 holds as well as 1.5.0 < 2.0.0, not a lexicographic order (pinned by
    // UVersion.OrderingKeepsItsShortcut)
    bool operator<(const UVersion& other) const;
    // The same shortcut with "greater".
    bool operator>(const UVersion& other) const;

private:
    // Byte order as stored in images: bugfix, feature, general, then a zero byte.
    unsigned char m_byBugfix;
    unsigned char m_byFeature;
    unsigned char m_byGeneral;
    unsigned char m_byReserved;
};

}} // namespace Oskal::Lib
