#pragma once

#include <Oskal/Lib/BIM/UMemoryRegion.h>
#include <Oskal/Lib/Export.h>

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

    // Makes room for the range without giving it bytes. A range that touches no region is
    // appended as a region of its own (the list is then not sorted); otherwise it is merged in,
    // the list is sorted and touching regions are joined. Bytes of the range that already held
    // data in the first region found read as 0xFF afterwards: writers follow with the real bytes.
    void Reserve(unsigned int uiAddress, unsigned int uiLength);
    // The bytes of the one region that holds the whole range (made if needed), or null.
    unsigned char* GetBuffer(unsigned int uiAddress, unsigned int uiLength);
    // Copies the range out; addresses no region covers read as the fill byte.
    void GetData(unsigned int uiAddress, unsigned char* pbyBuffer, unsigned int uiLength);
    void SetData(unsigned int uiAddress, const unsigned char* pbyData, unsigned int uiLength);
    // The region at that place of the list (0-based), or null. Walking the list in order costs one
    // step per call. A region handed out mutable may be moved or resized at any time: from then on
    // the image looks regions up by walking its list, until that region is merged away.
    UMemoryRegion* GetMemoryRegion(unsigned long ulIndex);
    const UMemoryRegion* GetMemoryRegion(unsigned long ulIndex) const;
    // Start of the first region in list order (not necessarily the lowest), 0 when empty.
    unsigned int GetStartAddress() const;

private:
    struct Node
    {
        UMemoryRegion region;
        Node* pPrevious;
        Node* pNext;
        // A mutable pointer to the region has been handed out: it may be moved or resized.
        int bExposed;
    };
    // Regions by start address; defined with the code, kept out of the interface.
    struct Index;

    void MergeRegions();
    void SortRegions();
    void Append(Node* pNode);
    void Remove(Node* pNode);
    void RemoveAll();
    void CopyFrom(const UMemoryImage& other);
    void Swap(UMemoryImage& other);

    void ReserveInList(unsigned int uiAddress, unsigned int uiLength);
    void ReserveIndexed(unsigned int uiAddress, unsigned int uiLength);
    // 1 when the index can answer for every region (built here if needed).
    int UseIndex();
    int BuildIndex();
    void DropIndex();
    Node* FindContaining(unsigned int uiAddress, unsigned int uiLength, int bIndexed);
    Node* FindNode(unsigned long ulIndex) const;

    // Doubly linked list of regions, owned.
    Node* m_pFirst;
    Node* m_pLast;
    unsigned long m_ulCount;
    unsigned char m_byFill;
    // Start-ordered index over the list. It is only trusted while no region can have been moved
    // behind the image's back and no two regions touch; otherwise the plain list walks answer.
    Index* m_pIndex;
    int m_iIndexState;
    // Valid with the index: the list order is ascending by start.
    int m_bSorted;
    // Regions of the list that were handed out mutable.
    unsigned long m_ulExposed;
    // The node last reached by index, so walking the list in order costs one step per call.
    mutable Node* m_pCursor;
    mutable unsigned long m_ulCursor;
};

}}} // namespace Oskal::Lib::BIM
