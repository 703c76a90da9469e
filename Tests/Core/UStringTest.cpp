#include "Support/Thrown.h"

#include <Oskal/Lib/UString.h>
#include <Oskal/Lib/UStringBuilder.h>

#include <gtest/gtest.h>

#include <string>

using Oskal::Lib::UString;
using Oskal::Lib::UStringBuilder;
using OskalTests::Thrown;

namespace {

std::wstring Text(const UString& s)
{
    return std::wstring(s.GetBuffer(), s.GetLength());
}

TEST(UString, AppendCodePointWritesSurrogatesWithoutChecks)
{
    UString s;
    s.Append(0x1F600UL);
    ASSERT_EQ(2u, s.GetLength());
    EXPECT_EQ(0xD83D, s.GetAt(0));
    EXPECT_EQ(0xDE00, s.GetAt(1));
    s.Append(0xFFFFUL);
    EXPECT_EQ(3u, s.GetLength());
    EXPECT_EQ(0xFFFF, s.GetAt(2));
    UString beyond;
    beyond.Append(0x110000UL);
    EXPECT_EQ(static_cast<wchar_t>(0xD7C0 + (0x110000 >> 10)), beyond.GetAt(0));
    EXPECT_EQ(0xDC00, beyond.GetAt(1));
    // A 0 code unit is counted although the visible text does not change.
    UString z(L"a");
    z.Append(L'\0');
    EXPECT_EQ(2u, z.GetLength());
    EXPECT_STREQ(L"a", z);
}

TEST(UString, GetAtAcceptsTheLengthAndThrowsBeyond)
{
    UString s(L"ab");
    EXPECT_EQ(L'b', s.GetAt(1));
    EXPECT_EQ(L'\0', s.GetAt(2));
    EXPECT_EQ(L"ulIndex|Index is out of range.", Thrown([&] { s.GetAt(3); }));
    EXPECT_EQ(L"ulIndex|Index is out of range.", Thrown([] { UString().GetAt(1); }));
}

// Ordinal by unsigned units; the counted form orders by length first.
TEST(UString, Compare)
{
    UString b(L"b");
    EXPECT_EQ(-1, b.Compare(L"ab", 2));
    EXPECT_EQ(1, b.Compare(L"ab"));
    EXPECT_EQ(1, UString(L"abc").Compare(L"zz", 2));
    EXPECT_EQ(0, UString(L"abc").Compare(L"abcd", 3));
    EXPECT_LT(UString(L"abc").Compare(L"abd", 3), 0);
    EXPECT_EQ(0, UString(L"abc").Compare(L"abc"));
    EXPECT_EQ(-1, UString(L"ab").Compare(L"abc"));
    EXPECT_EQ(-1, UString(L"B").Compare(L"a"));
    EXPECT_EQ(1, UString(L"\xFFFF").Compare(L"z"));
    EXPECT_TRUE(UString(L"a") < UString(L"b"));
    EXPECT_FALSE(UString(L"b") < UString(L"a"));
    EXPECT_TRUE(UString(L"b") > UString(L"a"));
    EXPECT_TRUE(UString(L"a") == UStringBuilder(L"a"));
    UString s(L"prefix.suffix");
    EXPECT_EQ(1, s.BeginsWith(L"pre"));
    EXPECT_EQ(1, s.BeginsWith(L""));
    EXPECT_EQ(0, s.BeginsWith(L"suffix"));
    EXPECT_EQ(1, s.EndsWith(L".suffix"));
    EXPECT_EQ(0, s.EndsWith(L"xprefix.suffix"));
    EXPECT_EQ(0, UString(L"ab").BeginsWith(L"abc"));
}

// Each token in brackets.
std::wstring Tokens(const wchar_t* pszText, const wchar_t* pszSeparator)
{
    auto tokens = UString(pszText).Tokenize(pszSeparator);
    std::wstring text;
    for (unsigned long i = 0; i < tokens.GetLength(); ++i)
        text += L"[" + Text(tokens[i]) + L"]";
    return text;
}

// Empty tokens are kept. A broken partial match resumes after the unit that broke it, so the
// second 'a' of "aab" is not tried as a new start.
TEST(UString, TokenizeKeepsEmptyTokensAndUsesTheResetScan)
{
    EXPECT_EQ(L"[a][][b][]", Tokens(L"a,,b,", L","));
    EXPECT_EQ(L"[][x][y]", Tokens(L"::x::y", L"::"));
    EXPECT_EQ(L"", Tokens(L"", L","));
    EXPECT_EQ(L"[abc]", Tokens(L"abc", L","));
    EXPECT_EQ(L"[aab]", Tokens(L"aab", L"ab"));
    EXPECT_EQ(L"[xaaby][]", Tokens(L"xaabyab", L"ab"));
}

TEST(UString, TrimRemovesOnlyTheFourWhiteSpaceUnits)
{
    UString s(L"  x\t");
    s.Trim();
    EXPECT_EQ(L"x", Text(s));
    EXPECT_EQ(2u, s.GetCapacity());
    UString mixed(L"\r\n a b \t\r\n");
    mixed.Trim();
    EXPECT_EQ(L"a b", Text(mixed));
    const wchar_t* before = s.GetBuffer();
    s.Trim();
    EXPECT_EQ(before, s.GetBuffer());
    UString nbsp(L"\xA0y\xA0");
    nbsp.Trim();
    EXPECT_EQ(3u, nbsp.GetLength());
    UString blank(L" \t ");
    blank.Trim();
    EXPECT_EQ(UString::Empty.GetBuffer(), blank.GetBuffer());
}

} // namespace
