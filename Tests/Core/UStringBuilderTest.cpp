#include <Oskal/Lib/UStringBuilder.h>

#include <gtest/gtest.h>

#include <string>

using Oskal::Lib::UStringBuilder;

namespace {

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

} // namespace
