#include <Oskal/Lib/Math/UIntegerU64.h>

#include "IntegerDetail.inl"

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
    return UIntegerU64(Detail::CheckedProduct(m_value, other.m_value));
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
