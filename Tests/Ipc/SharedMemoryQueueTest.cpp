// The queue's rules within one process: layout, filling, overwriting and loss counting,
// orphans, protection, and misuse.
#include "QueueTestSupport.h"

#include <Oskal/Lib/Ipc/USharedMemory.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UInvalidOperationException.h>
#include <Oskal/Lib/UTimeoutException.h>
#include <Oskal/Lib/UWin32Exception.h>

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

using namespace QueueTests;
using namespace Oskal::Lib::Exceptions;
using Oskal::Lib::Ipc::USharedMemory;

namespace
{

// The message of the exception of type E that fn throws.
template <typename E, typename F> std::wstring ThrownMessage(F fn)
{
    try
    {
        fn();
    }
    catch (const E& e)
    {
        return e.GetMessageText();
    }
    return L"no exception";
}

TEST(SharedMemory, OpenerSeesWholePages)
{
    const std::wstring name = UniqueName();
    USharedMemory creator, opener, again;
    creator.Create(name.c_str(), 100);
    opener.Open(name.c_str());
    EXPECT_EQ(100u, creator.GetBufferSize());
    EXPECT_EQ(4096u, opener.GetBufferSize());
    static_cast<char*>(creator.GetBuffer())[99] = 'x';
    EXPECT_EQ('x', static_cast<const char*>(opener.GetBuffer())[99]);
    EXPECT_EQ(L"Shared memory region with the specified name exists already.",
              ThrownMessage<UWin32Exception>([&] { again.Create(name.c_str(), 100); }));
    EXPECT_FALSE(again.IsInited());
    opener.Close();
    opener.Close();
    EXPECT_EQ(nullptr, opener.GetBuffer());
}

TEST(SharedMemoryQueue, RegionLayout)
{
    const std::wstring name = UniqueName();
    USharedMemoryQueue queue(0);
    queue.Create(name.c_str(), 100, 3, 70);
    const unsigned long* pulWords = reinterpret_cast<unsigned long*>(HeaderOf(queue));
    EXPECT_EQ(0, std::memcmp(pulWords, "ORIN", 4));
    const unsigned long aulExpected[] = {3, 100, 128, 0, 2, kNone, kNone, 70, 0, 0, 0, 0, 0, 0, 0};
    for (int i = 0; i < 15; ++i)
        EXPECT_EQ(aulExpected[i], pulWords[i + 1]) << "header word " << i + 1;
    // The user-specific data takes 128 bytes, then come the blocks, 128 bytes each, linked in order.
    for (unsigned long i = 0; i < 3; ++i)
        EXPECT_EQ(i < 2 ? i + 1 : kNone, pulWords[(192 + 128 * i) / 4]) << "block " << i;
    void* pBlock = queue.BeginWriting(nullptr, 0);
    EXPECT_EQ(reinterpret_cast<const char*>(pulWords) + 192 + 16, pBlock);
    queue.EndWriting(pBlock, 5, 1);
    const unsigned long aulBlock0[] = {kNone, 7, 5, 0}; // protected, first and last
    EXPECT_EQ(0, std::memcmp(aulBlock0, pulWords + 48, 16));
    EXPECT_EQ(0u, pulWords[6]);
    EXPECT_EQ(0u, pulWords[7]);

    const unsigned long aulSizes[][2] = {{0, 64}, {48, 64}, {49, 128}, {496, 512}};
    for (const auto& sizes : aulSizes)
    {
        USharedMemoryQueue other(0);
        other.Create(UniqueName().c_str(), sizes[0], 2, 0);
        EXPECT_EQ(sizes[1], other.GetRealBlockSize()) << sizes[0];
    }
    USharedMemoryQueue opener(0);
    opener.Open(name.c_str());
    EXPECT_EQ(3u, opener.GetNumberOfBlocks());
    EXPECT_EQ(100u, opener.GetBlockSize());
    EXPECT_EQ(70u, opener.GetUserSpecificDataSize());
}

TEST(SharedMemoryQueue, FillingOverwritingAndProtection)
{
    USharedMemoryQueue plain(0), overwriting(1);
    plain.Create(UniqueName().c_str(), 16, 4, 0);
    overwriting.Create(UniqueName().c_str(), 16, 4, 0);
    for (int i = 1; i <= 4; ++i)
        EXPECT_TRUE(Put(plain, static_cast<unsigned char>(i)));
    EXPECT_FALSE(Put(plain, 5));
    EXPECT_EQ(1, Take(plain));
    EXPECT_TRUE(Put(plain, 6));
    EXPECT_EQ((Entries{{2, 0}, {3, 0}, {4, 0}, {6, 0}}), Drain(plain)) << "no loss without overwrite";

    HANDLE hEvent = overwriting.GetDataAvailableEvent();
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(hEvent, 0));
    for (int i = 0; i <= 5; ++i)
        EXPECT_TRUE(Put(overwriting, static_cast<unsigned char>(i)));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hEvent, 0));
    // 0 went first, then 1 with 0's drop: 2 carries both.
    EXPECT_EQ((Entries{{2, 2}, {3, 0}, {4, 0}, {5, 0}}), Drain(overwriting));
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(hEvent, 0));

    // Protected entries survive and are charged like others; with all protected a writer gets nothing.
    for (int i : {10, 11, 12, 13, 14})
        EXPECT_TRUE(Put(overwriting, static_cast<unsigned char>(i), i != 11));
    EXPECT_FALSE(Put(overwriting, 15));
    EXPECT_EQ((Entries{{10, 2}, {12, 0}, {13, 0}, {14, 0}}), Drain(overwriting));
}

TEST(SharedMemoryQueue, OrphansAreSkippedAndReclaimedFirst)
{
    USharedMemoryQueue queue(1);
    queue.Create(UniqueName().c_str(), 16, 4, 0);
    void* apBlocks[3];
    unsigned long aulSizes[3] = {1, 1, 1};
    for (int i = 0; i < 3; ++i)
        *static_cast<unsigned char*>(apBlocks[i] = queue.BeginWriting(nullptr, 0)) = static_cast<unsigned char>(10 + i);
    queue.EndWritingSequence(apBlocks, aulSizes, 3, 0);
    Put(queue, 20);
    Put(queue, 30); // reclaims 10; 11 and 12 become orphans
    Put(queue, 40); // reclaims the orphan 11, which costs nothing
    EXPECT_EQ((Entries{{20, 1}, {30, 0}, {40, 0}}), Drain(queue));
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(Put(queue, 50, 1)) << "the orphans went back to the free list";
}

TEST(SharedMemoryQueue, AbortReadingWaitsForTheNextWrite)
{
    USharedMemoryQueue queue(0);
    queue.Create(UniqueName().c_str(), 16, 4, 0);
    Put(queue, 1);
    queue.AbortReading(queue.BeginReading(nullptr, nullptr, 0));
    EXPECT_EQ(-1, Take(queue)) << "the semaphore is not raised again";
    Put(queue, 2);
    EXPECT_EQ((Entries{{1, 0}}), Drain(queue));
    Put(queue, 3);
    EXPECT_EQ((Entries{{2, 0}}), Drain(queue));
}

TEST(SharedMemoryQueue, LocalLostCount)
{
    USharedMemoryQueue queue(1);
    queue.Create(UniqueName().c_str(), 16, 2, 0);
    // A drop with no entry queued to carry it waits for the next entry of an empty queue;
    // a sequence does not take it, a single block does.
    void* apBlocks[2] = {queue.BeginWriting(nullptr, 0), queue.BeginWriting(nullptr, 0)};
    EXPECT_EQ(nullptr, queue.BeginWriting(nullptr, 0));
    unsigned long aulSizes[2] = {1, 1};
    queue.EndWritingSequence(apBlocks, aulSizes, 2, 0);
    EXPECT_EQ(0u, Drain(queue)[0].second);
    Put(queue, 1);
    EXPECT_EQ((Entries{{1, 1}}), Drain(queue));

    // Reclaiming the last queued entry counts one drop, not the drops that entry carried.
    Put(queue, 2);
    Put(queue, 3);
    void* pHeld = queue.BeginWriting(nullptr, 0);  // reclaims 2, charged to 3
    void* pHeld2 = queue.BeginWriting(nullptr, 0); // reclaims 3 with its drop
    *static_cast<unsigned char*>(pHeld) = 4;
    queue.EndWriting(pHeld, 1, 0);
    queue.AbortWriting(pHeld2);
    EXPECT_EQ((Entries{{4, 1}}), Drain(queue));
}

TEST(SharedMemoryQueue, Misuse)
{
    USharedMemoryQueue queue(0);
    queue.EndWriting(nullptr, 0, 0);
    EXPECT_EQ(L"Queue is not initialized, call Create() or Open() to initialize it.",
              ThrownMessage<UInvalidOperationException>([&] { queue.BeginWriting(nullptr, 0); }));
    EXPECT_THROW(queue.Create(UniqueName().c_str(), 16, 0, 0), UArgumentException);
    EXPECT_THROW(queue.Create(UniqueName().c_str(), 100, 0x2000000, 0), UArgumentException);
    EXPECT_THROW(queue.Create(std::wstring(260, L'x').c_str(), 16, 1, 0), UArgumentException);
    const std::wstring name = UniqueName();
    queue.Create(name.c_str(), 16, 4, 0);
    USharedMemoryQueue second(0);
    EXPECT_THROW(second.Create(name.c_str(), 16, 4, 0), UWin32Exception);

    unsigned long ulBlockSize = 0;
    unsigned char* pbyBlock = static_cast<unsigned char*>(queue.BeginWriting(&ulBlockSize, 0));
    EXPECT_EQ(16u, ulBlockSize);
    EXPECT_THROW(queue.EndWriting(pbyBlock + 1, 1, 0), UArgumentException);
    EXPECT_THROW(queue.EndWriting(&ulBlockSize, 1, 0), UArgumentException);
    EXPECT_THROW(queue.EndWriting(pbyBlock, 17, 0), UArgumentException);
    void* apTwice[2] = {pbyBlock, pbyBlock};
    unsigned long aulSizes[2] = {1, 1};
    EXPECT_THROW(queue.EndWritingSequence(apTwice, aulSizes, 2, 0), UArgumentException);
    queue.EndWritingSequence(apTwice, aulSizes, 0, 0);
    queue.EndWritingSequence(apTwice, nullptr, 2, 0);
    EXPECT_EQ(-1, Take(queue));
    *pbyBlock = 9;
    queue.EndWriting(pbyBlock, 16, 0);
    EXPECT_EQ((Entries{{9, 0}}), Drain(queue));
}

TEST(SharedMemoryQueue, OpenFailures)
{
    // Named objects that exist (mutex, semaphore), and what Open then reports.
    const std::pair<int, const wchar_t*> cases[] = {
        {0, L"Opening the mutex protecting the shared memory queue failed."},
        {1, L"Opening the 'used block list' semaphore failed."},
        {2, L"Opening the event indicating blocks in the queue failed.."}};
    for (const auto& c : cases)
    {
        const std::wstring name = UniqueName();
        USharedMemory region;
        region.Create(name.c_str(), 4096);
        const unsigned long aulHeader[] = {0, 1, 0, 64, 0, 0, kNone, kNone, 0};
        std::memcpy(region.GetBuffer(), aulHeader, sizeof(aulHeader));
        HANDLE hMutex = c.first > 0 ? CreateMutexW(nullptr, FALSE, (name + L" - QPM").c_str()) : nullptr;
        HANDLE hSemaphore = c.first > 1 ? CreateSemaphoreW(nullptr, 0, 1, (name + L" - UBAS").c_str()) : nullptr;
        USharedMemoryQueue queue(0);
        EXPECT_EQ(c.second, ThrownMessage<UWin32Exception>([&] { queue.Open(name.c_str()); }));
        EXPECT_EQ(0u, queue.GetNumberOfBlocks());
        CloseHandle(hMutex);
        CloseHandle(hSemaphore);
    }
}

TEST(SharedMemoryQueue, MutexTimeoutGivesTheReadersCountBack)
{
    const std::wstring name = UniqueName();
    USharedMemoryQueue queue(0);
    queue.Create(name.c_str(), 16, 4, 0);
    Put(queue, 7);
    HANDLE hHeld = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE hRelease = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread holder([&] {
        HANDLE hMutex = OpenMutexW(SYNCHRONIZE | MUTEX_MODIFY_STATE, FALSE, (name + L" - QPM").c_str());
        WaitForSingleObject(hMutex, INFINITE);
        SignalObjectAndWait(hHeld, hRelease, INFINITE, FALSE);
        ReleaseMutex(hMutex);
        CloseHandle(hMutex);
    });
    WaitForSingleObject(hHeld, INFINITE);
    EXPECT_EQ(L"Waiting for mutex protecting the shared memory queue timed out.",
              ThrownMessage<UTimeoutException>([&] { queue.BeginReading(nullptr, nullptr, INFINITE); }));
    SetEvent(hRelease);
    holder.join();
    EXPECT_EQ(7, Take(queue));
    CloseHandle(hHeld);
    CloseHandle(hRelease);
}

} // namespace
