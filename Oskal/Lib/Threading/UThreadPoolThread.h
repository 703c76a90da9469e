#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Threading/IThreadProc.h>
#include <Oskal/Lib/Threading/UThread.h>
#include <Oskal/Lib/Win32Api.h>

namespace Oskal
{
namespace Lib
{
namespace Threading
{

class UThreadPool;
class UThreadPoolTask;
class UThreadPoolThreadList;

// One worker of a UThreadPool. Its thread starts with the object and waits for tasks; it can be
// terminated only while it runs a task's Run. Made, moved between lists and deleted only by the
// pool's manager thread.
class OSKAL_LIB_API UThreadPoolThread : public UThread, public IThreadProc
{
public:
    explicit UThreadPoolThread(UThreadPool* pPool);
    ~UThreadPoolThread() override;
    UThreadPoolThread(const UThreadPoolThread&) = delete;
    UThreadPoolThread& operator=(const UThreadPoolThread&) = delete;

private:
    friend class UThreadPool;
    friend class UThreadPoolTask;
    friend class UThreadPoolThreadList;

    unsigned long ThreadProc(void* pArg1, void* pArg2, void* pArg3) override;

    // The current task is owned by whoever takes it out of the field: the worker when Run has
    // returned, the manager when it aborts, inspects or destroys.
    UThreadPoolTask* PeekTask();
    UThreadPoolTask* TakeTask();
    bool TakeTask(UThreadPoolTask* pTask);
    void PutTask(UThreadPoolTask* pTask);
    void AssignTask(UThreadPoolTask* pTask);
    bool WaitForAssignment();
    UThreadPoolTask* WaitForTask();
    void Quit();
    bool FinishTask();
    void TerminateWorker();
    unsigned long GetLastReturnedTick();
    void SetLastReturnedTick(unsigned long ulTick);
    const wchar_t* GetLastTaskName() const { return m_szLastTaskName; }

    // The pool whose worker the calling thread is, or null.
    static UThreadPool* GetPoolOfCurrentThread();

    UThreadPool* m_pPool;
    UThreadPoolTask* volatile m_pCurrentTask;
    // The task-assigned and quit signals. An idle worker waits on a condition variable, which costs
    // no kernel call; the quit event is also set for the timed waits of the rarer paths.
    SRWLOCK m_signalLock;
    CONDITION_VARIABLE m_signal;
    int m_bAssigned;
    int m_bQuit;
    HANDLE m_hQuit;
    volatile LONG m_lLastReturnedTick;
    // The name of the task last assigned, for the report when the thread died under it.
    wchar_t m_szLastTaskName[100];
    UThreadPoolThread* m_pPrev;
    UThreadPoolThread* m_pNext;
    UThreadPoolThreadList* m_pList;
};

// The pool's free and used lists: doubly linked through the workers themselves, so that moving a
// worker between them costs no allocation. Used by the manager thread only.
class UThreadPoolThreadList
{
public:
    UThreadPoolThreadList() : m_pFirst(nullptr), m_pLast(nullptr), m_ulCount(0) {}

    UThreadPoolThread* First() const { return m_pFirst; }
    UThreadPoolThread* Last() const { return m_pLast; }
    static UThreadPoolThread* Next(const UThreadPoolThread* p) { return p->m_pNext; }
    static UThreadPoolThread* Previous(const UThreadPoolThread* p) { return p->m_pPrev; }
    unsigned long Count() const { return m_ulCount; }
    bool Contains(const UThreadPoolThread* p) const { return p->m_pList == this; }

    void PushFront(UThreadPoolThread* p)
    {
        p->m_pPrev = nullptr;
        p->m_pNext = m_pFirst;
        if (m_pFirst != nullptr)
            m_pFirst->m_pPrev = p;
        else
            m_pLast = p;
        m_pFirst = p;
        p->m_pList = this;
        ++m_ulCount;
    }

    void PushBack(UThreadPoolThread* p)
    {
        p->m_pNext = nullptr;
        p->m_pPrev = m_pLast;
        if (m_pLast != nullptr)
            m_pLast->m_pNext = p;
        else
            m_pFirst = p;
        m_pLast = p;
        p->m_pList = this;
        ++m_ulCount;
    }

    void Remove(UThreadPoolThread* p)
    {
        (p->m_pPrev != nullptr ? p->m_pPrev->m_pNext : m_pFirst) = p->m_pNext;
        (p->m_pNext != nullptr ? p->m_pNext->m_pPrev : m_pLast) = p->m_pPrev;
        p->m_pPrev = p->m_pNext = nullptr;
        p->m_pList = nullptr;
        --m_ulCount;
    }

    UThreadPoolThread* PopFront()
    {
        UThreadPoolThread* p = m_pFirst;
        if (p != nullptr)
            Remove(p);
        return p;
    }

private:
    UThreadPoolThread* m_pFirst;
    UThreadPoolThread* m_pLast;
    unsigned long m_ulCount;
};

} // namespace Threading
} // namespace Lib
} // namespace Oskal
