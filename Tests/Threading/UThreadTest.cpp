#include <Oskal/Lib/Threading/UCriticalSection.h>
#include <Oskal/Lib/Threading/UCriticalSectionAutoLock.h>
#include <Oskal/Lib/Threading/UThread.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UTimeoutException.h>

#include <Support/ChildProcess.h>
#include <Support/SkewedStack.h>

#include <gtest/gtest.h>

#include <functional>

using namespace Oskal::Lib::Threading;
using Oskal::Lib::Exceptions::UArgumentException;
using Oskal::Lib::Exceptions::UTimeoutException;

namespace
{

// A procedure given as a function, with a gate it waits at when asked to.
class Proc : public IThreadProc
{
public:
    explicit Proc(std::function<unsigned long(void*, void*, void*)> fn) : m_fn(std::move(fn)) {}
    unsigned long ThreadProc(void* pArg1, void* pArg2, void* pArg3) override { return m_fn(pArg1, pArg2, pArg3); }

private:
    std::function<unsigned long(void*, void*, void*)> m_fn;
};

struct Event
{
    Event() : h(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~Event() { CloseHandle(h); }
    void Set() { SetEvent(h); }
    void Wait() { WaitForSingleObject(h, INFINITE); }
    HANDLE h;
};

TEST(UThread, RunsTheProcedureWithItsArgumentsAndKeepsTheExitCode)
{
    OskalTests::RunOnSkewedStacks("UThread::ThreadEntry", [] {
        void* seen[3] = {};
        unsigned long threadId = 0;
        Proc proc([&](void* a, void* b, void* c) {
            seen[0] = a;
            seen[1] = b;
            seen[2] = c;
            threadId = GetCurrentThreadId();
            return 42UL;
        });
        UThread thread;
        EXPECT_EQ(0UL, thread.GetExitCode());
        EXPECT_EQ(0UL, thread.GetThreadId());
        EXPECT_EQ(0, thread.IsActive());
        thread.Join(0); // no thread: returns at once
        int a = 0, b = 0, c = 0;
        ASSERT_EQ(1, thread.Start(&proc, &a, &b, &c));
        EXPECT_NE(0UL, thread.GetThreadId());
        thread.Join(INFINITE);
        EXPECT_EQ(0, thread.IsActive());
        EXPECT_EQ(42UL, thread.GetExitCode());
        EXPECT_EQ(&a, seen[0]);
        EXPECT_EQ(&b, seen[1]);
        EXPECT_EQ(&c, seen[2]);
        EXPECT_EQ(threadId, thread.GetThreadId());

        // An ended thread's object starts afresh.
        ASSERT_EQ(1, thread.Start(&proc));
        thread.Join(INFINITE);
        EXPECT_EQ(nullptr, seen[0]);
    });
}

TEST(UThread, StartOnARunningThreadAndJoinTimeOut)
{
    Event gate;
    Proc proc([&](void*, void*, void*) {
        gate.Wait();
        return 7UL;
    });
    UThread thread;
    EXPECT_THROW(thread.Start(nullptr), UArgumentException);
    ASSERT_EQ(1, thread.Start(&proc));
    unsigned long id = thread.GetThreadId();
    EXPECT_EQ(0, thread.Start(&proc));
    EXPECT_EQ(id, thread.GetThreadId());
    EXPECT_EQ(1, thread.IsActive());
    EXPECT_EQ(static_cast<unsigned long>(STILL_ACTIVE), thread.GetExitCode());
    try
    {
        thread.Join(0);
        FAIL() << "Join(0) returned while the thread runs";
    }
    catch (const UTimeoutException& e)
    {
        EXPECT_STREQ(L"Waiting for the thread to join timed out.", e.GetMessageText());
    }
    gate.Set();
    thread.Join(INFINITE);
    EXPECT_EQ(7UL, thread.GetExitCode());
}

TEST(UThread, SuspendedTerminationTakesEffectAtTheLastResume)
{
    OSKAL_RUN_IN_CHILD(20000);
    UThread thread;
    Event suspended, requested;
    int reachedEnd = 0;
    Proc proc([&](void*, void*, void*) {
        thread.SuspendTermination();
        thread.SuspendTermination();
        suspended.Set();
        requested.Wait();
        thread.ResumeTermination(); // counter 1: goes on
        reachedEnd = 1;
        thread.ResumeTermination(); // counter 0: ends here
        reachedEnd = 2;
        return 0UL;
    });
    EXPECT_EQ(1, thread.RequestTermination(5)); // no thread
    ASSERT_EQ(1, thread.Start(&proc));
    suspended.Wait();
    EXPECT_EQ(0, thread.RequestTermination(0x1234));
    requested.Set();
    thread.Join(INFINITE);
    EXPECT_EQ(1, reachedEnd);
    EXPECT_EQ(0x1234UL, thread.GetExitCode());

    // The counter never goes below 0: a later pending request is not delayed by extra resumes.
    Proc extra([&](void*, void*, void*) {
        thread.ResumeTermination();
        thread.SuspendTermination();
        suspended.Set();
        requested.Wait();
        thread.ResumeTermination();
        return 0UL;
    });
    ResetEvent(suspended.h);
    ResetEvent(requested.h);
    ASSERT_EQ(1, thread.Start(&extra));
    suspended.Wait();
    EXPECT_EQ(0, thread.RequestTermination(9));
    requested.Set();
    thread.Join(INFINITE);
    EXPECT_EQ(9UL, thread.GetExitCode());
}

TEST(UThread, ImmediateAndForcedTermination)
{
    OSKAL_RUN_IN_CHILD(20000);
    const struct
    {
        bool force;
        bool suspend;
    } cases[] = {{false, false}, {true, false}, {true, true}};
    for (const auto& c : cases)
    {
        UThread thread;
        Event running;
        Proc spin([&](void*, void*, void*) {
            if (c.suspend)
                thread.SuspendTermination();
            running.Set();
            for (;;)
                Sleep(1);
            return 0UL;
        });
        ASSERT_EQ(1, thread.Start(&spin));
        running.Wait();
        if (c.force)
            thread.ForceTermination(3);
        else
            EXPECT_EQ(1, thread.RequestTermination(3));
        // The handle is gone, and with it the thread: nothing is left to join.
        EXPECT_EQ(0UL, thread.GetThreadId());
        EXPECT_EQ(0, thread.IsActive());
        thread.Join(0);
    }
}

TEST(UThread, DestructorJoinsAThreadThatStillUsesItsObject)
{
    Event started;
    UThread* thread = new UThread();
    int resumed = 0;
    Proc proc([&](void*, void*, void*) {
        thread->SuspendTermination();
        started.Set();
        Sleep(20);
        thread->ResumeTermination();
        resumed = 1;
        return 0UL;
    });
    ASSERT_EQ(1, thread->Start(&proc));
    started.Wait();
    delete thread;
    EXPECT_EQ(1, resumed);
}

TEST(UCriticalSection, GuardIsReentrantAndExcludesOtherThreads)
{
    UCriticalSection cs;
    long counter = 0;
    Proc add([&](void*, void*, void*) {
        for (int i = 0; i < 20000; ++i)
        {
            UCriticalSectionAutoLock outer(cs);
            UCriticalSectionAutoLock inner(cs);
            long value = counter;
            counter = value + 1;
        }
        return 0UL;
    });
    UThread threads[3];
    for (UThread& t : threads)
        ASSERT_EQ(1, t.Start(&add));
    for (UThread& t : threads)
        t.Join(INFINITE);
    EXPECT_EQ(60000, counter);
}

} // namespace
