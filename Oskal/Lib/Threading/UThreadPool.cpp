#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/Internal/InterlockedRead.h>
#include <Oskal/Lib/Logging/ULog.h>
#include <Oskal/Lib/Threading/UCriticalSectionAutoLock.h>
#include <Oskal/Lib/Threading/UThreadPool.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UInvalidOperationException.h>
#include <Oskal/Lib/UShuttingDownException.h>
#include <Oskal/Lib/UTimeoutException.h>
#include <Oskal/Lib/UWin32Exception.h>

#include <vector>

namespace Oskal
{
namespace Lib
{
namespace Threading
{

using Exceptions::UArgumentException;
using Exceptions::UInvalidOperationException;
using Exceptions::UShuttingDownException;
using Exceptions::UTimeoutException;
using Exceptions::UWin32Exception;
using Logging::ULog;
using namespace Logging;

namespace
{

const wchar_t kSource[] = L"Thread Pool";

enum ManagerState : LONG
{
    eManager_NotRunning = 0,
    eManager_Running = 1,
    eManager_ShutDown = 2
};

void* Arg(unsigned long ulValue)
{
    return reinterpret_cast<void*>(static_cast<uintptr_t>(ulValue));
}

void* Arg(const wchar_t* psz)
{
    return const_cast<wchar_t*>(psz);
}

bool ArmTimer(HANDLE hTimer)
{
    LARGE_INTEGER dueTime;
    dueTime.QuadPart = -10000000LL; // one second from now, in 100 ns units
    return SetWaitableTimer(hTimer, &dueTime, 1000, nullptr, nullptr, FALSE) != FALSE;
}

// Posts until the message is taken, logging each failure; gives up only when giveUp() says so.
// Returns whether it was posted.
template <typename TGiveUp>
bool PostWithRetry(unsigned long ulThreadId, UINT uMessage, WPARAM wParam, const wchar_t* pszRetryText, TGiveUp giveUp)
{
    while (!PostThreadMessageW(ulThreadId, uMessage, wParam, 0))
    {
        ULog::Write(kSource, eLogSeverity_Warning, pszRetryText);
        Sleep(20);
        if (giveUp())
            return false;
    }
    return true;
}

bool Never()
{
    return false;
}

} // namespace

UThreadPool::UThreadPool(unsigned long ulMinThreads, unsigned long ulMaxThreads, unsigned long ulKeepTime)
    : m_pManagerThread(nullptr), m_lSlots(0), m_lSlotWaiters(0), m_hManagerReady(nullptr), m_hManagerFailed(nullptr),
      m_ulMinThreads(ulMinThreads), m_ulMaxThreads(ulMaxThreads), m_ulKeepTime(ulKeepTime),
      m_lManagerState(eManager_NotRunning), m_lManagerThreadId(0), m_lUsed(0), m_lFree(0), m_lQueued(0), m_lAborted(0)
{
    if (ulMaxThreads == 0 || ulMaxThreads > 0x7FFFFFFF)
        throw UArgumentException(L"ulMaxThreads", L"Argument 'ulMaxThreads' must be from 1 to 0x7FFFFFFF.");
    if (ulMinThreads > ulMaxThreads)
        throw UArgumentException(L"ulMinThreads", L"Argument 'ulMinThreads' must not be greater than 'ulMaxThreads'.");
    m_lSlots = static_cast<LONG>(ulMaxThreads);
    InitializeSRWLock(&m_slotLock);
    InitializeConditionVariable(&m_slotFreed);
    m_hManagerReady = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    m_hManagerFailed = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (m_hManagerReady == nullptr || m_hManagerFailed == nullptr)
    {
        unsigned long error = GetLastError();
        for (HANDLE h : {m_hManagerReady, m_hManagerFailed})
            if (h != nullptr)
                CloseHandle(h);
        throw UWin32Exception(L"Creating the thread pool's synchronisation objects failed.", error);
    }
    StartThreadPoolManager();
}

UThreadPool::~UThreadPool() noexcept(false)
{
    ThrowIfOwnThread();
    StopThreadPoolManager();
    // Left only if the manager never ran its exit path.
    while (UThreadPoolThread* thread = m_usedList.PopFront())
        delete thread;
    while (UThreadPoolThread* thread = m_freeList.PopFront())
        delete thread;
    CloseHandle(m_hManagerReady);
    CloseHandle(m_hManagerFailed);
}

void UThreadPool::Execute(UThreadPoolTask* pTask, unsigned long ulTimeout)
{
    Internal::ThrowIfNull(pTask, L"pTask");
    if (Internal::InterlockedRead(m_lManagerState) == eManager_ShutDown)
        throw UShuttingDownException(L"The thread pool has been shut down.");
    if (!AcquireSlot(ulTimeout))
        throw UTimeoutException(L"Waiting for a thread to become available timed out.");

    UCriticalSectionAutoLock post(m_postLock);
    LONG state = Internal::InterlockedRead(m_lManagerState);
    if (state != eManager_Running)
    {
        ReleaseSlot();
        if (state == eManager_ShutDown)
            throw UShuttingDownException(L"The thread pool has been shut down.");
        throw UInvalidOperationException(L"The thread pool manager is not running.");
    }
    pTask->Lock();
    UThreadPoolTaskState taskState = pTask->GetTaskState();
    if (taskState == TaskStateQueued || taskState == TaskStateRunning)
    {
        ULog::Write(kSource, eLogSeverity_Error, L"Task (%s) is already executed in by another thread.",
                    Arg(pTask->GetTaskName()));
        pTask->Unlock();
        // Kept: the slot taken above stays taken (pinned by UThreadPool.SlotsLostAndRegainedAsKept).
        throw UInvalidOperationException(L"Task is already executed by another thread.");
    }
    pTask->ResetExit();
    pTask->SetAbortPending(0);
    pTask->SetThreadPool(this);
    pTask->SetTaskState(TaskStateQueued);
    pTask->Unlock();
    InterlockedIncrement(&m_lQueued);
    PostWithRetry(static_cast<unsigned long>(Internal::InterlockedRead(m_lManagerThreadId)),
                  MSG_THREAD_POOL_EXECUTE_TASK, reinterpret_cast<WPARAM>(pTask),
                  L"Posting message 'MSG_THREAD_POOL_EXECUTE_TASK' to thread pool manager failed. Trying again...",
                  Never);
}

void UThreadPool::Shutdown()
{
    ThrowIfOwnThread();
    StopThreadPoolManager();
}

unsigned long UThreadPool::GetKeepTime() const
{
    return m_ulKeepTime;
}

unsigned long UThreadPool::GetMinThreads() const
{
    return m_ulMinThreads;
}

unsigned long UThreadPool::GetMaxThreads() const
{
    return m_ulMaxThreads;
}

unsigned long UThreadPool::GetUsedThreadCount() const
{
    return static_cast<unsigned long>(Internal::InterlockedRead(m_lUsed));
}

unsigned long UThreadPool::GetFreeThreadCount() const
{
    return static_cast<unsigned long>(Internal::InterlockedRead(m_lFree));
}

unsigned long UThreadPool::GetQueuedTaskCount() const
{
    return static_cast<unsigned long>(Internal::InterlockedRead(m_lQueued));
}

unsigned long UThreadPool::GetAbortedTaskCount() const
{
    return static_cast<unsigned long>(Internal::InterlockedRead(m_lAborted));
}

unsigned long UThreadPool::GetManagerThreadId() const
{
    return static_cast<unsigned long>(Internal::InterlockedRead(m_lManagerThreadId));
}

// Kept: waiting for the pool on one of its own threads would never end, so it is refused
// (pinned by UThreadPool.WorkersStartFromSkewedStacksAndSurviveWhatRunDoes).
void UThreadPool::ThrowIfOwnThread() const
{
    if (GetCurrentThreadId() == GetManagerThreadId() || UThreadPoolThread::GetPoolOfCurrentThread() == this)
        throw UInvalidOperationException(L"The thread pool cannot wait for itself on one of its own threads.");
}

void UThreadPool::StartThreadPoolManager()
{
    UCriticalSectionAutoLock lock(m_managerLock);
    if (m_pManagerThread != nullptr)
        return;
    ResetEvent(m_hManagerReady);
    ResetEvent(m_hManagerFailed);
    m_pManagerThread = new UThread();
    if (!m_pManagerThread->Start(this))
    {
        ULog::Write(kSource, eLogSeverity_Critical, L"Starting thread pool manager failed.");
        delete m_pManagerThread;
        m_pManagerThread = nullptr;
        return;
    }
    InterlockedExchange(&m_lManagerThreadId, static_cast<LONG>(m_pManagerThread->GetThreadId()));
    HANDLE events[2] = {m_hManagerReady, m_hManagerFailed};
    DWORD result = WaitForMultipleObjects(2, events, FALSE, INFINITE);
    if (result == WAIT_OBJECT_0)
        InterlockedExchange(&m_lManagerState, eManager_Running);
    else if (result == WAIT_OBJECT_0 + 1)
        ULog::Write(kSource, eLogSeverity_Critical, L"Initializing thread pool manager failed.");
    else
        ULog::Write(kSource, eLogSeverity_Critical, L"Initializing thread pool manager timed out.");
}

void UThreadPool::StopThreadPoolManager()
{
    UCriticalSectionAutoLock lock(m_managerLock);
    {
        UCriticalSectionAutoLock post(m_postLock);
        InterlockedExchange(&m_lManagerState, eManager_ShutDown);
    }
    if (m_pManagerThread == nullptr)
        return;
    ResetEvent(m_hManagerReady);
    ResetEvent(m_hManagerFailed);
    unsigned long managerId = m_pManagerThread->GetThreadId();
    while (m_pManagerThread->IsActive() && !PostThreadMessageW(managerId, WM_QUIT, 0, 0))
    {
        ULog::Write(kSource, eLogSeverity_Warning, L"Posting WM_QUIT message failed. Trying again...");
        Sleep(20);
    }
    m_pManagerThread->Join(INFINITE);
    delete m_pManagerThread;
    m_pManagerThread = nullptr;
    InterlockedExchange(&m_lManagerThreadId, 0);
}

void UThreadPool::Abort(UThreadPoolTask* pTask)
{
    ThrowIfOwnThread();
    unsigned long managerId = GetManagerThreadId();
    if (managerId == 0 || pTask->GetThreadPool() != this)
        return;
    // Gives up posting once the task has left the pool some other way (a shutdown ends the manager).
    PostWithRetry(managerId, MSG_THREAD_POOL_ABORT_TASK, reinterpret_cast<WPARAM>(pTask),
                  L"Posting message 'MSG_THREAD_POOL_ABORT_TASK' to thread pool manager failed. Trying again...",
                  [pTask] { return pTask->HasExited(); });
    for (;;)
    {
        try
        {
            pTask->WaitForTaskToExit(5000);
            return;
        }
        catch (const UTimeoutException&)
        {
            ULog::Write(kSource, eLogSeverity_Critical,
                        L"Waiting for thread pool manager to abort task (%s) timed out. Continue waiting...",
                        Arg(pTask->GetTaskName()));
        }
    }
}

unsigned long UThreadPool::ThreadProc(void*, void*, void*)
{
    HANDLE timer = CreateWaitableTimerW(nullptr, FALSE, nullptr);
    if (timer == nullptr)
    {
        ULog::Write(kSource, eLogSeverity_Critical, L"Creating waitable timer failed.");
        SetEvent(m_hManagerFailed);
        return 1;
    }
    if (!ArmTimer(timer))
    {
        ULog::Write(kSource, eLogSeverity_Critical, L"Setting waitable timer failed.");
        CloseHandle(timer);
        SetEvent(m_hManagerFailed);
        return 2;
    }
    // Gives the thread its message queue before anybody posts to it.
    MSG msg;
    PeekMessageW(&msg, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
    // The minimum is there when the constructor returns.
    PopulatePool();
    SetEvent(m_hManagerReady);

    bool running = true;
    while (running)
    {
        while (running && PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE))
        {
            switch (msg.message)
            {
            case MSG_THREAD_POOL_EXECUTE_TASK:
                InterlockedDecrement(&m_lQueued);
                ExecuteTask(reinterpret_cast<UThreadPoolTask*>(msg.wParam));
                break;
            case MSG_THREAD_POOL_ABORT_TASK:
                AbortTask(reinterpret_cast<UThreadPoolTask*>(msg.wParam));
                break;
            case MSG_THREAD_POOL_MAINTAIN:
                ArmTimer(timer);
                Maintain();
                break;
            case MSG_THREAD_RETURN_THREAD:
                ReturnThread(reinterpret_cast<UThreadPoolThread*>(msg.wParam));
                break;
            case WM_QUIT:
                running = false;
                break;
            default:
                ULog::Write(kSource, eLogSeverity_Warning, L"Unhandled message received.");
                break;
            }
        }
        if (running && MsgWaitForMultipleObjects(1, &timer, FALSE, INFINITE, QS_ALLINPUT) == WAIT_OBJECT_0)
            Maintain();
    }
    CloseHandle(timer);
    DrainMessages();
    DestroyThreads();
    return 0;
}

void UThreadPool::Maintain()
{
    AbortTimedOutTasks();
    RemoveTerminatedThreads();
    RemoveInactiveThreads();
    PopulatePool();
}

void UThreadPool::DrainMessages()
{
    // Kept: tasks posted before the quit but not yet read never run; they end aborted
    // (pinned by UThreadPool.ShutdownEndsRunningAndQueuedTasks).
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE))
    {
        if (msg.message != MSG_THREAD_POOL_EXECUTE_TASK)
            continue;
        InterlockedDecrement(&m_lQueued);
        UThreadPoolTask* task = reinterpret_cast<UThreadPoolTask*>(msg.wParam);
        task->SetTaskState(TaskStateAborted);
        ReleaseSlot();
        CountAbortedTask();
        EndTask(task);
    }
}

void UThreadPool::ExecuteTask(UThreadPoolTask* pTask)
{
    UThreadPoolThread* thread = m_freeList.PopFront();
    if (thread == nullptr)
        thread = new UThreadPoolThread(this);
    ULog::Write(kSource, eLogSeverity_Information, L"Assigning thread (id: 0x%x) to task (%s).",
                Arg(thread->GetThreadId()), Arg(pTask->GetTaskName()));
    pTask->EnterWatchdog();
    pTask->m_ulSuspendAbortCount = 0;
    pTask->m_ulStartTick = GetTickCount();
    pTask->LeaveWatchdog();
    pTask->m_pWorker = thread;
    m_usedList.PushBack(thread);
    thread->AssignTask(pTask);
    LogStatus();
    PublishCounts();
}

void UThreadPool::ReturnThreadPoolThread(UThreadPoolThread* pThread, UThreadPoolTask* pTask)
{
    pTask->SetThreadPool(nullptr);
    // Kept: the exit event is the last touch; from here the task may be deleted or executed again
    // (pinned by UThreadPool.AbortsTasksOverTheirLimitOnRequestAndWhenTheirThreadDies).
    pTask->SignalExit();
    PostWithRetry(GetManagerThreadId(), MSG_THREAD_RETURN_THREAD, reinterpret_cast<WPARAM>(pThread),
                  L"Posting MSG_THREAD_RETURN_THREAD message failed. Trying again...",
                  [pThread] { return WaitForSingleObject(pThread->m_hQuit, 0) == WAIT_OBJECT_0; });
}

void UThreadPool::ReturnThread(UThreadPoolThread* pThread)
{
    if (!m_usedList.Contains(pThread))
        return;
    m_usedList.Remove(pThread);
    pThread->SetLastReturnedTick(GetTickCount());
    // The most recently used worker is reused first; the others grow idle and retire.
    m_freeList.PushFront(pThread);
    ULog::Write(kSource, eLogSeverity_Information, L"Thread (id: 0x%x) returned to the pool of available threads.",
                Arg(pThread->GetThreadId()));
    LogStatus();
    ReleaseSlot();
    PublishCounts();
}

void UThreadPool::PopulatePool()
{
    unsigned long total = m_usedList.Count() + m_freeList.Count();
    if (total >= m_ulMinThreads)
        return;
    unsigned long missing = m_ulMinThreads - total;
    ULog::Write(kSource, eLogSeverity_Information, L"Adding %d thread(s) to the pool.", Arg(missing));
    for (unsigned long i = 0; i < missing; ++i)
        m_freeList.PushBack(new UThreadPoolThread(this));
    LogStatus();
    PublishCounts();
}

void UThreadPool::RemoveInactiveThreads()
{
    if (m_freeList.Count() == 0 || m_ulKeepTime == 0xFFFFFFFF)
        return;
    unsigned long now = GetTickCount();
    bool removed = false;
    // Oldest first: the free list keeps the most recently returned workers at its front.
    for (UThreadPoolThread* thread = m_freeList.Last(); thread != nullptr;)
    {
        UThreadPoolThread* previous = UThreadPoolThreadList::Previous(thread);
        if (m_usedList.Count() + m_freeList.Count() <= m_ulMinThreads)
            break;
        if (now - thread->GetLastReturnedTick() > m_ulKeepTime)
        {
            ULog::Write(kSource, eLogSeverity_Information,
                        L"Thread (id: 0x%x) is inactive, removing it from the pool...", Arg(thread->GetThreadId()));
            m_freeList.Remove(thread);
            // Kept: a retired idle worker gives a slot back, although it held none; the semaphore's
            // maximum caps the count (pinned by UThreadPool.SlotsLostAndRegainedAsKept).
            ReleaseSlot();
            delete thread;
            removed = true;
        }
        thread = previous;
    }
    if (removed)
    {
        LogStatus();
        PublishCounts();
    }
}

void UThreadPool::AbortTimedOutTasks()
{
    // Each task is taken from its worker while it is looked at, so that it cannot finish and be
    // deleted meanwhile; the timed-out ones stay taken until they are dealt with.
    std::vector<std::pair<UThreadPoolThread*, UThreadPoolTask*>> timedOut;
    unsigned long now = GetTickCount();
    for (UThreadPoolThread* thread = m_usedList.First(); thread != nullptr;
         thread = UThreadPoolThreadList::Next(thread))
    {
        UThreadPoolTask* task = thread->TakeTask();
        if (task == nullptr)
            continue;
        task->EnterWatchdog();
        bool over = task->HasTaskTimedOutLocked(now) && !task->IsAbortPending();
        task->LeaveWatchdog();
        if (over)
            timedOut.emplace_back(thread, task);
        else
            thread->PutTask(task);
    }
    for (const auto& entry : timedOut)
    {
        ULog::Write(kSource, eLogSeverity_Error,
                    L"Task (%s) executed by thread (id: 0x%x) has exceeded its time to run.",
                    Arg(entry.second->GetTaskName()), Arg(entry.first->GetThreadId()));
        ULog::Write(kSource, eLogSeverity_Warning, L"Trying to abort task...");
        AbortOwnedTask(entry.first, entry.second);
    }
}

void UThreadPool::AbortTask(UThreadPoolTask* pTask)
{
    for (UThreadPoolThread* thread = m_usedList.First(); thread != nullptr;
         thread = UThreadPoolThreadList::Next(thread))
    {
        if (thread->TakeTask(pTask))
        {
            AbortOwnedTask(thread, pTask);
            return;
        }
    }
    // Not on a worker: it has finished already (and may be gone), or it is still queued behind
    // this message and will run. Either way it is not this pass's to touch.
}

void UThreadPool::AbortOwnedTask(UThreadPoolThread* pThread, UThreadPoolTask* pTask)
{
    pTask->EnterWatchdog();
    if (pTask->m_ulSuspendAbortCount != 0)
    {
        // Kept: the pending flag is only ever raised again, never from clear, so a fenced task is
        // left alone until a later pass finds it unfenced (pinned by
        // UThreadPool.FencedTasksAreReportedAndAbortedOnlyWhenUnfenced).
        if (pTask->IsAbortPending())
        {
            ULog::Write(kSource, eLogSeverity_Warning,
                        L"Task (%s) forbids aborting at the moment. Telling the task to abort as soon as possible...",
                        Arg(pTask->GetTaskName()));
            pTask->SetAbortPending(1);
        }
        pTask->LeaveWatchdog();
        pThread->PutTask(pTask);
        return;
    }
    ULog::Write(kSource, eLogSeverity_Warning, L"Aborting task (%s) by terminating its executing thread (id: 0x%x).",
                Arg(pTask->GetTaskName()), Arg(pThread->GetThreadId()));
    // Under the watchdog lock, so that the task cannot enter a fence while it is killed.
    pThread->TerminateWorker();
    pTask->SetTaskState(TaskStateAborted);
    pTask->LeaveWatchdog();
    m_usedList.Remove(pThread);
    ReleaseSlot();
    delete pThread;
    CountAbortedTask();
    try
    {
        pTask->OnTaskExited(TaskStateAborted);
    }
    catch (...)
    {
    }
    EndTask(pTask);
    PopulatePool();
    PublishCounts();
}

void UThreadPool::RemoveTerminatedThreads()
{
    bool removed = false;
    for (UThreadPoolThread* thread = m_usedList.First(); thread != nullptr;)
    {
        UThreadPoolThread* next = UThreadPoolThreadList::Next(thread);
        if (!thread->IsActive())
        {
            UThreadPoolTask* task = thread->TakeTask();
            ULog::Write(kSource, eLogSeverity_Warning,
                        L"Thread executing task (%s) has terminated. Removing thread from the pool...",
                        Arg(task != nullptr ? task->GetTaskName() : thread->GetLastTaskName()));
            m_usedList.Remove(thread);
            ReleaseSlot();
            delete thread;
            if (task != nullptr)
            {
                task->SetTaskState(TaskStateAborted);
                CountAbortedTask();
                EndTask(task);
            }
            removed = true;
        }
        thread = next;
    }
    if (removed)
    {
        LogStatus();
        PublishCounts();
    }
}

void UThreadPool::DestroyThreads()
{
    ULog::Write(kSource, eLogSeverity_Information, L"Beginning to destroy thread pool threads...");
    while (UThreadPoolThread* thread = m_usedList.PopFront())
    {
        // A worker whose task has just finished holds none; its return message is never read.
        UThreadPoolTask* task = thread->TakeTask();
        ULog::Write(kSource, eLogSeverity_Information,
                    L"Aborting task (%s), terminating and destroying assigned thread (id: 0x%x).",
                    Arg(task != nullptr ? task->GetTaskName() : thread->GetLastTaskName()), Arg(thread->GetThreadId()));
        if (task != nullptr)
            task->EnterWatchdog();
        thread->TerminateWorker();
        if (task != nullptr)
        {
            task->SetTaskState(TaskStateAborted);
            task->LeaveWatchdog();
            CountAbortedTask();
            EndTask(task);
        }
        ReleaseSlot();
        delete thread;
    }
    while (UThreadPoolThread* thread = m_freeList.PopFront())
    {
        ULog::Write(kSource, eLogSeverity_Information, L"Destroying available thread (id: 0x%x).",
                    Arg(thread->GetThreadId()));
        ReleaseSlot();
        delete thread;
    }
    ULog::Write(kSource, eLogSeverity_Information, L"Finished destroying thread pool threads...");
    LogStatus();
    PublishCounts();
}

void UThreadPool::EndTask(UThreadPoolTask* pTask)
{
    pTask->SetThreadPool(nullptr);
    // The last touch: from here the task may be deleted or executed again.
    pTask->SignalExit();
}

void UThreadPool::LogStatus()
{
    ULog::Write(kSource, eLogSeverity_Information, L"Status (used: %d, free: %d, max: %d).", Arg(m_usedList.Count()),
                Arg(m_freeList.Count()), Arg(m_ulMaxThreads));
}

void UThreadPool::PublishCounts()
{
    InterlockedExchange(&m_lUsed, static_cast<LONG>(m_usedList.Count()));
    InterlockedExchange(&m_lFree, static_cast<LONG>(m_freeList.Count()));
}

bool UThreadPool::TryTakeSlot()
{
    LONG slots = Internal::InterlockedRead(m_lSlots);
    while (slots > 0)
    {
        LONG seen = InterlockedCompareExchange(&m_lSlots, slots - 1, slots);
        if (seen == slots)
            return true;
        slots = seen;
    }
    return false;
}

bool UThreadPool::AcquireSlot(unsigned long ulTimeout)
{
    if (TryTakeSlot())
        return true;
    if (ulTimeout == 0)
        return false;
    const unsigned long start = GetTickCount();
    AcquireSRWLockExclusive(&m_slotLock);
    // Counted before looking again, so that a release either finds this caller counted (and wakes
    // it under the lock) or comes before the look.
    InterlockedIncrement(&m_lSlotWaiters);
    bool taken;
    for (;;)
    {
        taken = TryTakeSlot();
        unsigned long elapsed = GetTickCount() - start;
        if (taken || (ulTimeout != INFINITE && elapsed >= ulTimeout))
            break;
        SleepConditionVariableSRW(&m_slotFreed, &m_slotLock, ulTimeout == INFINITE ? INFINITE : ulTimeout - elapsed, 0);
    }
    InterlockedDecrement(&m_lSlotWaiters);
    ReleaseSRWLockExclusive(&m_slotLock);
    return taken;
}

void UThreadPool::ReleaseSlot()
{
    for (;;)
    {
        // Never above the maximum, as a semaphore's count cannot pass its maximum.
        LONG slots = Internal::InterlockedRead(m_lSlots);
        if (slots >= static_cast<LONG>(m_ulMaxThreads))
            return;
        if (InterlockedCompareExchange(&m_lSlots, slots + 1, slots) == slots)
            break;
    }
    if (Internal::InterlockedRead(m_lSlotWaiters) == 0)
        return;
    // Through the lock: a waiter between its look and its sleep holds it.
    AcquireSRWLockExclusive(&m_slotLock);
    ReleaseSRWLockExclusive(&m_slotLock);
    WakeConditionVariable(&m_slotFreed);
}

void UThreadPool::CountAbortedTask()
{
    InterlockedIncrement(&m_lAborted);
}

} // namespace Threading
} // namespace Lib
} // namespace Oskal
