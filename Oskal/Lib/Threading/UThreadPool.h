#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Threading/IThreadProc.h>
#include <Oskal/Lib/Threading/UCriticalSection.h>
#include <Oskal/Lib/Threading/UThread.h>
#include <Oskal/Lib/Threading/UThreadPoolTask.h>
#include <Oskal/Lib/Threading/UThreadPoolThread.h>
#include <Oskal/Lib/Win32Api.h>

namespace Oskal
{
namespace Lib
{
namespace Threading
{

// Runs UThreadPoolTask objects on worker threads that it creates on demand (up to the maximum),
// keeps (at least the minimum) and retires (idle longer than the keep time, 0xFFFFFFFF: never).
// One private manager thread owns the workers; callers and workers reach it by thread messages.
// Once a second it aborts tasks over their time limit (see UThreadPoolTask), removes workers whose
// thread died, retires idle ones and tops the pool up to the minimum. Every step is logged through
// ULog under "Thread Pool" and "Thread Pool Thread".
class OSKAL_LIB_API UThreadPool : public IThreadProc
{
public:
    // The manager's thread messages (wParam: the task or worker; lParam: 0). Posting
    // MSG_THREAD_POOL_MAINTAIN to the manager runs a maintenance pass at once.
    static const unsigned int MSG_THREAD_POOL_EXECUTE_TASK = WM_USER + 1;
    static const unsigned int MSG_THREAD_POOL_ABORT_TASK = WM_USER + 2;
    static const unsigned int MSG_THREAD_POOL_MAINTAIN = WM_USER + 3;
    static const unsigned int MSG_THREAD_RETURN_THREAD = WM_USER + 4;

    // UArgumentException when ulMaxThreads is 0 or above 0x7FFFFFFF, or ulMinThreads exceeds it.
    // Returns with the manager running and the minimum number of workers made.
    UThreadPool(unsigned long ulMinThreads, unsigned long ulMaxThreads, unsigned long ulKeepTime);
    // Shuts down. On one of the pool's own threads it throws UInvalidOperationException.
    virtual ~UThreadPool() noexcept(false);
    UThreadPool(const UThreadPool&) = delete;
    UThreadPool& operator=(const UThreadPool&) = delete;

    // Queues a task. Waits up to ulTimeout ms for one of the maximum number of slots:
    // UTimeoutException "Waiting for a thread to become available timed out.". A task that is
    // queued or running already: UInvalidOperationException "Task is already executed by another
    // thread." (and the slot it took stays taken). After Shutdown: UShuttingDownException.
    void Execute(UThreadPoolTask* pTask, unsigned long ulTimeout);

    // Stops the manager: running tasks are terminated and queued ones never run; all end in
    // TaskStateAborted. Every worker is gone when it returns. On one of the pool's own threads
    // it throws UInvalidOperationException.
    void Shutdown();

    unsigned long GetKeepTime() const;
    unsigned long GetMinThreads() const;
    unsigned long GetMaxThreads() const;

    // What the manager last published: workers running a task, workers waiting for one, tasks
    // accepted but not yet handed to a worker, and tasks that ended aborted since construction.
    unsigned long GetUsedThreadCount() const;
    unsigned long GetFreeThreadCount() const;
    unsigned long GetQueuedTaskCount() const;
    unsigned long GetAbortedTaskCount() const;
    // 0 when the manager is not running.
    unsigned long GetManagerThreadId() const;

private:
    friend class UThreadPoolTask;
    friend class UThreadPoolThread;

    unsigned long ThreadProc(void* pArg1, void* pArg2, void* pArg3) override;

    void StartThreadPoolManager();
    void StopThreadPoolManager();
    void Abort(UThreadPoolTask* pTask);
    void ExecuteTask(UThreadPoolTask* pTask);
    void AbortTask(UThreadPoolTask* pTask);
    void AbortOwnedTask(UThreadPoolThread* pThread, UThreadPoolTask* pTask);
    void AbortTimedOutTasks();
    void RemoveTerminatedThreads();
    void RemoveInactiveThreads();
    void PopulatePool();
    void DestroyThreads();
    void DrainMessages();
    void Maintain();
    void ReturnThread(UThreadPoolThread* pThread);
    void ReturnThreadPoolThread(UThreadPoolThread* pThread, UThreadPoolTask* pTask);
    void EndTask(UThreadPoolTask* pTask);
    void LogStatus();
    void PublishCounts();
    bool AcquireSlot(unsigned long ulTimeout);
    bool TryTakeSlot();
    void ReleaseSlot();
    void CountAbortedTask();
    void ThrowIfOwnThread() const;

    UCriticalSection m_managerLock;
    // Orders Execute's post against Shutdown's, so no task is posted after the manager's last read.
    UCriticalSection m_postLock;
    UThread* m_pManagerThread;
    UThreadPoolThreadList m_freeList;
    UThreadPoolThreadList m_usedList;
    // The slot semaphore: the free slots, counted with interlocked operations; callers that find
    // none sleep on a condition variable, so that no step of it is a kernel call.
    volatile LONG m_lSlots;
    volatile LONG m_lSlotWaiters;
    SRWLOCK m_slotLock;
    CONDITION_VARIABLE m_slotFreed;
    HANDLE m_hManagerReady;
    HANDLE m_hManagerFailed;
    unsigned long m_ulMinThreads;
    unsigned long m_ulMaxThreads;
    unsigned long m_ulKeepTime;
    volatile LONG m_lManagerState;
    volatile LONG m_lManagerThreadId;
    volatile LONG m_lUsed;
    volatile LONG m_lFree;
    volatile LONG m_lQueued;
    volatile LONG m_lAborted;
};

} // namespace Threading
} // namespace Lib
} // namespace Oskal
