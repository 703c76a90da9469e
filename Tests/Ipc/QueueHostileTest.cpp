// A queue whose region another process overwrote with garbage: every operation ends with an
// exception of the library or a repair, never with a crash, a hang or an access outside the
// mapping.
#include "QueueTestSupport.h"

#include "Support/ChildProcess.h"

#include <Oskal/Lib/UException.h>
#include <Oskal/Lib/UInvalidOperationException.h>

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <vector>

using namespace QueueTests;
using Oskal::Lib::Exceptions::UException;
using Oskal::Lib::Exceptions::UInvalidOperationException;

namespace
{

const unsigned long kBlocks = 6;
const unsigned long kBlockSize = 40;

// Runs one operation; a library exception is an acceptable end, and whatever block comes back
// must lie inside the queue's blocks and report a size that fits.
struct Driver
{
    USharedMemoryQueue& queue;
    std::vector<void*> written, read;

    void Check(void* pBlock, unsigned long ulSize)
    {
        unsigned char* pbyFirst = reinterpret_cast<unsigned char*>(BlockOf(queue, 0) + 1);
        const size_t offset = static_cast<unsigned char*>(pBlock) - pbyFirst;
        ASSERT_EQ(0u, offset % queue.GetRealBlockSize());
        ASSERT_LT(offset / queue.GetRealBlockSize(), kBlocks);
        ASSERT_LE(ulSize, kBlockSize);
    }

    void Step(unsigned int uiChoice)
    {
        try
        {
            unsigned long ulSize = 0;
            void* pBlock = nullptr;
            switch (uiChoice % 6)
            {
            case 0:
            case 1:
                if ((pBlock = queue.BeginWriting(&ulSize, uiChoice & 8)) != nullptr)
                    Check(pBlock, ulSize), written.push_back(pBlock);
                break;
            case 2:
                if (!written.empty())
                    queue.EndWriting(written.back(), uiChoice % kBlockSize, uiChoice & 16), written.pop_back();
                break;
            case 3:
                if (written.size() >= 2)
                {
                    unsigned long aulSizes[2] = {1, 2};
                    queue.EndWritingSequence(&written[written.size() - 2], aulSizes, 2, 0);
                    written.resize(written.size() - 2);
                }
                break;
            case 4:
                if ((pBlock = queue.BeginReading(&ulSize, nullptr, 0)) != nullptr)
                    Check(pBlock, ulSize), read.push_back(pBlock);
                break;
            default:
                if (!read.empty())
                    (uiChoice & 8 ? queue.AbortReading(read.back()) : queue.EndReading(read.back())), read.pop_back();
            }
        }
        catch (const UException&)
        {
        }
    }
};

// After the damage the queue carries entries again: entries behind a broken link may be lost,
// entries without a count are read only after later writes, and an operation may fail once.
void ExpectUsable(USharedMemoryQueue& queue)
{
    for (unsigned int attempt = 0; attempt < 2 * kBlocks; ++attempt)
    {
        try
        {
            if (!Put(queue, 42))
                continue;
            for (int value = Take(queue); value != -1; value = Take(queue))
                if (value == 42)
                    return;
        }
        catch (const UException&)
        {
        }
    }
    ADD_FAILURE() << "no entry written after the damage arrived";
}

TEST(QueueHostile, DamagedLists)
{
    typedef std::function<void(Header&, USharedMemoryQueue&)> Damage;
    const Damage damages[] = {
        [](Header& h, USharedMemoryQueue&) { h.usedList.ulLast = 1000; },
        [](Header& h, USharedMemoryQueue&) { h.freeList.ulFirst = kBlocks; },
        [](Header& h, USharedMemoryQueue&) { h.usedList.ulFirst = kNone; },
        [](Header& h, USharedMemoryQueue& q) { BlockOf(q, h.freeList.ulFirst)->ulNext = h.freeList.ulFirst; },
        [](Header& h, USharedMemoryQueue& q) { BlockOf(q, h.usedList.ulLast)->ulNext = h.usedList.ulFirst; },
        [](Header& h, USharedMemoryQueue& q) { BlockOf(q, h.usedList.ulFirst)->ulNext = h.freeList.ulFirst; },
        [](Header& h, USharedMemoryQueue& q) { BlockOf(q, h.usedList.ulFirst)->ulSize = 0xFFFFFFF0; },
        [](Header& h, USharedMemoryQueue& q) { BlockOf(q, h.usedList.ulFirst)->ulNext = 0x7FFFFFFF; },
        [](Header& h, USharedMemoryQueue&) { h.freeList = h.usedList; },
    };
    for (bool bOverwrite : {false, true})
        for (size_t d = 0; d < sizeof(damages) / sizeof(damages[0]); ++d)
        {
            SCOPED_TRACE(testing::Message() << "damage " << d << (bOverwrite ? " overwrite" : ""));
            const Damage& damage = damages[d];
            USharedMemoryQueue queue(bOverwrite);
            queue.Create(UniqueName().c_str(), kBlockSize, kBlocks, 0);
            Put(queue, 1);
            Put(queue, 2);
            damage(*HeaderOf(queue), queue);
            if (bOverwrite)
                ExpectUsable(queue);
            Driver driver{queue, {}, {}};
            for (unsigned int i = 0; i < 40; ++i)
                driver.Step(i * 7 + 1);
        }
}

TEST(QueueHostile, OpenRefusesHeadersThatDoNotFit)
{
    const std::wstring name = UniqueName();
    USharedMemoryQueue creator(0);
    creator.Create(name.c_str(), kBlockSize, kBlocks, 0);
    // Header word, value: no blocks, a wrong real block size, more blocks than the mapping holds,
    // user data past the end, list ends out of range.
    const unsigned long cases[][2] = {{1, 0}, {3, 128}, {1, 1000}, {8, 0xFFFFFF00}, {4, kBlocks}, {7, 0x80000000}};
    for (const auto& c : cases)
    {
        unsigned long* pulWords = reinterpret_cast<unsigned long*>(HeaderOf(creator));
        const unsigned long ulSaved = pulWords[c[0]];
        pulWords[c[0]] = c[1];
        USharedMemoryQueue opener(0);
        EXPECT_THROW(opener.Open(name.c_str()), UInvalidOperationException) << "word " << c[0];
        pulWords[c[0]] = ulSaved;
    }
}

TEST(QueueHostile, RandomScribbler)
{
    OSKAL_RUN_IN_CHILD(120000);
    std::mt19937 random(11);
    for (int round = 0; round < 20; ++round)
    {
        USharedMemoryQueue queue(round % 2);
        queue.Create(UniqueName().c_str(), kBlockSize, kBlocks, 0);
        unsigned long* pulHeader = reinterpret_cast<unsigned long*>(HeaderOf(queue));
        Driver driver{queue, {}, {}};
        for (int i = 0; i < 300; ++i)
        {
            // Mostly plausible indexes, sometimes anything, in the list ends or a block header.
            const unsigned long aulValues[] = {random() % kBlocks, kNone, kBlocks, random()};
            const unsigned long ulValue = aulValues[random() % 4];
            if (random() % 3 == 0)
                pulHeader[1 + random() % 8] = ulValue;
            else
                (&BlockOf(queue, random() % kBlocks)->ulNext)[random() % 4] = ulValue;
            for (int k = 0; k < 3; ++k)
                driver.Step(random());
        }
    }
}

} // namespace
