#include <Oskal/Lib/Internal/InterlockedRead.h>
#include <Oskal/Lib/Logging/ULog.h>
#include <Oskal/Lib/Threading/UThreadPool.h>
#include <Oskal/Lib/Threading/UThreadPoolTask.h>
#include <Oskal/Lib/Threading/UThreadPoolThread.h>

#include <wchar.h>

namespace Oskal
{
namespace Lib
{
namespace Threading
{

using Logging::ULog;

namespace
{

const wchar_t kSource[] = L"Thread Pool Thread";

// Which pool a worker thread belongs to, so that the pool can refuse to wait on its own threads.
const DWORD gPoolSlot = TlsAlloc();

void* Arg(unsigned long ulValue)
{
    return reinterpret_cast<void*>(static_cast<uintptr_t>(ulValue));
}

} // namespace

UThreadPoolThread::UThreadPoolThread(UThreadPool* pPool)
    : m_pPool(pPool), m_pCurrentTask(nullptr), m_bAssigned(0), m_bQuit(0),
      m_hQuit(CreateEventW(nullptr, TRUE, FALSE, nullptr)), m_lLastReturnedTick(static_cast<LONG>(GetTickCount())),
      m_pPrev(nullptr), m_pNext(nullptr), m_pList(nullptr)
{
    m_szLastTaskName[0] = L'\0';
    InitializeSRWLock(&m_signalLock);
    InitializeConditionVariable(&m_signal);
    if (m_hQuit == nullptr || !Start(this, this))
        ULog::Write(kSource, Logging::eLogSeverity_Critical, L"Starting thread failed.");
}

UThreadPoolThread::~UThreadPoolThread()
{
    Quit();
    Join(INFINITE);
    if (m_hQuit != nullptr)
        CloseHandle(m_hQuit);
}

unsigned long UThreadPoolThread::ThreadProc(void*, void*, void*)
{
    // Never killed while idle: only Run may be cut short.
    SuspendTermination();
    TlsSetValue(gPoolSlot, m_pPool);
    for (;;)
    {
        if (!WaitForAssignment())
            return 0;
        UThreadPoolTask* task = WaitForTask();
        if (task == nullptr)
            return 0;
        task->SetTaskState(TaskStateRunning);
        ResumeTermination();
        bool threw = false;
        try
        {
            task->Run();
        }
        catch (...)
        {
            // Kept: a throwing Run ends the task as finished, logged (pinned by
            // UThreadPool.WorkersStartFromSkewedStacksAndSurviveWhatRunDoes). Termination is
            // suspended before the handler ends: freeing the exception takes the heap lock.
            SuspendTermination();
            threw = true;
        }
        if (!threw)
            SuspendTermination();
        if (threw)
            ULog::Write(kSource, Logging::eLogSeverity_Warning, L"Task (%s) threw an exception.",
                        const_cast<wchar_t*>(task->GetTaskName()));
        if (!FinishTask())
            return 0;
    }
}

bool UThreadPoolThread::WaitForAssignment()
{
    AcquireSRWLockExclusive(&m_signalLock);
    while (!m_bQuit && !m_bAssigned)
        SleepConditionVariableSRW(&m_signal, &m_signalLock, INFINITE, 0);
    // Quit goes first.
    bool assigned = !m_bQuit;
    if (assigned)
        m_bAssigned = 0;
    ReleaseSRWLockExclusive(&m_signalLock);
    return assigned;
}

void UThreadPoolThread::Quit()
{
    AcquireSRWLockExclusive(&m_signalLock);
    m_bQuit = 1;
    ReleaseSRWLockExclusive(&m_signalLock);
    WakeAllConditionVariable(&m_signal);
    if (m_hQuit != nullptr)
        SetEvent(m_hQuit);
}

UThreadPoolTask* UThreadPoolThread::WaitForTask()
{
    // The manager may hold the task for a moment while it checks its time limit.
    for (;;)
    {
        UThreadPoolTask* task = PeekTask();
        if (task != nullptr)
            return task;
        if (WaitForSingleObject(m_hQuit, 1) == WAIT_OBJECT_0)
            return nullptr;
    }
}

bool UThreadPoolThread::FinishTask()
{
    for (;;)
    {
        // Kept: the task leaves the field before its state becomes finished; whoever takes it
        // owns it (pinned by UThreadPool.StressEveryTaskRunsOnceAndNoHandleLeaks).
        UThreadPoolTask* task = TakeTask();
        if (task != nullptr)
        {
            task->SetTaskState(TaskStateFinished);
            m_pPool->ReturnThreadPoolThread(this, task);
            return true;
        }
        // Held by the manager: either for a moment, or because it is terminating this thread.
        if (WaitForSingleObject(m_hQuit, 1) == WAIT_OBJECT_0)
            return false;
    }
}

void UThreadPoolThread::TerminateWorker()
{
    if (!IsActive())
        return;
    ULog::Write(kSource, Logging::eLogSeverity_Information, L"Terminating thread (id: 0x%x).", Arg(GetThreadId()));
    Quit();
    // Immediate while the worker runs a task (termination is suspended at all other times, and
    // then the quit event ends it).
    RequestTermination(0xFFFFFFFF);
    Join(INFINITE);
}

UThreadPoolTask* UThreadPoolThread::PeekTask()
{
    return static_cast<UThreadPoolTask*>(
        InterlockedCompareExchangePointer(reinterpret_cast<PVOID volatile*>(&m_pCurrentTask), nullptr, nullptr));
}

UThreadPoolTask* UThreadPoolThread::TakeTask()
{
    return static_cast<UThreadPoolTask*>(
        InterlockedExchangePointer(reinterpret_cast<PVOID volatile*>(&m_pCurrentTask), nullptr));
}

bool UThreadPoolThread::TakeTask(UThreadPoolTask* pTask)
{
    return pTask != nullptr && InterlockedCompareExchangePointer(reinterpret_cast<PVOID volatile*>(&m_pCurrentTask),
                                                                 nullptr, pTask) == pTask;
}

void UThreadPoolThread::PutTask(UThreadPoolTask* pTask)
{
    InterlockedExchangePointer(reinterpret_cast<PVOID volatile*>(&m_pCurrentTask), pTask);
}

void UThreadPoolThread::AssignTask(UThreadPoolTask* pTask)
{
    size_t length = wcsnlen(pTask->GetTaskName(), 99);
    wmemcpy(m_szLastTaskName, pTask->GetTaskName(), length);
    m_szLastTaskName[length] = L'\0';
    PutTask(pTask);
    AcquireSRWLockExclusive(&m_signalLock);
    m_bAssigned = 1;
    ReleaseSRWLockExclusive(&m_signalLock);
    WakeConditionVariable(&m_signal);
}

unsigned long UThreadPoolThread::GetLastReturnedTick()
{
    return static_cast<unsigned long>(Internal::InterlockedRead(m_lLastReturnedTick));
}

void UThreadPoolThread::SetLastReturnedTick(unsigned long ulTick)
{
    InterlockedExchange(&m_lLastReturnedTick, static_cast<LONG>(ulTick));
}

UThreadPool* UThreadPoolThread::GetPoolOfCurrentThread()
{
    return static_cast<UThreadPool*>(TlsGetValue(gPoolSlot));
}

} // namespace Threading
} // namespace Lib
} // namespace Oskal
