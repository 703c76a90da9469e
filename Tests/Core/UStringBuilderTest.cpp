#include <Oskal/Lib/UStringBuilder.h>

#include <gtest/gtest.h>

#include <string>

using Oskal::Lib::UString;
using Oskal::Lib::UStringBuilder;

namespace {

std::wstring Text(const UString& s)
{
    return std::wstring(s.GetBuffer(), s.GetLength());
}

TEST(UStringBuilder, GrowsInGrowStepsWhenTheTerminatorNoLongerFits)
{
    UStringBuilder b;
    for (int i = 0; i < 127; ++i)
        b.Append(L'x');
    EXPECT_EQ(128u, b.GetCapacity());
    b.Append(L'y');
    EXPECT_EQ(256u, b.GetCapacity());
    EXPECT_EQ(128u, b.GetLength());
    EXPECT_EQ(std::wstring(127, L'x') + L"y", Text(b));
    EXPECT_EQ(L'\0', b.GetBuffer()[128]);

    // needed = 128 + 200 = 328: (128 + 328 + 1) / 128 * 128 = 384.
    b.Append(std::wstring(200, L'z').c_str());
    EXPECT_EQ(384u, b.GetCapacity());
    EXPECT_EQ(328u, b.GetLength());
}

TEST(UStringBuilder, AppendVariants)
{
    UStringBuilder b(L"a");
    b.Append(L"bcdef", 2);
    b.Append(0x1F600UL);
    b.Append(L'\0');
    ASSERT_EQ(6u, b.GetLength());
    EXPECT_EQ(L'c', b.GetAt(2));
    EXPECT_EQ(0xD83D, b.GetAt(3));
    EXPECT_EQ(0xDE00, b.GetAt(4));
    EXPECT_EQ(L'\0', b.GetAt(5));
}

TEST(UStringBuilder, AssignReallocatesOnlyBelowGrowStepPlusLength)
{
    UStringBuilder b;
    b.Assign(L"0123456789");
    EXPECT_EQ(139u, b.GetCapacity());
    const wchar_t* buffer = b.GetBuffer();
    b.Assign(L"abc");
    EXPECT_EQ(buffer, b.GetBuffer());
    EXPECT_EQ(139u, b.GetCapacity());
    EXPECT_EQ(L"abc", Text(b));

    b.Assign(static_cast<const wchar_t*>(nullptr));
    EXPECT_EQ(buffer, b.GetBuffer());
    EXPECT_EQ(0u, b.GetLength());
    EXPECT_STREQ(L"", b.GetBuffer());
}

TEST(UStringBuilder, ClearShrinksOnlyWhenAsked)
{
    UStringBuilder b;
    b.Append(std::wstring(300, L'q').c_str());
    const unsigned long grown = b.GetCapacity();
    ASSERT_GT(grown, 128u);
    b.Clear(0);
    EXPECT_EQ(grown, b.GetCapacity());
    EXPECT_EQ(0u, b.GetLength());
    EXPECT_STREQ(L"", b.GetBuffer());
    b.Append(L"again");
    b.Clear();
    EXPECT_EQ(128u, b.GetCapacity());
    EXPECT_STREQ(L"", b.GetBuffer());
}

TEST(UStringBuilder, TrimWorksInPlace)
{
    UStringBuilder b(L" \t\r\nkeep me\n ");
    const wchar_t* buffer = b.GetBuffer();
    const unsigned long capacity = b.GetCapacity();
    b.Trim();
    EXPECT_EQ(L"keep me", Text(b));
    EXPECT_EQ(buffer, b.GetBuffer());
    EXPECT_EQ(capacity, b.GetCapacity());
    EXPECT_EQ(L'\0', b.GetBuffer()[7]);

    UStringBuilder blank(L"   ");
    blank.Trim();
    EXPECT_EQ(0u, blank.GetLength());
    EXPECT_EQ(128u + 3 + 1, blank.GetCapacity());
}

} // namespace
