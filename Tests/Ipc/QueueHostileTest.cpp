// A queue whose region another process overwrote with garbage: every operation ends with an
// exception of the library or a repair, never with a crash, a hang or an access outside the mapping.
#include "QueueTestSupport.h"

#include "Support/ChildProcess.h"

#include <Oskal/Lib/Ipc/USharedMemory.h>
#include <Oskal/Lib/UInvalidOperationException.h>

#include <gtest/gtest.h>

#include <cstring>
#include <random>

using namespace QueueTests;
using Oskal::Lib::Exceptions::UException;
using Oskal::Lib::Exceptions::UInvalidOperationException;
using Oskal::Lib::Ipc::USharedMemory;

namespace
{

const unsigned long kBlocks = 6;

// Claims, appends, takes and frees blocks as uiChoice says; a library exception is an acceptable
// end, and a block that comes back must be one of the queue's blocks with a size that fits it.
void Step(USharedMemoryQueue& queue, std::vector<void*> held[2], unsigned int uiChoice)
{
    try
    {
        unsigned long ulSize = 0, aulSizes[2] = {1, 2};
        std::vector<void*>& written = held[0];
        void* pBlock = nullptr;
        if (uiChoice % 5 < 2)
            pBlock = uiChoice % 5 ? queue.BeginReading(&ulSize, nullptr, 0) : queue.BeginWriting(&ulSize, uiChoice & 8);
        else if (uiChoice % 5 == 2 && !written.empty())
            queue.EndWriting(written.back(), uiChoice % 40, uiChoice & 16), written.pop_back();
        else if (uiChoice % 5 == 3 && written.size() >= 2)
            queue.EndWritingSequence(&written[written.size() - 2], aulSizes, 2, 0), written.resize(written.size() - 2);
        else if (uiChoice % 5 == 4 && !held[1].empty())
            (uiChoice & 8 ? queue.AbortReading(held[1].back()) : queue.EndReading(held[1].back())), held[1].pop_back();
        if (pBlock == nullptr)
            return;
        const size_t offset =
            static_cast<unsigned char*>(pBlock) - reinterpret_cast<unsigned char*>(BlockOf(queue, 0) + 4);
        ASSERT_TRUE(offset % queue.GetRealBlockSize() == 0 && offset / queue.GetRealBlockSize() < kBlocks &&
                    ulSize <= 40);
        held[uiChoice % 5].push_back(pBlock);
    }
    catch (const UException&)
    {
    }
}

TEST(QueueHostile, DamagedLists)
{
    // Region word (header from 0, block i's header from 16 + 16 i), the garbage written there, and
    // whether Open refuses the region: list ends out of range or empty at one end only, cycles, a
    // link into the free list, a size too large, no blocks, a real block size or user data that
    // does not fit (a live queue keeps the layout it read).
    const unsigned long damages[][3] = {
        {7, 1000, 1}, {4, kBlocks, 1}, {6, kNone, 0},       {48, 2, 0}, {32, 0, 0},  {16, 2, 0},   {18, 1000, 0},
        {4, 0, 0},    {5, 0, 0},       {16, 0x7FFFFFFF, 0}, {1, 0, 1},  {3, 128, 1}, {1, 1000, 1}, {8, 0xFFFFFF00, 1}};
    for (int bOverwrite = 0; bOverwrite < 2; ++bOverwrite)
        for (const auto& damage : damages)
        {
            SCOPED_TRACE(testing::Message() << "word " << damage[0] << " overwrite " << bOverwrite);
            const std::wstring name = UniqueName();
            USharedMemoryQueue queue(bOverwrite), opener(0);
            queue.Create(name.c_str(), 40, kBlocks, 0);
            Put(queue, 1); // blocks 0 and 1 are used, 2 to 5 free
            Put(queue, 2);
            unsigned long* pulBlocks = BlockOf(queue, 0) - 16;
            (damage[0] < 16 ? WordsOf(queue) : pulBlocks)[damage[0]] = damage[1];
            EXPECT_EQ(damage[2] ? L"Shared memory region does not hold a valid queue." : L"(no exception)",
                      Thrown<UInvalidOperationException>([&] { opener.Open(name.c_str()); }));
            // Entries behind a broken link may be lost, an entry without a count is read only after
            // a later write, and an operation may fail once; then written entries arrive again.
            bool bArrived = !bOverwrite;
            for (unsigned int attempt = 0; attempt < 2 * kBlocks && !bArrived; ++attempt)
                Thrown<UException>([&] {
                    for (int value = Put(queue, 42) ? Take(queue) : -1; value != -1 && !bArrived; value = Take(queue))
                        bArrived = value == 42;
                });
            EXPECT_TRUE(bArrived);
            std::vector<void*> held[2];
            for (unsigned int i = 0; i < 40; ++i)
                Step(queue, held, i * 7 + 1);
        }
}

TEST(QueueHostile, RandomScribbler)
{
    OSKAL_RUN_IN_CHILD(120000);
    std::mt19937 random(11);
    for (int round = 0; round < 20; ++round)
    {
        USharedMemoryQueue queue(round % 2);
        queue.Create(UniqueName().c_str(), 40, kBlocks, 0);
        std::vector<void*> held[2];
        for (int i = 0; i < 300; ++i)
        {
            // Mostly plausible indexes, sometimes anything, in the header or a block header.
            const unsigned long aulValues[] = {random() % kBlocks, kNone, kBlocks, random()};
            const unsigned long ulValue = aulValues[random() % 4];
            if (random() % 3 == 0)
                WordsOf(queue)[1 + random() % 8] = ulValue;
            else
                BlockOf(queue, random() % kBlocks)[random() % 4] = ulValue;
            for (int k = 0; k < 3; ++k)
                Step(queue, held, random());
        }
    }
}

// A creator may raise a semaphore of any maximum without writing a block: a read then ends
// instead of taking count after count.
TEST(QueueHostile, CountsWithoutBlocks)
{
    OSKAL_RUN_IN_CHILD(60000);
    const std::wstring name = UniqueName();
    USharedMemory region;
    region.Create(name.c_str(), 4096);
    const unsigned long aulHeader[] = {0, 1, 0, 64, kNone, kNone, kNone, kNone, 0};
    std::memcpy(region.GetBuffer(), aulHeader, sizeof(aulHeader));
    HANDLE ahObjects[] = {CreateMutexW(nullptr, FALSE, (name + L" - QPM").c_str()),
                          CreateSemaphoreW(nullptr, 0x7FFFFFFF, 0x7FFFFFFF, (name + L" - UBAS").c_str()),
                          CreateEventW(nullptr, TRUE, TRUE, (name + L" - DAE").c_str())};
    USharedMemoryQueue queue(0);
    queue.Open(name.c_str());
    EXPECT_EQ(nullptr, queue.BeginReading(nullptr, nullptr, 0));
    for (HANDLE hObject : ahObjects)
        CloseHandle(hObject);
}

} // namespace
