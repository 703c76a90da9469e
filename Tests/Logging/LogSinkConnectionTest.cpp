// The server's reading of one writer's blocks: names, entries over several blocks, and blocks
// that a damaged or hostile writer could send.
#include <Oskal/Lib/Logging/ULogBridge.h>
#include <Oskal/Lib/Logging/ULogSinkConnection.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{

using namespace Oskal::Lib::Logging;
typedef ULogBridge::ULogEntryBlock Block;

Block Named(unsigned long ulType, const std::wstring& name)
{
    Block block;
    std::memset(&block, 0, sizeof(block));
    block.ulType = ulType;
    std::wmemcpy(block.szText, name.c_str(), std::min<size_t>(name.size(), 244));
    return block;
}

Block First(unsigned long ulClass, unsigned long ulLevel, unsigned long ulContinuations, const std::wstring& text)
{
    Block block;
    std::memset(&block, 0, sizeof(block));
    block.entry.ulClassId = ulClass;
    block.entry.ulLevelId = ulLevel;
    block.entry.ulContinuationBlocks = ulContinuations;
    block.entry.ftTime.dwLowDateTime = 1234;
    std::wmemcpy(block.entry.szText, text.c_str(), std::min<size_t>(text.size(), 234));
    return block;
}

struct Seen
{
    std::wstring className, level, application, text;
    unsigned long lost;
};

struct Feeder
{
    ULogSinkConnection connection{4242};
    std::vector<Seen> seen;
    void Feed(const Block& block, unsigned long ulLost = 0, unsigned long ulSize = sizeof(Block))
    {
        connection.ProcessBlock(reinterpret_cast<const unsigned char*>(&block), ulSize, ulLost,
                                [this](const LOG_SINK_ENTRY& entry) {
                                    EXPECT_EQ(4242u, entry.ulProcessId);
                                    seen.push_back({entry.pszClassName, entry.pszLevelName, entry.pszApplicationName,
                                                    entry.pszText, entry.ulLost});
                                });
    }
};

TEST(LogSinkConnection, NamesAreNumberedInBlockOrderAndEntriesTakeThem)
{
    Feeder f;
    f.Feed(Named(3, L"Failure"));
    f.Feed(Named(3, L"Error"));
    f.Feed(Named(2, L"Plant.Pump"));
    f.Feed(Named(4, L"App"));
    f.Feed(First(0, 1, 0, L"short"), 3);
    f.Feed(First(7, 9, 0, L"unknown ids"));
    ASSERT_EQ(2u, f.seen.size());
    EXPECT_EQ(L"Plant.Pump", f.seen[0].className);
    EXPECT_EQ(L"Error", f.seen[0].level);
    EXPECT_EQ(L"App", f.seen[0].application);
    EXPECT_EQ(L"short", f.seen[0].text);
    EXPECT_EQ(3u, f.seen[0].lost);
    EXPECT_EQ(L"", f.seen[1].className);
    EXPECT_EQ(L"", f.seen[1].level);
    EXPECT_EQ(0u, f.seen[1].lost);
}

TEST(LogSinkConnection, ContinuationBlocksCompleteTheText)
{
    // 234 + 244 + 10 characters: the first block without a terminator, then two continuations.
    std::wstring text;
    for (int i = 0; i < 488; ++i)
        text += static_cast<wchar_t>(L'A' + i % 26);
    Feeder f;
    f.Feed(First(0, 0, 2, text.substr(0, 234)));
    f.Feed(Named(1, text.substr(234, 244)));
    EXPECT_TRUE(f.seen.empty());
    f.Feed(Named(1, text.substr(478)));
    ASSERT_EQ(1u, f.seen.size());
    EXPECT_EQ(text, f.seen[0].text);
}

TEST(LogSinkConnection, DamagedBlocksCostOnlyTheirOwnEntries)
{
    std::wstring full(300, L'x');
    Feeder f;
    // More continuation blocks than a queue can hold.
    f.Feed(First(0, 0, 50, L"too many"));
    f.Feed(Named(1, L"orphan"));
    // Continuations with no entry before them.
    f.Feed(Named(1, L"stray"));
    // An entry cut short by the next one.
    f.Feed(First(0, 0, 3, full));
    f.Feed(Named(1, L"part"));
    f.Feed(First(0, 0, 0, L"whole"));
    // Texts without a terminator end at their field.
    Block unterminated = First(0, 0, 0, std::wstring(234, L'y'));
    f.Feed(unterminated);
    Block name = Named(2, std::wstring(244, L'n'));
    f.Feed(name);
    // Short and unknown blocks.
    f.Feed(First(0, 0, 0, L"cut"), 0, 4);
    f.Feed(Named(99, L"unknown"));
    ASSERT_EQ(2u, f.seen.size());
    EXPECT_EQ(L"whole", f.seen[0].text);
    EXPECT_EQ(std::wstring(234, L'y'), f.seen[1].text);
    EXPECT_EQ(std::wstring(244, L'n'), f.connection.GetTranslationMap().GetLogClassName(0));
    EXPECT_EQ(2u, f.connection.GetDroppedEntries());
}

TEST(LogSinkConnection, MapIsBoundedAndOpenNeedsTheWritersQueue)
{
    Feeder f;
    for (unsigned long i = 0; i < ULogSinkTranslationMap::MaxLevels + 10; ++i)
        f.Feed(Named(3, L"L" + std::to_wstring(i)));
    EXPECT_EQ(ULogSinkTranslationMap::MaxLevels, f.connection.GetTranslationMap().GetLogLevelCount());
    EXPECT_STREQ(L"", f.connection.GetTranslationMap().GetLogLevelName(ULogSinkTranslationMap::MaxLevels));
    // This process has no log queue, and no process has that id.
    EXPECT_EQ(0, ULogSinkConnection(GetCurrentProcessId()).Open());
    EXPECT_EQ(0, ULogSinkConnection(0xFFFFFFF0).Open());
    // A queue of another shape than the log queue's would keep as much memory mapped as its writer chose.
    wchar_t name[64];
    ULogBridge::FormatQueueName(GetCurrentProcessId(), name);
    Oskal::Lib::Ipc::USharedMemoryQueue queue(1);
    queue.Create(name, ULogBridge::LogEntryBlockSize, 20000, 0);
    EXPECT_EQ(0, ULogSinkConnection(GetCurrentProcessId()).Open());
}

} // namespace
