// The queue's rules within one process: layout, overwriting and loss counting, orphans,
// protection, and misuse.
#include "QueueTestSupport.h"

#include <Oskal/Lib/Ipc/USharedMemory.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UInvalidOperationException.h>
#include <Oskal/Lib/UWin32Exception.h>

#include <gtest/gtest.h>

#include <cstring>

using namespace QueueTests;
using namespace Oskal::Lib::Exceptions;
using Oskal::Lib::Ipc::USharedMemory;

namespace
{

TEST(SharedMemoryQueue, RegionLayout)
{
    const std::wstring name = UniqueName();
    USharedMemoryQueue queue(0), opener(0), second(0);
    queue.Create(name.c_str(), 100, 3, 70);
    const unsigned long* pulWords = WordsOf(queue);
    EXPECT_EQ(0, std::memcmp(pulWords, "ORIN", 4));
    // N, B, R, free list 0 to 2, empty used list, U; the blocks after 128 bytes of user data.
    const unsigned long aulHeader[] = {3, 100, 128, 0, 2, kNone, kNone, 70, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(0, std::memcmp(aulHeader, pulWords + 1, sizeof(aulHeader)));
    EXPECT_EQ(1u, pulWords[48]); // blocks 0 to 2 linked in order
    EXPECT_EQ(2u, pulWords[80]);
    void* pBlock = queue.BeginWriting(nullptr, 0);
    EXPECT_EQ(pulWords + 52, pBlock);
    queue.EndWriting(pBlock, 5, 1);
    const unsigned long aulBlock0[] = {kNone, 7, 5, 0}; // protected, first and last
    EXPECT_EQ(0, std::memcmp(aulBlock0, pulWords + 48, 16));
    EXPECT_EQ(0u, pulWords[6] | pulWords[7]);
    opener.Open(name.c_str());
    EXPECT_EQ(0, std::memcmp(pulWords, WordsOf(opener), 64));
    EXPECT_EQ(L"Shared memory region with the specified name exists already.",
              Thrown<UWin32Exception>([&] { second.Create(name.c_str(), 16, 4, 0); }));
    USharedMemory region;
    region.Open(name.c_str());
    EXPECT_EQ(4096u, region.GetBufferSize()) << "an opener sees whole pages";
    // Pages that the creator only reserved would fault when read: they do not count.
    const std::wstring reservedName = UniqueName();
    HANDLE hReserved =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_RESERVE, 0, 65536, reservedName.c_str());
    ASSERT_NE(nullptr, hReserved);
    USharedMemory reserved;
    reserved.Open(reservedName.c_str());
    EXPECT_EQ(0u, reserved.GetBufferSize());
    CloseHandle(hReserved);
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

TEST(SharedMemoryQueue, OrphansAndTheLocalLostCount)
{
    USharedMemoryQueue queue(1);
    queue.Create(UniqueName().c_str(), 16, 4, 0);
    void* apAll[4];
    unsigned long aulOnes[4] = {1, 1, 1, 1};
    for (int i = 0; i < 3; ++i)
        *static_cast<unsigned char*>(apAll[i] = queue.BeginWriting(nullptr, 0)) = static_cast<unsigned char>(10 + i);
    queue.EndWritingSequence(apAll, aulOnes, 3, 0);
    for (unsigned char i : {20, 30, 40}) // 30 reclaims 10 and orphans 11 and 12; 40 reclaims 11 at no cost
        Put(queue, i);
    EXPECT_EQ((Entries{{20, 1}, {30, 0}, {40, 0}}), Drain(queue));

    // A drop with no entry queued to carry it goes with the next entry of an empty queue, unless
    // that is a sequence.
    for (void*& p : apAll)
        *static_cast<unsigned char*>(p = queue.BeginWriting(nullptr, 0)) = 6;
    EXPECT_EQ(nullptr, queue.BeginWriting(nullptr, 0));
    queue.EndWritingSequence(apAll, aulOnes, 4, 0);
    EXPECT_EQ((Entries{{6, 0}, {6, 0}, {6, 0}, {6, 0}}), Drain(queue));
    Put(queue, 1);
    EXPECT_EQ((Entries{{1, 1}}), Drain(queue));
    // Reclaiming the last queued entry (5, which carried three drops) counts one drop only.
    for (unsigned char i : {2, 3, 4, 5})
        Put(queue, i);
    for (void*& p : apAll)
        *static_cast<unsigned char*>(p = queue.BeginWriting(nullptr, 0)) = 6;
    queue.EndWriting(apAll[0], 1, 0);
    for (int i = 1; i < 4; ++i)
        queue.AbortWriting(apAll[i]);
    EXPECT_EQ((Entries{{6, 1}}), Drain(queue));
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

TEST(SharedMemoryQueue, Misuse)
{
    USharedMemoryQueue queue(0);
    EXPECT_EQ(L"Queue is not initialized, call Create() or Open() to initialize it.",
              Thrown<UInvalidOperationException>([&] { queue.BeginWriting(nullptr, 0); }));
    EXPECT_THROW(queue.Create(UniqueName().c_str(), 16, 0, 0), UArgumentException);
    EXPECT_THROW(queue.Create(UniqueName().c_str(), 100, 0x2000000, 0), UArgumentException);
    EXPECT_THROW(queue.Create(std::wstring(260, L'x').c_str(), 16, 1, 0), UArgumentException);
    queue.Create(UniqueName().c_str(), 16, 4, 0);
    unsigned long ulBlockSize = 0, aulSizes[2] = {1, 1};
    unsigned char* pbyBlock = static_cast<unsigned char*>(queue.BeginWriting(&ulBlockSize, 0));
    EXPECT_EQ(16u, ulBlockSize);
    void* apTwice[2] = {pbyBlock, pbyBlock};
    EXPECT_THROW(queue.EndWriting(pbyBlock + 1, 1, 0), UArgumentException);
    EXPECT_THROW(queue.EndWriting(pbyBlock, 17, 0), UArgumentException);
    EXPECT_THROW(queue.EndWritingSequence(apTwice, aulSizes, 2, 0), UArgumentException);
    queue.EndWritingSequence(apTwice, aulSizes, 0, 0);
    queue.EndWritingSequence(apTwice, nullptr, 2, 0);
    *pbyBlock = 9;
    queue.EndWriting(pbyBlock, 16, 0);
    EXPECT_EQ((Entries{{9, 0}}), Drain(queue));
}

TEST(SharedMemoryQueue, OpenFailures)
{
    // How many of the mutex and the semaphore exist, and what Open then reports.
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
        EXPECT_EQ(c.second, Thrown<UWin32Exception>([&] { queue.Open(name.c_str()); }));
        EXPECT_EQ(0u, queue.GetNumberOfBlocks());
        CloseHandle(hMutex), CloseHandle(hSemaphore);
    }
}

} // namespace
