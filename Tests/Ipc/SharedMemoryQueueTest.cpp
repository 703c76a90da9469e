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
#include <vector>

using namespace QueueTests;
using Oskal::Lib::Exceptions::UArgumentException;
using Oskal::Lib::Exceptions::UException;
using Oskal::Lib::Exceptions::UInvalidOperationException;
using Oskal::Lib::Exceptions::UTimeoutException;
using Oskal::Lib::Exceptions::UWin32Exception;
using Oskal::Lib::Ipc::USharedMemory;

namespace
{

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
    try
    {
        again.Create(name.c_str(), 100);
        FAIL();
    }
    catch (const UWin32Exception& e)
    {
        EXPECT_STREQ(L"Shared memory region with the specified name exists already.", e.GetMessageText());
        EXPECT_EQ(183u, e.GetErrorCode());
    }
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
    USharedMemory region;
    region.Open(name.c_str());
    const unsigned long* pulWords = static_cast<const unsigned long*>(region.GetBuffer());
    EXPECT_EQ(0, std::memcmp(pulWords, "ORIN", 4));
    const unsigned long aulExpected[] = {3, 100, 128, 0, 2, kNone, kNone, 70, 0, 0, 0, 0, 0, 0, 0};
    for (int i = 0; i < 15; ++i)
        EXPECT_EQ(aulExpected[i], pulWords[i + 1]) << "header word " << i + 1;
    // The user-specific data takes 128 bytes, then come the blocks, 128 bytes each, linked in order.
    for (unsigned long i = 0; i < 3; ++i)
        EXPECT_EQ(i < 2 ? i + 1 : kNone, pulWords[(192 + 128 * i) / 4]) << "block " << i;
    unsigned char* pbyRegion = static_cast<unsigned char*>(queue.GetUserSpecificDataBuffer()) - 64;
    void* pBlock = queue.BeginWriting(nullptr, 0);
    EXPECT_EQ(pbyRegion + 192 + 16, pBlock);
    queue.EndWriting(pBlock, 5, 1);
    EXPECT_EQ(7u, pulWords[192 / 4 + 1]); // protected, first and last
    EXPECT_EQ(5u, pulWords[192 / 4 + 2]);
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

TEST(SharedMemoryQueue, FullQueueWithoutOverwrite)
{
    USharedMemoryQueue queue(0);
    queue.Create(UniqueName().c_str(), 16, 4, 0);
    for (int i = 1; i <= 4; ++i)
        EXPECT_TRUE(Put(queue, static_cast<unsigned char>(i)));
    EXPECT_FALSE(Put(queue, 5));
    EXPECT_EQ(1, Take(queue));
    EXPECT_TRUE(Put(queue, 6));
    for (int expected : {2, 3, 4, 6})
    {
        unsigned long ulLost = 99;
        EXPECT_EQ(expected, Take(queue, &ulLost));
        EXPECT_EQ(0u, ulLost) << "no loss is counted without overwrite";
    }
    EXPECT_EQ(-1, Take(queue));
}

TEST(SharedMemoryQueue, OverwriteChargesDropsToTheOldestEntry)
{
    USharedMemoryQueue queue(1);
    queue.Create(UniqueName().c_str(), 16, 4, 0);
    HANDLE hEvent = queue.GetDataAvailableEvent();
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(hEvent, 0));
    for (int i = 0; i <= 5; ++i)
        EXPECT_TRUE(Put(queue, static_cast<unsigned char>(i)));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hEvent, 0));
    // 0 went first, then 1 with 0's drop: 2 carries both.
    const int aiExpected[][2] = {{2, 2}, {3, 0}, {4, 0}, {5, 0}};
    for (const auto& expected : aiExpected)
    {
        unsigned long ulLost = 99;
        EXPECT_EQ(expected[0], Take(queue, &ulLost));
        EXPECT_EQ(static_cast<unsigned long>(expected[1]), ulLost);
    }
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(hEvent, 0));

    // Protected entries survive and are charged like any other; with every entry protected a
    // writer gets nothing.
    EXPECT_TRUE(Put(queue, 10, 1));
    EXPECT_TRUE(Put(queue, 11));
    EXPECT_TRUE(Put(queue, 12, 1));
    EXPECT_TRUE(Put(queue, 13, 1));
    EXPECT_TRUE(Put(queue, 14, 1)); // reclaims 11
    EXPECT_FALSE(Put(queue, 15));
    const int aiProtected[][2] = {{10, 2}, {12, 0}, {13, 0}, {14, 0}};
    for (const auto& expected : aiProtected)
    {
        unsigned long ulLost = 99;
        EXPECT_EQ(expected[0], Take(queue, &ulLost));
        EXPECT_EQ(static_cast<unsigned long>(expected[1]), ulLost);
    }
}

TEST(SharedMemoryQueue, OrphansAreSkippedAndReclaimedFirst)
{
    USharedMemoryQueue queue(1);
    queue.Create(UniqueName().c_str(), 16, 4, 0);
    void* apBlocks[3];
    unsigned long aulSizes[3] = {1, 1, 1};
    for (int i = 0; i < 3; ++i)
    {
        apBlocks[i] = queue.BeginWriting(nullptr, 0);
        *static_cast<unsigned char*>(apBlocks[i]) = static_cast<unsigned char>(10 + i);
    }
    queue.EndWritingSequence(apBlocks, aulSizes, 3, 0);
    EXPECT_TRUE(Put(queue, 20));
    EXPECT_TRUE(Put(queue, 30)); // reclaims 10; 11 and 12 become orphans
    EXPECT_TRUE(Put(queue, 40)); // reclaims the orphan 11, which costs nothing
    const int aiExpected[][2] = {{20, 1}, {30, 0}, {40, 0}, {-1, 0}};
    for (const auto& expected : aiExpected)
    {
        unsigned long ulLost = 0;
        EXPECT_EQ(expected[0], Take(queue, &ulLost));
        EXPECT_EQ(static_cast<unsigned long>(expected[1]), ulLost);
    }
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
    EXPECT_EQ(1, Take(queue));
    EXPECT_EQ(-1, Take(queue));
    Put(queue, 3);
    EXPECT_EQ(2, Take(queue));
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
    unsigned long ulLost = 99;
    Take(queue, &ulLost);
    EXPECT_EQ(0u, ulLost);
    Take(queue);
    Put(queue, 1);
    EXPECT_EQ(1, Take(queue, &ulLost));
    EXPECT_EQ(1u, ulLost);

    // Reclaiming the last queued entry counts one drop, not the drops that entry carried.
    Put(queue, 2);
    Put(queue, 3);
    void* pHeld = queue.BeginWriting(nullptr, 0);  // reclaims 2, charged to 3
    void* pHeld2 = queue.BeginWriting(nullptr, 0); // reclaims 3 with its drop
    queue.EndWriting(pHeld, 1, 0);
    queue.AbortWriting(pHeld2);
    Take(queue, &ulLost);
    EXPECT_EQ(1u, ulLost);
}

TEST(SharedMemoryQueue, Misuse)
{
    USharedMemoryQueue queue(0);
    queue.EndWriting(nullptr, 0, 0);
    queue.AbortReading(nullptr);
    try
    {
        queue.BeginWriting(nullptr, 0);
        FAIL();
    }
    catch (const UInvalidOperationException& e)
    {
        EXPECT_STREQ(L"Queue is not initialized, call Create() or Open() to initialize it.", e.GetMessageText());
    }
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
    queue.EndWriting(pbyBlock, 16, 0);
    EXPECT_EQ(*pbyBlock, Take(queue));
}

TEST(SharedMemoryQueue, OpenFailures)
{
    // What exists under the name, and what Open then reports.
    struct Case
    {
        bool bMutex, bSemaphore;
        const wchar_t* pszMessage;
    };
    const Case cases[] = {{false, false, L"Opening the mutex protecting the shared memory queue failed."},
                          {true, false, L"Opening the 'used block list' semaphore failed."},
                          {true, true, L"Opening the event indicating blocks in the queue failed.."}};
    for (const Case& c : cases)
    {
        const std::wstring name = UniqueName();
        USharedMemory region;
        region.Create(name.c_str(), 4096);
        const unsigned long aulHeader[] = {0, 1, 0, 64, 0, 0, kNone, kNone, 0};
        std::memcpy(region.GetBuffer(), aulHeader, sizeof(aulHeader));
        HANDLE hMutex = c.bMutex ? CreateMutexW(nullptr, FALSE, (name + L" - QPM").c_str()) : nullptr;
        HANDLE hSemaphore = c.bSemaphore ? CreateSemaphoreW(nullptr, 0, 1, (name + L" - UBAS").c_str()) : nullptr;
        USharedMemoryQueue queue(0);
        try
        {
            queue.Open(name.c_str());
            ADD_FAILURE();
        }
        catch (const UWin32Exception& e)
        {
            EXPECT_STREQ(c.pszMessage, e.GetMessageText());
        }
        EXPECT_EQ(0u, queue.GetNumberOfBlocks());
        for (HANDLE h : {hMutex, hSemaphore})
            if (h != nullptr)
                CloseHandle(h);
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
        SetEvent(hHeld);
        WaitForSingleObject(hRelease, INFINITE);
        ReleaseMutex(hMutex);
        CloseHandle(hMutex);
    });
    WaitForSingleObject(hHeld, INFINITE);
    try
    {
        queue.BeginReading(nullptr, nullptr, INFINITE);
        ADD_FAILURE();
    }
    catch (const UTimeoutException& e)
    {
        EXPECT_STREQ(L"Waiting for mutex protecting the shared memory queue timed out.", e.GetMessageText());
    }
    SetEvent(hRelease);
    holder.join();
    EXPECT_EQ(7, Take(queue));
    CloseHandle(hHeld);
    CloseHandle(hRelease);
}

} // namespace
