#include <Oskal/Lib/Logging/ULogLevelMask.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>

#include <cstring>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

ULogLevelMask::ULogLevelMask()
{
    std::memset(m_aullWords, 0, sizeof(m_aullWords));
}

ULogLevelMask::ULogLevelMask(unsigned __int64* pMask)
{
    Internal::ThrowIfNull(pMask, L"pMask");
    std::memcpy(m_aullWords, pMask, sizeof(m_aullWords));
}

// Kept: sets word 0 to 1, word 4 to 0x10 or word 8 to 0x100 for bits in 0-63, 256-319 or
// 512-575, and nothing otherwise; code that wants a level's bit uses SetBit (pinned by
// LogLevelMask.OneBitConstructorSetsOnlyItsFixedBits).
ULogLevelMask::ULogLevelMask(unsigned long ulBit)
{
    std::memset(m_aullWords, 0, sizeof(m_aullWords));
    if (ulBit < 64)
        m_aullWords[0] = 1;
    else if (ulBit >= 256 && ulBit < 320)
        m_aullWords[4] = 0x10;
    else if (ulBit >= 512 && ulBit < 576)
        m_aullWords[8] = 0x100;
}

ULogLevelMask::ULogLevelMask(const ULogLevelMask& other)
{
    std::memcpy(m_aullWords, other.m_aullWords, sizeof(m_aullWords));
}

ULogLevelMask& ULogLevelMask::operator=(const ULogLevelMask& other)
{
    if (this != &other)
        std::memcpy(m_aullWords, other.m_aullWords, sizeof(m_aullWords));
    return *this;
}

int ULogLevelMask::Contains(const ULogLevelMask& other) const
{
    for (unsigned long i = 0; i < WordCount; ++i)
        if ((other.m_aullWords[i] & ~m_aullWords[i]) != 0)
            return 0;
    return 1;
}

int ULogLevelMask::IsBitSet(unsigned long ulBit) const
{
    if (ulBit >= BitCount)
        return 0;
    return (m_aullWords[ulBit / 64] >> (ulBit % 64)) & 1 ? 1 : 0;
}

void ULogLevelMask::SetBit(unsigned long ulBit)
{
    if (ulBit < BitCount)
        m_aullWords[ulBit / 64] |= 1ULL << (ulBit % 64);
}

void ULogLevelMask::ClearBit(unsigned long ulBit)
{
    if (ulBit < BitCount)
        m_aullWords[ulBit / 64] &= ~(1ULL << (ulBit % 64));
}

} // namespace Logging
} // namespace Lib
} // namespace Oskal
