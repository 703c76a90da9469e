// The stand-alone window: its dispatcher thread, starting and stopping, and its log lines.
#include "Support/ChildProcess.h"
#include "Support/SkewedStack.h"

#include <Oskal/Lib/Logging/ULog.h>
#include <Oskal/Lib/Threading/UStandAloneWindow.h>

#include <gtest/gtest.h>

#include <mutex>
#include <set>
#include <string>
#include <thread>

using namespace Oskal::Lib;
using namespace Oskal::Lib::Logging;

namespace
{

const wchar_t kRetryLine[] = L"5 Sending WM_DESTROY to window failed. Retrying...";

// Keeps the window's log lines as "<severity> <text>"; signals hRetried on a failed post.
class Recorder : public ILogger
{
public:
    Recorder() : hRetried(CreateEventW(nullptr, TRUE, FALSE, nullptr)) { ULog::RegisterLogger(this); }
    ~Recorder() override
    {
        ULog::UnregisterLogger(this);
        CloseHandle(hRetried);
    }
    void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszText) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (std::wstring(pszSource) == L"StandAlone Window")
            m_lines.insert(std::to_wstring(eSeverity) + L" " + pszText);
        if (kRetryLine == std::to_wstring(eSeverity) + L" " + pszText)
            SetEvent(hRetried);
    }
    bool Has(const std::wstring& line)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_lines.count(line) != 0;
    }
    HANDLE hRetried;

private:
    std::mutex m_mutex;
    std::set<std::wstring> m_lines;
};

class TestWindow : public UStandAloneWindow
{
public:
    TestWindow() : className(L"OskalTestWindow " + std::to_wstring(++s_windows)) { GetDesktopWindow(); }
    ~TestWindow() override { StopDispatcherThread(); }

    std::wstring className;
    int bRegister = 1, bRunLoop = 1, bQuitOnDestroy = 1, bSendToSelf = 0;
    HANDLE hHold = nullptr; // a dispatcher that makes no window and waits for this event
    DWORD dwThread = 0;
    int appMessages = 0;

    unsigned long RunDispatcherThread() override
    {
        if (hHold != nullptr)
            return WaitForSingleObject(hHold, 20000);
        return UStandAloneWindow::RunDispatcherThread();
    }

protected:
    const wchar_t* GetWindowClassName() override { return className.c_str(); }
    void GetWindowClass(WNDCLASSW* pWndClass) override
    {
        dwThread = GetCurrentThreadId();
        UStandAloneWindow::GetWindowClass(pWndClass);
    }
    int RegisterWindowClass(WNDCLASSW* pWndClass) override
    {
        return bRegister ? UStandAloneWindow::RegisterWindowClass(pWndClass) : 0;
    }
    BOOL PreMessageLoop() override
    {
        if (bSendToSelf)
            SendMessageW(GetHWnd(), WM_APP, 0, 0);
        return bRunLoop;
    }
    LRESULT WndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) override
    {
        if (uMsg == WM_APP)
            return ++appMessages;
        if (uMsg == WM_APP + 1)
            return DestroyWindow(hWnd);
        if (uMsg == WM_APP + 2)
            return StopDispatcherThread();
        if (uMsg == WM_DESTROY && !bQuitOnDestroy)
            return DefWindowProcW(hWnd, uMsg, wParam, lParam);
        return UStandAloneWindow::WndProc(hWnd, uMsg, wParam, lParam);
    }

private:
    static int s_windows;
};

int TestWindow::s_windows = 0;

bool ThreadEnds(DWORD dwThread)
{
    HANDLE hThread = OpenThread(SYNCHRONIZE, FALSE, dwThread);
    const bool bEnded = hThread == nullptr || WaitForSingleObject(hThread, 20000) == WAIT_OBJECT_0;
    CloseHandle(hThread);
    return bEnded;
}

TEST(StandAloneWindow, StartsTwiceAndStopsFromAnotherThread)
{
    Recorder log;
    TestWindow window;
    EXPECT_EQ(1, window.StartDispatcherThread());
    HWND hWnd = window.GetHWnd();
    EXPECT_EQ(hWnd, FindWindowW(window.className.c_str(), nullptr));
    EXPECT_EQ(1, window.StartDispatcherThread());
    EXPECT_EQ(hWnd, window.GetHWnd());
    EXPECT_EQ(1, SendMessageW(hWnd, WM_APP, 0, 0));
    std::thread([&] { EXPECT_EQ(1, window.StopDispatcherThread()); }).join();
    EXPECT_FALSE(IsWindow(hWnd));
    EXPECT_TRUE(ThreadEnds(window.dwThread));
    const std::wstring lines[] = {L"0 Starting dispatcher thread...",
                                  L"0 Dispatcher thread started successfully.",
                                  L"0 Registering window (" + window.className + L") class succeeded.",
                                  L"0 Window was created successfully.",
                                  L"0 Dispatcher thread was started successfully.",
                                  L"0 Dispatcher thread is still active, don't need to start it once again.",
                                  L"0 Running actions before entering the message loop.",
                                  L"0 Entering window message loop.",
                                  L"0 Exited window message loop.",
                                  L"0 Running actions after leaving the message loop.",
                                  L"0 Unregistering window class (" + window.className + L") succeeded.",
                                  L"0 Dispatcher thread terminated successfully."};
    for (const std::wstring& line : lines)
        EXPECT_TRUE(log.Has(line)) << std::string(line.begin(), line.end());
}

TEST(StandAloneWindow, PreMessageLoopFalseEndsTheThread)
{
    Recorder log;
    TestWindow window;
    window.bRunLoop = 0;
    EXPECT_EQ(1, window.StartDispatcherThread());
    EXPECT_TRUE(ThreadEnds(window.dwThread));
    EXPECT_TRUE(log.Has(L"0 PreMessageLoop() returned FALSE. Skipping message loop..."));
    EXPECT_EQ(1, window.StartDispatcherThread());
    EXPECT_TRUE(log.Has(L"0 Dispatcher thread has terminated by itself, clean up and start it again."));
}

TEST(StandAloneWindow, StopWhenTheWindowIsGoneOrFromTheDispatcher)
{
    OSKAL_RUN_IN_CHILD(60000);
    Recorder log;
    TestWindow window;
    window.bQuitOnDestroy = 0;
    EXPECT_EQ(1, window.StartDispatcherThread());
    HWND hWnd = window.GetHWnd();
    SendMessageW(hWnd, WM_APP + 1, 0, 0);
    EXPECT_FALSE(IsWindow(hWnd));
    EXPECT_EQ(1, window.StopDispatcherThread());
    EXPECT_FALSE(log.Has(L"5 Waiting for the dispatcher thread to terminate timed out, terminating thread..."));

    window.bQuitOnDestroy = 1;
    EXPECT_EQ(1, window.StartDispatcherThread());
    EXPECT_EQ(1, SendMessageW(window.GetHWnd(), WM_APP + 2, 0, 0));
    EXPECT_TRUE(ThreadEnds(window.dwThread));
}

TEST(StandAloneWindow, StartFailsWithoutAWindow)
{
    OSKAL_RUN_IN_CHILD(60000);
    Recorder log;
    TestWindow unregistered;
    unregistered.bRegister = 0;
    EXPECT_EQ(0, unregistered.StartDispatcherThread());
    EXPECT_TRUE(log.Has(L"5 Creating window failed!"));
    EXPECT_TRUE(log.Has(L"5 Creating window timed out. Stopping dispatcher thread..."));

    // A dispatcher without a message queue cannot be asked to quit: stop retries until it ends.
    TestWindow holding;
    holding.hHold = log.hRetried;
    EXPECT_EQ(0, holding.StartDispatcherThread());
    EXPECT_TRUE(log.Has(kRetryLine));
}

TEST(StandAloneWindow, SkewedStacks)
{
    TestWindow window;
    window.bRunLoop = 0;
    window.bQuitOnDestroy = 0;
    window.bSendToSelf = 1;
    OskalTests::RunOnSkewedStacks("UStandAloneWindow dispatcher and window procedure", [&] {
        window.RunDispatcherThread();
        EXPECT_EQ(1, window.StartDispatcherThread());
        EXPECT_EQ(1, window.StopDispatcherThread());
    });
    EXPECT_EQ(16, window.appMessages);
}

} // namespace
