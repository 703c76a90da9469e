#include "ThreadTestSupport.h"
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UInvalidOperationException.h>
#include <Oskal/Lib/UShuttingDownException.h>
#include <Oskal/Lib/UTimeoutException.h>
#include <Support/ChildProcess.h>
#include <Support/SkewedStack.h>
#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <tlhelp32.h>

using namespace PoolTests;
using namespace Oskal::Lib::Exceptions;

namespace
{

const std::wstring kPool = L"Thread Pool", kWorker = L"Thread Pool Thread";

// The one line that starts with text, written by source with severity on thread.
void ExpectLine(RecordingLogger& log, const std::wstring& text, const std::wstring& source, int severity, DWORD thread)
{
    const std::vector<LogLine> l = log.Find(text);
    EXPECT_TRUE(l.size() == 1 && l[0].source == source && l[0].severity == severity && l[0].threadId == thread)
        << std::string(text.begin(), text.end());
}

void ExpectExit(UThreadPoolTask& task, UThreadPoolTaskState eState)
{
    task.WaitForTaskToExit(INFINITE);
    EXPECT_EQ(eState, task.GetTaskState()) << std::string(task.GetTaskName(), task.GetTaskName() + 4);
}

TEST(UThreadPool, ChecksConstructionValuesAndTaskNames)
{
    const struct { unsigned long min, max; const wchar_t* bad; } cases[] = {
        {0, 0, L"ulMaxThreads"}, {0, 0x80000000UL, L"ulMaxThreads"}, {3, 2, L"ulMinThreads"}, {2, 2, L""}};
    for (const auto& c : cases)
        try
        {
            UThreadPool pool(c.min, c.max, 7);
            EXPECT_TRUE(!*c.bad && pool.GetFreeThreadCount() == c.min && pool.GetKeepTime() == 7); // minimum made
        }
        catch (const UArgumentException& e) { EXPECT_STREQ(c.bad, e.GetName()); }
    const std::wstring name150(150, L'n'), name99(99, L'n');
    const std::pair<const wchar_t*, std::wstring> names[] = {
        {nullptr, L"<not specified>"}, {L"", L""}, {name150.c_str(), name99}, {name99.c_str(), name99}};
    for (const auto& n : names)
    {
        FnTask task(5, n.first);
        EXPECT_TRUE(n.second == task.GetTaskName() && task.GetTaskState() == TaskStateIdle);
        task.WaitForTaskToExit(0); // never queued: nothing to wait for
        task.AbortTask();          // in no pool: nothing to do
    }
}

TEST(UThreadPool, GrowsToTheMaximumAndRetiresDownToTheMinimum)
{
    RecordingLogger log;
    UThreadPool pool(2, 4, 0), keeping(0, 2, 0xFFFFFFFF);
    Gate release;
    std::vector<std::unique_ptr<FnTask>> tasks;
    for (int i = 0; i < 6; ++i)
        tasks.emplace_back(new FnTask(0xFFFFFFFF, i == 0 ? L"First" : L"Other", [&](FnTask&) { Spin(release.h); })),
            (i < 4 ? pool : keeping).Execute(tasks[i].get(), INFINITE);
    ASSERT_TRUE(WaitUntil([&] {
        return pool.GetUsedThreadCount() == 4 && std::all_of(tasks.begin(), tasks.begin() + 4, [](const auto& t) {
                   return t->GetTaskState() == TaskStateRunning && t->IsTaskInProgress(); });
    }));
    FnTask extra(0xFFFFFFFF, L"Extra");
    EXPECT_EQ(L"Waiting for a thread to become available timed out.",
              Thrown<UTimeoutException>([&] { pool.Execute(&extra, 0); }));
    EXPECT_EQ(L"Waiting for the task to exit timed out.",
              Thrown<UTimeoutException>([&] { tasks[0]->WaitForTaskToExit(0); }));
    PostThreadMessageW(pool.GetManagerThreadId(), WM_USER + 9, 0, 0); // not the manager's
    SetEvent(release.h);
    for (auto& task : tasks)
        ExpectExit(*task, TaskStateFinished);
    ASSERT_TRUE(WaitUntil([&] { return pool.GetFreeThreadCount() == 4 && keeping.GetFreeThreadCount() == 2; }));
    // Keep time 0 retires idle workers, never below the minimum; 0xFFFFFFFF never retires them.
    ASSERT_TRUE(WaitUntil([&] { return pool.GetFreeThreadCount() == 2; }, &pool));
    for (int i = 0; i < 3; ++i)
        Maintain(pool), Maintain(keeping);
    Sync(pool), Sync(keeping);
    ASSERT_TRUE(WaitUntil([&] { return pool.GetUsedThreadCount() + keeping.GetUsedThreadCount() == 0; }));
    EXPECT_TRUE(pool.GetFreeThreadCount() == 2 && keeping.GetFreeThreadCount() == 2);
    const unsigned long manager = pool.GetManagerThreadId(), first = tasks[0]->ranOn;
    ExpectLine(log, L"Adding 2 thread(s) to the pool.", kPool, 0, manager);
    ExpectLine(log, L"Assigning thread (id: " + Hex(first) + L") to task (First).", kPool, 0, manager);
    ExpectLine(log, L"Status (used: 4, free: 0, max: 4).", kPool, 0, manager);
    ExpectLine(log, L"Unhandled message received.", kPool, 1, manager);
    EXPECT_LE(1u, log.Count(L"Thread (id: " + Hex(first) + L") returned to the pool of available threads."));
    const std::vector<LogLine> ids = log.Find(L"Thread (id: 0x");
    EXPECT_EQ(2, std::count_if(ids.begin(), ids.end(), [](const LogLine& l) {
                  return l.text.find(L") is inactive, removing it from the pool...") != std::wstring::npos; }));
}

TEST(UThreadPool, SlotsLostAndRegainedAsKept)
{
    RecordingLogger log;
    UThreadPool pool(0, 2, 0);
    Gate release;
    FnTask a(0xFFFFFFFF, L"A", [&](FnTask&) { Spin(release.h); }), b(0xFFFFFFFF, L"B", a.run), c(0, L"C");
    pool.Execute(&a, INFINITE);
    EXPECT_EQ(L"Task is already executed by another thread.",
              Thrown<UInvalidOperationException>([&] { pool.Execute(&a, 0); }));
    ExpectLine(log, L"Task (A) is already executed in by another thread.", kPool, 4, GetCurrentThreadId());
    SetEvent(release.h), a.WaitForTaskToExit(INFINITE);
    ASSERT_TRUE(WaitUntil([&] { return pool.GetFreeThreadCount() == 1; }));
    // Kept: the double Execute keeps its slot, one of two is left (pinned here).
    ResetEvent(release.h);
    pool.Execute(&b, 0);
    EXPECT_THROW(pool.Execute(&c, 0), UTimeoutException);
    SetEvent(release.h), b.WaitForTaskToExit(INFINITE);
    ASSERT_TRUE(WaitUntil([&] { return pool.GetFreeThreadCount() == 1; }));
    // Kept: retiring the idle worker gives a slot back that it never held, which makes up for it.
    ASSERT_TRUE(WaitUntil([&] { return pool.GetFreeThreadCount() == 0; }, &pool));
    ResetEvent(release.h), pool.Execute(&a, 0), pool.Execute(&b, 0);
    SetEvent(release.h), a.WaitForTaskToExit(INFINITE), b.WaitForTaskToExit(INFINITE);
}

// Waits for a slot or an exit that give up take nothing with them; every waiter wakes when its
// slot or task is free, also in a later round of a task waited for before; a slot given back at
// the maximum is dropped.
TEST(UThreadPool, SlotAndExitWaitsGiveUpOrWake)
{
    OSKAL_RUN_IN_CHILD(30000);
    UThreadPool pool(0, 1, 0);
    Gate release;
    FnTask spin(0xFFFFFFFF, L"Spin", [&](FnTask&) { Spin(release.h); }), other(0xFFFFFFFF, L"Other");
    for (unsigned long limit : {0UL, 20UL})
    {
        ResetEvent(release.h), pool.Execute(&spin, INFINITE);
        EXPECT_THROW(pool.Execute(&other, limit), UTimeoutException);
        EXPECT_THROW(spin.WaitForTaskToExit(limit), UTimeoutException);
        volatile long woken = 0;
        Call exitWaiter([&](void* pvLimit, void*, void*) {
            return spin.WaitForTaskToExit(reinterpret_cast<uintptr_t>(pvLimit)), InterlockedIncrement(&woken), 0UL; });
        Call slotWaiter([&](void*, void*, void*) {
            pool.Execute(&other, INFINITE), other.WaitForTaskToExit(INFINITE);
            return InterlockedIncrement(&woken), 0UL; });
        UThread threads[3];
        threads[0].Start(&exitWaiter, reinterpret_cast<void*>(uintptr_t(INFINITE)));
        threads[1].Start(&exitWaiter, reinterpret_cast<void*>(uintptr_t(20000))), threads[2].Start(&slotWaiter);
        Sleep(50); // let them wait
        SetEvent(release.h);
        for (UThread& thread : threads)
            thread.Join(INFINITE);
        EXPECT_EQ(3, woken);
        EXPECT_TRUE(spin.GetTaskState() == TaskStateFinished && other.GetTaskState() == TaskStateFinished);
    }
    ASSERT_TRUE(WaitUntil([&] { return pool.GetFreeThreadCount() + pool.GetUsedThreadCount() == 0; }, &pool));
    ResetEvent(release.h), pool.Execute(&spin, 0);
    EXPECT_THROW(pool.Execute(&other, 0), UTimeoutException); // the retired worker's slot was dropped
    SetEvent(release.h), spin.WaitForTaskToExit(INFINITE);
}

TEST(UThreadPool, WorkersStartFromSkewedStacksAndSurviveWhatRunDoes)
{
    OskalTests::RunOnSkewedStacks("UThreadPool workers", [] {
        RecordingLogger log;
        UThreadPool pool(1, 2, 0);
        EXPECT_THROW(pool.Execute(nullptr, 0), UArgumentException);
        double sum = 0;
        int refused = 0;
        FnTask math(0xFFFFFFFF, L"Math", [&](FnTask& t) {
            for (int i = 1; i <= 100; ++i)
                sum += 1.0 / i;
            // The pool's own threads may not wait for the pool.
            refused += Thrown<UInvalidOperationException>([&] { pool.Shutdown(); }) != L"(no exception)";
            refused += Thrown<UInvalidOperationException>([&] { t.AbortTask(); }) != L"(no exception)";
        });
        FnTask thrower(0xFFFFFFFF, L"Thrower", [](FnTask&) { throw 5; });
        pool.Execute(&thrower, INFINITE), pool.Execute(&math, INFINITE);
        thrower.WaitForTaskToExit(INFINITE), math.WaitForTaskToExit(INFINITE);
        EXPECT_TRUE(sum > 5.0 && refused == 2 && thrower.GetTaskState() == TaskStateFinished);
        ExpectLine(log, L"Task (Thrower) threw an exception.", kWorker, 1, thrower.ranOn);
    });
}

TEST(UThreadPool, AbortsTasksOverTheirLimitOnRequestAndWhenTheirThreadDies)
{
    OSKAL_RUN_IN_CHILD(30000);
    RecordingLogger log;
    UThreadPool pool(1, 3, 0xFFFFFFFF);
    const unsigned long manager = pool.GetManagerThreadId();
    // Limits are set inside Run, so that no timer pass can abort a task before it has started.
    FnTask late(0xFFFFFFFF, L"Late", [](FnTask& t) { t.SetTaskTimeout(0), Spin(); });
    FnTask endless(0xFFFFFFFF, L"Endless", [](FnTask&) { Spin(); });
    FnTask quitter(0xFFFFFFFF, L"Quitter", [](FnTask&) { ExitThread(3); });
    pool.Execute(&late, INFINITE), pool.Execute(&endless, INFINITE), pool.Execute(&quitter, INFINITE);
    ASSERT_TRUE(WaitUntil([&] { return late.ranOn != 0 && endless.ranOn != 0; }));
    endless.AbortTask(); // returns when the task has left the pool
    EXPECT_EQ(TaskStateAborted, endless.GetTaskState());
    ASSERT_TRUE(WaitUntil([&] { return pool.GetAbortedTaskCount() == 3; }, &pool));
    for (FnTask* task : {&late, &endless, &quitter})
        ExpectExit(*task, TaskStateAborted);
    EXPECT_TRUE(late.exitedState == TaskStateAborted && late.exitedOn == manager);
    EXPECT_EQ(-1, quitter.exitedState); // only the pool's own aborts call OnTaskExited
    const std::wstring worker = Hex(late.ranOn);
    auto fromManager = [&](const std::wstring& text, int severity) { ExpectLine(log, text, kPool, severity, manager); };
    fromManager(L"Task (Late) executed by thread (id: " + worker + L") has exceeded its time to run.", 4);
    EXPECT_LE(1u, log.Count(L"Trying to abort task..."));
    fromManager(L"Aborting task (Late) by terminating its executing thread (id: " + worker + L").", 1);
    ExpectLine(log, L"Terminating thread (id: " + worker + L").", kWorker, 0, manager);
    fromManager(L"Thread executing task (Quitter) has terminated. Removing thread from the pool...", 1);
    // The pool is back to its minimum, and an aborted task runs again.
    ASSERT_TRUE(WaitUntil([&] { return pool.GetUsedThreadCount() + pool.GetFreeThreadCount() >= 1; }, &pool));
    late.run = nullptr, pool.Execute(&late, INFINITE);
    ExpectExit(late, TaskStateFinished);
}

TEST(UThreadPool, FencedTasksAreReportedAndAbortedOnlyWhenUnfenced)
{
    OSKAL_RUN_IN_CHILD(60000);
    RecordingLogger log;
    UThreadPool pool(0, 2, 0xFFFFFFFF);
    Gate release, fenced;
    // Limited: reported every pass while fenced, aborted by the first pass after the last resume.
    FnTask limited(0xFFFFFFFF, L"Limited", [&](FnTask& t) {
        t.SuspendTaskAbort(), t.SuspendTaskAbort(), t.SetTaskTimeout(0), Spin(release.h);
        t.ResumeTaskAbort(), t.ResumeTaskAbort(), Spin();
    });
    // Unlimited: Kept: AbortTask finds no abort pending and drops the request, so it waits until
    // Run ends by itself (pinned here).
    FnTask unlimited(0xFFFFFFFF, L"Unlimited", [&](FnTask& t) {
        t.SuspendTaskAbort(), SetEvent(fenced.h), Spin(release.h), t.ResumeTaskAbort();
    });
    pool.Execute(&limited, INFINITE), pool.Execute(&unlimited, INFINITE);
    ASSERT_TRUE(WaitUntil([&] { return log.Count(L"Task (Limited) executed by thread (id: ") >= 3; }, &pool));
    WaitForSingleObject(fenced.h, INFINITE);
    Call aborter([&](void*, void*, void*) { return unlimited.AbortTask(), 0UL; });
    UThread thread;
    ASSERT_EQ(1, thread.Start(&aborter));
    const std::wstring waiting = L"Waiting for thread pool manager to abort task (Unlimited) timed out. Continue";
    ASSERT_TRUE(WaitUntil([&] { return log.Count(waiting) >= 1; }));
    EXPECT_EQ(0u, log.Count(L"Aborting task ("));
    EXPECT_TRUE(limited.GetTaskState() == TaskStateRunning && unlimited.GetTaskState() == TaskStateRunning);
    EXPECT_EQ(5, log.Find(waiting)[0].severity);
    SetEvent(release.h), thread.Join(INFINITE);
    EXPECT_TRUE(unlimited.GetTaskState() == TaskStateFinished && unlimited.exitedState == -1);
    ASSERT_TRUE(WaitUntil([&] { return limited.GetTaskState() == TaskStateAborted; }, &pool));
    EXPECT_EQ(1u, log.Count(L"Aborting task (Limited) by terminating its executing thread"));
}

unsigned long ThreadsOfThisProcess()
{
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry;
    entry.dwSize = sizeof(entry);
    unsigned long count = 0;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(snapshot);
    return count;
}

TEST(UThreadPool, ShutdownEndsRunningAndQueuedTasks)
{
    OSKAL_RUN_IN_CHILD(30000);
    const unsigned long threadsBefore = ThreadsOfThisProcess();
    RecordingLogger log;
    Gate held, resume;
    std::unique_ptr<UThreadPool> pool(new UThreadPool(1, 4, 0xFFFFFFFF));
    // The manager stops at its first assignment, so that the later tasks stay queued.
    log.onWrite = [&](const LogLine& line) {
        if (line.text.compare(0, 10, L"Assigning ") == 0 && WaitForSingleObject(held.h, 0) != WAIT_OBJECT_0)
            SetEvent(held.h), WaitForSingleObject(resume.h, INFINITE);
    };
    std::vector<std::unique_ptr<FnTask>> tasks;
    for (int i = 0; i < 4; ++i)
        tasks.emplace_back(new FnTask(0xFFFFFFFF, L"Busy", [](FnTask&) { Spin(); })), pool->Execute(tasks[i].get(), INFINITE);
    WaitForSingleObject(held.h, INFINITE);
    EXPECT_EQ(3UL, pool->GetQueuedTaskCount());
    Call stopper([&](void*, void*, void*) { return pool->Shutdown(), 0UL; });
    UThread thread;
    ASSERT_EQ(1, thread.Start(&stopper));
    // New work is turned away as soon as shutdown begins, and gives its slot back: with four
    // slots, a fifth refusal would otherwise be a time-out.
    FnTask refused(0xFFFFFFFF, L"Refused");
    ASSERT_TRUE(WaitUntil([&] {
        return Thrown<UException>([&] { pool->Execute(&refused, 0); }) == L"The thread pool has been shut down.";
    }));
    SetEvent(resume.h), thread.Join(INFINITE);
    for (int i = 0; i < 5; ++i)
        EXPECT_THROW(pool->Execute(&refused, 0), UShuttingDownException);
    EXPECT_EQ(TaskStateIdle, refused.GetTaskState()); // untouched
    for (auto& task : tasks)
        ExpectExit(*task, TaskStateAborted);
    EXPECT_EQ(0UL, pool->GetUsedThreadCount() + pool->GetFreeThreadCount() + pool->GetQueuedTaskCount());
    EXPECT_TRUE(pool->GetAbortedTaskCount() == 4 && log.Count(L"Finished destroying thread pool threads...") == 1);
    pool.reset();
    EXPECT_EQ(threadsBefore, ThreadsOfThisProcess());
}

// The process's open handles. Wine's GetProcessHandleCount reports 0; there the handle values
// (multiples of 4, lowest free first) are probed instead.
unsigned long OpenHandleCount()
{
    DWORD count = 0, flags;
    if (GetProcessHandleCount(GetCurrentProcess(), &count) && count != 0)
        return count;
    for (uintptr_t value = 4; value < 0x20000; value += 4)
        count += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) ? 1 : 0;
    return count;
}

TEST(UThreadPool, StressEveryTaskRunsOnceAndNoHandleLeaks)
{
    OSKAL_RUN_IN_CHILD(120000);
    Sync(*std::unique_ptr<UThreadPool>(new UThreadPool(1, 2, 0))); // warm-up: one-time objects
    const unsigned long handlesBefore = OpenHandleCount();
    const int count = 3000;
    std::vector<std::unique_ptr<FnTask>> tasks;
    std::vector<long> runs(count, 0);
    srand(12345);
    {
        UThreadPool pool(1, 3, 5);
        for (int i = 0; i < count; ++i)
        {
            tasks.emplace_back(new FnTask(0xFFFFFFFF, L"Short", [counter = &runs[i], spins = rand() % 2000](FnTask&) {
                InterlockedIncrement(counter);
                for (volatile int s = 0; s < spins; s = s + 1)
                    s % 700 == 0 ? Sleep(0) : void();
            }));
            pool.Execute(tasks.back().get(), INFINITE), i % 500 == 0 ? Maintain(pool) : void();
        }
        for (int i = 0; i < count; ++i)
            ASSERT_TRUE((tasks[i]->WaitForTaskToExit(INFINITE), tasks[i]->GetTaskState()) == TaskStateFinished && runs[i] == 1) << i;
    }
    tasks.clear();
    EXPECT_EQ(handlesBefore, OpenHandleCount());
}

} // namespace
