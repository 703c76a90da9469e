#pragma once

#include <Oskal/Lib/Export.h>

#include <cstdint> // also gives __int64 with this compiler

namespace Oskal
{
namespace Lib
{
namespace Logging
{

// A fixed set of 640 level bits (ten 64-bit words; bit n in word n / 64 at position n % 64). A
// writer writes an entry only when the bit of the entry's level id is set. Bits from 640 on
// are never stored and read as clear.
class OSKAL_LIB_API ULogLevelMask
{
public:
    enum : unsigned long
    {
        BitCount = 640,
        WordCount = 10
    };

    ULogLevelMask();
    // Copies ten words.
    explicit ULogLevelMask(unsigned __int64* pMask);
    // Not a general one-bit mask: only bits 0, 260 and 520 can come out of it (see the .cpp).
    explicit ULogLevelMask(unsigned long ulBit);
    ULogLevelMask(const ULogLevelMask& other);
    ULogLevelMask& operator=(const ULogLevelMask& other);

    // 1 when every bit set in other is set here.
    int Contains(const ULogLevelMask& other) const;
    int IsBitSet(unsigned long ulBit) const;
    void SetBit(unsigned long ulBit);
    void ClearBit(unsigned long ulBit);

    const unsigned __int64* GetWords() const { return m_aullWords; }

private:
    unsigned __int64 m_aullWords[WordCount];
};

} // namespace Logging
} // namespace Lib
} // namespace Oskal
