#pragma once

#include <Oskal/Lib/Export.h>

namespace Oskal
{
namespace Lib
{
namespace Math
{

// Unsigned 32-bit integer value with overflow-checked +, - and * (UOverflowException).
// / and % are the processor's own: division by zero faults in hardware.
class OSKAL_LIB_API UIntegerU32
{
public:
    UIntegerU32() : m_value(0) {}
    UIntegerU32(unsigned long value) : m_value(value) {}
    UIntegerU32(const UIntegerU32& other) : m_value(other.m_value) {}
    ~UIntegerU32() {}

    UIntegerU32& operator=(const UIntegerU32& other)
    {
        m_value = other.m_value;
        return *this;
    }
    UIntegerU32& operator=(unsigned long value)
    {
        m_value = value;
        return *this;
    }

    operator unsigned long() const { return m_value; }

    UIntegerU32 operator+(const UIntegerU32& other) const;
    UIntegerU32 operator-(const UIntegerU32& other) const;
    UIntegerU32 operator*(const UIntegerU32& other) const;
    UIntegerU32 operator/(const UIntegerU32& other) const;
    UIntegerU32 operator%(const UIntegerU32& other) const;

    // Decimal or "0x" hexadecimal text, an optional leading "+", no white space.
    // Malformed text throws UFormatException, a value out of range UOverflowException.
    static UIntegerU32 Parse(const wchar_t* pszText);

private:
    unsigned long m_value;
};

} // namespace Math
} // namespace Lib
} // namespace Oskal
