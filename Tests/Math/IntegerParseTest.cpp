// Parse rules of the four integer classes: signs, hexadecimal prefix, bounds and the exact messages.
#include <Oskal/Lib/Math/UIntegerI32.h>
#include <Oskal/Lib/Math/UIntegerI64.h>
#include <Oskal/Lib/Math/UIntegerU32.h>
#include <Oskal/Lib/Math/UIntegerU64.h>
#include <Oskal/Lib/UArgumentException.h>
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

// The parsed value as a 64-bit pattern, or "F:"/"O:" and the message of a format/overflow error.
template <typename T, typename R> std::wstring Outcome(const wchar_t* text)
{
    try
    {
        return std::to_wstring(static_cast<unsigned __int64>(static_cast<R>(T::Parse(text))));
    }
    catch (const UFormatException& e)
    {
        return std::wstring(L"F:") + e.GetMessageText();
    }
    catch (const UOverflowException& e)
    {
        return std::wstring(L"O:") + e.GetMessageText();
    }
}

std::wstring F(const wchar_t* message)
{
    return std::wstring(L"F:") + message;
}

std::wstring O()
{
    return std::wstring(L"O:") + kBounds;
}

std::wstring V(unsigned __int64 value)
{
    return std::to_wstring(value);
}

// Every one of the texts parses to the expected outcome.
template <typename T, typename R> void Expect(const std::wstring& expected, std::initializer_list<const wchar_t*> texts)
{
    for (const wchar_t* text : texts)
        EXPECT_EQ(expected, (Outcome<T, R>(text))) << text;
}

} // namespace

// "-0" and a lone "-" negate to a non-negative value and are rejected; hexadecimal text is a bit
// pattern that the signed classes reinterpret without a range check; no white space, one sign.
TEST(IntegerParse, SignedThirtyTwoBit)
{
    const auto i32 = &Expect<UIntegerI32, long>;
    i32(V(2147483647), {L"2147483647", L"0x7fffffff"});
    i32(V(0xFFFFFFFF80000000ULL), {L"-2147483648"});
    i32(V(static_cast<unsigned __int64>(-17LL)), {L"-17"});
    i32(V(17), {L"+17"});
    i32(V(0), {L"", L"+", L"0x"});
    i32(V(~0ULL), {L"0XFFFFFFFF", L"+0xFFFFFFFF"});
    i32(V(0xABCDEF), {L"0xaBcDeF"});
    i32(O(), {L"2147483648", L"-2147483649", L"4294967296", L"99999999999999999999", L"-0", L"-", L"0x100000000"});
    i32(F(kHexFormat), {L"-0x1"});
    i32(F(kFormat), {L"0x1g", L"0x 1", L" 1", L"1 ", L"+-1", L"-+1", L"++1", L"1.5"});
    EXPECT_THROW(UIntegerI32::Parse(nullptr), Oskal::Lib::Exceptions::UArgumentException);
}

