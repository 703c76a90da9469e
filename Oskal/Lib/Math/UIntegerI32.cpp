#include <Oskal/Lib/Math/UIntegerI32.h>

#include "IntegerDetail.inl"

namespace Oskal
{
namespace Lib
{
namespace Math
{

using Exceptions::UOverflowException;

UIntegerI32 UIntegerI32::operator+(const UIntegerI32& other) const
{
    long a = m_value, b = other.m_value;
    long sum = static_cast<long>(static_cast<unsigned long>(a) + static_cast<unsigned long>(b));
    if ((a < 0 && b < 0 && sum > a) || (a >= 0 && b >= 0 && sum < a))
        throw UOverflowException();
    return UIntegerI32(sum);
}

UIntegerI32 UIntegerI32::operator-(const UIntegerI32& other) const
{
    long a = m_value, b = other.m_value;
    long diff = static_cast<long>(static_cast<unsigned long>(a) - static_cast<unsigned long>(b));
    if ((a < 0 && b > 0 && diff > a) || (a >= 0 && b < 0 && diff < a))
        throw UOverflowException();
    return UIntegerI32(diff);
}

// The check only compares the sign of the exact 64-bit product with the expected sign, which
// always agrees: a product beyond 32 bits is truncated, never reported. Existing callers
// depend on this, so it stays.
UIntegerI32 UIntegerI32::operator*(const UIntegerI32& other) const
{
    long a = m_value, b = other.m_value;
    if (a == 0 || b == 0)
        return UIntegerI32(0);
    // Kept: only the sign of the exact product is checked, which never fails, and the low 32
    // bits are returned, so a product beyond 32 bits comes back truncated (pinned by
    // IntegerArithmetic.SignedThirtyTwoMultiplyNeverThrowsAndTruncates)
    __int64 product = static_cast<__int64>(a) * static_cast<__int64>(b);
    bool sameSign = (a < 0) == (b < 0);
    if ((sameSign && product < 0) || (!sameSign && product > 0))
        throw UOverflowException();
    return UIntegerI32(static_cast<long>(static_cast<unsigned long>(static_cast<unsigned __int64>(product))));
}

UIntegerI32 UIntegerI32::operator/(const UIntegerI32& other) const
{
    return UIntegerI32(m_value / other.m_value);
}

UIntegerI32 UIntegerI32::operator%(const UIntegerI32& other) const
{
    return UIntegerI32(m_value % other.m_value);
}

UIntegerI32 UIntegerI32::Parse(const wchar_t* pszText)
{
    Detail::ParsedInteger info;
    unsigned long value = Detail::ParseUnsigned<unsigned long>(pszText, true, &info);
    return UIntegerI32(Detail::ToSigned<long>(value, info));
}

} // namespace Math
} // namespace Lib
} // namespace Oskal
