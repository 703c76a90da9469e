// The stand-alone window: its dispatcher thread's start and stop, the hooks around the message
// loop, and every step in the diagnostic log.
#include "Support/SkewedStack.h"

#include <Oskal/Lib/Logging/ILogger.h>
#include <Oskal/Lib/Logging/ULog.h>
#include <Oskal/Lib/Threading/UStandAloneWindow.h>

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

namespace
{

using namespace Oskal::Lib;
using namespace Oskal::Lib::Logging;

class Recorder : public ILogger
{
public:
    Recorder() { ULog::RegisterLogger(this); }
    ~Recorder() override { ULog::UnregisterLogger(this); }
    void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszText) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (std::wstring(pszSource) == L"StandAlone Window")
            m_lines.push_back(std::to_wstring(static_cast<int>(eSeverity)) + L" " + pszText);
    }
    std::vector<std::wstring> Lines()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_lines;
    }
    bool Has(const std::wstring& line) const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& l : m_lines)
            if (l == line)
                return true;
        return false;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::wstring> m_lines;
};

const UINT kPing = WM_APP + 7;

class TestWindow : public UStandAloneWindow
{
public:
    explicit TestWindow(const wchar_t* pszClass, BOOL bRunLoop = TRUE, bool bRegister = true)
        : m_class(pszClass), m_bRunLoop(bRunLoop), m_bRegister(bRegister)
    {
    }
    ~TestWindow() override { StopDispatcherThread(); }

    using UStandAloneWindow::RunDispatcherThread;
    volatile LONG pings = 0;
    volatile LONG postLoop = -1;
    bool closeFirst = false;

protected:
    const wchar_t* GetWindowClassName() override { return m_class.c_str(); }
    int RegisterWindowClass(WNDCLASSW* pWndClass) override
    {
        return m_bRegister ? UStandAloneWindow::RegisterWindowClass(pWndClass) : 0;
    }
    BOOL PreMessageLoop() override
    {
        if (closeFirst)
            PostMessageW(GetHWnd(), WM_CLOSE, 0, 0);
        return m_bRunLoop;
    }
    void PostMessageLoop(BOOL bRan) override { postLoop = bRan; }
    LRESULT WndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) override
    {
        if (uMsg == kPing)
            return InterlockedIncrement(&pings);
        return UStandAloneWindow::WndProc(hWnd, uMsg, wParam, lParam);
    }

private:
    std::wstring m_class;
    BOOL m_bRunLoop;
    bool m_bRegister;
};

struct DisplayWarmUp : ::testing::Environment
{
    void SetUp() override { GetDesktopWindow(); }
};
const auto* const g_warmUp = ::testing::AddGlobalTestEnvironment(new DisplayWarmUp);

TEST(StandAloneWindow, StartsOnceAnswersMessagesAndStops)
{
    Recorder log;
    TestWindow window(L"OskalTestWindow.Start");
    ASSERT_EQ(1, window.StartDispatcherThread());
    HWND hwnd = window.GetHWnd();
    ASSERT_NE(nullptr, hwnd);
    EXPECT_EQ(hwnd, FindWindowW(L"OskalTestWindow.Start", nullptr));
    EXPECT_FALSE(IsWindowVisible(hwnd));
    EXPECT_EQ(1, SendMessageW(hwnd, kPing, 0, 0));
    // A second start finds the thread running.
    EXPECT_EQ(1, window.StartDispatcherThread());
    EXPECT_EQ(2, SendMessageW(hwnd, kPing, 0, 0));
    EXPECT_EQ(1, window.StopDispatcherThread());
    EXPECT_FALSE(IsWindow(hwnd));
    EXPECT_EQ(nullptr, window.GetHWnd());
    EXPECT_EQ(TRUE, window.postLoop);
    EXPECT_EQ(1, window.StopDispatcherThread());

    const wchar_t* const expected[] = {L"0 Starting dispatcher thread...",
                                       L"0 Dispatcher thread started successfully.",
                                       L"0 Registering window (OskalTestWindow.Start) class succeeded.",
                                       L"0 Window was created successfully.",
                                       L"0 Dispatcher thread was started successfully.",
                                       L"0 Running actions before entering the message loop.",
                                       L"0 Entering window message loop.",
                                       L"0 Dispatcher thread is still active, don't need to start it once again.",
                                       L"0 Exited window message loop.",
                                       L"0 Running actions after leaving the message loop.",
                                       L"0 Unregistering window class (OskalTestWindow.Start) succeeded.",
                                       L"0 Dispatcher thread terminated successfully."};
    for (const wchar_t* line : expected)
        EXPECT_TRUE(log.Has(line)) << std::string(line, line + wcslen(line));
}

TEST(StandAloneWindow, SkippedLoopEndsTheThreadAndTheNextStartBeginsAgain)
{
    Recorder log;
    TestWindow window(L"OskalTestWindow.Skip", FALSE);
    ASSERT_EQ(1, window.StartDispatcherThread());
    for (int i = 0; i < 500 && window.postLoop == -1; ++i)
        Sleep(10);
    EXPECT_EQ(FALSE, window.postLoop);
    EXPECT_TRUE(log.Has(L"0 PreMessageLoop() returned FALSE. Skipping message loop..."));
    Sleep(50);
    EXPECT_EQ(1, window.StartDispatcherThread());
    EXPECT_TRUE(log.Has(L"0 Dispatcher thread has terminated by itself, clean up and start it again."));
}

TEST(StandAloneWindow, AClassThatNeitherRegistersNorExistsFailsAfterASecond)
{
    Recorder log;
    TestWindow window(L"OskalTestWindow.Missing", TRUE, false);
    EXPECT_EQ(0, window.StartDispatcherThread());
    EXPECT_TRUE(log.Has(L"5 Creating window failed!"));
    EXPECT_TRUE(log.Has(L"5 Creating window timed out. Stopping dispatcher thread..."));
    EXPECT_EQ(nullptr, window.GetHWnd());
}

DWORD WINAPI StopOnAnotherThread(void* pWindow)
{
    return static_cast<TestWindow*>(pWindow)->StopDispatcherThread();
}

TEST(StandAloneWindow, StopsFromAnotherThreadAndWhenTheWindowIsAlreadyGone)
{
    TestWindow window(L"OskalTestWindow.Stop");
    ASSERT_EQ(1, window.StartDispatcherThread());
    HANDLE stopper = CreateThread(nullptr, 0, &StopOnAnotherThread, &window, 0, nullptr);
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(stopper, 30000));
    CloseHandle(stopper);
    EXPECT_EQ(nullptr, window.GetHWnd());

    // The window destroyed by its own thread while the loop goes on: stop sends a quit message.
    class Lingering : public TestWindow
    {
    public:
        Lingering() : TestWindow(L"OskalTestWindow.Gone") {}
        ~Lingering() override { StopDispatcherThread(); }

    protected:
        LRESULT WndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) override
        {
            if (uMsg == WM_DESTROY)
                return 0; // no quit message: the loop outlives the window
            return TestWindow::WndProc(hWnd, uMsg, wParam, lParam);
        }
    } lingering;
    ASSERT_EQ(1, lingering.StartDispatcherThread());
    HWND hwnd = lingering.GetHWnd();
    SendMessageW(hwnd, WM_CLOSE, 0, 0);
    EXPECT_FALSE(IsWindow(hwnd));
    EXPECT_EQ(1, lingering.StopDispatcherThread());
}

// The dispatcher's body and the window procedure entered from stacks that are only 4-byte
// aligned: the whole thread procedure runs on the test's skewed stack.
TEST(StandAloneWindow, RunsFromSkewedStacks)
{
    TestWindow window(L"OskalTestWindow.Skewed");
    window.closeFirst = true;
    OskalTests::RunOnSkewedStacks("stand-alone window", [&] {
        window.postLoop = -1;
        EXPECT_EQ(0u, window.RunDispatcherThread());
        EXPECT_EQ(TRUE, window.postLoop);
    });
}

} // namespace
