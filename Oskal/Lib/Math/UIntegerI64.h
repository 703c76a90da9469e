#pragma once

#include <Oskal/Lib/Export.h>

#include <cstddef> // __int64 comes with the run-time headers

namespace Oskal
{
namespace Lib
{
namespace Math
{

// Signed 64-bit integer value with overflow-checked +, - and * (UOverflowException).
// / and % are the processor's own: division by zero and MIN / -1 fault in hardware.
class OSKAL_LIB_API UIntegerI64
{
public:
    UIntegerI64() : m_value(0) {}
    UIntegerI64(__int64 value) : m_value(value) {}
    UIntegerI64(const UIntegerI64& other) : m_value(other.m_value) {}
    ~UIntegerI64() {}

    UIntegerI64& operator=(const UIntegerI64& other)
    {
        m_value = other.m_value;
        return *this;
    }
    UIntegerI64& operator=(__int64 value)
    {
        m_value = value;
        return *this;
    }

    operator __int64() const { return m_value; }

    UIntegerI64 operator+(const UIntegerI64& other) const;
    UIntegerI64 operator-(const UIntegerI64& other) const;
    UIntegerI64 operator*(const UIntegerI64& other) const;
    UIntegerI64 operator/(const UIntegerI64& other) const;
    UIntegerI64 operator%(const UIntegerI64& other) const;

    // Decimal or "0x" hexadecimal text, one leading "+" or "-", no white space.
    // Malformed text throws UFormatException, a value out of range UOverflowException.
    static UIntegerI64 Parse(const wchar_t* pszText);

private:
    __int64 m_value;
};

} // namespace Math
} // namespace Lib
} // namespace Oskal
