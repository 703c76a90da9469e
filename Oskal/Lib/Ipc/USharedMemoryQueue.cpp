#include <Oskal/Lib/Ipc/USharedMemoryQueue.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/Threading/UCriticalSectionAutoLock.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UInvalidOperationException.h>
#include <Oskal/Lib/UString.h>
#include <Oskal/Lib/UTimeoutException.h>
#include <Oskal/Lib/UWin32Exception.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <vector>

namespace Oskal
{
namespace Lib
{
namespace Ipc
{

using Exceptions::UArgumentException;
using Exceptions::UInvalidOperationException;
using Exceptions::UTimeoutException;
using Exceptions::UWin32Exception;
using Threading::UCriticalSectionAutoLock;

static_assert(sizeof(USharedMemoryQueue::UQueueHeader) == 64, "the queue header is 64 bytes");
static_assert(sizeof(USharedMemoryQueue::UQueueBlock) == 16, "a block header is 16 bytes");

namespace
{

const unsigned long kNone = 0xFFFFFFFF;
const unsigned long kMagic = 0x4E49524F; // "ORIN"
const DWORD kMutexTimeout = 5000;
const size_t kNameBufferSize = 260;
// The longest suffix of the kernel object names, " - UBAS", with its terminator.
const size_t kLongestSuffix = 8;
const wchar_t kNotInitialized[] = L"Queue is not initialized, call Create() or Open() to initialize it.";
const wchar_t kInvalidRegion[] = L"Shared memory region does not hold a valid queue.";
const wchar_t kDamaged[] = L"The block lists of the shared memory queue are damaged; they have been repaired.";

// Raised inside list work when the shared region contradicts itself; the list work is then
// repaired and retried once.
struct UQueueDamaged
{
};

// Shared fields are always read and written whole.
unsigned long Load(const unsigned long& field)
{
    return static_cast<unsigned long>(
        InterlockedCompareExchange(reinterpret_cast<volatile LONG*>(const_cast<unsigned long*>(&field)), 0, 0));
}

void Store(unsigned long& field, unsigned long ulValue)
{
    InterlockedExchange(reinterpret_cast<volatile LONG*>(&field), static_cast<LONG>(ulValue));
}

unsigned long long RoundUp64(unsigned long long ullValue)
{
    return (ullValue + 63) & ~63ull;
}

void CheckName(const wchar_t* pszName)
{
    Internal::ThrowIfNull(pszName, L"pszName");
    if (wcslen(pszName) + kLongestSuffix > kNameBufferSize)
        throw UArgumentException(L"pszName", L"Argument 'pszName' is too long.");
}

void FormatName(wchar_t* pszBuffer, const wchar_t* pszName, const wchar_t* pszSuffix)
{
    swprintf_s(pszBuffer, kNameBufferSize, L"%ls%ls", pszName, pszSuffix);
}

} // namespace

// What reclaiming took from the used list: the victim block (none when nothing was reclaimed),
// whether it was an orphan, and the lost count it carried.
struct USharedMemoryQueue::UReclaimed
{
    unsigned long ulVictim;
    int bOrphan;
    unsigned long ulLostCount;
};

// Holds the queue's mutex for one stretch of list work.
class USharedMemoryQueue::UQueueAccess
{
public:
    explicit UQueueAccess(USharedMemoryQueue& queue) : m_queue(queue) { m_queue.BeginQueueAccess(); }
    ~UQueueAccess() { m_queue.EndQueueAccess(); }
    UQueueAccess(const UQueueAccess&) = delete;
    UQueueAccess& operator=(const UQueueAccess&) = delete;

private:
    USharedMemoryQueue& m_queue;
};

USharedMemoryQueue::USharedMemoryQueue(int bOverwrite)
    : m_ulHeaderSize(0), m_bInited(0), m_bOverwrite(bOverwrite), m_pHeader(nullptr), m_pUserSpecificData(nullptr),
      m_ulUserSpecificDataSize(0), m_pBlocks(nullptr), m_hMutex(nullptr), m_hSemaphore(nullptr), m_hEvent(nullptr),
      m_ulNumberOfBlocks(0), m_ulBlockSize(0), m_ulRealBlockSize(0), m_ulLostCount(0)
{
}

USharedMemoryQueue::~USharedMemoryQueue()
{
    Close();
}

void USharedMemoryQueue::Create(const wchar_t* pszName, unsigned long ulBlockSize, unsigned long ulNumberOfBlocks,
                                unsigned long ulUserSpecificDataSize)
{
    UCriticalSectionAutoLock lock(m_cs);
    CheckName(pszName);
    if (ulNumberOfBlocks == 0)
        throw UArgumentException(L"ulNumberOfBlocks", L"Argument 'ulNumberOfBlocks' must be greater than 0.");
    const unsigned long long ullRealBlockSize = RoundUp64(ulBlockSize + 16ull);
    const unsigned long long ullHeaderSize = 64 + RoundUp64(ulUserSpecificDataSize);
    const unsigned long long ullSize = ullHeaderSize + ullRealBlockSize * ulNumberOfBlocks;
    if (ullSize > 0xFFFFFFFFull)
        throw UArgumentException(L"ulNumberOfBlocks",
                                 L"Argument 'ulNumberOfBlocks' is too large: the queue would not fit in 4 GiB.");
    Close();

    m_sharedMemory.Create(pszName, static_cast<unsigned long>(ullSize));
    m_ulHeaderSize = static_cast<unsigned long>(ullHeaderSize);
    m_ulNumberOfBlocks = ulNumberOfBlocks;
    m_ulBlockSize = ulBlockSize;
    m_ulRealBlockSize = static_cast<unsigned long>(ullRealBlockSize);
    m_ulUserSpecificDataSize = ulUserSpecificDataSize;
    unsigned char* pbyRegion = static_cast<unsigned char*>(m_sharedMemory.GetBuffer());
    m_pHeader = reinterpret_cast<UQueueHeader*>(pbyRegion);
    m_pUserSpecificData = pbyRegion + 64;
    m_pBlocks = pbyRegion + m_ulHeaderSize;

    // The header is complete before the named objects exist, so an opener that finds them finds
    // a usable region.
    Store(m_pHeader->ulMagic, kMagic);
    Store(m_pHeader->ulNumberOfBlocks, ulNumberOfBlocks);
    Store(m_pHeader->ulBlockSize, ulBlockSize);
    Store(m_pHeader->ulRealBlockSize, m_ulRealBlockSize);
    Store(m_pHeader->freeList.ulFirst, 0);
    Store(m_pHeader->freeList.ulLast, ulNumberOfBlocks - 1);
    Store(m_pHeader->usedList.ulFirst, kNone);
    Store(m_pHeader->usedList.ulLast, kNone);
    Store(m_pHeader->ulUserSpecificDataSize, ulUserSpecificDataSize);
    for (unsigned long i = 0; i < ulNumberOfBlocks; ++i)
    {
        UQueueBlock* pBlock = BlockAt(i);
        Store(pBlock->ulNext, i + 1 < ulNumberOfBlocks ? i + 1 : kNone);
        Store(pBlock->ulFlags, 0);
        Store(pBlock->ulSize, 0);
        Store(pBlock->ulLostCount, 0);
    }

    wchar_t szName[kNameBufferSize];
    FormatName(szName, pszName, L" - QPM");
    m_hMutex = CreateMutexW(nullptr, FALSE, szName);
    CheckNamedObject(m_hMutex, GetLastError(), L"Creating the mutex protecting the shared memory queue failed.",
                     L"Mutex protecting the shared memory queue exists already.");
    FormatName(szName, pszName, L" - UBAS");
    m_hSemaphore = CreateSemaphoreW(nullptr, 0, static_cast<LONG>(ulNumberOfBlocks), szName);
    CheckNamedObject(m_hSemaphore, GetLastError(), L"Creating the semaphore for reader notification failed.",
                     L"Semaphore for reader notification exists already.");
    FormatName(szName, pszName, L" - DAE");
    m_hEvent = CreateEventW(nullptr, TRUE, FALSE, szName);
    CheckNamedObject(m_hEvent, GetLastError(), L"Creating the event for reader notification failed.",
                     L"Event for reader notification exists already.");
    m_ulLostCount = 0;
    m_bInited = 1;
}

void USharedMemoryQueue::CheckNamedObject(HANDLE hObject, DWORD dwError, const wchar_t* pszFailed,
                                          const wchar_t* pszExists)
{
    const bool bExists = hObject != nullptr && pszExists != nullptr && dwError == ERROR_ALREADY_EXISTS;
    if (hObject != nullptr && !bExists)
        return;
    Close();
    throw UWin32Exception(bExists ? pszExists : pszFailed, dwError);
}

void USharedMemoryQueue::Open(const wchar_t* pszName)
{
    UCriticalSectionAutoLock lock(m_cs);
    CheckName(pszName);
    Close();

    m_sharedMemory.Open(pszName);
    const unsigned long ulMapped = m_sharedMemory.GetBufferSize();
    unsigned char* pbyRegion = static_cast<unsigned char*>(m_sharedMemory.GetBuffer());
    if (ulMapped < sizeof(UQueueHeader))
    {
        Close();
        throw UInvalidOperationException(kInvalidRegion);
    }
    // The layout is read once; later changes of these fields by another process are ignored.
    UQueueHeader* pHeader = reinterpret_cast<UQueueHeader*>(pbyRegion);
    const unsigned long ulNumberOfBlocks = Load(pHeader->ulNumberOfBlocks);
    const unsigned long ulBlockSize = Load(pHeader->ulBlockSize);
    const unsigned long ulRealBlockSize = Load(pHeader->ulRealBlockSize);
    const unsigned long ulUserSpecificDataSize = Load(pHeader->ulUserSpecificDataSize);
    const unsigned long long ullHeaderSize = 64 + RoundUp64(ulUserSpecificDataSize);
    bool bValid = ulNumberOfBlocks != 0 && ulRealBlockSize == RoundUp64(ulBlockSize + 16ull) &&
                  ullHeaderSize + static_cast<unsigned long long>(ulRealBlockSize) * ulNumberOfBlocks <= ulMapped;
    const unsigned long* aulEnds[] = {&pHeader->freeList.ulFirst, &pHeader->freeList.ulLast, &pHeader->usedList.ulFirst,
                                      &pHeader->usedList.ulLast};
    for (const unsigned long* pulEnd : aulEnds)
    {
        const unsigned long ulIndex = Load(*pulEnd);
        bValid = bValid && (ulIndex == kNone || ulIndex < ulNumberOfBlocks);
    }
    if (!bValid)
    {
        Close();
        throw UInvalidOperationException(kInvalidRegion);
    }
    m_ulHeaderSize = static_cast<unsigned long>(ullHeaderSize);
    m_ulNumberOfBlocks = ulNumberOfBlocks;
    m_ulBlockSize = ulBlockSize;
    m_ulRealBlockSize = ulRealBlockSize;
    m_ulUserSpecificDataSize = ulUserSpecificDataSize;
    m_pHeader = pHeader;
    m_pUserSpecificData = pbyRegion + 64;
    m_pBlocks = pbyRegion + m_ulHeaderSize;

    wchar_t szName[kNameBufferSize];
    FormatName(szName, pszName, L" - QPM");
    m_hMutex = OpenMutexW(MUTEX_ALL_ACCESS, FALSE, szName);
    CheckNamedObject(m_hMutex, GetLastError(), L"Opening the mutex protecting the shared memory queue failed.",
                     nullptr);
    FormatName(szName, pszName, L" - UBAS");
    m_hSemaphore = OpenSemaphoreW(SEMAPHORE_ALL_ACCESS, FALSE, szName);
    CheckNamedObject(m_hSemaphore, GetLastError(), L"Opening the 'used block list' semaphore failed.", nullptr);
    FormatName(szName, pszName, L" - DAE");
    m_hEvent = OpenEventW(EVENT_ALL_ACCESS, FALSE, szName);
    // Kept: the message ends with two full stops (pinned by SharedMemoryQueue.OpenFailures)
    CheckNamedObject(m_hEvent, GetLastError(), L"Opening the event indicating blocks in the queue failed..", nullptr);
    m_ulLostCount = 0;
    m_bInited = 1;
}

void USharedMemoryQueue::Close()
{
    UCriticalSectionAutoLock lock(m_cs);
    m_sharedMemory.Close();
    m_pHeader = nullptr;
    m_pUserSpecificData = nullptr;
    m_pBlocks = nullptr;
    HANDLE* aphHandles[] = {&m_hMutex, &m_hSemaphore, &m_hEvent};
    for (HANDLE* phHandle : aphHandles)
    {
        if (*phHandle != nullptr)
            CloseHandle(*phHandle);
        *phHandle = nullptr;
    }
    m_ulHeaderSize = 0;
    m_ulUserSpecificDataSize = 0;
    m_ulNumberOfBlocks = 0;
    m_ulBlockSize = 0;
    m_ulRealBlockSize = 0;
    m_ulLostCount = 0;
    m_bInited = 0;
}

void* USharedMemoryQueue::BeginWriting(unsigned long* pulBlockSize, int bNoLossCount)
{
    UCriticalSectionAutoLock lock(m_cs);
    CheckInited();
    const unsigned long ulIndex = InQueue([&] { return TakeFreeBlock(bNoLossCount); });
    if (ulIndex == kNone)
        return nullptr;
    if (pulBlockSize != nullptr)
        *pulBlockSize = m_ulBlockSize;
    return BlockAt(ulIndex) + 1;
}

void USharedMemoryQueue::EndWriting(void* pBlock, unsigned long ulSize, int bProtected)
{
    if (pBlock == nullptr)
        return;
    UCriticalSectionAutoLock lock(m_cs);
    CheckInited();
    const unsigned long ulIndex = IndexOfBlock(pBlock, L"pBlock");
    if (ulSize > m_ulBlockSize)
        throw UArgumentException(L"ulSize", L"Argument 'ulSize' must not be greater than the block size.");
    UQueueBlock* pHeader = BlockAt(ulIndex);
    Store(pHeader->ulFlags, bProtected ? QUEUE_BLOCK_PROTECTED : 0);
    Store(pHeader->ulSize, ulSize);
    Store(pHeader->ulLostCount, 0);
    InQueue([&] {
        Store(pHeader->ulFlags, Load(pHeader->ulFlags) | QUEUE_BLOCK_FIRST | QUEUE_BLOCK_LAST);
        if (AppendToList(m_pHeader->usedList, ulIndex))
        {
            // Drops that no entry could carry go with the first entry of an empty queue.
            Store(pHeader->ulLostCount, m_ulLostCount);
            m_ulLostCount = 0;
            // The event is set exactly while the used list is not empty, so only the first block
            // of an empty list needs to set it: one kernel call less per entry.
            SetEvent(m_hEvent);
        }
    });
    ReleaseSemaphore(m_hSemaphore, 1, nullptr);
}

void USharedMemoryQueue::EndWritingSequence(void** ppBlocks, unsigned long* pulSizes, unsigned long ulCount,
                                            int bProtected)
{
    if (ppBlocks == nullptr || pulSizes == nullptr || ulCount == 0)
        return;
    UCriticalSectionAutoLock lock(m_cs);
    CheckInited();
    if (ulCount > m_ulNumberOfBlocks)
        throw UArgumentException(L"ulCount", L"Argument 'ulCount' must not exceed the number of blocks.");
    std::vector<unsigned long> indices(ulCount);
    for (unsigned long k = 0; k < ulCount; ++k)
    {
        if (ppBlocks[k] == nullptr)
            throw UArgumentException(L"ppBlocks", L"Argument 'ppBlocks' must not contain NULL.");
        indices[k] = IndexOfBlock(ppBlocks[k], L"ppBlocks");
        if (pulSizes[k] > m_ulBlockSize)
            throw UArgumentException(L"pulSizes", L"Argument 'pulSizes' must not hold sizes above the block size.");
    }
    // A block named twice would link the used list into a cycle.
    std::vector<unsigned long> sorted(indices);
    std::sort(sorted.begin(), sorted.end());
    if (std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end())
        throw UArgumentException(L"ppBlocks", L"Argument 'ppBlocks' must not name a block twice.");

    // The blocks are the caller's and in no list: chain them first, then splice the chain in at once.
    for (unsigned long k = 0; k < ulCount; ++k)
    {
        UQueueBlock* pHeader = BlockAt(indices[k]);
        Store(pHeader->ulFlags, bProtected ? QUEUE_BLOCK_PROTECTED : 0);
        Store(pHeader->ulSize, pulSizes[k]);
        Store(pHeader->ulLostCount, 0);
        Store(pHeader->ulNext, k + 1 < ulCount ? indices[k + 1] : kNone);
    }
    const unsigned long ulFirst = indices.front();
    const unsigned long ulLast = indices.back();
    const unsigned long ulEndBits = QUEUE_BLOCK_FIRST | QUEUE_BLOCK_LAST | QUEUE_BLOCK_ORPHANED;
    InQueue([&] {
        Store(BlockAt(ulFirst)->ulFlags, (Load(BlockAt(ulFirst)->ulFlags) & ~ulEndBits) | QUEUE_BLOCK_FIRST);
        Store(BlockAt(ulLast)->ulFlags,
              (Load(BlockAt(ulLast)->ulFlags) & ~(ulFirst == ulLast ? 0 : ulEndBits)) | QUEUE_BLOCK_LAST);
        unsigned long ulUsedFirst, ulUsedLast;
        ReadEnds(m_pHeader->usedList, ulUsedFirst, ulUsedLast);
        // Kept: a sequence never takes over the local lost count (pinned by
        // SharedMemoryQueue.OrphansAndTheLocalLostCount)
        if (ulUsedLast == kNone)
        {
            Store(m_pHeader->usedList.ulFirst, ulFirst);
            SetEvent(m_hEvent);
        }
        else
            Store(BlockAt(ulUsedLast)->ulNext, ulFirst);
        Store(m_pHeader->usedList.ulLast, ulLast);
    });
    ReleaseSemaphore(m_hSemaphore, static_cast<LONG>(ulCount), nullptr);
}

void USharedMemoryQueue::AbortWriting(void* pBlock)
{
    if (pBlock == nullptr)
        return;
    UCriticalSectionAutoLock lock(m_cs);
    CheckInited();
    const unsigned long ulIndex = IndexOfBlock(pBlock, L"pBlock");
    Store(BlockAt(ulIndex)->ulSize, 0);
    Store(BlockAt(ulIndex)->ulLostCount, 0);
    InQueue([&] { AppendToList(m_pHeader->freeList, ulIndex); });
}

void* USharedMemoryQueue::BeginReading(unsigned long* pulSize, unsigned long* pulLost, unsigned long ulTimeout)
{
    UCriticalSectionAutoLock lock(m_cs);
    CheckInited();
    // Each pass that finds no block to return frees an orphan or uses up a count without a block.
    // More such passes than the queue has blocks come from a peer that raises the count without
    // writing (or reclaims faster than this reader reads): end as on a time-out, so that a reader
    // serving several queues is not held by one.
    for (unsigned long ulSkipped = 0; ulSkipped <= m_ulNumberOfBlocks; ++ulSkipped)
    {
        const DWORD dwWait = WaitForSingleObject(m_hSemaphore, ulTimeout);
        if (dwWait == WAIT_TIMEOUT)
            return nullptr;
        if (dwWait != WAIT_OBJECT_0)
            throw UWin32Exception(L"Waiting for blocks in the shared memory queue failed.", GetLastError());
        unsigned long ulSize = 0;
        unsigned long ulLost = 0;
        unsigned long ulIndex = kNone;
        try
        {
            ulIndex = InQueue([&] {
                const unsigned long ulTaken = PopFront(m_pHeader->usedList);
                if (ulTaken == kNone)
                    return kNone;
                if (Load(m_pHeader->usedList.ulFirst) == kNone)
                    ResetEvent(m_hEvent);
                UQueueBlock* pHeader = BlockAt(ulTaken);
                ulSize = Load(pHeader->ulSize);
                ulLost = Load(pHeader->ulLostCount);
                // Orphans are skipped; so is a block whose size does not fit it, which only a
                // misbehaving writer leaves.
                if ((Load(pHeader->ulFlags) & QUEUE_BLOCK_ORPHANED) != 0 || ulSize > m_ulBlockSize)
                {
                    AppendToList(m_pHeader->freeList, ulTaken);
                    return kNone;
                }
                return ulTaken;
            });
        }
        catch (...)
        {
            ReleaseSemaphore(m_hSemaphore, 1, nullptr);
            throw;
        }
        // No block for this count (an orphan, or a count the list does not back): wait for the next.
        if (ulIndex == kNone)
            continue;
        if (pulSize != nullptr)
            *pulSize = ulSize;
        if (pulLost != nullptr)
            *pulLost = ulLost;
        return BlockAt(ulIndex) + 1;
    }
    return nullptr;
}

void USharedMemoryQueue::EndReading(void* pBlock)
{
    if (pBlock == nullptr)
        return;
    UCriticalSectionAutoLock lock(m_cs);
    CheckInited();
    const unsigned long ulIndex = IndexOfBlock(pBlock, L"pBlock");
    Store(BlockAt(ulIndex)->ulSize, 0);
    InQueue([&] { AppendToList(m_pHeader->freeList, ulIndex); });
}

void USharedMemoryQueue::AbortReading(void* pBlock)
{
    if (pBlock == nullptr)
        return;
    UCriticalSectionAutoLock lock(m_cs);
    CheckInited();
    const unsigned long ulIndex = IndexOfBlock(pBlock, L"pBlock");
    UQueueBlock* pHeader = BlockAt(ulIndex);
    InQueue([&] {
        unsigned long ulFirst, ulLast;
        ReadEnds(m_pHeader->usedList, ulFirst, ulLast);
        if (ulFirst == ulIndex)
            throw UQueueDamaged();
        if (ulFirst == kNone)
        {
            Store(pHeader->ulNext, kNone);
            Store(pHeader->ulLostCount, m_ulLostCount);
            m_ulLostCount = 0;
            Store(m_pHeader->usedList.ulFirst, ulIndex);
            Store(m_pHeader->usedList.ulLast, ulIndex);
            SetEvent(m_hEvent);
        }
        else
        {
            Store(pHeader->ulNext, ulFirst);
            Store(m_pHeader->usedList.ulFirst, ulIndex);
        }
    });
    // Kept: the semaphore is not released, so the block is read again only after a later write
    // (pinned by SharedMemoryQueue.AbortReadingWaitsForTheNextWrite)
}

void USharedMemoryQueue::CheckInited() const
{
    if (!m_bInited)
        throw UInvalidOperationException(kNotInitialized);
}

unsigned long USharedMemoryQueue::IndexOfBlock(const void* pBlock, const wchar_t* pszName) const
{
    const unsigned char* pbyData = static_cast<const unsigned char*>(pBlock);
    const unsigned char* pbyFirstData = m_pBlocks + sizeof(UQueueBlock);
    const size_t offset = static_cast<size_t>(pbyData - pbyFirstData);
    if (pbyData < pbyFirstData || offset % m_ulRealBlockSize != 0 || offset / m_ulRealBlockSize >= m_ulNumberOfBlocks)
    {
        UString message(L"Argument '");
        message.Append(pszName);
        message.Append(L"' is not a block of this queue.");
        throw UArgumentException(pszName, message.GetBuffer());
    }
    return static_cast<unsigned long>(offset / m_ulRealBlockSize);
}

USharedMemoryQueue::UQueueBlock* USharedMemoryQueue::BlockAt(unsigned long ulIndex) const
{
    return reinterpret_cast<UQueueBlock*>(m_pBlocks + static_cast<size_t>(ulIndex) * m_ulRealBlockSize);
}

unsigned long USharedMemoryQueue::CheckedIndex(unsigned long ulIndex) const
{
    if (ulIndex != kNone && ulIndex >= m_ulNumberOfBlocks)
        throw UQueueDamaged();
    return ulIndex;
}

unsigned long USharedMemoryQueue::NextOf(unsigned long ulIndex) const
{
    return CheckedIndex(Load(BlockAt(ulIndex)->ulNext));
}

// Both ends of a list, checked: in range, both none or neither, and the last block ends the list.
void USharedMemoryQueue::ReadEnds(const UBlockListIndices& list, unsigned long& ulFirst, unsigned long& ulLast) const
{
    ulFirst = CheckedIndex(Load(list.ulFirst));
    ulLast = CheckedIndex(Load(list.ulLast));
    if ((ulFirst == kNone) != (ulLast == kNone) || (ulLast != kNone && Load(BlockAt(ulLast)->ulNext) != kNone))
        throw UQueueDamaged();
}

// Appends a block that is in no list; returns whether the list was empty.
int USharedMemoryQueue::AppendToList(UBlockListIndices& list, unsigned long ulIndex)
{
    unsigned long ulFirst, ulLast;
    ReadEnds(list, ulFirst, ulLast);
    if (ulFirst == ulIndex || ulLast == ulIndex)
        throw UQueueDamaged();
    Store(BlockAt(ulIndex)->ulNext, kNone);
    if (ulLast == kNone)
        Store(list.ulFirst, ulIndex);
    else
        Store(BlockAt(ulLast)->ulNext, ulIndex);
    Store(list.ulLast, ulIndex);
    return ulLast == kNone;
}

unsigned long USharedMemoryQueue::PopFront(UBlockListIndices& list)
{
    unsigned long ulFirst, ulLast;
    ReadEnds(list, ulFirst, ulLast);
    if (ulFirst == kNone)
        return kNone;
    const unsigned long ulNext = NextOf(ulFirst);
    if (ulNext == ulFirst || (ulNext == kNone) != (ulFirst == ulLast))
        throw UQueueDamaged();
    Store(list.ulFirst, ulNext);
    if (ulNext == kNone)
        Store(list.ulLast, kNone);
    return ulFirst;
}

unsigned long USharedMemoryQueue::TakeFreeBlock(int bNoLossCount)
{
    const unsigned long ulFree = PopFront(m_pHeader->freeList);
    if (ulFree != kNone || !m_bOverwrite)
        return ulFree;
    UReclaimed reclaimed = {kNone, 0, 0};
    if (WaitForSingleObject(m_hSemaphore, 0) == WAIT_OBJECT_0)
    {
        try
        {
            reclaimed = Reclaim();
        }
        catch (...)
        {
            ReleaseSemaphore(m_hSemaphore, 1, nullptr);
            throw;
        }
        if (reclaimed.ulVictim == kNone)
            ReleaseSemaphore(m_hSemaphore, 1, nullptr);
    }
    if (!bNoLossCount)
        ChargeLoss(reclaimed);
    return reclaimed.ulVictim;
}

// Unlinks the oldest unprotected entry's first block (or an orphan) from the used list and
// orphans the rest of that entry, which stays in the list for readers to skip.
USharedMemoryQueue::UReclaimed USharedMemoryQueue::Reclaim()
{
    UReclaimed reclaimed = {kNone, 0, 0};
    unsigned long ulFirst, ulLast;
    ReadEnds(m_pHeader->usedList, ulFirst, ulLast);
    unsigned long ulSteps = 0;
    unsigned long ulPrevious = kNone;
    unsigned long ulVictim = ulFirst;
    unsigned long ulFlags = 0;
    for (; ulVictim != kNone; ulPrevious = ulVictim, ulVictim = NextOf(ulVictim))
    {
        if (++ulSteps > m_ulNumberOfBlocks)
            throw UQueueDamaged();
        ulFlags = Load(BlockAt(ulVictim)->ulFlags);
        if ((ulFlags & QUEUE_BLOCK_PROTECTED) == 0 && (ulFlags & (QUEUE_BLOCK_FIRST | QUEUE_BLOCK_ORPHANED)) != 0)
            break;
    }
    if (ulVictim == kNone)
        return reclaimed;
    const unsigned long ulVictimNext = NextOf(ulVictim);
    // Check the rest of the entry before changing anything.
    const bool bEndsAtVictim = (ulFlags & (QUEUE_BLOCK_LAST | QUEUE_BLOCK_ORPHANED)) != 0;
    unsigned long ulRestSteps = 0;
    for (unsigned long i = bEndsAtVictim ? kNone : ulVictimNext; i != kNone; i = NextOf(i))
    {
        if (++ulSteps > m_ulNumberOfBlocks || i == ulVictim)
            throw UQueueDamaged();
        ++ulRestSteps;
        if ((Load(BlockAt(i)->ulFlags) & (QUEUE_BLOCK_LAST | QUEUE_BLOCK_ORPHANED)) != 0)
            break;
    }
    unsigned long i = ulVictimNext;
    for (unsigned long k = 0; k < ulRestSteps; ++k, i = NextOf(i))
    {
        UQueueBlock* pHeader = BlockAt(i);
        Store(pHeader->ulFlags,
              (Load(pHeader->ulFlags) & ~(QUEUE_BLOCK_FIRST | QUEUE_BLOCK_LAST)) | QUEUE_BLOCK_ORPHANED);
    }
    if (ulPrevious == kNone)
        Store(m_pHeader->usedList.ulFirst, ulVictimNext);
    else
        Store(BlockAt(ulPrevious)->ulNext, ulVictimNext);
    if (ulVictim == ulLast)
        Store(m_pHeader->usedList.ulLast, ulPrevious);
    if (Load(m_pHeader->usedList.ulFirst) == kNone)
        ResetEvent(m_hEvent);
    reclaimed.ulVictim = ulVictim;
    reclaimed.bOrphan = (ulFlags & QUEUE_BLOCK_ORPHANED) != 0;
    reclaimed.ulLostCount = Load(BlockAt(ulVictim)->ulLostCount);
    return reclaimed;
}

// Charges a drop to the oldest entry still queued: the reclaimed entry with the drops it
// carried, or the entry that could not be written.
void USharedMemoryQueue::ChargeLoss(const UReclaimed& reclaimed)
{
    if (reclaimed.ulVictim != kNone && reclaimed.bOrphan)
        return;
    unsigned long ulOldest = kNone;
    try
    {
        ulOldest = FindOldestRealEntry();
    }
    catch (const UQueueDamaged&)
    {
        // The reclaimed block is already out of the lists; repair and charge the drop locally.
        RepairLists();
    }
    if (ulOldest == kNone)
    {
        // Kept: with no entry left to charge, only this drop is counted, not the drops the
        // reclaimed entry carried (pinned by SharedMemoryQueue.OrphansAndTheLocalLostCount)
        ++m_ulLostCount;
        return;
    }
    const unsigned long ulAdd = reclaimed.ulVictim != kNone ? reclaimed.ulLostCount + 1 : 1;
    UQueueBlock* pHeader = BlockAt(ulOldest);
    Store(pHeader->ulLostCount, Load(pHeader->ulLostCount) + ulAdd);
}

unsigned long USharedMemoryQueue::FindOldestRealEntry() const
{
    unsigned long ulFirst, ulLast;
    ReadEnds(m_pHeader->usedList, ulFirst, ulLast);
    unsigned long ulSteps = 0;
    for (unsigned long i = ulFirst; i != kNone; i = NextOf(i))
    {
        if (++ulSteps > m_ulNumberOfBlocks)
            throw UQueueDamaged();
        if ((Load(BlockAt(i)->ulFlags) & (QUEUE_BLOCK_FIRST | QUEUE_BLOCK_ORPHANED)) == QUEUE_BLOCK_FIRST)
            return i;
    }
    return kNone;
}

// Recomputes both lists from their first blocks: each list ends at its last reachable block, and
// is cut where a link leaves the blocks, loops or runs into a block already seen. The used list
// goes first so that queued entries are kept. Blocks that end up in neither list may be in the
// hands of a writer or reader and stay out of the lists.
void USharedMemoryQueue::RepairLists()
{
    std::vector<unsigned char> seen(m_ulNumberOfBlocks, 0);
    RepairList(m_pHeader->usedList, seen.data());
    RepairList(m_pHeader->freeList, seen.data());
    if (Load(m_pHeader->usedList.ulFirst) == kNone)
        ResetEvent(m_hEvent);
    else
        SetEvent(m_hEvent);
}

void USharedMemoryQueue::RepairList(UBlockListIndices& list, unsigned char* pbySeen)
{
    unsigned long ulLast = kNone;
    unsigned long i = Load(list.ulFirst);
    while (i < m_ulNumberOfBlocks && !pbySeen[i])
    {
        pbySeen[i] = 1;
        ulLast = i;
        i = Load(BlockAt(i)->ulNext);
    }
    if (ulLast == kNone)
        Store(list.ulFirst, kNone);
    else
        Store(BlockAt(ulLast)->ulNext, kNone);
    Store(list.ulLast, ulLast);
}

void USharedMemoryQueue::BeginQueueAccess()
{
    switch (WaitForSingleObject(m_hMutex, kMutexTimeout))
    {
    case WAIT_ABANDONED:
        // The previous holder died, perhaps halfway through a list change.
        try
        {
            RepairLists();
        }
        catch (...)
        {
            ReleaseMutex(m_hMutex);
            throw;
        }
        break;
    case WAIT_TIMEOUT:
        throw UTimeoutException(L"Waiting for mutex protecting the shared memory queue timed out.");
    default:
        break;
    }
}

void USharedMemoryQueue::EndQueueAccess()
{
    ReleaseMutex(m_hMutex);
}

// Runs list work under the mutex. Work that finds the lists contradicting themselves stops before
// changing them; the lists are then repaired and the work is tried once more.
template <typename F> auto USharedMemoryQueue::InQueue(F fnListWork) -> decltype(fnListWork())
{
    UQueueAccess access(*this);
    try
    {
        return fnListWork();
    }
    catch (const UQueueDamaged&)
    {
        RepairLists();
    }
    try
    {
        return fnListWork();
    }
    catch (const UQueueDamaged&)
    {
        RepairLists();
        throw UInvalidOperationException(kDamaged);
    }
}

} // namespace Ipc
} // namespace Lib
} // namespace Oskal
