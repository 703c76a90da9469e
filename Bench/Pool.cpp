// The thread pool against the platform's: empty tasks through four workers against
// TrySubmitThreadpoolCallback with a completion count, and the time from Execute to Run against
// one thread-message round trip, all in the same run.
#include <Oskal/Lib/Threading/UThreadPool.h>
#include <Oskal/Lib/Threading/UThreadPoolTask.h>

#include "BenchReport.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

using namespace Oskal::Lib::Threading;

namespace
{

const int kTasks = 20000;
const int kRounds = 2000;
const int kRuns = 5;

class EmptyTask : public UThreadPoolTask
{
public:
    void Run() override {}
};

class StampTask : public UThreadPoolTask
{
public:
    void Run() override { QueryPerformanceCounter(&ran); }
    LARGE_INTEGER ran;
};

double Ticks()
{
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(frequency.QuadPart);
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

struct OsPoolRun
{
    volatile LONG remaining;
    HANDLE done;
};

void CALLBACK OsCallback(PTP_CALLBACK_INSTANCE, PVOID pv)
{
    OsPoolRun* run = static_cast<OsPoolRun*>(pv);
    if (InterlockedDecrement(&run->remaining) == 0)
        SetEvent(run->done);
}

// Tasks per second through the pool and through the platform's pool. Their runs alternate, so
// that a stretch of load from elsewhere on the machine weighs on both alike.
double PoolTasksPerSecond(double& osRate)
{
    UThreadPool pool(4, 4, 0xFFFFFFFF);
    std::vector<std::unique_ptr<EmptyTask>> tasks;
    for (int i = 0; i < kTasks; ++i)
        tasks.emplace_back(new EmptyTask());
    OsPoolRun run;
    run.done = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    double seconds = 1e30, osSeconds = 1e30;
    for (int i = 0; i < kRuns; ++i)
    {
        osSeconds = std::min(osSeconds, OskalBench::BestOf(1, [&] {
                                 run.remaining = kTasks;
                                 for (int i = 0; i < kTasks; ++i)
                                     while (!TrySubmitThreadpoolCallback(&OsCallback, &run, nullptr))
                                         Sleep(0);
                                 WaitForSingleObject(run.done, INFINITE);
                             }));
        seconds = std::min(seconds, OskalBench::BestOf(1, [&] {
                               for (auto& task : tasks)
                                   pool.Execute(task.get(), INFINITE);
                               for (auto& task : tasks)
                                   task->WaitForTaskToExit(INFINITE);
                           }));
    }
    CloseHandle(run.done);
    osRate = kTasks / osSeconds;
    return kTasks / seconds;
}

// Median microseconds from Execute to Run; also where they go: the Execute call itself (slot,
// task lock, post) and the rest (manager wakes, assigns, worker wakes).
double PoolLatency(double& executeCall)
{
    UThreadPool pool(4, 4, 0xFFFFFFFF);
    StampTask task;
    std::vector<double> total, call;
    const double perMicrosecond = Ticks() / 1e6;
    for (int i = 0; i < kRounds; ++i)
    {
        LARGE_INTEGER start, posted;
        QueryPerformanceCounter(&start);
        pool.Execute(&task, INFINITE);
        QueryPerformanceCounter(&posted);
        task.WaitForTaskToExit(INFINITE);
        total.push_back((task.ran.QuadPart - start.QuadPart) / perMicrosecond);
        call.push_back((posted.QuadPart - start.QuadPart) / perMicrosecond);
        // Let the worker get back to the free list before the next round.
        while (pool.GetUsedThreadCount() != 0)
            Sleep(0);
    }
    executeCall = Median(call);
    return Median(total);
}

DWORD WINAPI Echo(LPVOID pv)
{
    DWORD mainThread = *static_cast<DWORD*>(pv);
    MSG msg;
    PeekMessageW(&msg, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
    *static_cast<DWORD*>(pv) = 0;
    while (GetMessageW(&msg, nullptr, 0, 0) > 0)
        PostThreadMessageW(mainThread, WM_USER + 2, 0, 0);
    return 0;
}

double MessageRoundTrip()
{
    MSG msg;
    PeekMessageW(&msg, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
    volatile DWORD handshake = GetCurrentThreadId();
    DWORD echoId = 0;
    HANDLE echo = CreateThread(nullptr, 0, &Echo, const_cast<DWORD*>(&handshake), 0, &echoId);
    while (handshake != 0)
        Sleep(0);
    std::vector<double> rounds;
    const double perMicrosecond = Ticks() / 1e6;
    for (int i = 0; i < kRounds; ++i)
    {
        LARGE_INTEGER start, end;
        QueryPerformanceCounter(&start);
        PostThreadMessageW(echoId, WM_USER + 1, 0, 0);
        GetMessageW(&msg, nullptr, WM_USER + 2, WM_USER + 2);
        QueryPerformanceCounter(&end);
        rounds.push_back((end.QuadPart - start.QuadPart) / perMicrosecond);
    }
    PostThreadMessageW(echoId, WM_QUIT, 0, 0);
    WaitForSingleObject(echo, INFINITE);
    CloseHandle(echo);
    return Median(rounds);
}

// Microseconds for one post and one read of a thread message on the same thread: no thread is
// woken, so this is the bare price of the two wine server calls that each of a task's two
// messages costs.
double PostAndRead()
{
    MSG msg;
    PeekMessageW(&msg, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
    LARGE_INTEGER start, end;
    QueryPerformanceCounter(&start);
    for (int i = 0; i < kRounds; ++i)
        PostThreadMessageW(GetCurrentThreadId(), WM_USER + 1, 0, 0), PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE);
    QueryPerformanceCounter(&end);
    return (end.QuadPart - start.QuadPart) / (Ticks() / 1e6) / kRounds;
}

} // namespace

int main()
{
    double osRate = 0;
    double poolRate = PoolTasksPerSecond(osRate);
    OskalBench::Report("pool.tasks", poolRate, "tasks/s", "ospool.tasks", osRate);
    std::printf("INFO pool.tasks: %.2f us a task; its two messages, posted and read, cost 2 x %.2f us of that\n",
                1e6 / poolRate, PostAndRead());

    double roundTrip = MessageRoundTrip();
    double executeCall = 0;
    double latency = PoolLatency(executeCall);
    OskalBench::Report("pool.latency", latency, "us", "msg.roundtrip", roundTrip);
    std::printf("INFO pool.latency: Execute call %.2f us, manager and worker hand-offs %.2f us\n", executeCall,
                latency - executeCall);
    return 0;
}
