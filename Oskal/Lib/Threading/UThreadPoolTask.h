#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Threading/UCriticalSection.h>
#include <Oskal/Lib/Win32Api.h>

namespace Oskal
{
namespace Lib
{
namespace Threading
{

class UThreadPool;
class UThreadPoolThread;

enum UThreadPoolTaskState
{
    TaskStateIdle = 0,     // constructed, never queued
    TaskStateQueued = 1,   // accepted by Execute, not yet running
    TaskStateRunning = 2,  // a worker runs it
    TaskStateFinished = 3, // Run returned (or threw)
    TaskStateAborted = 4   // aborted, or its thread died under it
};

// A piece of work for a UThreadPool: derive from it and implement Run.
//
// Time limit. A task may carry a time limit in milliseconds (0xFFFFFFFF: none), measured from the
// moment a worker is assigned to it or from the last SetTaskTimeout / ResetTaskWatchdog. Once a
// second the pool aborts every task over its limit by terminating the worker thread that runs
// it: Run stops wherever it is, no destructor runs, the task ends in TaskStateAborted and
// OnTaskExited(TaskStateAborted) is called on the pool's manager thread.
//
// Fencing. A thread terminated while it holds a lock, or is inside the heap or the run-time,
// leaves that lock held for ever: the process may hang much later, anywhere. Code inside Run
// that logs, allocates (new, containers, strings), throws or catches exceptions, takes any lock
// (including calling the library, such as ULog or UThreadPool::Execute) or calls code that may do
// so must therefore be fenced:
//
//     SuspendTaskAbort();
//     ... code that must not be killed ...
//     ResumeTaskAbort();
//
// Fences nest. While a task is fenced the pool does not abort it; a task over its limit is then
// reported again each second, and the first check after the outermost ResumeTaskAbort aborts it.
// Code that only computes, spins or waits needs no fence, and a long fenced stretch should call
// ResetTaskWatchdog to show progress.
//
// AbortTask asks the pool to abort the task at once and returns when the task has left the pool.
// A fenced task is not aborted by it: the request is dropped and AbortTask waits until Run ends
// by itself (a fenced task without a time limit may make it wait as long as Run takes).
//
// When WaitForTaskToExit returns, the pool no longer touches the task: it may be deleted or
// executed again. A task may be executed again in state Idle, Finished or Aborted. When several
// threads wait on one task, delete it only after every one of them has returned: a waiter signs
// off in the task on its way out.
class OSKAL_LIB_API UThreadPoolTask
{
public:
    UThreadPoolTask();
    // A null name gives "<not specified>"; longer names are cut to 99 characters.
    UThreadPoolTask(unsigned long ulTimeout, const wchar_t* pszName);
    virtual ~UThreadPoolTask();
    UThreadPoolTask(const UThreadPoolTask&) = delete;
    UThreadPoolTask& operator=(const UThreadPoolTask&) = delete;

    // The work, run on one of the pool's worker threads.
    virtual void Run() = 0;

    const wchar_t* GetTaskName() const;
    UThreadPoolTaskState GetTaskState() const;
    // 1 while queued or running.
    int IsTaskInProgress() const;
    // UTimeoutException "Waiting for the task to exit timed out." when ulTimeout (ms) passes first.
    void WaitForTaskToExit(unsigned long ulTimeout);
    // Aborts the task if it is in a pool (see above); returns when it has left it. Called on one
    // of the pool's own threads it throws UInvalidOperationException.
    void AbortTask();

protected:
    // Called on the pool's manager thread when the pool aborts the task.
    virtual void OnTaskExited(UThreadPoolTaskState eState);

    void SetTaskName(const wchar_t* pszName);
    // Sets the limit and restarts the clock.
    void SetTaskTimeout(unsigned long ulTimeout);
    // Restarts the clock.
    void ResetTaskWatchdog();
    void SuspendTaskAbort();
    void ResumeTaskAbort();

private:
    friend class UThreadPool;
    friend class UThreadPoolThread;

    static const int MaxNameLength = 99;

    void SetTaskState(UThreadPoolTaskState eState);
    void SetThreadPool(UThreadPool* pPool);
    UThreadPool* GetThreadPool() const;
    void SetAbortPending(int bPending);
    int IsAbortPending() const;
    void ResetSuspendAbortCounter();
    int HasTaskTimedOut();
    void Lock();
    void Unlock();
    void EnterWatchdog();
    void LeaveWatchdog();
    void EnterWatchdogFromRun();
    int HasTaskTimedOutLocked(unsigned long ulNow) const;
    // The exit event, kept in m_lExit so that setting, resetting and a wait on an exited task cost
    // no kernel call; m_hExitEvent is set only when a thread waits on it.
    void ResetExit();
    void SignalExit();
    bool HasExited() const;

    UThreadPool* volatile m_pThreadPool;
    volatile LONG m_lState;
    wchar_t m_szName[MaxNameLength + 1];
    unsigned long m_ulTimeout;
    unsigned long m_ulStartTick;
    unsigned long m_ulSuspendAbortCount;
    volatile LONG m_bAbortPending;
    UCriticalSection m_taskLock;
    // A raw critical section: code on the worker enters it only by polling TryEnter, so that a
    // worker terminated while it waits for it leaves no trace in it.
    CRITICAL_SECTION m_watchdogLock;
    HANDLE m_hExitEvent;
    volatile LONG m_lExit;
    // The worker that runs the task, for the task's own ResumeTaskAbort.
    UThreadPoolThread* volatile m_pWorker;
};

} // namespace Threading
} // namespace Lib
} // namespace Oskal
