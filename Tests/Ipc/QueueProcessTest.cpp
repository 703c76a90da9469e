// The queue between processes: a writer that dies holding the mutex halfway through a list
// change, and a long exchange of entries of random sizes with a writer in another process.
#include "QueueTestSupport.h"

#include "Support/ChildProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

using namespace QueueTests;
using OskalTests::ChildArgument;
using OskalTests::TestProcess;

namespace
{

const unsigned long kEntries = 100000;
const unsigned long kBlockSize = 60;

// Entry ulSequence: its number, then a pattern; seven in eight take one block, the others two to four.
std::vector<unsigned char> Entry(unsigned long ulSequence)
{
    const unsigned long ulHash = ulSequence * 2654435761u;
    std::vector<unsigned char> entry(ulHash % 8 ? 8 + ulHash / 8 % 53 : 61 + ulHash / 8 % 180);
    for (size_t k = 0; k < entry.size(); ++k)
        entry[k] = static_cast<unsigned char>(k < 4 ? ulSequence >> (8 * k) : ulSequence * 7 + k);
    return entry;
}

TEST(QueueProcess, DISABLED_Writer)
{
    USharedMemoryQueue queue(1);
    const std::wstring name = ChildArgument(L"OSKAL_QUEUE"), mode = ChildArgument(L"OSKAL_MODE");
    queue.Open(name.c_str());
    if (mode != L"exchange")
    {
        // Dies holding the mutex halfway through a list change: the claimed block 3 is named as
        // the last block of a list that does not link to it.
        void* pClaimed = queue.BeginWriting(nullptr, 0);
        WaitForSingleObject(OpenMutexW(SYNCHRONIZE, FALSE, (name + L" - QPM").c_str()), INFINITE);
        BlockOf(queue, 3)[0] = kNone;
        BlockOf(queue, 3)[1] = 6;
        WordsOf(queue)[mode == L"used" ? 7 : 5] = 3;
        ExitProcess(pClaimed == BlockOf(queue, 3) + 4 ? 0 : 1);
    }
    SetProcessAffinityMask(GetCurrentProcess(), 1);
    void* apBlocks[4];
    unsigned long aulSizes[4];
    for (unsigned long ulSequence = 0; ulSequence <= kEntries; ++ulSequence)
    {
        const std::vector<unsigned char> entry = Entry(ulSequence);
        const unsigned long ulCount = (static_cast<unsigned long>(entry.size()) + kBlockSize - 1) / kBlockSize;
        for (unsigned long b = 0; b < ulCount; ++b)
        {
            ASSERT_NE(nullptr, apBlocks[b] = queue.BeginWriting(nullptr, 0));
            aulSizes[b] = std::min<unsigned long>(kBlockSize, entry.size() - b * kBlockSize);
            std::memcpy(apBlocks[b], &entry[b * kBlockSize], aulSizes[b]);
        }
        // The last entry is protected, so that it always arrives.
        queue.EndWritingSequence(apBlocks, aulSizes, ulCount, ulSequence == kEntries);
        if (ulSequence % 64 == 0)
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
        for (unsigned char i = 1; i <= 3; ++i)
            Put(queue, i);
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
    unsigned long ulNext = 0, ulSize = 0, ulLost = 0, ulSequence = 0;
    std::vector<unsigned char> entry;
    while (ulNext <= kEntries)
    {
        entry.clear();
        do
        {
            unsigned char* pbyBlock = static_cast<unsigned char*>(queue.BeginReading(&ulSize, &ulLost, 20000));
            ASSERT_NE(nullptr, pbyBlock) << "after entry " << ulNext;
            const unsigned long ulFirst = entry.empty() ? 1 : 0;
            if (ulFirst)
                ulSequence = *reinterpret_cast<unsigned long*>(pbyBlock);
            // Every drop is charged to the next entry that arrives; its other blocks carry none.
            ASSERT_EQ(ulFirst * ulSequence, ulFirst * ulNext + ulLost);
            entry.insert(entry.end(), pbyBlock, pbyBlock + ulSize);
            queue.EndReading(pbyBlock);
        } while (entry.size() < Entry(ulSequence).size());
        ASSERT_TRUE(Entry(ulSequence) == entry) << "entry " << ulSequence;
        ulNext = ulSequence + 1;
    }
    EXPECT_EQ(0, writer.Wait(30000));
}

} // namespace
