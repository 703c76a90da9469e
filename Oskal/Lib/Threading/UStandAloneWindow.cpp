#include <Oskal/Lib/Threading/UStandAloneWindow.h>

#include <Oskal/Lib/Logging/ULog.h>
#include <Oskal/Lib/Threading/UCriticalSectionAutoLock.h>

#include <map>
#include <process.h>

namespace Oskal
{
namespace Lib
{

using Logging::eLogSeverity_Critical;
using Logging::eLogSeverity_Information;
using Logging::ULog;
using Threading::UCriticalSection;
using Threading::UCriticalSectionAutoLock;

namespace
{

const wchar_t kSource[] = L"StandAlone Window";
const DWORD kStartTimeout = 1000;
const DWORD kStopTimeout = 60000;
const DWORD kPostRetryInterval = 500;
const DWORD kPollInterval = 20;

// Which object each window belongs to, process-wide.
struct UWindowMap
{
    UCriticalSection cs;
    std::map<HWND, UStandAloneWindow*> windows;
};

UWindowMap& Windows()
{
    // Never destroyed: a window object may outlive the module's static data.
    static UWindowMap* pMap = new UWindowMap;
    return *pMap;
}

// The window under construction: messages that CreateWindowExW sends before the map knows the
// handle go to this object, on the creating thread only.
UStandAloneWindow* volatile g_pConstructing = nullptr;
volatile DWORD g_dwConstructingThread = 0;

void Log(Logging::ULogSeverity eSeverity, const wchar_t* pszText, const wchar_t* pszArgument = nullptr)
{
    ULog::Write(kSource, eSeverity, pszText, const_cast<wchar_t*>(pszArgument));
}

} // namespace

UStandAloneWindow::UStandAloneWindow()
    : m_hWindowCreated(CreateEventW(nullptr, FALSE, FALSE, nullptr)), m_hThread(nullptr), m_ulThreadId(0),
      m_hWnd(nullptr)
{
}

UStandAloneWindow::~UStandAloneWindow()
{
    UStandAloneWindow::StopDispatcherThread();
    Forget();
    CloseHandle(m_hWindowCreated);
}

unsigned long UStandAloneWindow::RunDispatcherThread()
{
    Log(eLogSeverity_Information, L"Dispatcher thread started successfully.");
    WNDCLASSW wndClass = {};
    GetWindowClass(&wndClass);
    RegisterWindowClass(&wndClass);
    while (InterlockedCompareExchangePointer(reinterpret_cast<void* volatile*>(&g_pConstructing), this, nullptr) !=
           nullptr)
        Sleep(1);
    g_dwConstructingThread = GetCurrentThreadId();
    HWND hWnd = CreateWnd(&wndClass);
    if (hWnd != nullptr)
    {
        SetHWnd(hWnd);
        UWindowMap& map = Windows();
        map.cs.Enter();
        map.windows[hWnd] = this;
        map.cs.Leave();
    }
    g_dwConstructingThread = 0;
    InterlockedExchangePointer(reinterpret_cast<void* volatile*>(&g_pConstructing), nullptr);
    if (hWnd == nullptr)
    {
        UnregisterWindowClass(&wndClass);
        return 0;
    }
    SetEvent(m_hWindowCreated);

    Log(eLogSeverity_Information, L"Running actions before entering the message loop.");
    const BOOL bRunLoop = PreMessageLoop();
    if (!bRunLoop)
        Log(eLogSeverity_Information, L"PreMessageLoop() returned FALSE. Skipping message loop...");
    else
    {
        Log(eLogSeverity_Information, L"Entering window message loop.");
        try
        {
            RunMessageLoop();
        }
        catch (...)
        {
            Log(eLogSeverity_Critical, L"Unhandled exception occurred in the message loop!");
        }
        Log(eLogSeverity_Information, L"Exited window message loop.");
    }
    Log(eLogSeverity_Information, L"Running actions after leaving the message loop.");
    PostMessageLoop(bRunLoop);
    // A window the loop left behind goes now, so that the class can be unregistered and no stale
    // handle stays in the map.
    if (IsWindow(hWnd))
        DestroyWindow(hWnd);
    Forget();
    UnregisterWindowClass(&wndClass);
    Log(eLogSeverity_Information, L"Dispatcher thread terminated successfully.");
    return 0;
}

void UStandAloneWindow::GetWindowClass(WNDCLASSW* pWndClass)
{
    *pWndClass = WNDCLASSW();
    pWndClass->style = CS_HREDRAW | CS_VREDRAW;
    pWndClass->lpfnWndProc = &UStandAloneWindow::StaticWndProc;
    pWndClass->hInstance = GetModuleHandleW(nullptr);
    pWndClass->lpszClassName = GetWindowClassName();
}

int UStandAloneWindow::RegisterWindowClass(WNDCLASSW* pWndClass)
{
    if (RegisterClassW(pWndClass) == 0)
    {
        Log(eLogSeverity_Critical, L"Registering window class (%s) failed!", pWndClass->lpszClassName);
        return 0;
    }
    Log(eLogSeverity_Information, L"Registering window (%s) class succeeded.", pWndClass->lpszClassName);
    return 1;
}

int UStandAloneWindow::UnregisterWindowClass(WNDCLASSW* pWndClass)
{
    if (!UnregisterClassW(pWndClass->lpszClassName, GetModuleHandleW(nullptr)))
    {
        Log(eLogSeverity_Critical, L"Unregistering window class (%s) failed!", pWndClass->lpszClassName);
        return 0;
    }
    Log(eLogSeverity_Information, L"Unregistering window class (%s) succeeded.", pWndClass->lpszClassName);
    return 1;
}

HWND UStandAloneWindow::CreateWnd(WNDCLASSW* pWndClass)
{
    HWND hWnd = CreateWindowExW(0, pWndClass->lpszClassName, L"Stand Alone Window", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT,
                                CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr,
                                GetModuleHandleW(nullptr), nullptr);
    if (hWnd == nullptr)
        Log(eLogSeverity_Critical, L"Creating window failed!");
    else
        Log(eLogSeverity_Information, L"Window was created successfully.");
    return hWnd;
}

int UStandAloneWindow::StartDispatcherThread()
{
    UCriticalSectionAutoLock lock(m_cs);
    Log(eLogSeverity_Information, L"Starting dispatcher thread...");
    if (m_hThread != nullptr)
    {
        DWORD dwExitCode = 0;
        if (!GetExitCodeThread(m_hThread, &dwExitCode))
        {
            Log(eLogSeverity_Critical, L"Determining exit code of dispatcher thread failed.");
            CloseHandle(m_hThread);
            m_hThread = nullptr;
            m_ulThreadId = 0;
            return 0;
        }
        if (dwExitCode != STILL_ACTIVE)
        {
            Log(eLogSeverity_Information, L"Dispatcher thread has terminated by itself, clean up and start it again.");
            StopDispatcherThread();
            return StartDispatcherThread();
        }
        Log(eLogSeverity_Information, L"Dispatcher thread is still active, don't need to start it once again.");
        return 1;
    }
    ResetEvent(m_hWindowCreated);
    unsigned int uiThreadId = 0;
    m_hThread = reinterpret_cast<HANDLE>(
        _beginthreadex(nullptr, 0, &UStandAloneWindow::DispatcherThreadEntry, this, 0, &uiThreadId));
    if (m_hThread == nullptr)
    {
        Log(eLogSeverity_Critical, L"Creating dispatcher thread failed.");
        return 0;
    }
    InterlockedExchange(reinterpret_cast<volatile LONG*>(&m_ulThreadId), static_cast<LONG>(uiThreadId));
    if (WaitForSingleObject(m_hWindowCreated, kStartTimeout) == WAIT_OBJECT_0)
    {
        Log(eLogSeverity_Information, L"Dispatcher thread was started successfully.");
        return 1;
    }
    Log(eLogSeverity_Critical, L"Creating window timed out. Stopping dispatcher thread...");
    StopDispatcherThread();
    return 0;
}

int UStandAloneWindow::StopDispatcherThread()
{
    // On the dispatcher thread the loop cannot end while this call waits for it, and another
    // thread may hold the lock while it waits for this one: only ask the thread to end.
    if (GetCurrentThreadId() ==
        static_cast<DWORD>(InterlockedCompareExchange(reinterpret_cast<volatile LONG*>(&m_ulThreadId), 0, 0)))
        return PostQuitToDispatcher(), 1;
    UCriticalSectionAutoLock lock(m_cs);
    if (m_hThread == nullptr)
        return 1;
    const DWORD dwDeadline = GetTickCount() + kStopTimeout;
    DWORD dwExitCode = 0;
    if (!GetExitCodeThread(m_hThread, &dwExitCode))
        Log(eLogSeverity_Critical, L"Determining exit code of dispatcher thread failed.");
    else if (dwExitCode == STILL_ACTIVE)
    {
        // Kept: the message names WM_DESTROY while WM_CLOSE is posted (pinned by
        // StandAloneWindow.StopsWithoutTheWindowAndFailsToStartWithoutOne)
        while (!PostQuitToDispatcher() && WaitForSingleObject(m_hThread, kPostRetryInterval) == WAIT_TIMEOUT &&
               static_cast<long>(dwDeadline - GetTickCount()) > 0)
            Log(eLogSeverity_Critical, L"Sending WM_DESTROY to window failed. Retrying...");
        while (GetExitCodeThread(m_hThread, &dwExitCode) && dwExitCode == STILL_ACTIVE)
        {
            if (static_cast<long>(dwDeadline - GetTickCount()) < 0)
            {
                Log(eLogSeverity_Critical,
                    L"Waiting for the dispatcher thread to terminate timed out, terminating thread...");
                if (!TerminateThread(m_hThread, 0xFFFFFFFF))
                    Log(eLogSeverity_Critical, L"Terminating the dispatcher thread failed!");
                else
                    WaitForSingleObject(m_hThread, INFINITE);
                break;
            }
            WaitForSingleObject(m_hThread, kPollInterval);
        }
    }
    CloseHandle(m_hThread);
    m_hThread = nullptr;
    InterlockedExchange(reinterpret_cast<volatile LONG*>(&m_ulThreadId), 0);
    // A terminated thread's window is gone without WM_NCDESTROY reaching the map.
    Forget();
    return 1;
}

void UStandAloneWindow::RunMessageLoop()
{
    MSG msg;
    while (GetMessageW(&msg, nullptr, 0, 0) > 0)
    {
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
}

LRESULT UStandAloneWindow::WndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    if (uMsg == WM_DESTROY)
        PostQuitMessage(0);
    return DefWindowProcW(hWnd, uMsg, wParam, lParam);
}

BOOL UStandAloneWindow::PreMessageLoop()
{
    return TRUE;
}

void UStandAloneWindow::PostMessageLoop(BOOL) {}

HWND UStandAloneWindow::GetHWnd() const
{
    return static_cast<HWND>(InterlockedCompareExchangePointer(
        reinterpret_cast<void* volatile*>(const_cast<HWND*>(&m_hWnd)), nullptr, nullptr));
}

void UStandAloneWindow::SetHWnd(HWND hWnd)
{
    InterlockedExchangePointer(reinterpret_cast<void* volatile*>(&m_hWnd), hWnd);
}

unsigned __stdcall UStandAloneWindow::DispatcherThreadEntry(void* pvWindow)
{
    return static_cast<unsigned>(static_cast<UStandAloneWindow*>(pvWindow)->RunDispatcherThread());
}

LRESULT CALLBACK UStandAloneWindow::StaticWndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    UStandAloneWindow* pWindow = nullptr;
    UWindowMap& map = Windows();
    map.cs.Enter();
    auto found = map.windows.find(hWnd);
    if (found != map.windows.end())
    {
        pWindow = found->second;
        if (uMsg == WM_NCDESTROY)
            map.windows.erase(found);
    }
    map.cs.Leave();
    if (pWindow == nullptr && g_dwConstructingThread == GetCurrentThreadId())
        pWindow = g_pConstructing;
    if (pWindow == nullptr)
    {
        Log(eLogSeverity_Information, L"No object associated with this window handle.");
        return DefWindowProcW(hWnd, uMsg, wParam, lParam);
    }
    return pWindow->WndProc(hWnd, uMsg, wParam, lParam);
}

// Closes the window while it exists; a dispatcher whose window is gone is asked to quit directly.
int UStandAloneWindow::PostQuitToDispatcher()
{
    HWND hWnd = GetHWnd();
    if (hWnd != nullptr && IsWindow(hWnd))
        return PostMessageW(hWnd, WM_CLOSE, 0, 0) != 0;
    return PostThreadMessageW(m_ulThreadId, WM_QUIT, 0, 0) != 0;
}

// Drops this object's entries from the window map.
void UStandAloneWindow::Forget()
{
    UWindowMap& map = Windows();
    UCriticalSectionAutoLock lock(map.cs);
    for (auto it = map.windows.begin(); it != map.windows.end();)
        it = it->second == this ? map.windows.erase(it) : std::next(it);
}

} // namespace Lib
} // namespace Oskal
