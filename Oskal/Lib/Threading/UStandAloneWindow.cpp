#include <Oskal/Lib/Threading/UStandAloneWindow.h>

#include <Oskal/Lib/Logging/ULog.h>
#include <Oskal/Lib/Threading/UCriticalSectionAutoLock.h>
#include <Oskal/Lib/UWin32Exception.h>

#include <map>
#include <process.h>

namespace Oskal
{
namespace Lib
{

using Logging::ULog;
using Threading::UCriticalSection;
using Threading::UCriticalSectionAutoLock;

namespace
{

const wchar_t kSource[] = L"StandAlone Window";

void Log(int nSeverity, const wchar_t* pszText, const wchar_t* pszArgument = nullptr)
{
    ULog::Write(kSource, static_cast<Logging::ULogSeverity>(nSeverity), pszText,
                const_cast<void*>(static_cast<const void*>(pszArgument)));
}

// Which object a window belongs to. Made on first use and never destroyed: windows may still
// receive messages while the process ends.
struct WindowMap
{
    UCriticalSection lock;
    std::map<HWND, UStandAloneWindow*> windows;
};

WindowMap& Windows()
{
    static WindowMap* s_pMap = new WindowMap();
    return *s_pMap;
}

// The object whose window is being created: messages sent during CreateWindowExW arrive before
// the map knows the handle. One window is created at a time in the process.
UStandAloneWindow* volatile s_pConstructing = nullptr;

UStandAloneWindow* FindWindowObject(HWND hWnd)
{
    WindowMap& map = Windows();
    UCriticalSectionAutoLock lock(map.lock);
    auto found = map.windows.find(hWnd);
    return found != map.windows.end() ? found->second : nullptr;
}

void ForgetWindow(HWND hWnd)
{
    WindowMap& map = Windows();
    UCriticalSectionAutoLock lock(map.lock);
    map.windows.erase(hWnd);
}

HMODULE ThisModule()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&Windows), &module);
    return module;
}

bool IsThreadRunning(HANDLE hThread)
{
    DWORD code = 0;
    return GetExitCodeThread(hThread, &code) && code == STILL_ACTIVE;
}

} // namespace

UStandAloneWindow::UStandAloneWindow()
    : m_hCreated(CreateEventW(nullptr, FALSE, FALSE, nullptr)), m_hThread(nullptr), m_ulThreadId(0), m_hWnd(nullptr)
{
    if (m_hCreated == nullptr)
        throw Exceptions::UWin32Exception(L"Creating the window-created event failed.", GetLastError());
}

UStandAloneWindow::~UStandAloneWindow()
{
    // Only the base's own stop can run here; derived classes stop in their destructors.
    UStandAloneWindow::StopDispatcherThread();
    CloseHandle(m_hCreated);
}

HWND UStandAloneWindow::GetHWnd() const
{
    return static_cast<HWND>(InterlockedCompareExchangePointer(
        reinterpret_cast<void* volatile*>(const_cast<HWND volatile*>(&m_hWnd)), nullptr, nullptr));
}

void UStandAloneWindow::SetHWnd(HWND hWnd)
{
    InterlockedExchangePointer(reinterpret_cast<void* volatile*>(&m_hWnd), hWnd);
}

int UStandAloneWindow::StartDispatcherThread()
{
    UCriticalSectionAutoLock lock(m_lock);
    Log(0, L"Starting dispatcher thread...");
    if (m_hThread != nullptr)
    {
        DWORD code = 0;
        if (!GetExitCodeThread(m_hThread, &code))
        {
            Log(5, L"Determining exit code of dispatcher thread failed.");
            CloseHandle(m_hThread);
            m_hThread = nullptr;
            m_ulThreadId = 0;
            return 0;
        }
        if (code != STILL_ACTIVE)
        {
            Log(0, L"Dispatcher thread has terminated by itself, clean up and start it again.");
            StopDispatcherThread();
            return StartDispatcherThread();
        }
        Log(0, L"Dispatcher thread is still active, don't need to start it once again.");
        return 1;
    }
    ResetEvent(m_hCreated);
    unsigned id = 0;
    m_hThread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, &ThreadEntry, this, 0, &id));
    if (m_hThread == nullptr)
    {
        Log(5, L"Creating dispatcher thread failed.");
        return 0;
    }
    m_ulThreadId = id;
    if (WaitForSingleObject(m_hCreated, 1000) == WAIT_OBJECT_0)
    {
        Log(0, L"Dispatcher thread was started successfully.");
        return 1;
    }
    Log(5, L"Creating window timed out. Stopping dispatcher thread...");
    StopDispatcherThread();
    return 0;
}

unsigned __stdcall UStandAloneWindow::ThreadEntry(void* pThis)
{
    return static_cast<unsigned>(static_cast<UStandAloneWindow*>(pThis)->RunDispatcherThread());
}

unsigned long UStandAloneWindow::RunDispatcherThread()
{
    Log(0, L"Dispatcher thread started successfully.");
    WNDCLASSW wndClass = {};
    GetWindowClass(&wndClass);
    RegisterWindowClass(&wndClass);
    while (InterlockedCompareExchangePointer(reinterpret_cast<void* volatile*>(&s_pConstructing), this, nullptr) !=
           nullptr)
        Sleep(1);
    HWND window = CreateWnd(&wndClass);
    if (window == nullptr)
    {
        InterlockedExchangePointer(reinterpret_cast<void* volatile*>(&s_pConstructing), nullptr);
        UnregisterWindowClass(&wndClass);
        return 0;
    }
    SetHWnd(window);
    {
        WindowMap& map = Windows();
        UCriticalSectionAutoLock lock(map.lock);
        map.windows[window] = this;
    }
    InterlockedExchangePointer(reinterpret_cast<void* volatile*>(&s_pConstructing), nullptr);
    SetEvent(m_hCreated);

    Log(0, L"Running actions before entering the message loop.");
    const BOOL runLoop = PreMessageLoop();
    if (!runLoop)
        Log(0, L"PreMessageLoop() returned FALSE. Skipping message loop...");
    else
    {
        Log(0, L"Entering window message loop.");
        try
        {
            RunMessageLoop();
        }
        catch (...)
        {
            Log(5, L"Unhandled exception occurred in the message loop!");
        }
        Log(0, L"Exited window message loop.");
    }
    Log(0, L"Running actions after leaving the message loop.");
    PostMessageLoop(runLoop);
    // A window left behind (the loop was skipped, or a quit message came first) goes now, so the
    // class can be unregistered and the map holds no stale handle.
    if (IsWindow(window))
        DestroyWindow(window);
    ForgetWindow(window);
    SetHWnd(nullptr);
    UnregisterWindowClass(&wndClass);
    Log(0, L"Dispatcher thread terminated successfully.");
    return 0;
}

void UStandAloneWindow::GetWindowClass(WNDCLASSW* pWndClass)
{
    *pWndClass = WNDCLASSW();
    pWndClass->style = CS_HREDRAW | CS_VREDRAW;
    pWndClass->lpfnWndProc = &StaticWndProc;
    pWndClass->hInstance = ThisModule();
    pWndClass->lpszClassName = GetWindowClassName();
}

int UStandAloneWindow::RegisterWindowClass(WNDCLASSW* pWndClass)
{
    if (RegisterClassW(pWndClass) == 0)
    {
        Log(5, L"Registering window class (%s) failed!", pWndClass->lpszClassName);
        return 0;
    }
    Log(0, L"Registering window (%s) class succeeded.", pWndClass->lpszClassName);
    return 1;
}

int UStandAloneWindow::UnregisterWindowClass(WNDCLASSW* pWndClass)
{
    if (!UnregisterClassW(pWndClass->lpszClassName, ThisModule()))
    {
        Log(5, L"Unregistering window class (%s) failed!", pWndClass->lpszClassName);
        return 0;
    }
    Log(0, L"Unregistering window class (%s) succeeded.", pWndClass->lpszClassName);
    return 1;
}

HWND UStandAloneWindow::CreateWnd(WNDCLASSW* pWndClass)
{
    HWND window =
        CreateWindowExW(0, pWndClass->lpszClassName, L"Stand Alone Window", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT,
                        CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, ThisModule(), nullptr);
    if (window == nullptr)
        Log(5, L"Creating window failed!");
    else
        Log(0, L"Window was created successfully.");
    return window;
}

LRESULT CALLBACK UStandAloneWindow::StaticWndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    UStandAloneWindow* object = FindWindowObject(hWnd);
    if (object == nullptr)
        object = static_cast<UStandAloneWindow*>(
            InterlockedCompareExchangePointer(reinterpret_cast<void* volatile*>(&s_pConstructing), nullptr, nullptr));
    if (object == nullptr)
    {
        Log(0, L"No object associated with this window handle.");
        return DefWindowProcW(hWnd, uMsg, wParam, lParam);
    }
    const LRESULT result = object->WndProc(hWnd, uMsg, wParam, lParam);
    if (uMsg == WM_NCDESTROY)
        ForgetWindow(hWnd);
    return result;
}

LRESULT UStandAloneWindow::WndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    if (uMsg == WM_DESTROY)
        PostQuitMessage(0);
    return DefWindowProcW(hWnd, uMsg, wParam, lParam);
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

BOOL UStandAloneWindow::PreMessageLoop()
{
    return TRUE;
}

void UStandAloneWindow::PostMessageLoop(BOOL /*bMessageLoopRan*/) {}

int UStandAloneWindow::StopDispatcherThread()
{
    UCriticalSectionAutoLock lock(m_lock);
    if (m_hThread == nullptr)
        return 1;
    // On its own thread the loop can only be asked to end: waiting here would wait on itself.
    if (GetCurrentThreadId() == m_ulThreadId)
    {
        HWND window = GetHWnd();
        if (window != nullptr && IsWindow(window))
            PostMessageW(window, WM_CLOSE, 0, 0);
        else
            PostQuitMessage(0);
        return 1;
    }
    DWORD code = 0;
    if (!GetExitCodeThread(m_hThread, &code))
        Log(5, L"Determining exit code of dispatcher thread failed.");
    else if (code == STILL_ACTIVE)
    {
        // WM_CLOSE while the window exists; once it is gone, a quit message to the thread.
        // Retrying ends as soon as the thread has ended.
        while (IsThreadRunning(m_hThread))
        {
            HWND window = GetHWnd();
            const BOOL posted = window != nullptr && IsWindow(window) ? PostMessageW(window, WM_CLOSE, 0, 0)
                                                                      : PostThreadMessageW(m_ulThreadId, WM_QUIT, 0, 0);
            if (posted)
                break;
            // The text names WM_DESTROY though WM_CLOSE is posted: kept as it is, log readers
            // search for it.
            Log(5, L"Sending WM_DESTROY to window failed. Retrying...");
            Sleep(500);
        }
        const DWORD deadline = GetTickCount() + 60000;
        while (IsThreadRunning(m_hThread))
        {
            if (static_cast<long>(deadline - GetTickCount()) < 0)
            {
                Log(5, L"Waiting for the dispatcher thread to terminate timed out, terminating thread...");
                if (!TerminateThread(m_hThread, 0xFFFFFFFF))
                    Log(5, L"Terminating the dispatcher thread failed!");
                else
                    WaitForSingleObject(m_hThread, INFINITE);
                break;
            }
            Sleep(20);
        }
    }
    CloseHandle(m_hThread);
    m_hThread = nullptr;
    m_ulThreadId = 0;
    return 1;
}

} // namespace Lib
} // namespace Oskal
