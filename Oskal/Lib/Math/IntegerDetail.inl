// Shared by the four integer classes: the text scan of Parse, accumulated as an unsigned number
// of the class's width, and the checked 64-bit product of magnitudes. Included by their .cpp
// files only; not part of the public interface.
#pragma once

#include <cstddef>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UFormatException.h>
#include <Oskal/Lib/UOverflowException.h>

namespace Oskal
{
namespace Lib
{
namespace Math
{
namespace Detail
{

static const wchar_t* const kInvalidFormat = L"Invalid integer format.";
static const wchar_t* const kInvalidHexFormat = L"Invalid hexadecimal integer format.";
static const wchar_t* const kOutOfBounds = L"Parsed integer is out of bounds.";

struct ParsedInteger
{
    bool negative;
    bool hexadecimal;
};

// Returns the bit pattern; signed callers apply their own range rules for decimal text.
template <typename U> U ParseUnsigned(const wchar_t* pszText, bool bAcceptMinus, ParsedInteger* pInfo)
{
    Internal::ThrowIfNull(pszText, L"pszText");

    const wchar_t* p = pszText;
    pInfo->negative = false;
    pInfo->hexadecimal = false;
    if (*p == L'+')
        ++p;
    else if (bAcceptMinus && *p == L'-')
    {
        pInfo->negative = true;
        ++p;
    }

    U value = 0;
    if (p[0] == L'0' && (p[1] == L'x' || p[1] == L'X'))
    {
        if (pInfo->negative)
            throw Exceptions::UFormatException(kInvalidHexFormat);
        pInfo->hexadecimal = true;
        const U limit = static_cast<U>(~static_cast<U>(0)) >> 4;
        for (p += 2; *p != 0; ++p)
        {
            unsigned digit;
            if (*p >= L'0' && *p <= L'9')
                digit = *p - L'0';
            else if (*p >= L'a' && *p <= L'f')
                digit = *p - L'a' + 10;
            else if (*p >= L'A' && *p <= L'F')
                digit = *p - L'A' + 10;
            else
                throw Exceptions::UFormatException(kInvalidFormat);
            if (value > limit)
                throw Exceptions::UOverflowException(kOutOfBounds);
            value = static_cast<U>(value * 16 + digit);
        }
        return value;
    }

    const U maxOverTen = static_cast<U>(~static_cast<U>(0)) / 10;
    for (; *p != 0; ++p)
    {
        if (*p < L'0' || *p > L'9')
            throw Exceptions::UFormatException(kInvalidFormat);
        if (value > maxOverTen)
            throw Exceptions::UOverflowException(kOutOfBounds);
        U next = static_cast<U>(value * 10 + static_cast<unsigned>(*p - L'0'));
        if (next < value * 10)
            throw Exceptions::UOverflowException(kOutOfBounds);
        value = next;
    }
    return value;
}

// Decimal range rule of the signed classes: the top bit must stay clear, and a "-" result must
// come out negative, which rejects "-0" and a lone "-" while accepting the most negative value.
template <typename S, typename U> S ToSigned(U value, const ParsedInteger& info)
{
    const U topBit = static_cast<U>(static_cast<U>(1) << (sizeof(U) * 8 - 1));
    if (info.hexadecimal)
        return static_cast<S>(value);
    if (!info.negative)
    {
        if (value & topBit)
            throw Exceptions::UOverflowException(kOutOfBounds);
        return static_cast<S>(value);
    }
    U negated = static_cast<U>(0 - value);
    if (!(negated & topBit))
        throw Exceptions::UOverflowException(kOutOfBounds);
    return static_cast<S>(negated);
}

// The product of two unsigned 64-bit numbers, or UOverflowException when it needs more than 64
// bits: in 32-bit halves at most one cross product may exist, it must fit 32 bits, and the final
// carry must not overflow.
inline unsigned __int64 CheckedProduct(unsigned __int64 a, unsigned __int64 b)
{
    const unsigned long aHigh = static_cast<unsigned long>(a >> 32), aLow = static_cast<unsigned long>(a);
    const unsigned long bHigh = static_cast<unsigned long>(b >> 32), bLow = static_cast<unsigned long>(b);
    if (aHigh != 0 && bHigh != 0)
        throw Exceptions::UOverflowException();
    const unsigned __int64 cross =
        static_cast<unsigned __int64>(aHigh) * bLow + static_cast<unsigned __int64>(aLow) * bHigh;
    if (cross > 0xFFFFFFFFull)
        throw Exceptions::UOverflowException();
    const unsigned __int64 low = static_cast<unsigned __int64>(aLow) * bLow;
    const unsigned __int64 product = low + (cross << 32);
    if (product < low)
        throw Exceptions::UOverflowException();
    return product;
}

} // namespace Detail
} // namespace Math
} // namespace Lib
} // namespace Oskal
