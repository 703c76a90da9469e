#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Threading/UCriticalSection.h>
#include <Oskal/Lib/Win32Api.h>

namespace Oskal
{
namespace Lib
{

// A hidden top-level window with a dispatcher thread of its own: the thread registers the window
// class, creates the window and runs its message loop. Derived classes name the class, handle
// messages in WndProc and may hook in before and after the loop. Diagnostics go to ULog under
// the source "StandAlone Window".
//
// A derived class must call StopDispatcherThread in its own destructor: by the time the base's
// destructor runs, the derived part (and its WndProc) is gone.
class OSKAL_LIB_API UStandAloneWindow
{
public:
    UStandAloneWindow();
    virtual ~UStandAloneWindow();
    UStandAloneWindow(const UStandAloneWindow&) = delete;
    UStandAloneWindow& operator=(const UStandAloneWindow&) = delete;

    HWND GetHWnd() const;

protected:
    // The dispatcher thread's body; returns its exit code.
    virtual unsigned long RunDispatcherThread();
    virtual const wchar_t* GetWindowClassName() = 0;
    virtual void GetWindowClass(WNDCLASSW* pWndClass);
    virtual int RegisterWindowClass(WNDCLASSW* pWndClass);
    virtual int UnregisterWindowClass(WNDCLASSW* pWndClass);
    virtual HWND CreateWnd(WNDCLASSW* pWndClass);

public:
    // 1 when the window's thread runs (started now or already running); 0 when the thread could
    // not be made or the window did not appear within 1000 ms.
    virtual int StartDispatcherThread();
    // Closes the window and waits for its thread (at most 60 s, then the thread is terminated).
    // On the dispatcher thread itself it only asks the loop to end.
    virtual int StopDispatcherThread();

protected:
    virtual void RunMessageLoop();
    virtual LRESULT WndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam);
    // FALSE skips the message loop.
    virtual BOOL PreMessageLoop();
    virtual void PostMessageLoop(BOOL bMessageLoopRan);

    void SetHWnd(HWND hWnd);

private:
    static unsigned __stdcall ThreadEntry(void* pThis);
    static LRESULT CALLBACK StaticWndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam);

    HANDLE m_hCreated; // auto-reset: the window exists
    HANDLE m_hThread;
    unsigned long m_ulThreadId;
    HWND volatile m_hWnd;
    Threading::UCriticalSection m_lock; // serialises start and stop
};

} // namespace Lib
} // namespace Oskal
