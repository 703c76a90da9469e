// A queue whose region another process overwrote with garbage: every operation ends with an
// exception of the library or a repair, never with a crash, a hang or an access outside the
// mapping.
#include "QueueTestSupport.h"

#include "Support/ChildProcess.h"

#include <Oskal/Lib/UInvalidOperationException.h>

#include <gtest/gtest.h>

#include <random>

using namespace QueueTests;
using Oskal::Lib::Exceptions::UException;
using Oskal::Lib::Exceptions::UInvalidOperationException;

namespace
{

const unsigned long kBlocks = 6;
const unsigned long kBlockSize = 40;

// Runs operations in an order chosen by the caller; a library exception is an acceptable end, and
// a block that comes back must be one of the queue's blocks with a size that fits it.
struct Driver
{
    USharedMemoryQueue& queue;
    std::vector<void*> held[2]; // written, read

    void Step(unsigned int uiChoice)
    {
        std::vector<void*>& written = held[0];
        std::vector<void*>& read = held[1];
        try
        {
            unsigned long ulSize = 0;
            void* pBlock = nullptr;
            if (uiChoice % 5 == 0)
                pBlock = queue.BeginWriting(&ulSize, uiChoice & 8);
            else if (uiChoice % 5 == 1)
                pBlock = queue.BeginReading(&ulSize, nullptr, 0);
            else if (uiChoice % 5 == 2 && !written.empty())
                queue.EndWriting(written.back(), uiChoice % kBlockSize, uiChoice & 16), written.pop_back();
            else if (uiChoice % 5 == 3 && written.size() >= 2)
            {
                unsigned long aulSizes[2] = {1, 2};
                queue.EndWritingSequence(&written[written.size() - 2], aulSizes, 2, 0);
                written.resize(written.size() - 2);
            }
            else if (uiChoice % 5 == 4 && !read.empty())
                (uiChoice & 8 ? queue.AbortReading(read.back()) : queue.EndReading(read.back())), read.pop_back();
            if (pBlock == nullptr)
                return;
            const size_t offset =
                static_cast<unsigned char*>(pBlock) - reinterpret_cast<unsigned char*>(BlockOf(queue, 0) + 1);
            ASSERT_EQ(0u, offset % queue.GetRealBlockSize());
            ASSERT_LT(offset / queue.GetRealBlockSize(), kBlocks);
            ASSERT_LE(ulSize, kBlockSize);
            held[uiChoice % 5].push_back(pBlock);
        }
        catch (const UException&)
        {
        }
    }
};

TEST(QueueHostile, DamagedLists)
{
    // Header word or block word (block index * 4 + field) and the garbage written there.
    const unsigned long damages[][3] = {{1, 7, 1000}, {1, 4, kBlocks}, {1, 6, kNone},      {0, 8, 2}, {0, 4, 0},
                                        {0, 0, 2},    {0, 2, 1000},    {0, 0, 0x7FFFFFFF}, {1, 4, 0}};
    for (int bOverwrite = 0; bOverwrite < 2; ++bOverwrite)
        for (const auto& damage : damages)
        {
            SCOPED_TRACE(testing::Message() << damage[0] << " " << damage[1] << " overwrite " << bOverwrite);
            USharedMemoryQueue queue(bOverwrite);
            queue.Create(UniqueName().c_str(), kBlockSize, kBlocks, 0);
            Put(queue, 1); // blocks 0 and 1 are used, 2 to 5 free
            Put(queue, 2);
            (damage[0] ? &HeaderOf(queue)->ulMagic : &BlockOf(queue, 0)->ulNext)[damage[1]] = damage[2];
            // Entries behind a broken link may be lost, an entry without a count is read only after
            // a later write and an operation may fail once; then written entries arrive again.
            bool bArrived = !bOverwrite;
            for (unsigned int attempt = 0; attempt < 2 * kBlocks && !bArrived; ++attempt)
            {
                try
                {
                    for (int value = Put(queue, 42) ? Take(queue) : -1; value != -1 && !bArrived; value = Take(queue))
                        bArrived = value == 42;
                }
                catch (const UException&)
                {
                }
            }
            EXPECT_TRUE(bArrived);
            Driver driver{queue, {}};
            for (unsigned int i = 0; i < 40; ++i)
                driver.Step(i * 7 + 1);
        }
}

TEST(QueueHostile, OpenRefusesHeadersThatDoNotFit)
{
    const std::wstring name = UniqueName();
    USharedMemoryQueue creator(0);
    creator.Create(name.c_str(), kBlockSize, kBlocks, 0);
    // Header word and value: no blocks, a wrong real block size, more blocks than the mapping
    // holds, user data past the end, list ends out of range.
    const unsigned long cases[][2] = {{1, 0}, {3, 128}, {1, 1000}, {8, 0xFFFFFF00}, {4, kBlocks}, {7, 0x80000000}};
    for (const auto& c : cases)
    {
        unsigned long* pulWords = &HeaderOf(creator)->ulMagic;
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
        Driver driver{queue, {}};
        for (int i = 0; i < 300; ++i)
        {
            // Mostly plausible indexes, sometimes anything, in the header or a block header.
            const unsigned long aulValues[] = {random() % kBlocks, kNone, kBlocks, random()};
            const unsigned long ulValue = aulValues[random() % 4];
            if (random() % 3 == 0)
                (&HeaderOf(queue)->ulMagic)[1 + random() % 8] = ulValue;
            else
                (&BlockOf(queue, random() % kBlocks)->ulNext)[random() % 4] = ulValue;
            for (int k = 0; k < 3; ++k)
                driver.Step(random());
        }
    }
}

} // namespace
