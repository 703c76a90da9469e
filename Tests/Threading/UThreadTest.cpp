#include "ThreadTestSupport.h"
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UTimeoutException.h>
#include <Support/ChildProcess.h>
#include <Support/SkewedStack.h>
#include <gtest/gtest.h>

using namespace PoolTests;
using Oskal::Lib::Exceptions::UArgumentException;
using Oskal::Lib::Exceptions::UTimeoutException;

namespace
{

TEST(UThread, RunsTheProcedureKeepsTheExitCodeAndLeavesARunningThreadAlone)
{
    OskalTests::RunOnSkewedStacks("UThread::ThreadEntry", [] {
        void* seen[3] = {};
        Call proc([&](void* a, void* b, void* c) { return seen[0] = a, seen[1] = b, seen[2] = c, 42UL; });
        UThread thread;
        EXPECT_TRUE(thread.GetExitCode() == 0 && thread.IsActive() == 0);
        thread.Join(0); // no thread: returns at once
        int a = 0, b = 0, c = 0;
        ASSERT_EQ(1, thread.Start(&proc, &a, &b, &c));
        thread.Join(INFINITE);
        EXPECT_TRUE(thread.IsActive() == 0 && thread.GetExitCode() == 42);
        EXPECT_TRUE(seen[0] == &a && seen[1] == &b && seen[2] == &c);
        ASSERT_EQ(1, thread.Start(&proc)); // an ended thread's object starts afresh
        thread.Join(INFINITE);
        EXPECT_EQ(nullptr, seen[0]);
    });
    Gate gate; // Start leaves a running thread alone; Join times out
    Call proc([&](void*, void*, void*) { return WaitForSingleObject(gate.h, INFINITE) + 7UL; });
    UThread thread;
    EXPECT_THROW(thread.Start(nullptr), UArgumentException);
    ASSERT_EQ(1, thread.Start(&proc));
    const unsigned long id = thread.GetThreadId();
    EXPECT_EQ(0, thread.Start(&proc)); // the running thread is left alone
    EXPECT_TRUE(thread.GetThreadId() == id && thread.IsActive() == 1 && thread.GetExitCode() == 259);
    EXPECT_EQ(L"Waiting for the thread to join timed out.", Thrown<UTimeoutException>([&] { thread.Join(0); }));
    SetEvent(gate.h), thread.Join(INFINITE);
    EXPECT_EQ(7UL, thread.GetExitCode());
}

TEST(UThread, TerminationImmediateOrDeferredToTheLastResume)
{
    OSKAL_RUN_IN_CHILD(20000);
    // The thread first resumes (never below 0) and suspends termination so many times; then it is
    // forced or asked to end.
    const struct { int resumes, suspends; bool force; unsigned long exitCode; } cases[] = {
        {0, 0, false, 0}, {0, 0, true, 0}, {0, 1, true, 0}, {0, 2, false, 0x1234}, {3, 1, false, 9}};
    for (const auto& c : cases)
    {
        UThread thread;
        Gate ready, requested;
        volatile int reached = 0;
        Call proc([&](void*, void*, void*) {
            for (int i = 0; i < c.resumes; ++i)
                thread.ResumeTermination();
            for (int i = 0; i < c.suspends; ++i)
                thread.SuspendTermination();
            SetEvent(ready.h), (c.suspends == 0 || c.force) ? Spin() : void();
            WaitForSingleObject(requested.h, INFINITE);
            for (int i = 0; i < c.suspends; ++i, ++reached)
                thread.ResumeTermination();
            return 0UL;
        });
        EXPECT_EQ(1, thread.RequestTermination(5)); // no thread
        ASSERT_EQ(1, thread.Start(&proc));
        WaitForSingleObject(ready.h, INFINITE);
        if (c.force)
            thread.ForceTermination(3);
        else
            EXPECT_EQ(c.suspends == 0 ? 1 : 0, thread.RequestTermination(c.exitCode));
        SetEvent(requested.h), thread.Join(INFINITE);
        if (c.force || c.suspends == 0)
            EXPECT_EQ(0UL, thread.GetThreadId()); // closed only once the thread was gone
        else
            EXPECT_TRUE(reached == c.suspends - 1 && thread.GetExitCode() == c.exitCode); // ended in the last resume
    }
}

TEST(UThread, DestructorJoinsAThreadThatStillUsesItsObject)
{
    OSKAL_RUN_IN_CHILD(20000);
    Gate started;
    UThread* thread = new UThread();
    volatile int resumed = 0;
    Call proc([&](void*, void*, void*) {
        thread->SuspendTermination();
        SetEvent(started.h), Sleep(20);
        return thread->ResumeTermination(), resumed = 1, 0UL;
    });
    ASSERT_EQ(1, thread->Start(&proc));
    WaitForSingleObject(started.h, INFINITE);
    delete thread;
    EXPECT_EQ(1, resumed);
}

} // namespace
