// Parse rules of the four integer classes: signs, hexadecimal prefix, bounds and the exact messages.
#include <Oskal/Lib/Math/UIntegerI32.h>
#include <Oskal/Lib/Math/UIntegerI64.h>
#include <Oskal/Lib/Math/UIntegerU32.h>
#include <Oskal/Lib/Math/UIntegerU64.h>
#include <Oskal/Lib/UFormatException.h>
#include <Oskal/Lib/UOverflowException.h>

#include <gtest/gtest.h>

#include <string>

using namespace Oskal::Lib::Math;
using Oskal::Lib::Exceptions::UFormatException;
using Oskal::Lib::Exceptions::UOverflowException;

namespace
{

const wchar_t* const kFormat = L"Invalid integer format.";
const wchar_t* const kHexFormat = L"Invalid hexadecimal integer format.";
const wchar_t* const kBounds = L"Parsed integer is out of bounds.";

// The message of the exception of type E thrown by f, or "(no exception)".
template <typename E, typename F> std::wstring ThrownMessage(F f)
{
    try
    {
        f();
    }
    catch (const E& e)
    {
        return e.GetMessageText();
    }
    return L"(no exception)";
}

template <typename T> std::wstring FormatError(const wchar_t* text)
{
    return ThrownMessage<UFormatException>([&] { T::Parse(text); });
}

template <typename T> std::wstring OverflowError(const wchar_t* text)
{
    return ThrownMessage<UOverflowException>([&] { T::Parse(text); });
}

} // namespace

TEST(IntegerParse, SignedThirtyTwoBitBounds)
{
    EXPECT_EQ(2147483647L, static_cast<long>(UIntegerI32::Parse(L"2147483647")));
    EXPECT_EQ(-2147483647L - 1, static_cast<long>(UIntegerI32::Parse(L"-2147483648")));
    EXPECT_EQ(-17L, static_cast<long>(UIntegerI32::Parse(L"-17")));
    EXPECT_EQ(17L, static_cast<long>(UIntegerI32::Parse(L"+17")));
    EXPECT_EQ(kBounds, OverflowError<UIntegerI32>(L"2147483648"));
    EXPECT_EQ(kBounds, OverflowError<UIntegerI32>(L"-2147483649"));
    EXPECT_EQ(kBounds, OverflowError<UIntegerI32>(L"4294967296"));
    EXPECT_EQ(kBounds, OverflowError<UIntegerI32>(L"99999999999999999999"));
}

// "-0" and a lone "-" negate to a non-negative value and are rejected; that is the defined rule.
TEST(IntegerParse, MinusZeroAndLoneMinusAreOutOfBounds)
{
    EXPECT_EQ(kBounds, OverflowError<UIntegerI32>(L"-0"));
    EXPECT_EQ(kBounds, OverflowError<UIntegerI32>(L"-"));
    EXPECT_EQ(kBounds, OverflowError<UIntegerI64>(L"-0"));
    EXPECT_EQ(kBounds, OverflowError<UIntegerI64>(L"-000"));
}

TEST(IntegerParse, UnsignedBoundsAndMinus)
{
    EXPECT_EQ(4294967295UL, static_cast<unsigned long>(UIntegerU32::Parse(L"4294967295")));
    EXPECT_EQ(kBounds, OverflowError<UIntegerU32>(L"4294967296"));
    EXPECT_EQ(kBounds, OverflowError<UIntegerU32>(L"4294967300"));
    EXPECT_EQ(kFormat, FormatError<UIntegerU32>(L"-1"));
    EXPECT_EQ(kFormat, FormatError<UIntegerU64>(L"-0x1"));
    EXPECT_EQ(18446744073709551615ULL, static_cast<unsigned __int64>(UIntegerU64::Parse(L"18446744073709551615")));
    EXPECT_EQ(kBounds, OverflowError<UIntegerU64>(L"18446744073709551616"));
    EXPECT_EQ(kBounds, OverflowError<UIntegerU64>(L"18446744073709551620"));
}

TEST(IntegerParse, SignedSixtyFourBitBounds)
{
    EXPECT_EQ(9223372036854775807LL, static_cast<__int64>(UIntegerI64::Parse(L"9223372036854775807")));
    EXPECT_EQ(-9223372036854775807LL - 1, static_cast<__int64>(UIntegerI64::Parse(L"-9223372036854775808")));
    EXPECT_EQ(kBounds, OverflowError<UIntegerI64>(L"9223372036854775808"));
    EXPECT_EQ(kBounds, OverflowError<UIntegerI64>(L"-9223372036854775809"));
}

// Hexadecimal text is a bit pattern: the signed classes reinterpret it without a range check.
TEST(IntegerParse, Hexadecimal)
{
    EXPECT_EQ(2147483647L, static_cast<long>(UIntegerI32::Parse(L"0x7fffffff")));
    EXPECT_EQ(-1L, static_cast<long>(UIntegerI32::Parse(L"0XFFFFFFFF")));
    EXPECT_EQ(-1L, static_cast<long>(UIntegerI32::Parse(L"+0xFFFFFFFF")));
    EXPECT_EQ(0xABCDEFL, static_cast<long>(UIntegerI32::Parse(L"0xaBcDeF")));
    EXPECT_EQ(0L, static_cast<long>(UIntegerI32::Parse(L"0x")));
    EXPECT_EQ(0xFFFFFFFFUL, static_cast<unsigned long>(UIntegerU32::Parse(L"0x0000000FFFFFFFF")));
    EXPECT_EQ(-1LL, static_cast<__int64>(UIntegerI64::Parse(L"0xFFFFFFFFFFFFFFFF")));
    EXPECT_EQ(0x123456789ABCDEF0ULL, static_cast<unsigned __int64>(UIntegerU64::Parse(L"0x123456789abcdef0")));

    EXPECT_EQ(kHexFormat, FormatError<UIntegerI32>(L"-0x1"));
    EXPECT_EQ(kHexFormat, FormatError<UIntegerI64>(L"-0X0"));
    EXPECT_EQ(kFormat, FormatError<UIntegerI32>(L"0x1g"));
    EXPECT_EQ(kFormat, FormatError<UIntegerI32>(L"0x 1"));
    EXPECT_EQ(kBounds, OverflowError<UIntegerI32>(L"0x100000000"));
    EXPECT_EQ(kBounds, OverflowError<UIntegerU32>(L"0x100000000"));
    EXPECT_EQ(kBounds, OverflowError<UIntegerU64>(L"0x10000000000000000"));
}

TEST(IntegerParse, NoWhiteSpaceAndOneSignOnly)
{
    EXPECT_EQ(kFormat, FormatError<UIntegerI32>(L" 1"));
    EXPECT_EQ(kFormat, FormatError<UIntegerI32>(L"1 "));
    EXPECT_EQ(kFormat, FormatError<UIntegerU64>(L"\t1"));
    EXPECT_EQ(kFormat, FormatError<UIntegerI32>(L"+-1"));
    EXPECT_EQ(kFormat, FormatError<UIntegerI32>(L"-+1"));
    EXPECT_EQ(kFormat, FormatError<UIntegerI32>(L"++1"));
    EXPECT_EQ(kFormat, FormatError<UIntegerI32>(L"1.5"));
    EXPECT_EQ(kFormat, FormatError<UIntegerU32>(L"x1"));
}

TEST(IntegerParse, EmptyAndLonePlusGiveZero)
{
    EXPECT_EQ(0L, static_cast<long>(UIntegerI32::Parse(L"")));
    EXPECT_EQ(0L, static_cast<long>(UIntegerI32::Parse(L"+")));
    EXPECT_EQ(0UL, static_cast<unsigned long>(UIntegerU32::Parse(L"+")));
    EXPECT_EQ(0LL, static_cast<__int64>(UIntegerI64::Parse(L"")));
    EXPECT_EQ(0ULL, static_cast<unsigned __int64>(UIntegerU64::Parse(L"+0")));
}
