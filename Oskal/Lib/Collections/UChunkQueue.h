#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Threading/UCriticalSection.h>
#include <Oskal/Lib/Win32Api.h>

namespace Oskal { namespace Lib { namespace Collections {

// Bounded, thread-safe first-in first-out queue of variable-sized byte chunks in one ring buffer.
// Each chunk is a 4-byte length, its data (which may wrap at the ring's end) and padding up to the
// next multiple of 4, so a header never wraps. The ring size must be a multiple of 4 and at least 8.
// Producers are served one at a time, so a large chunk waiting for room is not overtaken by smaller
// ones; consumers only share the lock. Signalling the shutdown event releases every waiter.
class OSKAL_LIB_API UChunkQueue
{
public:
    // hShutdownEvent is not owned: the owner signals it to stop waiters and closes it.
    UChunkQueue(unsigned long ulBufferSize, void* hShutdownEvent);
    ~UChunkQueue();

    // Copies every field as it stands, lock, handles and ring included: both objects then share
    // the same resources, and both release them.
    UChunkQueue& operator=(const UChunkQueue& other);

    // Adds one chunk, waiting up to ulTimeout ms (0xFFFFFFFF: no limit) for the producer turn and
    // for room. A length of 0 does nothing.
    void Enqueue(void* pvData, unsigned long ulLength, unsigned long ulTimeout, int iIgnoreShutdown);

    // Moves the oldest chunk into pbyBuffer and returns its length; 0 when ulBufferSize is 0 or
    // another consumer took the data first. A chunk larger than the buffer stays queued.
    unsigned long Dequeue(unsigned char* pbyBuffer, unsigned long ulBufferSize, unsigned long ulTimeout,
                          int iIgnoreShutdown);

    // Bytes in use (headers and padding included) per mille of the ring size, truncated.
    unsigned long GetFillingLevel();

    // Manual-reset events for callers that wait themselves: set while the ring holds a chunk /
    // while it is not full.
    void* GetDataAvailableEvent() const;
    void* GetSpaceAvailableEvent() const;

private:
    // Ends a producer's wait for room: hands the possibly consumed "space changed" pulse and the
    // producer turn on to the next producer.
    void GiveUpWriterTurn();

    Threading::UCriticalSection m_lock;
    HANDLE m_hWriterTurn;
    HANDLE m_hSpaceAvailable;
    HANDLE m_hDataAvailable;
    HANDLE m_hShutdownEvent;
    HANDLE m_hSpaceChanged;
    unsigned char* m_pbyRing;
    unsigned long m_ulRingSize;
    unsigned long m_ulUsed;
    unsigned long m_ulReadPosition;
    unsigned long m_ulWritePosition;
};

}}} // namespace Oskal::Lib::Collections
