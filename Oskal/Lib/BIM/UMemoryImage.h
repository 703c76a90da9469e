#pragma once

#include <Oskal/Lib/BIM/UMemoryRegion.h>
#include <Oskal/Lib/Export.h>

#include <list>

namespace Oskal { namespace Lib { namespace BIM {

// Sparse image of a target's 32-bit memory: a list of regions, and a fill byte (0xFF) for every
// address that no region covers. Ranges handed to the image must not run past the end of the
// address space (address + length at most 0x100000000), or UArgumentException is thrown.
class OSKAL_LIB_API UMemoryImage
{
public:
    UMemoryImage();
    UMemoryImage(const UMemoryImage& other);
    ~UMemoryImage();

    UMemoryImage& operator=(const UMemoryImage& other);

    // Makes room for the range without giving it bytes. Kept: a range that touches no region is
    // appended as a region of its own, so the list is then not sorted (pinned by
    // UMemoryImage.UntouchedRangesAreAppendedUnsorted); otherwise it is merged in, the list is
    // sorted and touching regions are joined. Kept: bytes of the range that already held data in
    // the first region found read as 0xFF afterwards, those of regions joined later survive
    // (pinned by UMemoryImage.ReserveOnlyClearsTheFirstRegionFound); writers follow with the real
    // bytes.
    void Reserve(unsigned int uiAddress, unsigned int uiLength);
    // The bytes of the one region that holds the whole range (made if needed), or null.
    unsigned char* GetBuffer(unsigned int uiAddress, unsigned int uiLength);
    // Copies the range out; addresses no region covers read as the fill byte.
    void GetData(unsigned int uiAddress, unsigned char* pbyBuffer, unsigned int uiLength);
    void SetData(unsigned int uiAddress, const unsigned char* pbyData, unsigned int uiLength);
    // The region at that place of the list (0-based), or null, to read. Walking the list in order
    // costs one step per call.
    const UMemoryRegion* GetMemoryRegion(unsigned long ulIndex) const;
    // The same region, open to change: the same as ExposeMemoryRegion.
    UMemoryRegion* GetMemoryRegion(unsigned long ulIndex);
    // The region at that place, handed out mutable: it may be moved or resized at any time, so
    // from now on, until that region is merged away, the image stops using its start-address
    // index and looks regions up by walking its list. Code that only reads takes the const
    // GetMemoryRegion (through a const reference to the image) and keeps the index.
    UMemoryRegion* ExposeMemoryRegion(unsigned long ulIndex);
    // Start of the first region in list order (not necessarily the lowest), 0 when empty.
    unsigned int GetStartAddress() const;

private:
    struct Entry
    {
        UMemoryRegion region;
        // A mutable pointer to the region has been handed out: it may be moved or resized.
        int bExposed;
        // Order of arrival (valid with the index): entries stamped up to m_ullSortedThrough form
        // the list's sorted head, those after it were appended since, in stamp order.
        unsigned long long ullStamp;
    };
    typedef std::list<Entry> RegionList;
    // Regions by start address; defined with the code, kept out of the interface.
    struct Index;

    void MergeRegions();
    void SortRegions();
    void Remove(RegionList::iterator itEntry);
    void Swap(UMemoryImage& other);

    void ReserveInList(unsigned int uiAddress, unsigned int uiLength);
    void ReserveIndexed(unsigned int uiAddress, unsigned int uiLength);
    void ReserveIndexedUnsorted(unsigned int uiAddress, unsigned int uiLength);
    void SortAppended();
    // 1 when the index can answer for every region (built here if needed).
    int UseIndex();
    int BuildIndex();
    void DropIndex();
    Entry* FindContaining(unsigned int uiAddress, unsigned int uiLength, int bIndexed);
    Entry* FindEntry(unsigned long ulIndex) const;

    RegionList m_regions;
    unsigned char m_byFill;
    // Start-ordered index over the list. It is only trusted while no region can have been moved
    // behind the image's back and no two regions touch; otherwise the plain list walks answer.
    Index* m_pIndex;
    int m_iIndexState;
    // Valid with the index: the list order is ascending by start.
    int m_bSorted;
    unsigned long long m_ullLastStamp;
    unsigned long long m_ullSortedThrough;
    // Regions of the list that were handed out mutable.
    unsigned long m_ulExposed;
    // The entry last reached by place (valid while m_ulCursor is not kNoCursor), so that walking
    // the list in order costs one step per call.
    mutable RegionList::iterator m_cursor;
    mutable unsigned long m_ulCursor;
};

}}} // namespace Oskal::Lib::BIM
