#include <Oskal/Lib/BIM/UMemoryImage.h>

#include <Oskal/Lib/Memory.h>
#include <Oskal/Lib/UArgumentException.h>

#include <cstdint>
#include <cstring>

using Oskal::Lib::Exceptions::UArgumentException;

namespace Oskal { namespace Lib { namespace BIM {

namespace {

void CheckRange(unsigned int uiAddress, unsigned int uiLength)
{
    if (static_cast<unsigned long long>(uiAddress) + uiLength > 0x100000000ULL)
        throw UArgumentException(L"uiLength", L"The range runs past the end of the 32-bit address space.");
}

// Frees a temporary copy when the scope ends.
class ScopedBlock
{
public:
    ScopedBlock() : m_pv(nullptr) {}
    ~ScopedBlock() { Free(m_pv); }
    ScopedBlock(const ScopedBlock&) = delete;
    ScopedBlock& operator=(const ScopedBlock&) = delete;
    void* Allocate(unsigned long ulSize) { return m_pv = Alloc(ulSize); }

private:
    void* m_pv;
};

} // namespace

UMemoryImage::UMemoryImage() : m_pFirst(nullptr), m_pLast(nullptr), m_ulCount(0), m_byFill(0xFF) {}

UMemoryImage::UMemoryImage(const UMemoryImage& other)
    : m_pFirst(nullptr), m_pLast(nullptr), m_ulCount(0), m_byFill(other.m_byFill)
{
    try
    {
        CopyFrom(other);
    }
    catch (...)
    {
        RemoveAll();
        throw;
    }
}

UMemoryImage::~UMemoryImage()
{
    RemoveAll();
}

UMemoryImage& UMemoryImage::operator=(const UMemoryImage& other)
{
    if (this == &other)
        return *this;
    // Built aside first, so a failed copy leaves this image as it was.
    UMemoryImage copy(other);
    Node* first = m_pFirst;
    Node* last = m_pLast;
    const unsigned long count = m_ulCount;
    m_pFirst = copy.m_pFirst;
    m_pLast = copy.m_pLast;
    m_ulCount = copy.m_ulCount;
    m_byFill = copy.m_byFill;
    copy.m_pFirst = first;
    copy.m_pLast = last;
    copy.m_ulCount = count;
    return *this;
}

void UMemoryImage::CopyFrom(const UMemoryImage& other)
{
    for (const Node* node = other.m_pFirst; node != nullptr; node = node->pNext)
        Append(new Node{node->region, nullptr, nullptr});
}

void UMemoryImage::Append(Node* pNode)
{
    pNode->pPrevious = m_pLast;
    pNode->pNext = nullptr;
    if (m_pLast != nullptr)
        m_pLast->pNext = pNode;
    else
        m_pFirst = pNode;
    m_pLast = pNode;
    ++m_ulCount;
}

void UMemoryImage::Remove(Node* pNode)
{
    if (pNode->pPrevious != nullptr)
        pNode->pPrevious->pNext = pNode->pNext;
    else
        m_pFirst = pNode->pNext;
    if (pNode->pNext != nullptr)
        pNode->pNext->pPrevious = pNode->pPrevious;
    else
        m_pLast = pNode->pPrevious;
    --m_ulCount;
    delete pNode;
}

void UMemoryImage::RemoveAll()
{
    while (m_pFirst != nullptr)
        Remove(m_pFirst);
}

void UMemoryImage::Reserve(unsigned int uiAddress, unsigned int uiLength)
{
    CheckRange(uiAddress, uiLength);
    Node* found = m_pFirst;
    while (found != nullptr && !found->region.Precedes(uiAddress, uiLength) &&
           !found->region.Succeeds(uiAddress, uiLength) && !found->region.Intersects(uiAddress, uiLength))
        found = found->pNext;

    if (found == nullptr)
    {
        Append(new Node{UMemoryRegion(uiAddress, uiLength), nullptr, nullptr});
        return;
    }
    found->region.Merge(UMemoryRegion(uiAddress, uiLength));
    SortRegions();
    MergeRegions();
}

// Stable merge sort by start address, on the forward links; the back links are rebuilt after.
void UMemoryImage::SortRegions()
{
    if (m_ulCount < 2)
        return;
    Node* list = m_pFirst;
    for (unsigned long width = 1; width < m_ulCount; width *= 2)
    {
        Node* head = nullptr;
        Node** tail = &head;
        Node* rest = list;
        while (rest != nullptr)
        {
            // Two neighbouring runs of up to width nodes each.
            Node* left = rest;
            Node* right = left;
            unsigned long leftCount = 0;
            for (; leftCount < width && right != nullptr; ++leftCount)
                right = right->pNext;
            Node* next = right;
            unsigned long rightCount = 0;
            for (; rightCount < width && next != nullptr; ++rightCount)
                next = next->pNext;
            while (leftCount != 0 || rightCount != 0)
            {
                Node* take;
                // Equal starts keep their order: the left run wins ties.
                if (rightCount == 0 || (leftCount != 0 && !(right->region < left->region)))
                {
                    take = left;
                    left = left->pNext;
                    --leftCount;
                }
                else
                {
                    take = right;
                    right = right->pNext;
                    --rightCount;
                }
                *tail = take;
                tail = &take->pNext;
            }
            rest = next;
        }
        *tail = nullptr;
        list = head;
    }
    m_pFirst = list;
    Node* previous = nullptr;
    for (Node* node = list; node != nullptr; node = node->pNext)
    {
        node->pPrevious = previous;
        previous = node;
    }
    m_pLast = previous;
}

// Joins each region with the regions that touch or overlap it. Runs on a sorted list, where a
// merge only moves the previous region's end: pairs before it stay as they were, so the walk
// goes on from the merged region instead of starting over.
void UMemoryImage::MergeRegions()
{
    Node* previous = m_pFirst;
    if (previous == nullptr)
        return;
    Node* current = previous->pNext;
    while (current != nullptr)
    {
        if (previous->region.Precedes(current->region) || previous->region.Intersects(current->region))
        {
            previous->region.Merge(current->region);
            Remove(current);
            current = previous->pNext;
        }
        else
        {
            previous = current;
            current = current->pNext;
        }
    }
}

unsigned char* UMemoryImage::GetBuffer(unsigned int uiAddress, unsigned int uiLength)
{
    CheckRange(uiAddress, uiLength);
    for (Node* node = m_pFirst; node != nullptr; node = node->pNext)
    {
        if (node->region.Contains(uiAddress, uiLength))
            return node->region.GetData() + (uiAddress - node->region.GetAddress());
    }
    return nullptr;
}

void UMemoryImage::GetData(unsigned int uiAddress, unsigned char* pbyBuffer, unsigned int uiLength)
{
    CheckRange(uiAddress, uiLength);
    if (uiLength == 0)
        return;
    if (pbyBuffer == nullptr)
        throw UArgumentException(L"pbyBuffer", L"Value cannot be null.");

    // Bytes are taken at the running address. Within one region that is the same as the offset
    // from where the call began; a read that runs from uncovered memory into a region must
    // not take that offset, which would lie below the region's buffer.
    unsigned long long address = uiAddress;
    const unsigned long long end = address + uiLength;
    while (address < end)
    {
        const unsigned int running = static_cast<unsigned int>(address);
        Node* node = m_pFirst;
        while (node != nullptr && !node->region.Contains(running, 1))
            node = node->pNext;
        if (node != nullptr)
        {
            const unsigned long long offset = running - node->region.GetAddress();
            unsigned long long count = node->region.GetLength() - offset;
            if (count > end - address)
                count = end - address;
            std::memmove(pbyBuffer + (address - uiAddress), node->region.GetData() + offset,
                         static_cast<size_t>(count));
            address += count;
        }
        else
        {
            // Uncovered up to the next region above, or to the end of the range.
            unsigned long long next = end;
            for (Node* n = m_pFirst; n != nullptr; n = n->pNext)
            {
                if (n->region.GetAddress() > address && n->region.GetAddress() < next)
                    next = n->region.GetAddress();
            }
            std::memset(pbyBuffer + (address - uiAddress), m_byFill, static_cast<size_t>(next - address));
            address = next;
        }
    }
}

void UMemoryImage::SetData(unsigned int uiAddress, const unsigned char* pbyData, unsigned int uiLength)
{
    CheckRange(uiAddress, uiLength);
    if (uiLength != 0 && pbyData == nullptr)
        throw UArgumentException(L"pbyData", L"Value cannot be null.");

    // Reserving may move region buffers; bytes that come from one of them are copied aside first.
    ScopedBlock copy;
    const std::uintptr_t source = reinterpret_cast<std::uintptr_t>(pbyData);
    for (Node* node = m_pFirst; node != nullptr && uiLength != 0; node = node->pNext)
    {
        if (!node->region.HasData())
            continue;
        const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(node->region.GetData());
        if (source < begin + node->region.GetLength() && begin < source + uiLength)
        {
            pbyData = static_cast<const unsigned char*>(std::memcpy(copy.Allocate(uiLength), pbyData, uiLength));
            break;
        }
    }

    Reserve(uiAddress, uiLength);
    for (Node* node = m_pFirst; node != nullptr; node = node->pNext)
    {
        if (node->region.Contains(uiAddress, uiLength))
        {
            std::memcpy(node->region.GetData() + (uiAddress - node->region.GetAddress()), pbyData, uiLength);
            return;
        }
    }
}

UMemoryRegion* UMemoryImage::GetMemoryRegion(unsigned long ulIndex)
{
    Node* node = m_pFirst;
    for (unsigned long i = 0; i < ulIndex && node != nullptr; ++i)
        node = node->pNext;
    return node != nullptr ? &node->region : nullptr;
}

const UMemoryRegion* UMemoryImage::GetMemoryRegion(unsigned long ulIndex) const
{
    return const_cast<UMemoryImage*>(this)->GetMemoryRegion(ulIndex);
}

unsigned int UMemoryImage::GetStartAddress() const
{
    return m_pFirst != nullptr ? m_pFirst->region.GetAddress() : 0;
}

}}} // namespace Oskal::Lib::BIM
