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
    // The region at that place of the list (0-based), or null.
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
    };

    void MergeRegions();
    void SortRegions();
    void Append(Node* pNode);
    void Remove(Node* pNode);
    void RemoveAll();
    void CopyFrom(const UMemoryImage& other);

    // Doubly linked list of regions, owned.
    Node* m_pFirst;
    Node* m_pLast;
    unsigned long m_ulCount;
    unsigned char m_byFill;
};

}}} // namespace Oskal::Lib::BIM
