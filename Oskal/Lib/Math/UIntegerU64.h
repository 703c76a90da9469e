#pragma once

#include <Oskal/Lib/Export.h>

#include <cstddef> // __int64 comes with the run-time headers

namespace Oskal
{
namespace Lib
{
namespace Math
{

// Unsigned 64-bit integer value with overflow-checked +, - and * (UOverflowException).
// / and % are the processor's own: division by zero faults in hardware.
class OSKAL_LIB_API UIntegerU64
{
public:
    UIntegerU64() : m_value(0) {}
    UIntegerU64(unsigned __int64 value) : m_value(value) {}
    UIntegerU64(const UIntegerU64& other) : m_value(other.m_value) {}
    ~UIntegerU64() {}

    UIntegerU64& operator=(const UIntegerU64& other)
    {
        m_value = other.m_value;
        return *this;
    }
    UIntegerU64& operator=(unsigned __int64 value)
    {
        m_value = value;
        return *this;
    }

    operator unsigned __int64() const { return m_value; }

    UIntegerU64 operator+(const UIntegerU64& other) const;
    UIntegerU64 operator-(const UIntegerU64& other) const;
    UIntegerU64 operator*(const UIntegerU64& other) const;
    UIntegerU64 operator/(const UIntegerU64& other) const;
    UIntegerU64 operator%(const UIntegerU64& other) const;

    // Decimal or "0x" hexadecimal text, an optional leading "+", no white space.
    // Malformed text throws UFormatException, a value out of range UOverflowException.
    static UIntegerU64 Parse(const wchar_t* pszText);

private:
    unsigned __int64 m_value;
};

} // namespace Math
} // namespace Lib
} // namespace Oskal
