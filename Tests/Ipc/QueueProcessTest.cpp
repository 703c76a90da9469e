// The queue between processes: a writer in a helper process, a writer that dies holding the
// mutex halfway through a list change, and a long exchange of entries of random sizes.
#include "QueueTestSupport.h"

#include "Support/ChildProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

using namespace QueueTests;
using OskalTests::ChildArgument;
using OskalTests::TestProcess;

namespace
{

const unsigned long kEntries = 100000;
const unsigned long kBlockSize = 60;

// Entry format of the exchange: sequence number, total length, then a pattern of both.
unsigned char PatternByte(unsigned long ulSequence, unsigned long k)
{
    return static_cast<unsigned char>(ulSequence * 7 + k);
}

TEST(QueueProcess, DISABLED_Writer)
{
    USharedMemoryQueue queue(1);
    queue.Open(ChildArgument(L"OSKAL_QUEUE").c_str());
    const std::wstring mode = ChildArgument(L"OSKAL_MODE");
    if (mode != L"exchange")
    {
        // Dies holding the mutex halfway through a list change: the claimed block 3 is named
        // as the last block of a list that does not link to it.
        void* pClaimed = queue.BeginWriting(nullptr, 0);
        HANDLE hMutex = OpenMutexW(SYNCHRONIZE, FALSE, (ChildArgument(L"OSKAL_QUEUE") + L" - QPM").c_str());
        WaitForSingleObject(hMutex, INFINITE);
        BlockOf(queue, 3)[0] = kNone;
        BlockOf(queue, 3)[1] = 6;
        WordsOf(queue)[mode == L"used" ? 7 : 5] = 3;
        ExitProcess(pClaimed == BlockOf(queue, 3) + 4 ? 0 : 1);
    }
    SetProcessAffinityMask(GetCurrentProcess(), 1);
    std::mt19937 random(5);
    void* apBlocks[4];
    unsigned long aulSizes[4];
    for (unsigned long ulSequence = 0; ulSequence <= kEntries; ++ulSequence)
    {
        // Seven in eight entries take one block, the others two to four.
        const unsigned long ulLength = ulSequence == kEntries || random() % 8 != 0
                                           ? 8 + random() % (kBlockSize - 7)
                                           : kBlockSize + 1 + random() % (3 * kBlockSize);
        const unsigned long ulCount = (ulLength + kBlockSize - 1) / kBlockSize;
        for (unsigned long b = 0; b < ulCount; ++b)
        {
            unsigned char* pbyBlock = static_cast<unsigned char*>(queue.BeginWriting(nullptr, 0));
            ASSERT_NE(nullptr, pbyBlock);
            aulSizes[b] = std::min(kBlockSize, ulLength - b * kBlockSize);
            for (unsigned long k = 0; k < aulSizes[b]; ++k)
                pbyBlock[k] = PatternByte(ulSequence, b * kBlockSize + k);
            if (b == 0)
            {
                std::memcpy(pbyBlock, &ulSequence, 4);
                std::memcpy(pbyBlock + 4, &ulLength, 4);
            }
            apBlocks[b] = pbyBlock;
        }
        // The last entry is protected, so that it always arrives.
        queue.EndWritingSequence(apBlocks, aulSizes, ulCount, ulSequence == kEntries);
        if (random() % 64 == 0)
            Sleep(0);
    }
}

TEST(QueueProcess, WriterDiesHoldingTheMutex)
{
    OSKAL_RUN_IN_CHILD(60000);
    for (const wchar_t* pszList : {L"used", L"free"})
    {
        const std::wstring name = UniqueName();
        USharedMemoryQueue queue(0);
        queue.Create(name.c_str(), 16, 8, 0);
        for (int i = 1; i <= 3; ++i)
            Put(queue, static_cast<unsigned char>(i));
        TestProcess writer("QueueProcess.DISABLED_Writer", {{L"OSKAL_QUEUE", name}, {L"OSKAL_MODE", pszList}});
        ASSERT_EQ(0, writer.Wait(30000));
        // Only the dead writer's block is gone: 7 blocks take entries, and all of them arrive.
        for (unsigned char i = 4; Put(queue, i); ++i)
        {
        }
        EXPECT_EQ((Entries{{1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}, {6, 0}, {7, 0}}), Drain(queue)) << pszList;
    }
}

TEST(QueueProcess, ExchangeOfManyEntries)
{
    OSKAL_RUN_IN_CHILD(240000);
    // Both sides on one CPU: hand-offs that wake the other CPU make the run several times longer.
    SetProcessAffinityMask(GetCurrentProcess(), 1);
    const std::wstring name = UniqueName();
    USharedMemoryQueue queue(1);
    queue.Create(name.c_str(), kBlockSize, 32, 0);
    TestProcess writer("QueueProcess.DISABLED_Writer", {{L"OSKAL_QUEUE", name}, {L"OSKAL_MODE", L"exchange"}});
    long next = 0;
    unsigned long ulReceived = 0;
    std::vector<unsigned char> entry;
    while (next <= static_cast<long>(kEntries))
    {
        unsigned long ulSize = 0, ulLost = 0;
        unsigned char* pbyBlock = static_cast<unsigned char*>(queue.BeginReading(&ulSize, &ulLost, 20000));
        ASSERT_NE(nullptr, pbyBlock) << "after entry " << next - 1;
        entry.assign(pbyBlock, pbyBlock + ulSize);
        queue.EndReading(pbyBlock);
        unsigned long ulSequence, ulLength;
        std::memcpy(&ulSequence, entry.data(), 4);
        std::memcpy(&ulLength, entry.data() + 4, 4);
        // Every drop is charged to the next entry that arrives.
        ASSERT_EQ(static_cast<unsigned long>(next) + ulLost, ulSequence);
        while (entry.size() < ulLength)
        {
            pbyBlock = static_cast<unsigned char*>(queue.BeginReading(&ulSize, &ulLost, 20000));
            ASSERT_NE(nullptr, pbyBlock);
            EXPECT_EQ(0u, ulLost);
            entry.insert(entry.end(), pbyBlock, pbyBlock + ulSize);
            queue.EndReading(pbyBlock);
        }
        ASSERT_EQ(ulLength, entry.size());
        for (unsigned long k = 8; k < ulLength; ++k)
            ASSERT_EQ(PatternByte(ulSequence, k), entry[k]) << "entry " << ulSequence << " byte " << k;
        next = static_cast<long>(ulSequence) + 1;
        ++ulReceived;
    }
    EXPECT_EQ(0, writer.Wait(30000));
    EXPECT_LT(1000u, ulReceived);
    std::printf("%lu of %lu entries arrived, the others were counted lost\n", ulReceived, kEntries);
}

} // namespace
