#include <Oskal/Lib/Math/UIntegerI64.h>

#include "IntegerDetail.inl"

namespace Oskal
{
namespace Lib
{
namespace Math
{

using Exceptions::UOverflowException;

UIntegerI64 UIntegerI64::operator+(const UIntegerI64& other) const
{
    __int64 a = m_value, b = other.m_value;
    __int64 sum = static_cast<__int64>(static_cast<unsigned __int64>(a) + static_cast<unsigned __int64>(b));
    if ((a < 0 && b < 0 && sum > a) || (a >= 0 && b >= 0 && sum < a))
        throw UOverflowException();
    return UIntegerI64(sum);
}

UIntegerI64 UIntegerI64::operator-(const UIntegerI64& other) const
{
    __int64 a = m_value, b = other.m_value;
    __int64 diff = static_cast<__int64>(static_cast<unsigned __int64>(a) - static_cast<unsigned __int64>(b));
    if ((a < 0 && b > 0 && diff > a) || (a >= 0 && b < 0 && diff < a))
        throw UOverflowException();
    return UIntegerI64(diff);
}

UIntegerI64 UIntegerI64::operator*(const UIntegerI64& other) const
{
    __int64 a = m_value, b = other.m_value;
    if (a == 0 || b == 0)
        return UIntegerI64(0);
    const unsigned __int64 ua = a < 0 ? 0 - static_cast<unsigned __int64>(a) : static_cast<unsigned __int64>(a);
    const unsigned __int64 ub = b < 0 ? 0 - static_cast<unsigned __int64>(b) : static_cast<unsigned __int64>(b);
    const unsigned __int64 magnitude = Detail::CheckedProduct(ua, ub);

    if ((a < 0) == (b < 0))
    {
        if (magnitude > 0x7FFFFFFFFFFFFFFFull)
            throw UOverflowException();
        return UIntegerI64(static_cast<__int64>(magnitude));
    }
    // The negation must come out negative; 2^63 gives the most negative value.
    __int64 negated = static_cast<__int64>(0 - magnitude);
    if (negated >= 0)
        throw UOverflowException();
    return UIntegerI64(negated);
}

UIntegerI64 UIntegerI64::operator/(const UIntegerI64& other) const
{
    return UIntegerI64(m_value / other.m_value);
}

UIntegerI64 UIntegerI64::operator%(const UIntegerI64& other) const
{
    return UIntegerI64(m_value % other.m_value);
}

UIntegerI64 UIntegerI64::Parse(const wchar_t* pszText)
{
    Detail::ParsedInteger info;
    unsigned __int64 value = Detail::ParseUnsigned<unsigned __int64>(pszText, true, &info);
    return UIntegerI64(Detail::ToSigned<__int64>(value, info));
}

} // namespace Math
} // namespace Lib
} // namespace Oskal
