#pragma once

#include <Oskal/Lib/Logging/ULog.h>
#include <Oskal/Lib/Threading/UThreadPool.h>
#include <Oskal/Lib/Threading/UThreadPoolTask.h>

#include <functional>
#include <string>
#include <vector>

namespace PoolTests
{

using namespace Oskal::Lib::Logging;
using namespace Oskal::Lib::Threading;

struct LogLine
{
    unsigned long threadId;
    std::wstring source;
    int severity;
    std::wstring text;
};

// Records every line with the thread that wrote it; registered for its lifetime. Reads take
// ULog's lock, which also keeps writers out.
class RecordingLogger : public ILogger
{
public:
    RecordingLogger() { ULog::RegisterLogger(this); }
    ~RecordingLogger() override { ULog::UnregisterLogger(this); }

    void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszText) override
    {
        m_lines.push_back({GetCurrentThreadId(), pszSource, static_cast<int>(eSeverity), pszText});
        if (onWrite)
            onWrite(m_lines.back());
    }

    std::vector<LogLine> Lines()
    {
        ULog::Lock();
        std::vector<LogLine> copy = m_lines;
        ULog::Unlock();
        return copy;
    }

    // Lines whose text starts with prefix.
    std::vector<LogLine> Find(const std::wstring& prefix)
    {
        std::vector<LogLine> found;
        for (const LogLine& line : Lines())
            if (line.text.compare(0, prefix.size(), prefix) == 0)
                found.push_back(line);
        return found;
    }

    size_t Count(const std::wstring& prefix) { return Find(prefix).size(); }

    // Called on the writing thread, under ULog's lock.
    std::function<void(const LogLine&)> onWrite;

private:
    std::vector<LogLine> m_lines;
};

// A task whose Run is a function; it records OnTaskExited. The fencing calls are opened up so
// that the function can use them.
class FnTask : public UThreadPoolTask
{
public:
    FnTask(unsigned long ulTimeout, const wchar_t* pszName, std::function<void(FnTask&)> fn = nullptr)
        : UThreadPoolTask(ulTimeout, pszName), run(std::move(fn))
    {
    }
    void Run() override
    {
        if (run)
            run(*this);
    }
    void OnTaskExited(UThreadPoolTaskState eState) override
    {
        exitedState = eState;
        exitedOn = GetCurrentThreadId();
    }
    using UThreadPoolTask::ResetTaskWatchdog;
    using UThreadPoolTask::ResumeTaskAbort;
    using UThreadPoolTask::SetTaskName;
    using UThreadPoolTask::SetTaskTimeout;
    using UThreadPoolTask::SuspendTaskAbort;

    std::function<void(FnTask&)> run;
    volatile long exitedState = -1;
    volatile unsigned long exitedOn = 0;
    volatile unsigned long ranOn = 0;
};

// A manual-reset flag that tasks spin or wait on without locks or allocation.
struct Gate
{
    Gate() : h(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~Gate() { CloseHandle(h); }
    void Open() { SetEvent(h); }
    void Wait() { WaitForSingleObject(h, INFINITE); }
    HANDLE h;
};

inline void Maintain(UThreadPool& pool)
{
    PostThreadMessageW(pool.GetManagerThreadId(), UThreadPool::MSG_THREAD_POOL_MAINTAIN, 0, 0);
}

// Polls until condition holds (false after 20 s); with a pool, forces a maintenance pass each
// round instead of waiting for the timer.
inline bool WaitUntil(const std::function<bool()>& condition, UThreadPool* pMaintain = nullptr)
{
    for (int i = 0; i < 20000; ++i)
    {
        if (condition())
            return true;
        if (pMaintain != nullptr)
            Maintain(*pMaintain);
        Sleep(1);
    }
    return condition();
}

// Runs an empty task through the pool: every message posted to the manager before it has been
// handled when it has run.
inline void Sync(UThreadPool& pool)
{
    FnTask marker(0xFFFFFFFF, L"Sync");
    pool.Execute(&marker, INFINITE);
    marker.WaitForTaskToExit(INFINITE);
}

// Spins until the gate opens (or for ever without one): no lock, no allocation, no logging, so
// the pool may kill it anywhere.
inline void Spin(HANDLE hGate = nullptr)
{
    while (hGate == nullptr || WaitForSingleObject(hGate, 0) != WAIT_OBJECT_0)
        SwitchToThread();
}

inline std::wstring Hex(unsigned long ulValue)
{
    wchar_t text[16];
    swprintf(text, 16, L"0x%lx", ulValue);
    return text;
}

} // namespace PoolTests
