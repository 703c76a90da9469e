#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Threading/UCriticalSection.h>
#include <Oskal/Lib/Win32Api.h>

namespace Oskal
{
namespace Lib
{

// A hidden top-level window with a dispatcher thread of its own, which registers the window
// class, creates the window and runs its message loop. Derived classes name the class, handle
// messages in WndProc and may hook in before and after the message loop. Diagnostics go to
// ULog under the source "StandAlone Window".
//
// A derived class must call StopDispatcherThread in its own destructor: once the base destructor
// runs, the dispatcher thread can no longer reach the derived WndProc safely.
class OSKAL_LIB_API UStandAloneWindow
{
public:
    UStandAloneWindow();
    virtual ~UStandAloneWindow();
    UStandAloneWindow(const UStandAloneWindow&) = delete;
    UStandAloneWindow& operator=(const UStandAloneWindow&) = delete;

protected:
    // The dispatcher thread's body; returns its exit code.
    virtual unsigned long RunDispatcherThread();
    virtual const wchar_t* GetWindowClassName() = 0;
    virtual void GetWindowClass(WNDCLASSW* pWndClass);
    virtual int RegisterWindowClass(WNDCLASSW* pWndClass);
    virtual int UnregisterWindowClass(WNDCLASSW* pWndClass);
    virtual HWND CreateWnd(WNDCLASSW* pWndClass);

public:
    // 1 when the window exists (made now or already running); 0 when it could not be made
    // within 1000 ms.
    virtual int StartDispatcherThread();
    // Closes the window and waits up to 60 s for the dispatcher thread, then terminates it.
    // Called on the dispatcher thread itself it only asks the thread to end.
    virtual int StopDispatcherThread();

protected:
    virtual void RunMessageLoop();
    virtual LRESULT WndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam);
    // FALSE skips the message loop.
    virtual BOOL PreMessageLoop();
    virtual void PostMessageLoop(BOOL bMessageLoopRan);

public:
    HWND GetHWnd() const;

protected:
    void SetHWnd(HWND hWnd);

private:
    static unsigned __stdcall DispatcherThreadEntry(void* pvWindow);
    static LRESULT CALLBACK StaticWndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam);
    int PostQuitToDispatcher();
    void Forget();

    HANDLE m_hWindowCreated;
    HANDLE m_hThread;
    unsigned long m_ulThreadId;
    HWND m_hWnd;
    Threading::UCriticalSection m_cs;
};

} // namespace Lib
} // namespace Oskal
