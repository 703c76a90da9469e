#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Threading/IThreadProc.h>
#include <Oskal/Lib/Threading/UCriticalSection.h>
#include <Oskal/Lib/Win32Api.h>

namespace Oskal
{
namespace Lib
{
namespace Threading
{

// One operating-system thread that runs an IThreadProc, with join time-outs and a termination
// that the thread can defer: between SuspendTermination and the ResumeTermination that brings
// the counter back to 0 a RequestTermination only marks the end as pending, and the thread ends
// itself with the requested exit code in that ResumeTermination.
//
// Terminating a running thread waits until it is really gone before the handle is closed.
// The destructor joins the thread without a time limit.
class OSKAL_LIB_API UThread
{
public:
    UThread();
    virtual ~UThread();
    UThread(const UThread&) = delete;
    UThread& operator=(const UThread&) = delete;

    // 1 if a new thread was started; 0 if the previous one still runs or creation failed.
    // An ended thread's handle is closed and the object reused.
    int Start(IThreadProc* pThreadProc, void* pArg1 = nullptr, void* pArg2 = nullptr, void* pArg3 = nullptr);

    // 1 while the thread runs.
    int IsActive();

    // Waits for the thread to end; UTimeoutException "Waiting for the thread to join timed out."
    // when ulTimeout (ms, 0xFFFFFFFF = no limit) passes first. The handle stays held.
    void Join(unsigned long ulTimeout);

    // Ends the thread now (returns 1) unless termination is suspended; then the end is pending
    // and takes effect in the thread's ResumeTermination (returns 0). 1 with no thread.
    int RequestTermination(unsigned long ulExitCode);

    // Ends the thread now whatever the suspension counter says.
    void ForceTermination(unsigned long ulExitCode);

    // For the thread itself, around stretches in which it must not be killed.
    void SuspendTermination();
    void ResumeTermination();

    // The thread's exit code (259 while it runs); 0 with no thread.
    unsigned long GetExitCode();
    unsigned long GetThreadId();

private:
    static unsigned __stdcall ThreadEntry(void* pThis);
    int StartLocked();
    void TerminateLocked(unsigned long ulExitCode);
    int IsActiveLocked();
    void CloseLocked();
    bool IsCurrentThread();

    IThreadProc* m_pThreadProc;
    UCriticalSection m_lock;
    HANDLE m_hThread;
    volatile LONG m_lThreadId;
    unsigned long m_ulSuspendCount;
    LONG m_bTerminationPending;
    unsigned long m_ulPendingExitCode;
    void* m_pArg1;
    void* m_pArg2;
    void* m_pArg3;
};

} // namespace Threading
} // namespace Lib
} // namespace Oskal
