#include "PoolTestSupport.h"

#include <Oskal/Lib/Threading/UThread.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UInvalidOperationException.h>
#include <Oskal/Lib/UShuttingDownException.h>
#include <Oskal/Lib/UTimeoutException.h>

#include <Support/ChildProcess.h>
#include <Support/SkewedStack.h>

#include <gtest/gtest.h>

#include <memory>
#include <tlhelp32.h>

using namespace PoolTests;
using Oskal::Lib::Exceptions::UArgumentException;
using Oskal::Lib::Exceptions::UInvalidOperationException;
using Oskal::Lib::Exceptions::UShuttingDownException;
using Oskal::Lib::Exceptions::UTimeoutException;

namespace
{

const std::wstring kPool = L"Thread Pool";
const std::wstring kWorker = L"Thread Pool Thread";

std::wstring Status(unsigned long used, unsigned long free, unsigned long max)
{
    return L"Status (used: " + std::to_wstring(used) + L", free: " + std::to_wstring(free) + L", max: " +
           std::to_wstring(max) + L").";
}

TEST(UThreadPool, ChecksItsConstructionValues)
{
    const struct
    {
        unsigned long min, max;
        const wchar_t* badName;
    } cases[] = {
        {0, 0, L"ulMaxThreads"},
        {0, 0x80000000UL, L"ulMaxThreads"},
        {0, 0xFFFFFFFFUL, L"ulMaxThreads"},
        {3, 2, L"ulMinThreads"},
        {0, 1, nullptr},
        {2, 2, nullptr},
    };
    for (const auto& c : cases)
    {
        if (c.badName == nullptr)
        {
            UThreadPool pool(c.min, c.max, 1234);
            EXPECT_EQ(1234UL, pool.GetKeepTime());
            EXPECT_EQ(c.min, pool.GetFreeThreadCount());
            continue;
        }
        try
        {
            UThreadPool pool(c.min, c.max, 0);
            ADD_FAILURE() << c.min << " " << c.max;
        }
        catch (const UArgumentException& e)
        {
            EXPECT_STREQ(c.badName, e.GetName());
        }
    }
}

TEST(UThreadPool, GrowsToTheMaximumAndRetiresDownToTheMinimum)
{
    RecordingLogger log;
    UThreadPool pool(2, 4, 0);
    // The minimum is there when the constructor returns.
    EXPECT_EQ(2UL, pool.GetFreeThreadCount());
    EXPECT_EQ(1u, log.Count(L"Adding 2 thread(s) to the pool."));

    Gate release;
    std::vector<std::unique_ptr<FnTask>> tasks;
    for (int i = 0; i < 4; ++i)
    {
        tasks.emplace_back(new FnTask(0xFFFFFFFF, (L"Blocker" + std::to_wstring(i)).c_str(), [&](FnTask& t) {
            t.ranOn = GetCurrentThreadId();
            release.Wait();
        }));
        pool.Execute(tasks.back().get(), INFINITE);
    }
    ASSERT_TRUE(
        WaitUntil([&] { return tasks[3]->GetTaskState() == TaskStateRunning && pool.GetUsedThreadCount() == 4; }));
    EXPECT_EQ(0UL, pool.GetFreeThreadCount());
    EXPECT_EQ(1, tasks[3]->IsTaskInProgress());

    // Every slot in use: a time-out of 0 fails at once.
    FnTask extra(0xFFFFFFFF, L"Extra");
    try
    {
        pool.Execute(&extra, 0);
        ADD_FAILURE() << "Execute found a fifth slot";
    }
    catch (const UTimeoutException& e)
    {
        EXPECT_STREQ(L"Waiting for a thread to become available timed out.", e.GetMessageText());
    }
    EXPECT_EQ(TaskStateIdle, extra.GetTaskState());

    release.Open();
    for (auto& task : tasks)
    {
        task->WaitForTaskToExit(INFINITE);
        EXPECT_EQ(TaskStateFinished, task->GetTaskState());
        EXPECT_EQ(0, task->IsTaskInProgress());
    }
    ASSERT_TRUE(WaitUntil([&] { return pool.GetFreeThreadCount() == 4; }));

    // Keep time 0: idle workers retire, but never below the minimum, however often maintained.
    ASSERT_TRUE(WaitUntil([&] { return pool.GetFreeThreadCount() == 2; }, &pool));
    for (int i = 0; i < 5; ++i)
        Maintain(pool);
    Sync(pool);
    ASSERT_TRUE(WaitUntil([&] { return pool.GetUsedThreadCount() == 0; }));
    EXPECT_EQ(2UL, pool.GetFreeThreadCount());

    // What the log shows, exactly, and all of it from the manager thread.
    const unsigned long manager = pool.GetManagerThreadId();
    for (const LogLine& line : log.Lines())
    {
        EXPECT_EQ(kPool, line.source) << line.text;
        EXPECT_EQ(0, line.severity) << line.text;
        EXPECT_EQ(manager, line.threadId) << line.text;
    }
    const unsigned long worker = tasks[0]->ranOn;
    EXPECT_EQ(1u, log.Count(L"Assigning thread (id: " + Hex(worker) + L") to task (Blocker0)."));
    EXPECT_LE(1u, log.Count(L"Thread (id: " + Hex(worker) + L") returned to the pool of available threads."));
    EXPECT_EQ(1u, log.Count(Status(4, 0, 4)));
    size_t retired = 0;
    for (const LogLine& line : log.Find(L"Thread (id: 0x"))
        retired += line.text.find(L") is inactive, removing it from the pool...") != std::wstring::npos;
    EXPECT_EQ(2u, retired);
}

TEST(UThreadPoolTask, NamesAndDefaults)
{
    const std::wstring longName(150, L'n');
    const std::wstring name99 = longName.substr(0, 99);
    const struct
    {
        const wchar_t* name;
        std::wstring expected;
    } cases[] = {{nullptr, L"<not specified>"},
                 {L"", L""},
                 {L"Short", L"Short"},
                 {longName.c_str(), longName.substr(0, 99)},
                 {name99.c_str(), name99}};
    for (const auto& c : cases)
    {
        FnTask task(5, c.name);
        EXPECT_EQ(c.expected, task.GetTaskName());
        task.SetTaskName(c.name);
        EXPECT_EQ(c.expected, task.GetTaskName());
        EXPECT_EQ(TaskStateIdle, task.GetTaskState());
        EXPECT_EQ(0, task.IsTaskInProgress());
        // A task that never ran has exited; aborting it outside a pool does nothing.
        task.WaitForTaskToExit(0);
        task.AbortTask();
    }
    struct Plain : UThreadPoolTask
    {
        void Run() override {}
    } plain;
    EXPECT_STREQ(L"<not specified>", plain.GetTaskName());
}

TEST(UThreadPool, ThrowingTaskFinishesAndIsLogged)
{
    RecordingLogger log;
    UThreadPool pool(0, 1, 0xFFFFFFFF);
    EXPECT_THROW(pool.Execute(nullptr, 0), UArgumentException);
    FnTask task(0xFFFFFFFF, L"Thrower", [](FnTask& t) {
        t.ranOn = GetCurrentThreadId();
        throw 5;
    });
    pool.Execute(&task, INFINITE);
    task.WaitForTaskToExit(INFINITE);
    EXPECT_EQ(TaskStateFinished, task.GetTaskState());
    std::vector<LogLine> lines = log.Find(L"Task (Thrower) threw an exception.");
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ(kWorker, lines[0].source);
    EXPECT_EQ(1, lines[0].severity);
    EXPECT_EQ(static_cast<unsigned long>(task.ranOn), lines[0].threadId);
    // The worker goes on serving.
    task.run = nullptr;
    pool.Execute(&task, INFINITE);
    task.WaitForTaskToExit(INFINITE);
    EXPECT_EQ(TaskStateFinished, task.GetTaskState());
    EXPECT_EQ(0UL, pool.GetAbortedTaskCount());
}

TEST(UThreadPool, DoubleExecuteKeepsItsSlot)
{
    RecordingLogger log;
    UThreadPool pool(0, 2, 0xFFFFFFFF);
    Gate release;
    FnTask a(0xFFFFFFFF, L"A", [&](FnTask&) { release.Wait(); });
    FnTask b(0xFFFFFFFF, L"B", [&](FnTask&) { release.Wait(); });
    FnTask c(0xFFFFFFFF, L"C");
    pool.Execute(&a, INFINITE);
    try
    {
        pool.Execute(&a, 0);
        ADD_FAILURE() << "a task ran twice at once";
    }
    catch (const UInvalidOperationException& e)
    {
        EXPECT_STREQ(L"Task is already executed by another thread.", e.GetMessageText());
    }
    std::vector<LogLine> lines = log.Find(L"Task (A) is already executed in by another thread.");
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ(4, lines[0].severity);
    EXPECT_EQ(GetCurrentThreadId(), lines[0].threadId);

    release.Open();
    a.WaitForTaskToExit(INFINITE);
    ASSERT_TRUE(WaitUntil([&] { return pool.GetUsedThreadCount() == 0; }));
    ResetEvent(release.h);
    // Kept: of two slots only one is left, and maintenance does not give the other back.
    pool.Execute(&b, 0);
    Maintain(pool);
    EXPECT_THROW(pool.Execute(&c, 0), UTimeoutException);
    release.Open();
    b.WaitForTaskToExit(INFINITE);
}

TEST(UThreadPool, RetiringAnIdleWorkerGivesASlotBack)
{
    UThreadPool pool(0, 2, 0);
    Gate release;
    FnTask a(0xFFFFFFFF, L"A", [&](FnTask&) { release.Wait(); });
    FnTask b(0xFFFFFFFF, L"B", [&](FnTask&) { release.Wait(); });
    pool.Execute(&a, INFINITE);
    EXPECT_THROW(pool.Execute(&a, INFINITE), UInvalidOperationException); // one slot lost
    release.Open();
    a.WaitForTaskToExit(INFINITE);
    ASSERT_TRUE(WaitUntil([&] { return pool.GetFreeThreadCount() == 1; }));
    ASSERT_TRUE(WaitUntil([&] { return pool.GetFreeThreadCount() == 0; }, &pool));
    // Kept: the retired worker released a slot it did not hold, which makes up for the lost one.
    ResetEvent(release.h);
    pool.Execute(&a, 0);
    pool.Execute(&b, 0);
    release.Open();
    a.WaitForTaskToExit(INFINITE);
    b.WaitForTaskToExit(INFINITE);
}

TEST(UThreadPool, KeepTimeNeverRetiresIdleWorkers)
{
    UThreadPool pool(0, 3, 0xFFFFFFFF);
    Gate release;
    std::vector<std::unique_ptr<FnTask>> tasks;
    for (int i = 0; i < 3; ++i)
    {
        tasks.emplace_back(new FnTask(0xFFFFFFFF, L"T", [&](FnTask&) { release.Wait(); }));
        pool.Execute(tasks.back().get(), INFINITE);
    }
    ASSERT_TRUE(WaitUntil([&] { return pool.GetUsedThreadCount() == 3; }));
    release.Open();
    ASSERT_TRUE(WaitUntil([&] { return pool.GetFreeThreadCount() == 3; }));
    for (int i = 0; i < 5; ++i)
        Maintain(pool);
    Sync(pool);
    ASSERT_TRUE(WaitUntil([&] { return pool.GetUsedThreadCount() == 0; }));
    EXPECT_EQ(3UL, pool.GetFreeThreadCount());
}

TEST(UThreadPool, WorkersStartFromSkewedStacks)
{
    OskalTests::RunOnSkewedStacks("UThreadPool workers", [] {
        UThreadPool pool(1, 2, 0);
        double sum = 0;
        FnTask task(0xFFFFFFFF, L"Math", [&](FnTask&) {
            for (int i = 1; i <= 100; ++i)
                sum += 1.0 / i;
        });
        pool.Execute(&task, INFINITE);
        task.WaitForTaskToExit(INFINITE);
        EXPECT_EQ(TaskStateFinished, task.GetTaskState());
        EXPECT_GT(sum, 5.0);
    });
}

// The process's open handles. Wine's GetProcessHandleCount reports 0; there the handle values
// (multiples of 4, lowest free first) are probed instead.
unsigned long OpenHandleCount()
{
    DWORD count = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &count) && count != 0)
        return count;
    DWORD flags;
    for (uintptr_t value = 4; value < 0x20000; value += 4)
        count += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) ? 1 : 0;
    return count;
}

TEST(UThreadPool, StressEveryTaskRunsOnceAndNoHandleLeaks)
{
    OSKAL_RUN_IN_CHILD(120000);
    {
        // Warm-up: the first pool makes the run-time's and the system's one-time objects.
        UThreadPool warm(1, 2, 0);
        Sync(warm);
    }
    const unsigned long handlesBefore = OpenHandleCount();
    ASSERT_GT(handlesBefore, 0UL);

    const int count = 3000;
    std::vector<std::unique_ptr<FnTask>> tasks;
    std::vector<long> runs(count, 0);
    srand(12345);
    {
        UThreadPool pool(1, 3, 5);
        for (int i = 0; i < count; ++i)
        {
            const int spins = rand() % 2000;
            long* counter = &runs[i];
            tasks.emplace_back(new FnTask(0xFFFFFFFF, L"Short", [counter, spins](FnTask&) {
                InterlockedIncrement(counter);
                for (volatile int s = 0; s < spins; s = s + 1)
                {
                }
                if (spins % 7 == 0)
                    Sleep(0);
            }));
            pool.Execute(tasks.back().get(), INFINITE);
            if (i % 500 == 0)
                Maintain(pool);
        }
        for (int i = 0; i < count; ++i)
        {
            tasks[i]->WaitForTaskToExit(INFINITE);
            ASSERT_EQ(TaskStateFinished, tasks[i]->GetTaskState()) << i;
            ASSERT_EQ(1, runs[i]) << i;
        }
        EXPECT_EQ(0UL, pool.GetAbortedTaskCount());
    }
    tasks.clear();
    EXPECT_EQ(handlesBefore, OpenHandleCount());
}

} // namespace
