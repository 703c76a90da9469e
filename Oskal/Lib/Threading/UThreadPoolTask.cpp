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

} // namespace

UThreadPoolTask::UThreadPoolTask() : UThreadPoolTask(0xFFFFFFFF, nullptr) {}

UThreadPoolTask::UThreadPoolTask(unsigned long ulTimeout, const wchar_t* pszName)
    : m_pThreadPool(nullptr), m_lState(TaskStateIdle), m_ulTimeout(ulTimeout), m_ulStartTick(0),
      m_ulSuspendAbortCount(0), m_bAbortPending(0), m_hExitEvent(CreateEventW(nullptr, TRUE, TRUE, nullptr)),
      m_pWorker(nullptr)
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
    return static_cast<UThreadPoolTaskState>(InterlockedCompareExchange(const_cast<LONG*>(&m_lState), 0, 0));
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
    if (WaitForSingleObject(m_hExitEvent, ulTimeout) == WAIT_TIMEOUT)
        throw UTimeoutException(L"Waiting for the task to exit timed out.");
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
    return InterlockedCompareExchange(const_cast<LONG*>(&m_bAbortPending), 0, 0);
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
    SetEvent(m_hExitEvent);
    _endthreadex(0xFFFFFFFF);
}

} // namespace Threading
} // namespace Lib
} // namespace Oskal
