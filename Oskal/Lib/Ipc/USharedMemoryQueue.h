#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Ipc/USharedMemory.h>
#include <Oskal/Lib/Threading/UCriticalSection.h>
#include <Oskal/Lib/Win32Api.h>

namespace Oskal
{
namespace Lib
{
namespace Ipc
{

// A first-in, first-out queue of fixed-size blocks that lives entirely in one named shared memory
// region, so that writers and readers in different processes hand entries (one block or a
// sequence of blocks) to each other. Three named kernel objects go with the region:
// "<name> - QPM" (mutex guarding the block lists), "<name> - UBAS" (semaphore counting blocks
// waiting to be read) and "<name> - DAE" (manual-reset event, set while blocks wait).
//
// Writers claim a free block (BeginWriting), fill it without any lock held and append it
// (EndWriting, EndWritingSequence) or give it back (AbortWriting). Readers take the oldest block
// (BeginReading), read it without any lock held and free it (EndReading) or put it back
// (AbortReading). In overwrite mode a writer that finds no free block reclaims the oldest entry
// that is not protected, and the loss is charged to the oldest entry that remains.
//
// The region is shared with other processes and so is not trusted: every size, index and link
// read from it is checked against the mapping, every walk is bounded, and damaged lists are
// repaired or reported with an exception.
//
// Each operation holds the object's lock, also while BeginReading waits for a block; one object
// therefore serves one role (writer or reader) per thread. Use separate objects for a thread that
// writes and a thread that reads.
class OSKAL_LIB_API USharedMemoryQueue
{
public:
    // Block flags.
    static const unsigned long QUEUE_BLOCK_PROTECTED = 0x1;
    static const unsigned long QUEUE_BLOCK_FIRST = 0x2;
    static const unsigned long QUEUE_BLOCK_LAST = 0x4;
    static const unsigned long QUEUE_BLOCK_ORPHANED = 0x8;

    // First and last block of a list; 0xFFFFFFFF when the list is empty.
    struct UBlockListIndices
    {
        unsigned long ulFirst;
        unsigned long ulLast;
    };

    // The first 64 bytes of the region.
    struct UQueueHeader
    {
        unsigned long ulMagic;
        unsigned long ulNumberOfBlocks;
        unsigned long ulBlockSize;
        unsigned long ulRealBlockSize;
        UBlockListIndices freeList;
        UBlockListIndices usedList;
        unsigned long ulUserSpecificDataSize;
        unsigned long aulReserved[7];
    };

    // The 16 bytes in front of each block's data.
    struct UQueueBlock
    {
        unsigned long ulNext;
        unsigned long ulFlags;
        unsigned long ulSize;
        unsigned long ulLostCount;
    };

    // Non-zero bOverwrite makes writers reclaim the oldest unprotected entry of a full queue.
    explicit USharedMemoryQueue(int bOverwrite);
    virtual ~USharedMemoryQueue();
    USharedMemoryQueue(const USharedMemoryQueue&) = delete;
    USharedMemoryQueue& operator=(const USharedMemoryQueue&) = delete;

    void Create(const wchar_t* pszName, unsigned long ulBlockSize, unsigned long ulNumberOfBlocks,
                unsigned long ulUserSpecificDataSize);
    void Open(const wchar_t* pszName);
    void Close();

    // A free block's data, with the block size in *pulBlockSize; null when no block can be had.
    void* BeginWriting(unsigned long* pulBlockSize, int bNoLossCount);
    void EndWriting(void* pBlock, unsigned long ulSize, int bProtected);
    void EndWritingSequence(void** ppBlocks, unsigned long* pulSizes, unsigned long ulCount, int bProtected);
    void AbortWriting(void* pBlock);

    // The oldest block's data, its used size and the entries lost before it; null on time-out, or
    // after more orphans and counts without a block than the queue has blocks.
    void* BeginReading(unsigned long* pulSize, unsigned long* pulLost, unsigned long ulTimeout);
    void EndReading(void* pBlock);
    void AbortReading(void* pBlock);

    // Plain accessors; they do not take the lock, so they answer while a reader waits.
    unsigned long GetNumberOfBlocks() const { return m_ulNumberOfBlocks; }
    unsigned long GetBlockSize() const { return m_ulBlockSize; }
    unsigned long GetRealBlockSize() const { return m_ulRealBlockSize; }
    void* GetUserSpecificDataBuffer() { return m_pUserSpecificData; }
    const void* GetUserSpecificDataBuffer() const { return m_pUserSpecificData; }
    unsigned long GetUserSpecificDataSize() const { return m_ulUserSpecificDataSize; }
    // The "<name> - DAE" event, set while blocks wait, for waits on several objects.
    HANDLE GetDataAvailableEvent() const { return m_hEvent; }

private:
    class UQueueAccess;
    struct UReclaimed;

    void CheckInited() const;
    // After creating or opening one of the named objects: closes everything and throws when the
    // handle is missing (pszFailed) or, for a creation, the object existed already (pszExists).
    void CheckNamedObject(HANDLE hObject, DWORD dwError, const wchar_t* pszFailed, const wchar_t* pszExists);
    unsigned long IndexOfBlock(const void* pBlock, const wchar_t* pszName) const;
    UQueueBlock* BlockAt(unsigned long ulIndex) const;
    unsigned long CheckedIndex(unsigned long ulIndex) const;
    unsigned long NextOf(unsigned long ulIndex) const;
    void ReadEnds(const UBlockListIndices& list, unsigned long& ulFirst, unsigned long& ulLast) const;
    int AppendToList(UBlockListIndices& list, unsigned long ulIndex);
    unsigned long PopFront(UBlockListIndices& list);
    unsigned long TakeFreeBlock(int bNoLossCount);
    UReclaimed Reclaim();
    void ChargeLoss(const UReclaimed& reclaimed);
    unsigned long FindOldestRealEntry() const;
    void RepairLists();
    void RepairList(UBlockListIndices& list, unsigned char* pbySeen);
    void BeginQueueAccess();
    void EndQueueAccess();
    template <typename F> auto InQueue(F fnListWork) -> decltype(fnListWork());

    unsigned long m_ulHeaderSize;
    int m_bInited;
    int m_bOverwrite;
    USharedMemory m_sharedMemory;
    UQueueHeader* m_pHeader;
    void* m_pUserSpecificData;
    unsigned long m_ulUserSpecificDataSize;
    unsigned char* m_pBlocks;
    Threading::UCriticalSection m_cs;
    HANDLE m_hMutex;
    HANDLE m_hSemaphore;
    HANDLE m_hEvent;
    unsigned long m_ulNumberOfBlocks;
    unsigned long m_ulBlockSize;
    unsigned long m_ulRealBlockSize;
    unsigned long m_ulLostCount;
};

} // namespace Ipc
} // namespace Lib
} // namespace Oskal
