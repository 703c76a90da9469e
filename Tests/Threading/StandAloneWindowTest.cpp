// The stand-alone window: its dispatcher thread, starting and stopping, and its log lines.
#include "Support/ChildProcess.h"
#include "Support/SkewedStack.h"
#include "ThreadTestSupport.h"
#include <Oskal/Lib/Threading/UStandAloneWindow.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>

using namespace Oskal::Lib;
using namespace PoolTests;

namespace
{

// Whether the window logged line, given as "<severity> <text>".
bool Has(RecordingLogger& log, const std::wstring& line)
{
    for (const LogLine& l : log.Find(line.substr(2)))
        if (l.source == L"StandAlone Window" && std::to_wstring(l.severity) + L" " + l.text == line)
            return true;
    return false;
}

// WM_APP counts, WM_APP + 1 destroys the window, WM_APP + 2 stops from the dispatcher thread.
struct TestWindow : UStandAloneWindow
{
    std::wstring className = L"OskalTestWindow " + std::to_wstring(GetTickCount() + ++s_windows);
    int bRegister = 1, bRunLoop = 1, bQuitOnDestroy = 1, appMessages = 0;
    HANDLE hHold = nullptr; // a dispatcher that makes no window and waits for this event
    DWORD dwThread = 0;
    inline static int s_windows = 0;
    TestWindow() { GetDesktopWindow(); }
    ~TestWindow() override { StopDispatcherThread(); }
    unsigned long RunDispatcherThread() override
    { return hHold != nullptr ? WaitForSingleObject(hHold, 20000) : UStandAloneWindow::RunDispatcherThread(); }
    const wchar_t* GetWindowClassName() override { return className.c_str(); }
    void GetWindowClass(WNDCLASSW* p) override { dwThread = GetCurrentThreadId(), UStandAloneWindow::GetWindowClass(p); }
    int RegisterWindowClass(WNDCLASSW* p) override { return bRegister ? UStandAloneWindow::RegisterWindowClass(p) : 0; }
    BOOL PreMessageLoop() override { return SendMessageW(GetHWnd(), WM_APP, 0, 0), bRunLoop; }
    LRESULT WndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) override
    {
        if (uMsg == WM_APP || uMsg == WM_APP + 1 || uMsg == WM_APP + 2)
            return uMsg == WM_APP ? ++appMessages : uMsg == WM_APP + 1 ? DestroyWindow(hWnd) : StopDispatcherThread();
        if (uMsg == WM_DESTROY && !bQuitOnDestroy)
            return DefWindowProcW(hWnd, uMsg, wParam, lParam);
        return UStandAloneWindow::WndProc(hWnd, uMsg, wParam, lParam);
    }
    bool ThreadEnds()
    {
        HANDLE hThread = OpenThread(SYNCHRONIZE, FALSE, dwThread);
        const bool bEnded = hThread == nullptr || WaitForSingleObject(hThread, 20000) == WAIT_OBJECT_0;
        return CloseHandle(hThread), bEnded;
    }
};

TEST(StandAloneWindow, StartsTwiceStopsFromAnotherThreadAndEndsWithoutALoop)
{
    RecordingLogger log;
    TestWindow window;
    EXPECT_EQ(1, window.StartDispatcherThread());
    HWND hWnd = window.GetHWnd();
    EXPECT_EQ(hWnd, FindWindowW(window.className.c_str(), nullptr));
    EXPECT_EQ(1, window.StartDispatcherThread());
    EXPECT_EQ(hWnd, window.GetHWnd());
    EXPECT_EQ(2, SendMessageW(hWnd, WM_APP, 0, 0)); // the first came from PreMessageLoop
    std::thread([&] { EXPECT_EQ(1, window.StopDispatcherThread()); }).join();
    EXPECT_FALSE(IsWindow(hWnd));
    EXPECT_TRUE(window.ThreadEnds());
    for (const std::wstring& line : std::initializer_list<std::wstring>{
             L"0 Starting dispatcher thread...", L"0 Dispatcher thread was started successfully.",
             L"0 Registering window (" + window.className + L") class succeeded.",
             L"0 Dispatcher thread is still active, don't need to start it once again.",
             L"0 Exited window message loop.", L"0 Dispatcher thread terminated successfully."})
        EXPECT_TRUE(Has(log, line)) << std::string(line.begin(), line.end());
    // PreMessageLoop returning FALSE ends the thread; the next start cleans up and starts afresh.
    TestWindow noLoop;
    noLoop.bRunLoop = 0;
    EXPECT_EQ(1, noLoop.StartDispatcherThread());
    EXPECT_TRUE(noLoop.ThreadEnds());
    EXPECT_TRUE(Has(log, L"0 PreMessageLoop() returned FALSE. Skipping message loop..."));
    EXPECT_EQ(1, noLoop.StartDispatcherThread());
    EXPECT_TRUE(Has(log, L"0 Dispatcher thread has terminated by itself, clean up and start it again."));
}

TEST(StandAloneWindow, StopsWithoutTheWindowAndFailsToStartWithoutOne)
{
    OSKAL_RUN_IN_CHILD(60000);
    const std::wstring retryLine = L"5 Sending WM_DESTROY to window failed. Retrying...";
    Gate retried; // opened on a failed post
    RecordingLogger log;
    log.onWrite = [&](const LogLine& l) { l.text == retryLine.substr(2) ? void(SetEvent(retried.h)) : void(); };
    TestWindow window;
    window.bQuitOnDestroy = 0;
    EXPECT_EQ(1, window.StartDispatcherThread());
    SendMessageW(window.GetHWnd(), WM_APP + 1, 0, 0);
    EXPECT_FALSE(IsWindow(window.GetHWnd()));
    EXPECT_EQ(1, window.StopDispatcherThread());
    EXPECT_FALSE(Has(log, L"5 Waiting for the dispatcher thread to terminate timed out, terminating thread..."));
    window.bQuitOnDestroy = 1;
    EXPECT_EQ(1, window.StartDispatcherThread());
    EXPECT_EQ(1, SendMessageW(window.GetHWnd(), WM_APP + 2, 0, 0));
    EXPECT_TRUE(window.ThreadEnds());
    TestWindow unregistered, holding;
    unregistered.bRegister = 0;
    EXPECT_EQ(0, unregistered.StartDispatcherThread());
    EXPECT_TRUE(Has(log, L"5 Creating window failed!"));
    EXPECT_TRUE(Has(log, L"5 Creating window timed out. Stopping dispatcher thread..."));
    // A dispatcher without a message queue cannot be asked to quit: stop retries until it ends.
    holding.hHold = retried.h;
    EXPECT_EQ(0, holding.StartDispatcherThread());
    EXPECT_TRUE(Has(log, retryLine));
}

TEST(StandAloneWindow, SkewedStacks)
{
    TestWindow window;
    window.bRunLoop = window.bQuitOnDestroy = 0;
    OskalTests::RunOnSkewedStacks("UStandAloneWindow dispatcher and window procedure", [&] {
        window.RunDispatcherThread();
        EXPECT_EQ(1, window.StartDispatcherThread());
        EXPECT_EQ(1, window.StopDispatcherThread());
    });
    EXPECT_EQ(16, window.appMessages);
}

} // namespace
