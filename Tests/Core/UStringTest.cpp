#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UString.h>
#include <Oskal/Lib/UStringBuilder.h>

#include <gtest/gtest.h>

#include <string>

using Oskal::Lib::UString;
using Oskal::Lib::UStringBuilder;
using Oskal::Lib::Exceptions::UArgumentException;
using Oskal::Lib::Exceptions::UException;

namespace {

std::wstring Text(const UString& s)
{
    return std::wstring(s.GetBuffer(), s.GetLength());
}

TEST(UString, EmptyStringsShareOneBuffer)
{
    UString a, b(L""), c(L"abc", 0), d(a), e(L"xy"), f(L"xy");
    e.Assign(static_cast<const wchar_t*>(nullptr));
    f.Clear();
    for (const UString* s : {&a, &b, &c, &d, &e, &f})
    {
        EXPECT_EQ(UString::Empty.GetBuffer(), s->GetBuffer());
        EXPECT_STREQ(L"", *s);
        EXPECT_EQ(1u, s->GetCapacity());
        EXPECT_EQ(1, s->IsEmpty());
    }
}

TEST(UString, BuffersAreExactSize)
{
    const wchar_t unterminated[3] = {L'a', L'b', L'c'};
    UString bounded(unterminated, 2);
    EXPECT_EQ(L"ab", Text(bounded));
    EXPECT_EQ(3u, bounded.GetCapacity());
    EXPECT_EQ(2u, UString(L"ab\0cd", 5).GetLength());

    UString copy(bounded);
    EXPECT_NE(bounded.GetBuffer(), copy.GetBuffer());
    EXPECT_EQ(3u, copy.GetCapacity());

    // Same length: the buffer is reused; otherwise replaced by an exact one.
    const wchar_t* before = copy.GetBuffer();
    copy = L"xy";
    EXPECT_EQ(before, copy.GetBuffer());
    copy.Assign(L"longer", 4);
    EXPECT_EQ(L"long", Text(copy));
    EXPECT_EQ(5u, copy.GetCapacity());
    // The source may lie inside the string itself.
    copy.Assign(copy.GetBuffer() + 1);
    EXPECT_EQ(L"ong", Text(copy));
    EXPECT_EQ(4u, copy.GetCapacity());

    copy.Append(L"cd");
    copy.Append(L"efgh", 2);
    EXPECT_EQ(L"ongcdef", Text(copy));
    EXPECT_EQ(8u, copy.GetCapacity());
    before = copy.GetBuffer();
    copy.Append(L"");
    copy.Append(L"xyz", 0);
    EXPECT_EQ(before, copy.GetBuffer());
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
    try
    {
        s.GetAt(3);
        FAIL() << "no exception";
    }
    catch (const UArgumentException& e)
    {
        EXPECT_STREQ(L"ulIndex", e.GetName());
        EXPECT_STREQ(L"Index is out of range.", e.GetMessageText());
    }
    try
    {
        UString().GetAt(1);
        FAIL() << "no exception";
    }
    catch (const UException& e)
    {
        EXPECT_STREQ(L"Index is out of range.", e.GetMessageText());
        const UArgumentException* argument = dynamic_cast<const UArgumentException*>(&e);
        ASSERT_NE(nullptr, argument);
        EXPECT_STREQ(L"ulIndex", argument->GetName());
    }
}

TEST(UString, CountedCompareOrdersByLengthFirst)
{
    UString b(L"b");
    EXPECT_EQ(-1, b.Compare(L"ab", 2));
    EXPECT_EQ(1, b.Compare(L"ab"));
    EXPECT_EQ(1, UString(L"abc").Compare(L"zz", 2));
    EXPECT_EQ(0, UString(L"abc").Compare(L"abcd", 3));
    EXPECT_LT(UString(L"abc").Compare(L"abd", 3), 0);
}

TEST(UString, CompareIsOrdinalByUnsignedUnits)
{
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

TEST(UString, TokenizeKeepsEmptyTokens)
{
    auto tokens = UString(L"a,,b,").Tokenize(L",");
    ASSERT_EQ(4u, tokens.GetLength());
    EXPECT_EQ(L"a", Text(tokens[0]));
    EXPECT_EQ(L"", Text(tokens[1]));
    EXPECT_EQ(L"b", Text(tokens[2]));
    EXPECT_EQ(L"", Text(tokens[3]));

    tokens = UString(L"::x::y").Tokenize(L"::");
    ASSERT_EQ(3u, tokens.GetLength());
    EXPECT_EQ(L"", Text(tokens[0]));
    EXPECT_EQ(L"y", Text(tokens[2]));

    EXPECT_EQ(0u, UString().Tokenize(L",").GetLength());
    EXPECT_EQ(1u, UString(L"abc").Tokenize(L",").GetLength());
}

TEST(UString, TokenizeUsesTheResetScan)
{
    // The second 'a' breaks the partial match and is not tried as a new start.
    auto tokens = UString(L"aab").Tokenize(L"ab");
    ASSERT_EQ(1u, tokens.GetLength());
    EXPECT_EQ(L"aab", Text(tokens[0]));

    tokens = UString(L"xaabyab").Tokenize(L"ab");
    ASSERT_EQ(2u, tokens.GetLength());
    EXPECT_EQ(L"xaaby", Text(tokens[0]));
    EXPECT_EQ(L"", Text(tokens[1]));
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

TEST(UString, ConcatenationGivesOneExactBuffer)
{
    UString joined = UString(L"ab") + UString(L"cde");
    EXPECT_EQ(L"abcde", Text(joined));
    EXPECT_EQ(6u, joined.GetCapacity());

    UString fromBuilder = UStringBuilder(L"left") + L"!";
    EXPECT_EQ(L"left!", Text(fromBuilder));
    EXPECT_EQ(6u, fromBuilder.GetCapacity());

    EXPECT_EQ(UString::Empty.GetBuffer(), (UString() + L"").GetBuffer());
}

} // namespace
