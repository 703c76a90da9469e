#include <Oskal/Lib/Math/UIntegerU32.h>

#include "IntegerDetail.inl"

namespace Oskal
{
namespace Lib
{
namespace Math
{

using Exceptions::UOverflowException;

UIntegerU32 UIntegerU32::operator+(const UIntegerU32& other) const
{
    unsigned long sum = m_value + other.m_value;
    if (sum < m_value)
        throw UOverflowException();
    return UIntegerU32(sum);
}

UIntegerU32 UIntegerU32::operator-(const UIntegerU32& other) const
{
    if (m_value < other.m_value)
        throw UOverflowException();
    return UIntegerU32(m_value - other.m_value);
}

UIntegerU32 UIntegerU32::operator*(const UIntegerU32& other) const
{
    unsigned __int64 product = static_cast<unsigned __int64>(m_value) * other.m_value;
    if (product > 0xFFFFFFFFull)
        throw UOverflowException();
    return UIntegerU32(static_cast<unsigned long>(product));
}

UIntegerU32 UIntegerU32::operator/(const UIntegerU32& other) const
{
    return UIntegerU32(m_value / other.m_value);
}

UIntegerU32 UIntegerU32::operator%(const UIntegerU32& other) const
{
    return UIntegerU32(m_value % other.m_value);
}

UIntegerU32 UIntegerU32::Parse(const wchar_t* pszText)
{
    Detail::ParsedInteger info;
    return UIntegerU32(Detail::ParseUnsigned<unsigned long>(pszText, false, &info));
}

} // namespace Math
} // namespace Lib
} // namespace Oskal
