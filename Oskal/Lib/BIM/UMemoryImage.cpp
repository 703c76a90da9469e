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

const unsigned long kNoCursor = 0xFFFFFFFFUL;

// The regions of a valid index that touch the range: [*pLowest, *pAbove) by start. No two regions
// touch, so they are neighbours by start address and the one below them does not reach the range.
template <typename Map>
void FindTouching(Map& byStart, unsigned int uiAddress, unsigned int uiLength, typename Map::iterator* pLowest,
                  typename Map::iterator* pAbove)
{
    const unsigned long long end = static_cast<unsigned long long>(uiAddress) + uiLength;
    *pAbove = end > 0xFFFFFFFFULL ? byStart.end() : byStart.upper_bound(static_cast<unsigned int>(end));
    *pLowest = *pAbove;
    while (*pLowest != byStart.begin())
    {
        const auto below = std::prev(*pLowest);
        if (EndOf(below->second->region) < uiAddress)
            break;
        *pLowest = below;
    }
}

} // namespace

struct UMemoryImage::Index
{
    std::map<unsigned int, RegionList::iterator> byStart;
};

UMemoryImage::UMemoryImage()
    : m_byFill(0xFF), m_pIndex(nullptr), m_iIndexState(IndexUnknown), m_bSorted(0), m_ullLastStamp(0),
      m_ullSortedThrough(0), m_ulExposed(0), m_ulCursor(kNoCursor)
{
}

UMemoryImage::UMemoryImage(const UMemoryImage& other)
    : m_byFill(other.m_byFill), m_pIndex(nullptr), m_iIndexState(IndexUnknown), m_bSorted(0), m_ullLastStamp(0),
      m_ullSortedThrough(0), m_ulExposed(0), m_ulCursor(kNoCursor)
{
    for (const Entry& entry : other.m_regions)
        m_regions.push_back(Entry{entry.region, 0, 0});
}

UMemoryImage::~UMemoryImage()
{
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

// The index's iterators stay valid: they move with the list they point into.
void UMemoryImage::Swap(UMemoryImage& other)
{
    m_regions.swap(other.m_regions);
    std::swap(m_byFill, other.m_byFill);
    std::swap(m_pIndex, other.m_pIndex);
    std::swap(m_iIndexState, other.m_iIndexState);
    std::swap(m_bSorted, other.m_bSorted);
    std::swap(m_ullLastStamp, other.m_ullLastStamp);
    std::swap(m_ullSortedThrough, other.m_ullSortedThrough);
    std::swap(m_ulExposed, other.m_ulExposed);
    m_ulCursor = other.m_ulCursor = kNoCursor;
}

void UMemoryImage::Remove(RegionList::iterator itEntry)
{
    if (itEntry->bExposed)
        --m_ulExposed;
    m_ulCursor = kNoCursor;
    m_regions.erase(itEntry);
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
    auto found = m_regions.begin();
    while (found != m_regions.end() && !Touches(found->region, uiAddress, uiLength))
        ++found;

    if (found == m_regions.end())
    {
        m_regions.push_back(Entry{UMemoryRegion(uiAddress, uiLength), 0, ++m_ullLastStamp});
        return;
    }
    found->region.Merge(UMemoryRegion(uiAddress, uiLength));
    SortRegions();
    MergeRegions();
    // Sorted and joined now: worth building the index again.
    m_iIndexState = IndexUnknown;
}

// The same steps as ReserveInList, found through the index.
void UMemoryImage::ReserveIndexed(unsigned int uiAddress, unsigned int uiLength)
{
    std::map<unsigned int, RegionList::iterator>& byStart = m_pIndex->byStart;
    std::map<unsigned int, RegionList::iterator>::iterator lowest;
    std::map<unsigned int, RegionList::iterator>::iterator above;
    FindTouching(byStart, uiAddress, uiLength, &lowest, &above);

    if (lowest == above)
    {
        const int sorted = m_bSorted && (m_regions.empty() || m_regions.back().region.GetAddress() < uiAddress);
        m_regions.push_back(Entry{UMemoryRegion(uiAddress, uiLength), 0, ++m_ullLastStamp});
        m_bSorted = sorted;
        try
        {
            // Nothing starts between the address and the range's end: the hint is the place.
            byStart.emplace_hint(above, uiAddress, std::prev(m_regions.end()));
        }
        catch (const std::bad_alloc&)
        {
            DropIndex();
        }
        return;
    }

    if (!m_bSorted)
    {
        ReserveIndexedUnsorted(uiAddress, uiLength);
        return;
    }

    // In a sorted list the lowest touching region is the first one found. Its regions below end
    // before the range begins, so it keeps its place and sorting changes nothing; joining then
    // only takes the regions that follow it while they touch.
    const RegionList::iterator found = lowest->second;
    const unsigned int oldStart = found->region.GetAddress();
    found->region.Merge(UMemoryRegion(uiAddress, uiLength));
    if (found->region.GetAddress() != oldStart)
    {
        auto entry = byStart.extract(lowest);
        entry.key() = found->region.GetAddress();
        byStart.insert(std::move(entry));
    }
    for (auto current = std::next(found);
         current != m_regions.end() &&
         (found->region.Precedes(current->region) || found->region.Intersects(current->region));
         current = std::next(found))
    {
        found->region.Merge(current->region);
        byStart.erase(current->region.GetAddress());
        Remove(current);
    }
}

// The first region in list order that touches the range takes it, as in the list walk: the sorted
// head of the list comes first, by start, then the regions appended since, in the order they
// came. Sorting and joining then only concern the touching regions and the appended ones, which
// the index puts in place: a file that alternates appends and merges costs no walk or sort of the
// whole list per region.
void UMemoryImage::ReserveIndexedUnsorted(unsigned int uiAddress, unsigned int uiLength)
{
    std::map<unsigned int, RegionList::iterator>& byStart = m_pIndex->byStart;
    std::map<unsigned int, RegionList::iterator>::iterator lowest;
    std::map<unsigned int, RegionList::iterator>::iterator above;
    FindTouching(byStart, uiAddress, uiLength, &lowest, &above);
    std::vector<RegionList::iterator> touching;
    for (auto it = lowest; it != above; ++it)
        touching.push_back(it->second);

    RegionList::iterator found = m_regions.end();
    for (RegionList::iterator candidate : touching)
    {
        if (candidate->ullStamp <= m_ullSortedThrough)
        {
            found = candidate;
            break;
        }
        if (found == m_regions.end() || candidate->ullStamp < found->ullStamp)
            found = candidate;
    }
    byStart.erase(lowest, above);
    found->region.Merge(UMemoryRegion(uiAddress, uiLength));

    // Joined in order of start, the region found first among equal starts: what sorting the list
    // and joining neighbours does.
    touching.erase(std::find(touching.begin(), touching.end(), found));
    const unsigned int start = found->region.GetAddress();
    touching.insert(std::find_if(touching.begin(), touching.end(),
                                 [start](RegionList::iterator it) { return it->region.GetAddress() >= start; }),
                    found);
    const RegionList::iterator joined = touching.front();
    for (size_t i = 1; i < touching.size(); ++i)
    {
        joined->region.Merge(touching[i]->region);
        Remove(touching[i]);
    }
    try
    {
        byStart.emplace(joined->region.GetAddress(), joined);
    }
    catch (const std::bad_alloc&)
    {
        DropIndex();
        return;
    }
    SortAppended();
}

// Moves the regions appended since the list was last sorted to their places by start. They are
// the tail of the list; the index, which holds every region, names each one's successor.
void UMemoryImage::SortAppended()
{
    std::vector<RegionList::iterator> appended;
    try
    {
        for (auto it = m_regions.end(); it != m_regions.begin();)
        {
            --it;
            if (it->ullStamp <= m_ullSortedThrough)
                break;
            appended.push_back(it);
        }
    }
    catch (const std::bad_alloc&)
    {
        return; // the list stays as it is, unsorted, which the index allows
    }
    std::sort(appended.begin(), appended.end(),
              [](RegionList::iterator a, RegionList::iterator b) { return b->region < a->region; });
    RegionList parked;
    for (RegionList::iterator it : appended)
        parked.splice(parked.end(), m_regions, it);
    // Highest first: each region's successor is in its place already.
    for (RegionList::iterator it : appended)
    {
        const auto next = m_pIndex->byStart.upper_bound(it->region.GetAddress());
        m_regions.splice(next != m_pIndex->byStart.end() ? next->second : m_regions.end(), parked, it);
    }
    m_ullSortedThrough = m_ullLastStamp;
    m_bSorted = 1;
    m_ulCursor = kNoCursor;
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
        std::vector<RegionList::iterator> entries;
        entries.reserve(m_regions.size());
        int sorted = 1;
        // Stamped in list order: the sorted head, then the rest as if appended in that order.
        unsigned long long stamp = 0;
        unsigned long long sortedThrough = 0;
        for (auto it = m_regions.begin(); it != m_regions.end(); ++it)
        {
            if (!entries.empty() && !(entries.back()->region < it->region))
                sorted = 0;
            it->ullStamp = ++stamp;
            if (sorted)
                sortedThrough = stamp;
            entries.push_back(it);
        }
        m_ullLastStamp = stamp;
        m_ullSortedThrough = sortedThrough;
        if (!sorted)
            std::sort(entries.begin(), entries.end(),
                      [](RegionList::iterator a, RegionList::iterator b) { return a->region < b->region; });
        for (size_t i = 1; i < entries.size(); ++i)
        {
            if (entries[i]->region.GetAddress() <= EndOf(entries[i - 1]->region))
            {
                m_iIndexState = IndexBroken;
                return 0;
            }
        }
        for (RegionList::iterator it : entries)
            m_pIndex->byStart.emplace_hint(m_pIndex->byStart.end(), it->region.GetAddress(), it);
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
UMemoryImage::Entry* UMemoryImage::FindContaining(unsigned int uiAddress, unsigned int uiLength, int bIndexed)
{
    if (bIndexed)
    {
        auto entry = m_pIndex->byStart.upper_bound(uiAddress);
        if (entry == m_pIndex->byStart.begin())
            return nullptr;
        Entry& candidate = *std::prev(entry)->second;
        return candidate.region.Contains(uiAddress, uiLength) ? &candidate : nullptr;
    }
    for (Entry& entry : m_regions)
    {
        if (entry.region.Contains(uiAddress, uiLength))
            return &entry;
    }
    return nullptr;
}

// Stable: regions with equal starts keep their order.
void UMemoryImage::SortRegions()
{
    m_regions.sort([](const Entry& a, const Entry& b) { return a.region < b.region; });
    m_ulCursor = kNoCursor;
}

// Joins each region with the regions that touch or overlap it. Runs on a sorted list, where a
// merge only moves the previous region's end: pairs before it stay as they were, so the walk
// goes on from the merged region instead of starting over.
void UMemoryImage::MergeRegions()
{
    if (m_regions.empty())
        return;
    auto previous = m_regions.begin();
    for (auto current = std::next(previous); current != m_regions.end(); current = std::next(previous))
    {
        if (previous->region.Precedes(current->region) || previous->region.Intersects(current->region))
        {
            previous->region.Merge(current->region);
            Remove(current);
        }
        else
        {
            previous = current;
        }
    }
}

unsigned char* UMemoryImage::GetBuffer(unsigned int uiAddress, unsigned int uiLength)
{
    CheckRange(uiAddress, uiLength);
    Entry* node = FindContaining(uiAddress, uiLength, UseIndex());
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
        Entry* node = FindContaining(running, 1, indexed);
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
                for (const Entry& entry : m_regions)
                {
                    if (entry.region.GetAddress() > address && entry.region.GetAddress() < next)
                        next = entry.region.GetAddress();
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
    for (auto node = m_regions.begin(); node != m_regions.end() && uiLength != 0; ++node)
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
    if (Entry* node = FindContaining(uiAddress, uiLength, UseIndex()))
        std::memcpy(node->region.GetData() + (uiAddress - node->region.GetAddress()), pbyData, uiLength);
}

// Walks from the front, the back or the entry last reached, whichever is nearest.
UMemoryImage::Entry* UMemoryImage::FindEntry(unsigned long ulIndex) const
{
    const unsigned long count = static_cast<unsigned long>(m_regions.size());
    if (ulIndex >= count)
        return nullptr;
    RegionList& regions = const_cast<RegionList&>(m_regions);
    RegionList::iterator it = regions.begin();
    unsigned long at = 0;
    unsigned long distance = ulIndex;
    if (count - 1 - ulIndex < distance)
    {
        it = std::prev(regions.end());
        at = count - 1;
        distance = count - 1 - ulIndex;
    }
    if (m_ulCursor != kNoCursor)
    {
        const unsigned long fromCursor = ulIndex > m_ulCursor ? ulIndex - m_ulCursor : m_ulCursor - ulIndex;
        if (fromCursor < distance)
        {
            it = m_cursor;
            at = m_ulCursor;
        }
    }
    for (; at < ulIndex; ++at)
        ++it;
    for (; at > ulIndex; --at)
        --it;
    m_cursor = it;
    m_ulCursor = ulIndex;
    return &*it;
}

UMemoryRegion* UMemoryImage::GetMemoryRegion(unsigned long ulIndex)
{
    return ExposeMemoryRegion(ulIndex);
}

UMemoryRegion* UMemoryImage::ExposeMemoryRegion(unsigned long ulIndex)
{
    Entry* entry = FindEntry(ulIndex);
    if (entry == nullptr)
        return nullptr;
    if (!entry->bExposed)
    {
        // The caller may move or resize this region from now on: the index can no longer vouch
        // for the regions' places, and the list walks answer until the region is gone.
        entry->bExposed = 1;
        ++m_ulExposed;
        DropIndex();
    }
    return &entry->region;
}

const UMemoryRegion* UMemoryImage::GetMemoryRegion(unsigned long ulIndex) const
{
    Entry* entry = FindEntry(ulIndex);
    return entry != nullptr ? &entry->region : nullptr;
}

unsigned int UMemoryImage::GetStartAddress() const
{
    return m_regions.empty() ? 0 : m_regions.front().region.GetAddress();
}

}}} // namespace Oskal::Lib::BIM
