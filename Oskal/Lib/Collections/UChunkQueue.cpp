#include <Oskal/Lib/Collections/UChunkQueue.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/Memory.h>
#include <Oskal/Lib/Threading/UCriticalSectionAutoLock.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UShuttingDownException.h>
#include <Oskal/Lib/UTimeoutException.h>
#include <Oskal/Lib/UWin32Exception.h>

#include <cstring>
#include <initializer_list>

namespace Oskal
{
namespace Lib
{
namespace Collections
{

using namespace Exceptions;

namespace
{

HANDLE CreateQueueEvent(BOOL bManualReset, BOOL bInitialState)
{
    HANDLE hEvent = CreateEventW(nullptr, bManualReset, bInitialState, nullptr);
    if (hEvent == nullptr)
        throw UWin32Exception(L"Creating a queue event failed.", GetLastError());
    return hEvent;
}

// Waits on the shutdown event (listed first, so it wins when both are signalled) and the given
// event, or on the given event alone. Returns the wait result, WAIT_OBJECT_0 + 1 meaning the
// given event in both cases.
DWORD WaitForEventOrShutdown(HANDLE hShutdown, HANDLE hEvent, DWORD dwTimeout, int iIgnoreShutdown)
{
    if (iIgnoreShutdown)
    {
        DWORD dwResult = WaitForSingleObject(hEvent, dwTimeout);
        return dwResult == WAIT_OBJECT_0 ? WAIT_OBJECT_0 + 1 : dwResult;
    }
    HANDLE handles[2] = {hShutdown, hEvent};
    return WaitForMultipleObjects(2, handles, FALSE, dwTimeout);
}

// Copies ulCount bytes between the buffer and the ring starting at ulPosition, in at most two
// pieces when the data wraps at the ring's end.
void CopyToRing(unsigned char* pbyRing, unsigned long ulRingSize, unsigned long ulPosition,
                const unsigned char* pbySource, unsigned long ulCount)
{
    unsigned long ulFirst = ulRingSize - ulPosition < ulCount ? ulRingSize - ulPosition : ulCount;
    std::memcpy(pbyRing + ulPosition, pbySource, ulFirst);
    std::memcpy(pbyRing, pbySource + ulFirst, ulCount - ulFirst);
}

void CopyFromRing(const unsigned char* pbyRing, unsigned long ulRingSize, unsigned long ulPosition,
                  unsigned char* pbyTarget, unsigned long ulCount)
{
    unsigned long ulFirst = ulRingSize - ulPosition < ulCount ? ulRingSize - ulPosition : ulCount;
    std::memcpy(pbyTarget, pbyRing + ulPosition, ulFirst);
    std::memcpy(pbyTarget + ulFirst, pbyRing, ulCount - ulFirst);
}

const unsigned long kInfinite = 0xFFFFFFFF;

} // namespace

UChunkQueue::UChunkQueue(unsigned long ulBufferSize, void* hShutdownEvent)
    : m_hWriterTurn(nullptr), m_hSpaceAvailable(nullptr), m_hDataAvailable(nullptr), m_hShutdownEvent(hShutdownEvent),
      m_hSpaceChanged(nullptr), m_pbyRing(nullptr), m_ulRingSize(ulBufferSize), m_ulUsed(0), m_ulReadPosition(0),
      m_ulWritePosition(0)
{
    // Headers sit at multiples of 4 and must never wrap: any other size writes past the ring.
    if (ulBufferSize < 8 || ulBufferSize % 4 != 0)
        throw UArgumentException(L"ulBufferSize", L"Buffer size must be a multiple of 4 and at least 8.");
    try
    {
        m_hWriterTurn = CreateQueueEvent(FALSE, TRUE);
        m_hSpaceAvailable = CreateQueueEvent(TRUE, TRUE);
        m_hDataAvailable = CreateQueueEvent(TRUE, FALSE);
        m_hSpaceChanged = CreateQueueEvent(FALSE, TRUE);
        m_pbyRing = static_cast<unsigned char*>(Alloc(ulBufferSize));
    }
    catch (...)
    {
        for (HANDLE hEvent : {m_hWriterTurn, m_hSpaceAvailable, m_hDataAvailable, m_hSpaceChanged})
            if (hEvent != nullptr)
                CloseHandle(hEvent);
        throw;
    }
}

UChunkQueue::~UChunkQueue()
{
    CloseHandle(m_hWriterTurn);
    CloseHandle(m_hSpaceAvailable);
    CloseHandle(m_hDataAvailable);
    CloseHandle(m_hSpaceChanged);
    Free(m_pbyRing);
}

UChunkQueue& UChunkQueue::operator=(const UChunkQueue& other)
{
    // Kept: a bitwise copy of everything, the lock's state included, with no release of what
    // this object held (pinned by UChunkQueue.AssignmentSharesTheResources)
    std::memcpy(static_cast<void*>(&m_lock), &other.m_lock, sizeof(m_lock));
    m_hWriterTurn = other.m_hWriterTurn;
    m_hSpaceAvailable = other.m_hSpaceAvailable;
    m_hDataAvailable = other.m_hDataAvailable;
    m_hShutdownEvent = other.m_hShutdownEvent;
    m_hSpaceChanged = other.m_hSpaceChanged;
    m_pbyRing = other.m_pbyRing;
    m_ulRingSize = other.m_ulRingSize;
    m_ulUsed = other.m_ulUsed;
    m_ulReadPosition = other.m_ulReadPosition;
    m_ulWritePosition = other.m_ulWritePosition;
    return *this;
}

void UChunkQueue::GiveUpWriterTurn()
{
    SetEvent(m_hSpaceChanged);
    SetEvent(m_hWriterTurn);
}

void UChunkQueue::Enqueue(void* pvData, unsigned long ulLength, unsigned long ulTimeout, int iIgnoreShutdown)
{
    if (ulLength == 0)
        return;
    Internal::ThrowIfNull(pvData, L"pvData");

    DWORD dwStart = GetTickCount();
    DWORD dwResult = WaitForSingleObject(m_hWriterTurn, ulTimeout);
    if (dwResult == WAIT_TIMEOUT)
        throw UTimeoutException();
    if (dwResult != WAIT_OBJECT_0)
        throw UWin32Exception(L"Waiting for the queue failed.", GetLastError());

    unsigned long ulRemaining = kInfinite;
    if (ulTimeout != kInfinite)
    {
        DWORD dwElapsed = GetTickCount() - dwStart;
        ulRemaining = dwElapsed < ulTimeout ? ulTimeout - dwElapsed : 0;
    }

    // Wait for room, holding the producer turn. Every enqueue that leaves room and every dequeue
    // pulses "space changed", so each wake-up looks at the free room again.
    for (;;)
    {
        DWORD dwBefore = GetTickCount();
        dwResult = WaitForEventOrShutdown(m_hShutdownEvent, m_hSpaceChanged, ulRemaining, iIgnoreShutdown);
        if (dwResult == WAIT_OBJECT_0)
        {
            GiveUpWriterTurn();
            throw UShuttingDownException();
        }
        if (dwResult == WAIT_TIMEOUT)
        {
            GiveUpWriterTurn();
            throw UTimeoutException();
        }
        if (dwResult != WAIT_OBJECT_0 + 1)
        {
            DWORD dwError = GetLastError();
            GiveUpWriterTurn();
            throw UWin32Exception(L"Waiting for the queue failed.", dwError);
        }

        Threading::UCriticalSectionAutoLock lock(m_lock);
        // Written so that a huge ulLength cannot wrap around: free >= ulLength + 4.
        unsigned long ulFree = m_ulRingSize - m_ulUsed;
        if (ulFree >= 4 && ulFree - 4 >= ulLength)
        {
            std::memcpy(m_pbyRing + m_ulWritePosition, &ulLength, 4);
            m_ulWritePosition = (m_ulWritePosition + 4) % m_ulRingSize;
            m_ulUsed += 4;

            CopyToRing(m_pbyRing, m_ulRingSize, m_ulWritePosition, static_cast<const unsigned char*>(pvData), ulLength);
            m_ulWritePosition = (m_ulWritePosition + ulLength) % m_ulRingSize;
            m_ulUsed += ulLength;

            unsigned long ulAligned = (m_ulWritePosition + 3) & ~3UL;
            m_ulUsed += ulAligned - m_ulWritePosition;
            m_ulWritePosition = ulAligned % m_ulRingSize;

            SetEvent(m_hDataAvailable);
            if (m_ulUsed >= m_ulRingSize)
            {
                ResetEvent(m_hSpaceAvailable);
            }
            else
            {
                SetEvent(m_hSpaceAvailable);
                SetEvent(m_hSpaceChanged);
            }
            break;
        }
        if (ulTimeout != kInfinite)
        {
            DWORD dwElapsed = GetTickCount() - dwBefore;
            ulRemaining = dwElapsed < ulRemaining ? ulRemaining - dwElapsed : 0;
        }
    }
    // The chunk is in and the lock left: the next producer may go.
    SetEvent(m_hWriterTurn);
}

unsigned long UChunkQueue::Dequeue(unsigned char* pbyBuffer, unsigned long ulBufferSize, unsigned long ulTimeout,
                                   int iIgnoreShutdown)
{
    if (ulBufferSize == 0)
        return 0;
    Internal::ThrowIfNull(pbyBuffer, L"pbyBuffer");

    DWORD dwResult = WaitForEventOrShutdown(m_hShutdownEvent, m_hDataAvailable, ulTimeout, iIgnoreShutdown);
    if (dwResult == WAIT_OBJECT_0)
        throw UShuttingDownException();
    if (dwResult == WAIT_TIMEOUT)
        throw UTimeoutException();
    if (dwResult != WAIT_OBJECT_0 + 1)
        throw UWin32Exception(L"Waiting for the queue failed.", GetLastError());

    Threading::UCriticalSectionAutoLock lock(m_lock);
    // Several consumers may wake for one chunk; the late ones find the ring empty.
    if (m_ulUsed < 4)
        return 0;

    unsigned long ulLength;
    std::memcpy(&ulLength, m_pbyRing + m_ulReadPosition, 4);
    if (ulLength > ulBufferSize)
        throw UArgumentException(L"ulBufferSize", L"Buffer is too small to hold the chunk.");

    m_ulReadPosition = (m_ulReadPosition + 4) % m_ulRingSize;
    m_ulUsed -= 4;

    CopyFromRing(m_pbyRing, m_ulRingSize, m_ulReadPosition, pbyBuffer, ulLength);
    m_ulReadPosition = (m_ulReadPosition + ulLength) % m_ulRingSize;
    m_ulUsed -= ulLength;

    unsigned long ulAligned = (m_ulReadPosition + 3) & ~3UL;
    m_ulUsed -= ulAligned - m_ulReadPosition;
    m_ulReadPosition = ulAligned % m_ulRingSize;

    SetEvent(m_hSpaceAvailable);
    SetEvent(m_hSpaceChanged);
    if (m_ulUsed != 0)
        SetEvent(m_hDataAvailable);
    else
        ResetEvent(m_hDataAvailable);
    return ulLength;
}

unsigned long UChunkQueue::GetFillingLevel()
{
    Threading::UCriticalSectionAutoLock lock(m_lock);
    return m_ulUsed * 1000 / m_ulRingSize;
}

void* UChunkQueue::GetDataAvailableEvent() const
{
    return m_hDataAvailable;
}

void* UChunkQueue::GetSpaceAvailableEvent() const
{
    return m_hSpaceAvailable;
}

} // namespace Collections
} // namespace Lib
} // namespace Oskal
