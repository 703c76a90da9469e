#include <Oskal/Lib/BIM/UMemoryImage.h>

#include <Oskal/Lib/Memory.h>
#include <Oskal/Lib/UArgumentException.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <map>
#include <new>
#include <vector>

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

unsigned long long EndOf(const UMemoryRegion& region)
{
    return static_cast<unsigned long long>(region.GetAddress()) + region.GetLength();
}

// Closed ranges: touching ends count, as Reserve joins them.
int Touches(const UMemoryRegion& region, unsigned int uiAddress, unsigned int uiLength)
{
    return region.Precedes(uiAddress, uiLength) || region.Succeeds(uiAddress, uiLength) ||
           region.Intersects(uiAddress, uiLength);
}

enum
{
    IndexUnknown, // not built; build on next use
    IndexValid,   // holds every region, and no two regions touch
    IndexBroken   // two regions touch or overlap: only the list walks give the right answer
};

} // namespace

struct UMemoryImage::Index
{
    std::map<unsigned int, Node*> byStart;
};

UMemoryImage::UMemoryImage()
    : m_pFirst(nullptr), m_pLast(nullptr), m_ulCount(0), m_byFill(0xFF), m_pIndex(nullptr),
      m_iIndexState(IndexUnknown), m_bSorted(0), m_ulExposed(0), m_pCursor(nullptr), m_ulCursor(0)
{
}

UMemoryImage::UMemoryImage(const UMemoryImage& other)
    : m_pFirst(nullptr), m_pLast(nullptr), m_ulCount(0), m_byFill(other.m_byFill), m_pIndex(nullptr),
      m_iIndexState(IndexUnknown), m_bSorted(0), m_ulExposed(0), m_pCursor(nullptr), m_ulCursor(0)
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
    delete m_pIndex;
}

UMemoryImage& UMemoryImage::operator=(const UMemoryImage& other)
{
    if (this == &other)
        return *this;
    // Built aside first, so a failed copy leaves this image as it was.
    UMemoryImage copy(other);
    Swap(copy);
    return *this;
}

void UMemoryImage::Swap(UMemoryImage& other)
{
    std::swap(m_pFirst, other.m_pFirst);
    std::swap(m_pLast, other.m_pLast);
    std::swap(m_ulCount, other.m_ulCount);
    std::swap(m_byFill, other.m_byFill);
    std::swap(m_pIndex, other.m_pIndex);
    std::swap(m_iIndexState, other.m_iIndexState);
    std::swap(m_bSorted, other.m_bSorted);
    std::swap(m_ulExposed, other.m_ulExposed);
    m_pCursor = other.m_pCursor = nullptr;
}

void UMemoryImage::CopyFrom(const UMemoryImage& other)
{
    for (const Node* node = other.m_pFirst; node != nullptr; node = node->pNext)
        Append(new Node{node->region, nullptr, nullptr, 0});
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
    if (pNode->bExposed)
        --m_ulExposed;
    m_pCursor = nullptr;
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
    if (!UseIndex())
    {
        ReserveInList(uiAddress, uiLength);
        return;
    }
    try
    {
        ReserveIndexed(uiAddress, uiLength);
    }
    catch (...)
    {
        // A merge that fails may leave touching regions behind; the index is rebuilt and checked.
        DropIndex();
        throw;
    }
}

// The first region in list order that touches the range takes it; the list is then sorted and
// joined where regions touch.
void UMemoryImage::ReserveInList(unsigned int uiAddress, unsigned int uiLength)
{
    if (m_iIndexState == IndexValid)
        DropIndex();
    Node* found = m_pFirst;
    while (found != nullptr && !Touches(found->region, uiAddress, uiLength))
        found = found->pNext;

    if (found == nullptr)
    {
        Append(new Node{UMemoryRegion(uiAddress, uiLength), nullptr, nullptr, 0});
        return;
    }
    found->region.Merge(UMemoryRegion(uiAddress, uiLength));
    SortRegions();
    MergeRegions();
    // Sorted and joined now: worth building the index again.
    m_iIndexState = IndexUnknown;
}

// The same steps as ReserveInList, found through the index. No two regions touch, so the regions
// that touch the range are neighbours by start address and the one below them does not reach it.
void UMemoryImage::ReserveIndexed(unsigned int uiAddress, unsigned int uiLength)
{
    std::map<unsigned int, Node*>& byStart = m_pIndex->byStart;
    const unsigned long long end = static_cast<unsigned long long>(uiAddress) + uiLength;
    const auto above = end > 0xFFFFFFFFULL ? byStart.end() : byStart.upper_bound(static_cast<unsigned int>(end));
    auto lowest = above;
    while (lowest != byStart.begin())
    {
        const auto below = std::prev(lowest);
        if (EndOf(below->second->region) < uiAddress)
            break;
        lowest = below;
    }

    if (lowest == above)
    {
        Node* node = new Node{UMemoryRegion(uiAddress, uiLength), nullptr, nullptr, 0};
        const int sorted = m_bSorted && (m_pLast == nullptr || m_pLast->region.GetAddress() < uiAddress);
        try
        {
            // Nothing starts between the address and the range's end: the hint is the place.
            byStart.emplace_hint(above, uiAddress, node);
        }
        catch (const std::bad_alloc&)
        {
            DropIndex();
        }
        Append(node);
        m_bSorted = sorted;
        return;
    }

    if (!m_bSorted)
    {
        // The first region in list order need not be the lowest; the list walk finds it and sorts.
        ReserveInList(uiAddress, uiLength);
        return;
    }

    // In a sorted list the lowest touching region is the first one found. Its regions below end
    // before the range begins, so it keeps its place and sorting changes nothing; joining then
    // only takes the regions that follow it while they touch.
    Node* found = lowest->second;
    const unsigned int oldStart = found->region.GetAddress();
    found->region.Merge(UMemoryRegion(uiAddress, uiLength));
    if (found->region.GetAddress() != oldStart)
    {
        auto entry = byStart.extract(lowest);
        entry.key() = found->region.GetAddress();
        byStart.insert(std::move(entry));
    }
    for (Node* current = found->pNext;
         current != nullptr && (found->region.Precedes(current->region) || found->region.Intersects(current->region));
         current = found->pNext)
    {
        found->region.Merge(current->region);
        byStart.erase(current->region.GetAddress());
        Remove(current);
    }
}

int UMemoryImage::UseIndex()
{
    if (m_ulExposed != 0 || m_iIndexState == IndexBroken)
        return 0;
    if (m_iIndexState == IndexValid)
        return 1;
    return BuildIndex();
}

int UMemoryImage::BuildIndex()
{
    try
    {
        if (m_pIndex == nullptr)
            m_pIndex = new Index();
        m_pIndex->byStart.clear();
        std::vector<Node*> nodes;
        nodes.reserve(m_ulCount);
        int sorted = 1;
        for (Node* node = m_pFirst; node != nullptr; node = node->pNext)
        {
            if (!nodes.empty() && !(nodes.back()->region < node->region))
                sorted = 0;
            nodes.push_back(node);
        }
        if (!sorted)
            std::sort(nodes.begin(), nodes.end(), [](const Node* a, const Node* b) { return a->region < b->region; });
        for (size_t i = 1; i < nodes.size(); ++i)
        {
            if (nodes[i]->region.GetAddress() <= EndOf(nodes[i - 1]->region))
            {
                m_iIndexState = IndexBroken;
                return 0;
            }
        }
        for (Node* node : nodes)
            m_pIndex->byStart.emplace_hint(m_pIndex->byStart.end(), node->region.GetAddress(), node);
        m_bSorted = sorted;
        m_iIndexState = IndexValid;
        return 1;
    }
    catch (const std::bad_alloc&)
    {
        // The list walks still answer; the index is tried again next time.
        DropIndex();
        return 0;
    }
}

void UMemoryImage::DropIndex()
{
    if (m_pIndex != nullptr)
        m_pIndex->byStart.clear();
    m_iIndexState = IndexUnknown;
}

// The first region in list order that holds the whole range. No two regions of a valid index
// touch, so at most one can hold it: the one that starts last at or below the address.
UMemoryImage::Node* UMemoryImage::FindContaining(unsigned int uiAddress, unsigned int uiLength, int bIndexed)
{
    if (bIndexed)
    {
        auto entry = m_pIndex->byStart.upper_bound(uiAddress);
        if (entry == m_pIndex->byStart.begin())
            return nullptr;
        Node* node = std::prev(entry)->second;
        return node->region.Contains(uiAddress, uiLength) ? node : nullptr;
    }
    for (Node* node = m_pFirst; node != nullptr; node = node->pNext)
    {
        if (node->region.Contains(uiAddress, uiLength))
            return node;
    }
    return nullptr;
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
    m_pCursor = nullptr;
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
    Node* node = FindContaining(uiAddress, uiLength, UseIndex());
    return node != nullptr ? node->region.GetData() + (uiAddress - node->region.GetAddress()) : nullptr;
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
    const int indexed = UseIndex();
    unsigned long long address = uiAddress;
    const unsigned long long end = address + uiLength;
    while (address < end)
    {
        const unsigned int running = static_cast<unsigned int>(address);
        Node* node = FindContaining(running, 1, indexed);
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
            if (indexed)
            {
                const auto above = m_pIndex->byStart.upper_bound(running);
                if (above != m_pIndex->byStart.end() && above->first < next)
                    next = above->first;
            }
            else
            {
                for (Node* n = m_pFirst; n != nullptr; n = n->pNext)
                {
                    if (n->region.GetAddress() > address && n->region.GetAddress() < next)
                        next = n->region.GetAddress();
                }
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
    if (Node* node = FindContaining(uiAddress, uiLength, UseIndex()))
        std::memcpy(node->region.GetData() + (uiAddress - node->region.GetAddress()), pbyData, uiLength);
}

// Walks from the head, the tail or the node last reached, whichever is nearest.
UMemoryImage::Node* UMemoryImage::FindNode(unsigned long ulIndex) const
{
    if (ulIndex >= m_ulCount)
        return nullptr;
    Node* node = m_pFirst;
    unsigned long at = 0;
    unsigned long distance = ulIndex;
    if (m_ulCount - 1 - ulIndex < distance)
    {
        node = m_pLast;
        at = m_ulCount - 1;
        distance = m_ulCount - 1 - ulIndex;
    }
    if (m_pCursor != nullptr)
    {
        const unsigned long fromCursor = ulIndex > m_ulCursor ? ulIndex - m_ulCursor : m_ulCursor - ulIndex;
        if (fromCursor < distance)
        {
            node = m_pCursor;
            at = m_ulCursor;
        }
    }
    for (; at < ulIndex; ++at)
        node = node->pNext;
    for (; at > ulIndex; --at)
        node = node->pPrevious;
    m_pCursor = node;
    m_ulCursor = ulIndex;
    return node;
}

UMemoryRegion* UMemoryImage::GetMemoryRegion(unsigned long ulIndex)
{
    Node* node = FindNode(ulIndex);
    if (node == nullptr)
        return nullptr;
    if (!node->bExposed)
    {
        // The caller may move or resize this region from now on: the index can no longer vouch
        // for the regions' places, and the list walks answer until the region is gone.
        node->bExposed = 1;
        ++m_ulExposed;
        DropIndex();
    }
    return &node->region;
}

const UMemoryRegion* UMemoryImage::GetMemoryRegion(unsigned long ulIndex) const
{
    Node* node = FindNode(ulIndex);
    return node != nullptr ? &node->region : nullptr;
}

unsigned int UMemoryImage::GetStartAddress() const
{
    return m_pFirst != nullptr ? m_pFirst->region.GetAddress() : 0;
}

}}} // namespace Oskal::Lib::BIM
