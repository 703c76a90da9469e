#pragma once

#include "Support/Thrown.h"

#include <Oskal/Lib/Logging/ULog.h>
#include <Oskal/Lib/Threading/UThreadPool.h>
#include <functional>
#include <string>
#include <vector>

namespace PoolTests
{

using namespace Oskal::Lib::Logging;
using namespace Oskal::Lib::Threading;

struct LogLine { unsigned long threadId; std::wstring source; int severity; std::wstring text; };

// Records every line and its thread while it lives; reads take ULog's lock.
struct RecordingLogger : ILogger
{
    RecordingLogger() { ULog::RegisterLogger(this); }
    ~RecordingLogger() override { ULog::UnregisterLogger(this); }
    void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszText) override
    {
        lines.push_back({GetCurrentThreadId(), pszSource, static_cast<int>(eSeverity), pszText});
        onWrite ? onWrite(lines.back()) : void(); // on the writing thread, under ULog's lock
    }
    // The lines that start with prefix.
    std::vector<LogLine> Find(const std::wstring& prefix)
    {
        std::vector<LogLine> found;
        ULog::Lock();
        for (const LogLine& line : lines)
            line.text.compare(0, prefix.size(), prefix) == 0 ? found.push_back(line) : void();
        ULog::Unlock();
        return found;
    }
    size_t Count(const std::wstring& prefix) { return Find(prefix).size(); }
    std::function<void(const LogLine&)> onWrite;
    std::vector<LogLine> lines;
};

// A task whose Run is a function, with the fencing calls opened up; records OnTaskExited.
struct FnTask : UThreadPoolTask
{
    FnTask(unsigned long ulTimeout, const wchar_t* pszName, std::function<void(FnTask&)> fn = nullptr)
        : UThreadPoolTask(ulTimeout, pszName), run(std::move(fn)) {}
    void Run() override { ranOn = GetCurrentThreadId(), run ? run(*this) : void(); }
    void OnTaskExited(UThreadPoolTaskState eState) override { exitedState = eState, exitedOn = GetCurrentThreadId(); }
    using UThreadPoolTask::ResumeTaskAbort;
    using UThreadPoolTask::SetTaskTimeout;
    using UThreadPoolTask::SuspendTaskAbort;
    std::function<void(FnTask&)> run;
    volatile long exitedState = -1;
    volatile unsigned long exitedOn = 0, ranOn = 0;
};

// A thread procedure given as a function of its three arguments.
struct Call : IThreadProc
{
    explicit Call(std::function<unsigned long(void*, void*, void*)> f) : fn(std::move(f)) {}
    unsigned long ThreadProc(void* pArg1, void* pArg2, void* pArg3) override { return fn(pArg1, pArg2, pArg3); }
    std::function<unsigned long(void*, void*, void*)> fn;
};

struct Gate { HANDLE h = CreateEventW(nullptr, TRUE, FALSE, nullptr); ~Gate() { CloseHandle(h); } };

// Spins until the gate opens, or for ever: no lock, allocation or logging, so it may be killed.
inline void Spin(HANDLE hGate = nullptr)
{
    while (hGate == nullptr || WaitForSingleObject(hGate, 0) != WAIT_OBJECT_0)
        SwitchToThread();
}

// A maintenance pass now, as the timer would run it.
inline void Maintain(UThreadPool& pool)
{ PostThreadMessageW(pool.GetManagerThreadId(), UThreadPool::MSG_THREAD_POOL_MAINTAIN, 0, 0); }

// Polls until condition holds (false after about 20 s), maintaining pMaintain each round.
inline bool WaitUntil(const std::function<bool()>& condition, UThreadPool* pMaintain = nullptr)
{
    for (int i = 0; i < 20000 && !condition(); ++i)
        pMaintain != nullptr ? Maintain(*pMaintain) : void(), Sleep(1);
    return condition();
}

// Runs an empty task: every message posted to the manager before has been handled when it ran.
inline void Sync(UThreadPool& pool)
{ FnTask marker(0xFFFFFFFF, L"Sync"); pool.Execute(&marker, INFINITE), marker.WaitForTaskToExit(INFINITE); }

inline std::wstring Hex(unsigned long ulValue)
{ wchar_t text[16]; return swprintf(text, 16, L"0x%lx", ulValue), text; }

using OskalTests::Thrown;

} // namespace PoolTests
