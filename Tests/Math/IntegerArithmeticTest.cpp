// Checked operators compared with a wider reference: they must throw exactly where the true
// result leaves the range, apart from the weak 32-bit signed multiplication that is kept.
#include <Oskal/Lib/Math/UIntegerI32.h>
#include <Oskal/Lib/Math/UIntegerI64.h>
#include <Oskal/Lib/Math/UIntegerU32.h>
#include <Oskal/Lib/Math/UIntegerU64.h>
#include <Oskal/Lib/UOverflowException.h>

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <vector>

using namespace Oskal::Lib::Math;
using Oskal::Lib::Exceptions::UOverflowException;

namespace
{

// Sign and 128-bit magnitude, enough to hold any 64-bit sum, difference or product exactly.
struct Wide
{
    bool negative;
    unsigned __int64 high, low;
};

Wide MulMagnitude(unsigned __int64 a, unsigned __int64 b)
{
    unsigned __int64 a0 = a & 0xFFFFFFFF, a1 = a >> 32, b0 = b & 0xFFFFFFFF, b1 = b >> 32;
    unsigned __int64 p00 = a0 * b0, p01 = a0 * b1, p10 = a1 * b0, p11 = a1 * b1;
    unsigned __int64 middle = (p00 >> 32) + (p01 & 0xFFFFFFFF) + (p10 & 0xFFFFFFFF);
    Wide w;
    w.negative = false;
    w.low = (middle << 32) | (p00 & 0xFFFFFFFF);
    w.high = p11 + (p01 >> 32) + (p10 >> 32) + (middle >> 32);
    return w;
}

unsigned __int64 Magnitude(__int64 v)
{
    return v < 0 ? 0 - static_cast<unsigned __int64>(v) : static_cast<unsigned __int64>(v);
}

bool FitsSigned64(const Wide& w)
{
    if (w.high != 0)
        return false;
    return w.negative ? w.low <= 0x8000000000000000ULL : w.low <= 0x7FFFFFFFFFFFFFFFULL;
}

template <typename T, typename F> bool Throws(F f)
{
    try
    {
        f();
    }
    catch (const UOverflowException& e)
    {
        EXPECT_STREQ(L"", e.GetMessageText());
        return true;
    }
    return false;
}

std::vector<__int64> Interesting64()
{
    // Zero, small values, and both sides of the 32-bit and 64-bit limits and of the square root of 2^63.
    // clang-format off
    const __int64 fixed[] = {0, 1, -1, 2, -2, 3, 65536, -65536, 0x7FFFFFFF, -0x80000000LL,
        0x80000000LL, 0xFFFFFFFFLL, 0x100000000LL, -0x100000000LL, 3037000499LL, 3037000500LL, -3037000500LL,
        0x7FFFFFFFFFFFFFFFLL, LLONG_MIN, -0x7FFFFFFFFFFFFFFFLL, 0x4000000000000000LL, -0x4000000000000000LL};
    // clang-format on
    std::vector<__int64> v(std::begin(fixed), std::end(fixed));
    std::mt19937_64 random(7);
    for (int i = 0; i < 60; ++i)
        v.push_back(static_cast<__int64>(random() >> (random() % 64)) * ((i & 1) ? -1 : 1));
    return v;
}

} // namespace

TEST(IntegerArithmetic, SignedThirtyTwoAddSubtractAgainstWideReference)
{
    std::vector<long> values;
    for (__int64 v : Interesting64())
        values.push_back(static_cast<long>(v));
    for (long a : values)
        for (long b : values)
        {
            __int64 sum = static_cast<__int64>(a) + b, diff = static_cast<__int64>(a) - b;
            bool sumFits = sum >= -2147483647LL - 1 && sum <= 2147483647LL;
            bool diffFits = diff >= -2147483647LL - 1 && diff <= 2147483647LL;
            long result = 0;
            EXPECT_EQ(!sumFits, Throws<UIntegerI32>([&] { result = UIntegerI32(a) + UIntegerI32(b); }))
                << a << "+" << b;
            if (sumFits)
            {
                EXPECT_EQ(sum, result);
            }
            EXPECT_EQ(!diffFits, Throws<UIntegerI32>([&] { result = UIntegerI32(a) - UIntegerI32(b); }))
                << a << "-" << b;
            if (diffFits)
            {
                EXPECT_EQ(diff, result);
            }
        }
}

// The kept weak check: the exact product always has the expected sign, so nothing throws and
// the low 32 bits come back.
TEST(IntegerArithmetic, SignedThirtyTwoMultiplyNeverThrowsAndTruncates)
{
    for (__int64 a64 : Interesting64())
        for (__int64 b64 : Interesting64())
        {
            long a = static_cast<long>(a64), b = static_cast<long>(b64);
            long expected = static_cast<long>(static_cast<unsigned long>(static_cast<__int64>(a) * b));
            EXPECT_EQ(expected, static_cast<long>(UIntegerI32(a) * UIntegerI32(b)));
        }
}

TEST(IntegerArithmetic, SignedSixtyFourAgainstWideReference)
{
    for (__int64 a : Interesting64())
        for (__int64 b : Interesting64())
        {
            Wide product = MulMagnitude(Magnitude(a), Magnitude(b));
            product.negative = (a < 0) != (b < 0) && a != 0 && b != 0;
            bool fits = FitsSigned64(product);
            __int64 result = 0;
            EXPECT_EQ(!fits, Throws<UIntegerI64>([&] { result = UIntegerI64(a) * UIntegerI64(b); })) << a << "*" << b;
            if (fits)
            {
                EXPECT_EQ(static_cast<__int64>(static_cast<unsigned __int64>(a) * static_cast<unsigned __int64>(b)),
                          result);
            }
            // Sums and differences: compare the wrapped result with the sign rule of exact arithmetic.
            unsigned __int64 wrappedSum = static_cast<unsigned __int64>(a) + static_cast<unsigned __int64>(b);
            bool sumOverflows = (a < 0) == (b < 0) && (static_cast<__int64>(wrappedSum) < 0) != (a < 0);
            EXPECT_EQ(sumOverflows, Throws<UIntegerI64>([&] { result = UIntegerI64(a) + UIntegerI64(b); }))
                << a << "+" << b;
            unsigned __int64 wrappedDiff = static_cast<unsigned __int64>(a) - static_cast<unsigned __int64>(b);
            bool diffOverflows = (a < 0) != (b < 0) && (static_cast<__int64>(wrappedDiff) < 0) != (a < 0);
            EXPECT_EQ(diffOverflows, Throws<UIntegerI64>([&] { result = UIntegerI64(a) - UIntegerI64(b); }))
                << a << "-" << b;
        }
}

TEST(IntegerArithmetic, UnsignedAgainstWideReference)
{
    for (__int64 a64 : Interesting64())
        for (__int64 b64 : Interesting64())
        {
            unsigned long a = static_cast<unsigned long>(a64), b = static_cast<unsigned long>(b64);
            unsigned __int64 sum = static_cast<unsigned __int64>(a) + b;
            unsigned __int64 product = static_cast<unsigned __int64>(a) * b;
            EXPECT_EQ(sum > 0xFFFFFFFFULL, Throws<UIntegerU32>([&] { UIntegerU32(a) + UIntegerU32(b); }));
            EXPECT_EQ(a < b, Throws<UIntegerU32>([&] { UIntegerU32(a) - UIntegerU32(b); }));
            EXPECT_EQ(product > 0xFFFFFFFFULL, Throws<UIntegerU32>([&] { UIntegerU32(a) * UIntegerU32(b); }));
            unsigned __int64 ua = static_cast<unsigned __int64>(a64), ub = static_cast<unsigned __int64>(b64);
            Wide wide = MulMagnitude(ua, ub);
            unsigned __int64 result = 0;
            EXPECT_EQ(wide.high != 0, Throws<UIntegerU64>([&] { result = UIntegerU64(ua) * UIntegerU64(ub); }));
            if (wide.high == 0)
            {
                EXPECT_EQ(wide.low, result);
            }
            EXPECT_EQ(ua + ub < ua, Throws<UIntegerU64>([&] { UIntegerU64(ua) + UIntegerU64(ub); }));
            EXPECT_EQ(ua < ub, Throws<UIntegerU64>([&] { UIntegerU64(ua) - UIntegerU64(ub); }));
        }
}
