#pragma once

#include <Oskal/Lib/Export.h>

namespace Oskal
{
namespace Lib
{
namespace Math
{

// Signed 32-bit integer value with overflow-checked +, - and * (UOverflowException).
// / and % are the processor's own: division by zero and MIN / -1 fault in hardware.
class OSKAL_LIB_API UIntegerI32
{
public:
    UIntegerI32() : m_value(0) {}
    UIntegerI32(long value) : m_value(value) {}
    UIntegerI32(const UIntegerI32& other) : m_value(other.m_value) {}
    ~UIntegerI32() {}

    UIntegerI32& operator=(const UIntegerI32& other)
    {
        m_value = other.m_value;
        return *this;
    }
    UIntegerI32& operator=(long value)
    {
        m_value = value;
        return *this;
    }

    operator long() const { return m_value; }

    UIntegerI32 operator+(const UIntegerI32& other) const;
    UIntegerI32 operator-(const UIntegerI32& other) const;
    UIntegerI32 operator*(const UIntegerI32& other) const;
    UIntegerI32 operator/(const UIntegerI32& other) const;
    UIntegerI32 operator%(const UIntegerI32& other) const;

    // Decimal or "0x" hexadecimal text, one leading "+" or "-", no white space.
    // Malformed text throws UFormatException, a value out of range UOverflowException.
    static UIntegerI32 Parse(const wchar_t* pszText);

private:
    long m_value;
};

} // namespace Math
} // namespace Lib
} // namespace Oskal
