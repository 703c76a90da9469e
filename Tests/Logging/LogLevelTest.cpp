// Log levels: the predefined ids, making levels by name, and the 640-bit masks.
#include <Oskal/Lib/Logging/ULogLevel.h>
#include <Oskal/Lib/Logging/ULogLevelMask.h>
#include <Oskal/Lib/UArgumentException.h>

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace Oskal::Lib::Logging;

TEST(LogLevel, PredefinedLevelsTakeIdsZeroToTwentyFour)
{
    const struct
    {
        const ULogLevel* level;
        const wchar_t* name;
        unsigned long id;
    } cases[] = {{ULogLevel::Failure, L"Failure", 0},
                 {ULogLevel::Error, L"Error", 1},
                 {ULogLevel::Warning, L"Warning", 2},
                 {ULogLevel::Note, L"Note", 3},
                 {ULogLevel::Developer, L"Developer", 4}};
    for (const auto& c : cases)
    {
        ASSERT_NE(nullptr, c.level) << c.id;
        EXPECT_STREQ(c.name, c.level->GetName().GetBuffer());
        EXPECT_EQ(c.id, c.level->GetLogLevelId());
        EXPECT_EQ(c.level, ULogLevel::GetAspect(c.name));
    }
    for (unsigned long i = 0; i < 20; ++i)
    {
        const std::wstring name = L"Trace" + std::to_wstring(i);
        ASSERT_NE(nullptr, ULogLevel::GetTrace(i));
        EXPECT_EQ(name, ULogLevel::GetTrace(i)->GetName().GetBuffer());
        EXPECT_EQ(5 + i, ULogLevel::GetTrace(i)->GetLogLevelId());
        EXPECT_EQ(ULogLevel::GetTrace(i), ULogLevel::GetAspect(name.c_str()));
    }
    EXPECT_EQ(nullptr, ULogLevel::GetTrace(20));
}

TEST(LogLevel, NewNamesTakeTheNextIdAndAreMadeOnce)
{
    const ULogLevel* first = ULogLevel::GetAspect(L"LogLevelTest.First");
    const ULogLevel* second = ULogLevel::GetAspect(L"LogLevelTest.Second");
    EXPECT_GE(first->GetLogLevelId(), 25u);
    EXPECT_EQ(first->GetLogLevelId() + 1, second->GetLogLevelId());
    EXPECT_EQ(first, ULogLevel::GetAspect(L"LogLevelTest.First"));
    // Names compare exactly: another case is another level.
    EXPECT_NE(first, ULogLevel::GetAspect(L"logleveltest.first"));
    EXPECT_THROW(ULogLevel::GetAspect(nullptr), Oskal::Lib::Exceptions::UArgumentException);
}

TEST(LogLevelMask, BitsLiveInTenWordsStopAt640AndCompose)
{
    ULogLevelMask mask, empty;
    for (unsigned long bit : {0, 63, 64, 319, 639})
    {
        EXPECT_EQ(0, mask.IsBitSet(bit)) << bit;
        mask.SetBit(bit);
        EXPECT_EQ(1, mask.IsBitSet(bit)) << bit;
    }
    const unsigned __int64 top = 0x8000000000000000ULL;
    EXPECT_EQ(top | 1, mask.GetWords()[0]);
    EXPECT_EQ(1ULL, mask.GetWords()[1]);
    EXPECT_EQ(top, mask.GetWords()[4]);
    EXPECT_EQ(top, mask.GetWords()[9]);
    // Out of range: never stored, always read as clear.
    ULogLevelMask before(mask);
    mask.SetBit(640);
    mask.SetBit(0xFFFFFFFF);
    EXPECT_EQ(0, mask.IsBitSet(640));
    EXPECT_TRUE(before.Contains(mask) && mask.Contains(before));
    mask.ClearBit(63);
    EXPECT_EQ(0, mask.IsBitSet(63));
    EXPECT_EQ(1, before.Contains(mask));
    EXPECT_EQ(0, mask.Contains(before));
    EXPECT_EQ(1, empty.Contains(empty));
    EXPECT_EQ(0, empty.Contains(mask));

    unsigned __int64 words[10] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 1ULL << 24};
    ULogLevelMask copied(words);
    copied = copied;
    EXPECT_EQ(1, copied.IsBitSet(600));
    mask = copied;
    EXPECT_EQ(1, mask.IsBitSet(600));
    EXPECT_THROW(ULogLevelMask(static_cast<unsigned __int64*>(nullptr)), Oskal::Lib::Exceptions::UArgumentException);
}

TEST(LogLevelMask, OneBitConstructorSetsOnlyItsFixedBits)
{
    // word index and value, or -1 for an empty mask
    const struct
    {
        unsigned long bit;
        int word;
        unsigned __int64 value;
    } cases[] = {{0, 0, 1},       {3, 0, 1},       {63, 0, 1},     {64, -1, 0},  {100, -1, 0},
                 {255, -1, 0},    {256, 4, 0x10},  {319, 4, 0x10}, {320, -1, 0}, {511, -1, 0},
                 {512, 8, 0x100}, {575, 8, 0x100}, {576, -1, 0},   {639, -1, 0}, {0xFFFFFFFF, -1, 0}};
    for (const auto& c : cases)
    {
        ULogLevelMask mask(c.bit);
        for (int w = 0; w < 10; ++w)
            EXPECT_EQ(w == c.word ? c.value : 0, mask.GetWords()[w]) << "bit " << c.bit << " word " << w;
    }
    EXPECT_EQ(0, ULogLevelMask(3UL).IsBitSet(3));
}

} // namespace
