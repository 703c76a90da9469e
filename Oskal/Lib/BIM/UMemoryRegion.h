#pragma once

#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace BIM {

// One contiguous range of a target's 32-bit address space and its bytes. The bytes are made
// lazily: until they are first needed, every byte of the region is its fill byte.
//
// A region never runs past the end of the address space: its end (start + length) is at most
// 0x100000000, so the very top of memory (a reset vector at 0xFFFFFFF0, say) can be held, while
// a range that would wrap around to address 0 is refused with UArgumentException. The ranges
// handed to Contains, Precedes, Succeeds and Intersects may wrap; their ends are taken in 64 bits,
// so such a range never touches anything at the bottom of memory.
class OSKAL_LIB_API UMemoryRegion
{
public:
    // Address 0, length 0, no data, fill byte 0xFF.
    UMemoryRegion();
    // No data, fill byte 0xFF.
    UMemoryRegion(unsigned int uiAddress, unsigned int uiLength);
    UMemoryRegion(const UMemoryRegion& other);
    ~UMemoryRegion();

    UMemoryRegion& operator=(const UMemoryRegion& other);
    // Orders by start address only.
    int operator<(const UMemoryRegion& other) const;

    unsigned int GetAddress() const;
    // Moves the region; its bytes stay as they are.
    void SetAddress(unsigned int uiAddress);
    unsigned int GetLength() const;
    // Keeps min(old, new) bytes; bytes added read as the fill byte.
    void SetLength(unsigned int uiLength);
    // The region's bytes, exactly GetLength() of them; made (filled with the fill byte) on first use.
    unsigned char* GetData();
    // 0 while the region's bytes exist only as its fill byte.
    int HasData() const;
    unsigned char GetFillByte() const;
    // Affects only bytes that come into being later: growth, or the first GetData.
    void SetFillByte(unsigned char byFill);

    // Joins a region that touches or overlaps this one; the other region's bytes win where the
    // two overlap. Throws UArgumentException ("region") for a region that does neither.
    void Merge(const UMemoryRegion& region);

    // Start <= address and address + length <= end.
    int Contains(unsigned int uiAddress, unsigned int uiLength) const;
    int Contains(const UMemoryRegion& region) const;
    // This region ends where the range begins.
    int Precedes(unsigned int uiAddress, unsigned int uiLength) const;
    int Precedes(const UMemoryRegion& region) const;
    // The range ends where this region begins.
    int Succeeds(unsigned int uiAddress, unsigned int uiLength) const;
    int Succeeds(const UMemoryRegion& region) const;
    int Intersects(unsigned int uiAddress, unsigned int uiLength) const;
    int Intersects(const UMemoryRegion& region) const;

private:
    // Gives the region the new length; existing bytes move up by ullShift, the rest is fill.
    void Grow(unsigned long long ullLength, unsigned long long ullShift);
    // Lays the other region's bytes (or its fill byte) over this one's from uiOffset on.
    void Overlay(const UMemoryRegion& region, unsigned int uiOffset);

    unsigned int m_uiAddress;
    unsigned int m_uiLength;
    unsigned char* m_pbyData;
    unsigned char m_byFill;
};

}}} // namespace Oskal::Lib::BIM
