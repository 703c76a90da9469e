// Single-block queue entries handed from one process to another, against named-event round trips
// between the same two processes in the same run. The program starts a copy of itself for the
// other side: "BenchQueue.exe echo <name> <rounds>" or "BenchQueue.exe writer <name> <entries>".
#include "BenchProcess.h"

#include <Oskal/Lib/Ipc/USharedMemoryQueue.h>

#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string>

using Oskal::Lib::Ipc::USharedMemoryQueue;
using namespace OskalBench;

namespace
{

const unsigned long kRounds = 15000;
const unsigned long kEntries = 30000;
const unsigned long kBlockSize = 64;
const unsigned long kBlocks = 256;
const int kRuns = 3;

std::wstring Name(const wchar_t* pszWhat, int run)
{
    return std::wstring(L"OskalBenchQueue ") + pszWhat + L" " + std::to_wstring(GetCurrentProcessId()) + L"." +
           std::to_wstring(run);
}

// Entries per second read by this side while the copy writes them; *pdRetries gets the writer's
// refused claims per entry (the queue was full).
double QueueEntries(int run, double* pdRetries)
{
    const std::wstring name = Name(L"queue", run);
    USharedMemoryQueue queue(0);
    queue.Create(name.c_str(), kBlockSize, kBlocks, 0);
    HANDLE hCopy = StartCopy(L"writer \"" + name + L"\" " + std::to_wstring(kEntries));
    double start = 0;
    for (unsigned long i = 0; i < kEntries; ++i)
    {
        unsigned long ulSize = 0;
        unsigned char* pbyBlock = static_cast<unsigned char*>(queue.BeginReading(&ulSize, nullptr, INFINITE));
        unsigned long ulSequence = 0;
        std::memcpy(&ulSequence, pbyBlock, 4);
        if (ulSequence != i || ulSize != kBlockSize)
            std::printf("# queue mismatch: entry %lu arrived as %lu\n", i, ulSequence);
        queue.EndReading(pbyBlock);
        if (i == 0)
            start = Now();
    }
    const double elapsed = Now() - start;
    *pdRetries = static_cast<double>(Finish(hCopy)) / kEntries;
    return (kEntries - 1) / elapsed;
}

// Returns the number of claims the full queue refused.
int Writer(const wchar_t* pszName, unsigned long ulEntries)
{
    USharedMemoryQueue queue(0);
    queue.Open(pszName);
    int retries = 0;
    for (unsigned long i = 0; i < ulEntries; ++i)
    {
        void* pBlock;
        while ((pBlock = queue.BeginWriting(nullptr, 0)) == nullptr)
        {
            ++retries;
            Sleep(0);
        }
        std::memcpy(pBlock, &i, 4);
        queue.EndWriting(pBlock, kBlockSize, 0);
    }
    return retries;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc == 4 && std::wcscmp(argv[1], L"echo") == 0)
        return Echo(argv[2], std::wcstoul(argv[3], nullptr, 10));
    if (argc == 4 && std::wcscmp(argv[1], L"writer") == 0)
        return Writer(argv[2], std::wcstoul(argv[3], nullptr, 10));

    double bestEvents = 0, bestEntries = 0, retries = 0;
    for (int run = 0; run < kRuns; ++run)
    {
        const double events = EventRoundTrips(Name(L"event", run), kRounds);
        double runRetries = 0;
        const double entries = QueueEntries(run, &runRetries);
        if (events > bestEvents)
            bestEvents = events;
        if (entries > bestEntries)
            bestEntries = entries, retries = runRetries;
    }
    Report("queue.entries", bestEntries, "entries/s", "event.roundtrips", bestEvents);
    // Writer: mutex wait and release to claim, mutex wait and release plus the semaphore to append
    // (the event only when the queue was empty). Reader: semaphore wait, mutex wait and release to
    // take, the same to free (the event reset when the queue runs empty). A refused claim costs two.
    std::printf("# queue.entries: 10 kernel-object calls per entry, +1 set and +1 reset of the event "
                "each time the queue runs empty, +%.2f for refused claims\n",
                2 * retries);
    return 0;
}
