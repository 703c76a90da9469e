#include <Oskal/Lib/Internal/InterlockedRead.h>
#include <Oskal/Lib/Threading/UThreadPool.h>
#include <Oskal/Lib/Threading/UThreadPoolTask.h>
#include <Oskal/Lib/Threading/UThreadPoolThread.h>
#include <Oskal/Lib/UTimeoutException.h>

#include <process.h>
#include <wchar.h>

namespace Oskal
{
namespace Lib
{
namespace Threading
{

using Exceptions::UTimeoutException;

namespace
{

const wchar_t kNoName[] = L"<not specified>";

// The exit event's state word. Bit 0: the task is out of the pool (the event's signalled state).
// Bit 1: m_hExitEvent has been set since the last reset. Bits 2-23: threads registered to wait on
// m_hExitEvent (a 32-bit process cannot have 2^22 threads). Bits 24-31: the round, counted on by
// each reset, so that a waiter sees its round end even when the task is queued again before it
// looks.
const LONG kExited = 1;
const LONG kKernelSet = 2;
const LONG kWaiter = 4;
const LONG kWaiters = 0x00FFFFFC;
const unsigned long kRound = 0x01000000;

LONG RoundOf(LONG lState)
{
    return static_cast<LONG>(static_cast<unsigned long>(lState) / kRound);
}

bool RoundEnded(LONG lState, LONG lRound)
{
    return (lState & kExited) != 0 || RoundOf(lState) != lRound;
}

} // namespace

UThreadPoolTask::UThreadPoolTask() : UThreadPoolTask(0xFFFFFFFF, nullptr) {}

UThreadPoolTask::UThreadPoolTask(unsigned long ulTimeout, const wchar_t* pszName)
    : m_pThreadPool(nullptr), m_lState(TaskStateIdle), m_ulTimeout(ulTimeout), m_ulStartTick(0),
      m_ulSuspendAbortCount(0), m_bAbortPending(0), m_hExitEvent(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_lExit(kExited), m_pWorker(nullptr)
{
    InitializeCriticalSection(&m_watchdogLock);
    SetTaskName(pszName);
}

UThreadPoolTask::~UThreadPoolTask()
{
    if (m_hExitEvent != nullptr)
        CloseHandle(m_hExitEvent);
    DeleteCriticalSection(&m_watchdogLock);
}

void UThreadPoolTask::OnTaskExited(UThreadPoolTaskState) {}

const wchar_t* UThreadPoolTask::GetTaskName() const
{
    return m_szName;
}

void UThreadPoolTask::SetTaskName(const wchar_t* pszName)
{
    if (pszName == nullptr)
        pszName = kNoName;
    size_t length = wcsnlen(pszName, MaxNameLength);
    wmemcpy(m_szName, pszName, length);
    m_szName[length] = L'\0';
}

UThreadPoolTaskState UThreadPoolTask::GetTaskState() const
{
    return static_cast<UThreadPoolTaskState>(Internal::InterlockedRead(m_lState));
}

void UThreadPoolTask::SetTaskState(UThreadPoolTaskState eState)
{
    InterlockedExchange(&m_lState, eState);
}

int UThreadPoolTask::IsTaskInProgress() const
{
    UThreadPoolTaskState state = GetTaskState();
    return state == TaskStateQueued || state == TaskStateRunning ? 1 : 0;
}

void UThreadPoolTask::WaitForTaskToExit(unsigned long ulTimeout)
{
    LONG state = Internal::InterlockedRead(m_lExit);
    for (;;)
    {
        if ((state & kExited) != 0)
            return;
        if (ulTimeout == 0)
            throw UTimeoutException(L"Waiting for the task to exit timed out.");
        LONG seen = InterlockedCompareExchange(&m_lExit, state + kWaiter, state);
        if (seen == state)
            break;
        state = seen;
    }
    // Registered: whoever ends this round sets the kernel event before it marks the round ended.
    const LONG round = RoundOf(state);
    const unsigned long start = GetTickCount();
    for (;;)
    {
        unsigned long elapsed = GetTickCount() - start;
        DWORD wait = ulTimeout == INFINITE ? INFINITE : elapsed < ulTimeout ? ulTimeout - elapsed : 0;
        DWORD result = WaitForSingleObject(m_hExitEvent, wait);
        state = Internal::InterlockedRead(m_lExit);
        if (RoundEnded(state, round))
            break;
        if (result == WAIT_OBJECT_0)
        {
            // Set, and about to be marked: the setter is between its two steps.
            while (!RoundEnded(Internal::InterlockedRead(m_lExit), round))
                SwitchToThread();
            break;
        }
        if (result == WAIT_TIMEOUT || wait == 0)
        {
            if (InterlockedCompareExchange(&m_lExit, state - kWaiter, state) == state)
                throw UTimeoutException(L"Waiting for the task to exit timed out.");
            continue; // the state moved on: look again
        }
        Sleep(1); // the wait failed (no event): poll
    }
    InterlockedExchangeAdd(&m_lExit, -kWaiter);
}

void UThreadPoolTask::ResetExit()
{
    LONG state = Internal::InterlockedRead(m_lExit);
    if ((state & kKernelSet) != 0)
        ResetEvent(m_hExitEvent);
    for (;;)
    {
        LONG next = static_cast<LONG>(
            (static_cast<unsigned long>(state) & ~static_cast<unsigned long>(kExited | kKernelSet)) + kRound);
        LONG seen = InterlockedCompareExchange(&m_lExit, next, state);
        if (seen == state)
            return;
        state = seen;
    }
}

void UThreadPoolTask::SignalExit()
{
    HANDLE event = m_hExitEvent;
    LONG set = 0;
    LONG state = Internal::InterlockedRead(m_lExit);
    for (;;)
    {
        if ((state & kWaiters) != 0 && set == 0)
        {
            SetEvent(event);
            set = kKernelSet;
        }
        // The last touch: once the round is marked ended, the task may be deleted or queued again.
        LONG seen = InterlockedCompareExchange(&m_lExit, state | kExited | set, state);
        if (seen == state)
            return;
        state = seen;
    }
}

bool UThreadPoolTask::HasExited() const
{
    return (Internal::InterlockedRead(m_lExit) & kExited) != 0;
}

void UThreadPoolTask::AbortTask()
{
    UThreadPool* pool = GetThreadPool();
    if (pool != nullptr)
        pool->Abort(this);
}

void UThreadPoolTask::SetThreadPool(UThreadPool* pPool)
{
    InterlockedExchangePointer(reinterpret_cast<PVOID volatile*>(&m_pThreadPool), pPool);
}

UThreadPool* UThreadPoolTask::GetThreadPool() const
{
    return static_cast<UThreadPool*>(InterlockedCompareExchangePointer(
        reinterpret_cast<PVOID volatile*>(const_cast<UThreadPool**>(&m_pThreadPool)), nullptr, nullptr));
}

void UThreadPoolTask::SetAbortPending(int bPending)
{
    InterlockedExchange(&m_bAbortPending, bPending != 0 ? 1 : 0);
}

int UThreadPoolTask::IsAbortPending() const
{
    return Internal::InterlockedRead(m_bAbortPending);
}

void UThreadPoolTask::Lock()
{
    m_taskLock.Enter();
}

void UThreadPoolTask::Unlock()
{
    m_taskLock.Leave();
}

void UThreadPoolTask::EnterWatchdog()
{
    EnterCriticalSection(&m_watchdogLock);
}

void UThreadPoolTask::LeaveWatchdog()
{
    LeaveCriticalSection(&m_watchdogLock);
}

void UThreadPoolTask::EnterWatchdogFromRun()
{
    // Polled, never waited for: the manager holds this lock while it terminates the worker, and a
    // thread killed while queued on a critical section would leave a phantom waiter in it.
    while (!TryEnterCriticalSection(&m_watchdogLock))
        SwitchToThread();
}

void UThreadPoolTask::ResetSuspendAbortCounter()
{
    EnterWatchdog();
    m_ulSuspendAbortCount = 0;
    LeaveWatchdog();
}

int UThreadPoolTask::HasTaskTimedOutLocked(unsigned long ulNow) const
{
    return m_ulTimeout != 0xFFFFFFFF && ulNow - m_ulStartTick > m_ulTimeout ? 1 : 0;
}

int UThreadPoolTask::HasTaskTimedOut()
{
    EnterWatchdog();
    int timedOut = HasTaskTimedOutLocked(GetTickCount());
    LeaveWatchdog();
    return timedOut;
}

void UThreadPoolTask::SetTaskTimeout(unsigned long ulTimeout)
{
    EnterWatchdogFromRun();
    m_ulTimeout = ulTimeout;
    m_ulStartTick = GetTickCount();
    LeaveWatchdog();
}

void UThreadPoolTask::ResetTaskWatchdog()
{
    EnterWatchdogFromRun();
    m_ulStartTick = GetTickCount();
    LeaveWatchdog();
}

void UThreadPoolTask::SuspendTaskAbort()
{
    EnterWatchdogFromRun();
    ++m_ulSuspendAbortCount;
    LeaveWatchdog();
}

void UThreadPoolTask::ResumeTaskAbort()
{
    EnterWatchdogFromRun();
    if (m_ulSuspendAbortCount > 0)
        --m_ulSuspendAbortCount;
    bool abortNow = m_ulSuspendAbortCount == 0 && IsAbortPending();
    LeaveWatchdog();
    if (!abortNow)
        return;

    // An abort was asked for while fenced: end here, on the worker that runs the task.
    UThreadPoolThread* worker = m_pWorker;
    UThreadPool* pool = GetThreadPool();
    if (worker == nullptr || pool == nullptr || worker->GetThreadId() != GetCurrentThreadId())
        return;
    // Take the task from the worker first, as the manager does: whoever takes it ends it.
    while (!worker->TakeTask(this))
    {
        if (WaitForSingleObject(worker->m_hQuit, 1) == WAIT_OBJECT_0)
            for (;;)
                Sleep(INFINITE); // the manager has it and is terminating this thread
    }
    SetTaskState(TaskStateAborted);
    pool->CountAbortedTask();
    try
    {
        OnTaskExited(TaskStateAborted);
    }
    catch (...)
    {
    }
    SetThreadPool(nullptr);
    SignalExit();
    _endthreadex(0xFFFFFFFF);
}

} // namespace Threading
} // namespace Lib
} // namespace Oskal
