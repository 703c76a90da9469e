#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/Internal/InterlockedRead.h>
#include <Oskal/Lib/Threading/UCriticalSectionAutoLock.h>
#include <Oskal/Lib/Threading/UThread.h>
#include <Oskal/Lib/UInvalidOperationException.h>
#include <Oskal/Lib/UTimeoutException.h>

#include <process.h>

namespace Oskal
{
namespace Lib
{
namespace Threading
{

using Exceptions::UInvalidOperationException;
using Exceptions::UTimeoutException;

UThread::UThread()
    : m_pThreadProc(nullptr), m_hThread(nullptr), m_lThreadId(0), m_ulSuspendCount(0), m_bTerminationPending(0),
      m_ulPendingExitCode(0xFFFFFFFF), m_pArg1(nullptr), m_pArg2(nullptr), m_pArg3(nullptr)
{
}

UThread::~UThread()
{
    // Kept: join before taking the lock, which the thread may still need (ResumeTermination) to
    // finish (pinned by UThread.DestructorJoinsAThreadThatStillUsesItsObject).
    if (!IsCurrentThread())
        Join(INFINITE);
    UCriticalSectionAutoLock lock(m_lock);
    CloseLocked();
}

int UThread::Start(IThreadProc* pThreadProc, void* pArg1, void* pArg2, void* pArg3)
{
    Internal::ThrowIfNull(pThreadProc, L"pThreadProc");
    UCriticalSectionAutoLock lock(m_lock);
    if (m_hThread != nullptr)
    {
        if (IsActiveLocked())
            return 0;
        CloseLocked();
    }
    m_pThreadProc = pThreadProc;
    m_pArg1 = pArg1;
    m_pArg2 = pArg2;
    m_pArg3 = pArg3;
    m_ulSuspendCount = 0;
    m_bTerminationPending = 0;
    m_ulPendingExitCode = 0;
    unsigned threadId = 0;
    uintptr_t handle = _beginthreadex(nullptr, 0, &UThread::ThreadEntry, this, 0, &threadId);
    if (handle == 0)
        return 0;
    m_hThread = reinterpret_cast<HANDLE>(handle);
    InterlockedExchange(&m_lThreadId, static_cast<LONG>(threadId));
    return 1;
}

unsigned __stdcall UThread::ThreadEntry(void* pThis)
{
    UThread* self = static_cast<UThread*>(pThis);
    IThreadProc* proc;
    void* args[3];
    {
        // Start holds the lock until handle and id are stored: the procedure never sees a half-made
        // object.
        UCriticalSectionAutoLock lock(self->m_lock);
        proc = self->m_pThreadProc;
        args[0] = self->m_pArg1;
        args[1] = self->m_pArg2;
        args[2] = self->m_pArg3;
    }
    unsigned long exitCode = proc->ThreadProc(args[0], args[1], args[2]);
    _endthreadex(exitCode);
    return exitCode;
}

int UThread::IsActive()
{
    UCriticalSectionAutoLock lock(m_lock);
    return IsActiveLocked();
}

int UThread::IsActiveLocked()
{
    DWORD exitCode = 0;
    if (m_hThread == nullptr || !GetExitCodeThread(m_hThread, &exitCode))
        return 0;
    return exitCode == STILL_ACTIVE ? 1 : 0;
}

void UThread::Join(unsigned long ulTimeout)
{
    HANDLE duplicate = nullptr;
    {
        UCriticalSectionAutoLock lock(m_lock);
        if (m_hThread == nullptr)
            return;
        if (IsCurrentThread())
            throw UInvalidOperationException(L"A thread cannot join itself.");
        if (!DuplicateHandle(GetCurrentProcess(), m_hThread, GetCurrentProcess(), &duplicate, 0, FALSE,
                             DUPLICATE_SAME_ACCESS))
            return;
    }
    // Outside the lock, so that the thread can still call ResumeTermination while it is joined.
    DWORD result = WaitForSingleObject(duplicate, ulTimeout);
    CloseHandle(duplicate);
    if (result == WAIT_TIMEOUT)
        throw UTimeoutException(L"Waiting for the thread to join timed out.");
}

int UThread::RequestTermination(unsigned long ulExitCode)
{
    UCriticalSectionAutoLock lock(m_lock);
    if (m_hThread == nullptr)
        return 1;
    if (m_ulSuspendCount == 0)
    {
        TerminateLocked(ulExitCode);
        return 1;
    }
    m_bTerminationPending = 1;
    m_ulPendingExitCode = ulExitCode;
    return 0;
}

void UThread::ForceTermination(unsigned long ulExitCode)
{
    UCriticalSectionAutoLock lock(m_lock);
    if (m_hThread == nullptr)
        return;
    m_ulPendingExitCode = ulExitCode;
    TerminateLocked(ulExitCode);
}

void UThread::TerminateLocked(unsigned long ulExitCode)
{
    if (IsCurrentThread())
    {
        // Ending itself: TerminateThread would not return, and the lock must not stay held.
        // The handle stays held, so the exit code remains readable.
        m_lock.Leave();
        _endthreadex(ulExitCode);
    }
    TerminateThread(m_hThread, ulExitCode);
    // Kept: TerminateThread returns before the thread is gone, and nothing it uses may go before
    // it does (pinned by UThread.TerminationImmediateOrDeferredToTheLastResume).
    WaitForSingleObject(m_hThread, INFINITE);
    CloseLocked();
}

void UThread::SuspendTermination()
{
    UCriticalSectionAutoLock lock(m_lock);
    ++m_ulSuspendCount;
}

void UThread::ResumeTermination()
{
    UCriticalSectionAutoLock lock(m_lock);
    if (m_ulSuspendCount > 0)
        --m_ulSuspendCount;
    if (m_ulSuspendCount != 0 || !m_bTerminationPending || m_hThread == nullptr)
        return;
    // The request that arrived while termination was suspended takes effect now; called from
    // another thread it ends the thread from outside.
    TerminateLocked(m_ulPendingExitCode);
}

unsigned long UThread::GetExitCode()
{
    UCriticalSectionAutoLock lock(m_lock);
    DWORD exitCode = 0;
    if (m_hThread == nullptr || !GetExitCodeThread(m_hThread, &exitCode))
        return 0;
    return exitCode;
}

unsigned long UThread::GetThreadId()
{
    return static_cast<unsigned long>(Internal::InterlockedRead(m_lThreadId));
}

void UThread::CloseLocked()
{
    if (m_hThread != nullptr)
        CloseHandle(m_hThread);
    m_hThread = nullptr;
    InterlockedExchange(&m_lThreadId, 0);
}

bool UThread::IsCurrentThread()
{
    unsigned long threadId = GetThreadId();
    return threadId != 0 && threadId == GetCurrentThreadId();
}

} // namespace Threading
} // namespace Lib
} // namespace Oskal
