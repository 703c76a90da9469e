#include "PoolTestSupport.h"

#include <Oskal/Lib/Threading/UThread.h>
#include <Oskal/Lib/UInvalidOperationException.h>
#include <Oskal/Lib/UShuttingDownException.h>

#include <Support/ChildProcess.h>

#include <gtest/gtest.h>

#include <memory>
#include <tlhelp32.h>

using namespace PoolTests;
using Oskal::Lib::Exceptions::UInvalidOperationException;
using Oskal::Lib::Exceptions::UShuttingDownException;

namespace
{

const std::wstring kPool = L"Thread Pool";
const std::wstring kWorker = L"Thread Pool Thread";

// Finds the one line with exactly this text and checks who wrote it.
void ExpectLine(RecordingLogger& log, const std::wstring& text, const std::wstring& source, int severity,
                unsigned long threadId)
{
    std::vector<LogLine> lines = log.Find(text);
    ASSERT_FALSE(lines.empty()) << "missing: " << std::string(text.begin(), text.end());
    EXPECT_EQ(text, lines[0].text);
    EXPECT_EQ(source, lines[0].source);
    EXPECT_EQ(severity, lines[0].severity);
    EXPECT_EQ(threadId, lines[0].threadId);
}

class Caller : public IThreadProc
{
public:
    explicit Caller(std::function<void()> fn) : m_fn(std::move(fn)) {}
    unsigned long ThreadProc(void*, void*, void*) override
    {
        m_fn();
        return 0;
    }

private:
    std::function<void()> m_fn;
};

TEST(UThreadPool, TaskOverItsLimitIsAborted)
{
    OSKAL_RUN_IN_CHILD(30000);
    RecordingLogger log;
    UThreadPool pool(1, 2, 0xFFFFFFFF);
    const unsigned long manager = pool.GetManagerThreadId();
    FnTask task(0, L"Spinner", [](FnTask& t) {
        t.ranOn = GetCurrentThreadId();
        Spin();
    });
    pool.Execute(&task, INFINITE);
    ASSERT_TRUE(WaitUntil([&] { return task.ranOn != 0; }));
    ASSERT_TRUE(WaitUntil([&] { return task.GetTaskState() == TaskStateAborted; }, &pool));
    task.WaitForTaskToExit(INFINITE);
    EXPECT_EQ(TaskStateAborted, task.exitedState);
    EXPECT_EQ(manager, task.exitedOn);
    EXPECT_EQ(1UL, pool.GetAbortedTaskCount());

    const std::wstring worker = Hex(task.ranOn);
    ExpectLine(log, L"Task (Spinner) executed by thread (id: " + worker + L") has exceeded its time to run.", kPool, 4,
               manager);
    ExpectLine(log, L"Trying to abort task...", kPool, 1, manager);
    ExpectLine(log, L"Aborting task (Spinner) by terminating its executing thread (id: " + worker + L").", kPool, 1,
               manager);
    ExpectLine(log, L"Terminating thread (id: " + worker + L").", kWorker, 0, manager);
    // The killed worker is replaced up to the minimum.
    ASSERT_TRUE(WaitUntil([&] { return pool.GetUsedThreadCount() + pool.GetFreeThreadCount() >= 1; }, &pool));

    // AbortTask on a running task without a limit, and on a task in no pool.
    FnTask endless(0xFFFFFFFF, L"Endless", [](FnTask&) { Spin(); });
    pool.Execute(&endless, INFINITE);
    ASSERT_TRUE(WaitUntil([&] { return endless.GetTaskState() == TaskStateRunning; }));
    endless.AbortTask();
    EXPECT_EQ(TaskStateAborted, endless.GetTaskState());
    EXPECT_EQ(0, endless.IsTaskInProgress());
    endless.AbortTask();
    EXPECT_EQ(2UL, pool.GetAbortedTaskCount());

    // An aborted task runs again.
    Gate done;
    task.SetTaskTimeout(0xFFFFFFFF);
    task.run = [&](FnTask&) { done.Open(); };
    pool.Execute(&task, INFINITE);
    task.WaitForTaskToExit(INFINITE);
    EXPECT_EQ(TaskStateFinished, task.GetTaskState());
}

TEST(UThreadPool, FencedTaskIsReportedUntilItsLastResume)
{
    OSKAL_RUN_IN_CHILD(30000);
    RecordingLogger log;
    UThreadPool pool(0, 2, 0xFFFFFFFF);
    Gate fenced, release;
    volatile long pastFence = 0;
    FnTask task(0, L"Fenced", [&](FnTask& t) {
        t.SuspendTaskAbort();
        t.SuspendTaskAbort();
        fenced.Open();
        Spin(release.h);
        t.ResumeTaskAbort();
        pastFence = 1;
        t.ResumeTaskAbort();
        pastFence = 2;
        Spin();
    });
    pool.Execute(&task, INFINITE);
    fenced.Wait();
    const std::wstring exceeded = L"Task (Fenced) executed by thread (id: ";
    ASSERT_TRUE(WaitUntil([&] { return log.Count(exceeded) >= 3; }, &pool));
    EXPECT_EQ(TaskStateRunning, task.GetTaskState());
    EXPECT_EQ(0u, log.Count(L"Aborting task (Fenced)"));

    release.Open();
    ASSERT_TRUE(WaitUntil([&] { return task.GetTaskState() == TaskStateAborted; }, &pool));
    task.WaitForTaskToExit(INFINITE);
    EXPECT_EQ(2, pastFence);
    EXPECT_EQ(TaskStateAborted, task.exitedState);
    EXPECT_EQ(1u, log.Count(L"Aborting task (Fenced) by terminating its executing thread (id: "));
}

TEST(UThreadPool, AbortTaskOnAFencedTaskWaitsForRunToEnd)
{
    OSKAL_RUN_IN_CHILD(60000);
    RecordingLogger log;
    UThreadPool pool(0, 2, 0xFFFFFFFF);
    Gate fenced, release;
    FnTask task(0xFFFFFFFF, L"Fenced", [&](FnTask& t) {
        t.SuspendTaskAbort();
        fenced.Open();
        Spin(release.h);
        t.ResumeTaskAbort();
    });
    pool.Execute(&task, INFINITE);
    fenced.Wait();
    Caller abort([&] { task.AbortTask(); });
    UThread aborter;
    ASSERT_EQ(1, aborter.Start(&abort));

    // Kept: the request finds the task fenced with no abort pending and is dropped, so AbortTask
    // waits (reporting every five seconds) until Run ends by itself.
    const std::wstring waiting =
        L"Waiting for thread pool manager to abort task (Fenced) timed out. Continue waiting...";
    ASSERT_TRUE(WaitUntil([&] { return log.Count(waiting) >= 1; }));
    ExpectLine(log, waiting, kPool, 5, aborter.GetThreadId());
    EXPECT_EQ(TaskStateRunning, task.GetTaskState());
    release.Open();
    aborter.Join(INFINITE);
    EXPECT_EQ(TaskStateFinished, task.GetTaskState());
    EXPECT_EQ(-1, task.exitedState);
    EXPECT_EQ(0u, log.Count(L"Task (Fenced) forbids aborting"));
}

TEST(UThreadPool, TaskWhoseThreadDiesIsMarkedAborted)
{
    OSKAL_RUN_IN_CHILD(30000);
    RecordingLogger log;
    UThreadPool pool(0, 2, 0xFFFFFFFF);
    FnTask task(0xFFFFFFFF, L"Quitter", [](FnTask&) { ExitThread(3); });
    pool.Execute(&task, INFINITE);
    ASSERT_TRUE(WaitUntil([&] { return task.GetTaskState() == TaskStateAborted; }, &pool));
    task.WaitForTaskToExit(INFINITE);
    ExpectLine(log, L"Thread executing task (Quitter) has terminated. Removing thread from the pool...", kPool, 1,
               pool.GetManagerThreadId());
    EXPECT_EQ(0UL, pool.GetUsedThreadCount());
    EXPECT_EQ(1UL, pool.GetAbortedTaskCount());
    // OnTaskExited is for aborts by the pool.
    EXPECT_EQ(-1, task.exitedState);
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
    Gate managerHeld, releaseManager;
    std::unique_ptr<UThreadPool> pool(new UThreadPool(1, 4, 0xFFFFFFFF));
    // The manager stops at the first assignment, so that the later tasks stay queued.
    log.onWrite = [&](const LogLine& line) {
        if (line.text.compare(0, 17, L"Assigning thread ") == 0 && WaitForSingleObject(managerHeld.h, 0) != 0)
        {
            managerHeld.Open();
            releaseManager.Wait();
        }
    };
    std::vector<std::unique_ptr<FnTask>> tasks;
    for (int i = 0; i < 4; ++i)
    {
        tasks.emplace_back(new FnTask(0xFFFFFFFF, L"Busy", [](FnTask&) { Spin(); }));
        pool->Execute(tasks.back().get(), INFINITE);
    }
    managerHeld.Wait();
    EXPECT_EQ(3UL, pool->GetQueuedTaskCount());
    Caller stop([&] { pool->Shutdown(); });
    UThread stopper;
    ASSERT_EQ(1, stopper.Start(&stop));
    // Shutdown turns new work away as soon as it begins.
    FnTask late(0xFFFFFFFF, L"Late");
    ASSERT_TRUE(WaitUntil([&] {
        try
        {
            pool->Execute(&late, 0);
        }
        catch (const UShuttingDownException&)
        {
            return true;
        }
        catch (...)
        {
        }
        return false;
    }));
    releaseManager.Open();
    stopper.Join(INFINITE);

    for (auto& task : tasks)
    {
        task->WaitForTaskToExit(0);
        EXPECT_EQ(TaskStateAborted, task->GetTaskState());
    }
    EXPECT_EQ(TaskStateIdle, late.GetTaskState());
    // The refused Execute gave its slot back each time: with four slots, a fifth attempt would
    // otherwise have timed out.
    for (int i = 0; i < 5; ++i)
        EXPECT_THROW(pool->Execute(&late, 0), UShuttingDownException);
    EXPECT_EQ(0UL, pool->GetUsedThreadCount());
    EXPECT_EQ(0UL, pool->GetFreeThreadCount());
    EXPECT_EQ(0UL, pool->GetQueuedTaskCount());
    EXPECT_EQ(4UL, pool->GetAbortedTaskCount());
    EXPECT_EQ(1u, log.Count(L"Beginning to destroy thread pool threads..."));
    EXPECT_EQ(1u, log.Count(L"Finished destroying thread pool threads..."));
    pool.reset();
    EXPECT_EQ(threadsBefore, ThreadsOfThisProcess());
}

TEST(UThreadPool, RefusesToWaitForItselfOnItsOwnThreads)
{
    OSKAL_RUN_IN_CHILD(30000);
    RecordingLogger log;
    UThreadPool pool(0, 2, 0xFFFFFFFF);
    int refused = 0;
    FnTask other(0xFFFFFFFF, L"Other");
    FnTask task(0xFFFFFFFF, L"Inside", [&](FnTask& t) {
        const std::function<void()> calls[] = {[&] { pool.Shutdown(); }, [&] { t.AbortTask(); },
                                               [&] { other.AbortTask(); }};
        for (const auto& call : calls)
        {
            try
            {
                call();
            }
            catch (const UInvalidOperationException&)
            {
                ++refused;
            }
        }
    });
    pool.Execute(&other, INFINITE); // finishes at once; then in no pool: AbortTask returns
    other.WaitForTaskToExit(INFINITE);
    pool.Execute(&task, INFINITE);
    task.WaitForTaskToExit(INFINITE);
    EXPECT_EQ(2, refused);

    // A logger called on the manager thread.
    int refusedOnManager = 0;
    log.onWrite = [&](const LogLine& line) {
        if (line.threadId != pool.GetManagerThreadId() || refusedOnManager != 0)
            return;
        try
        {
            pool.Shutdown();
        }
        catch (const UInvalidOperationException&)
        {
            refusedOnManager = 1;
        }
    };
    Sync(pool);
    log.onWrite = nullptr;
    EXPECT_EQ(1, refusedOnManager);
    EXPECT_EQ(TaskStateFinished, task.GetTaskState());
}

} // namespace
