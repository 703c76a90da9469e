#include <Oskal/Lib/Math/UIntegerU64.h>

#include "IntegerParse.inl"

namespace Oskal
{
namespace Lib
{
namespace Math
{

using Exceptions::UOverflowException;

UIntegerU64 UIntegerU64::operator+(const UIntegerU64& other) const
{
    unsigned __int64 sum = m_value + other.m_value;
    if (sum < m_value)
        throw UOverflowException();
    return UIntegerU64(sum);
}

UIntegerU64 UIntegerU64::operator-(const UIntegerU64& other) const
{
    if (m_value < other.m_value)
        throw UOverflowException();
    return UIntegerU64(m_value - other.m_value);
}

UIntegerU64 UIntegerU64::operator*(const UIntegerU64& other) const
{
    const unsigned __int64 a = m_value, b = other.m_value;
    const unsigned long aHigh = static_cast<unsigned long>(a >> 32), aLow = static_cast<unsigned long>(a);
    const unsigned long bHigh = static_cast<unsigned long>(b >> 32), bLow = static_cast<unsigned long>(b);
    if (aHigh != 0 && bHigh != 0)
        throw UOverflowException();
    unsigned __int64 cross = static_cast<unsigned __int64>(aHigh) * bLow + static_cast<unsigned __int64>(aLow) * bHigh;
    if (cross > 0xFFFFFFFFull)
        throw UOverflowException();
    const unsigned __int64 low = static_cast<unsigned __int64>(aLow) * bLow;
    const unsigned __int64 product = low + (cross << 32);
    if (product < low)
        throw UOverflowException();
    return UIntegerU64(product);
}

UIntegerU64 UIntegerU64::operator/(const UIntegerU64& other) const
{
    return UIntegerU64(m_value / other.m_value);
}

UIntegerU64 UIntegerU64::operator%(const UIntegerU64& other) const
{
    return UIntegerU64(m_value % other.m_value);
}

UIntegerU64 UIntegerU64::Parse(const wchar_t* pszText)
{
    Detail::ParsedInteger info;
    return UIntegerU64(Detail::ParseUnsigned<unsigned __int64>(pszText, false, &info));
}

} // namespace Math
} // namespace Lib
} // namespace Oskal
