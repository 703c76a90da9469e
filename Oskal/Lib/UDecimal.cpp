#include <Oskal/Lib/UDecimal.h>

namespace Oskal { namespace Lib {

UDecimal::UDecimal() : m_value{{0, 0, 0, 0}} {}

UDecimal::UDecimal(unsigned int* const puWords) : m_value{{puWords[0], puWords[1], puWords[2], puWords[3]}} {}

UDecimal::UDecimal(const UDecimal& other) : m_value(other.m_value) {}

UDecimal& UDecimal::operator=(const UDecimal& other)
{
    if (this != &other)
        m_value = other.m_value;
    return *this;
}

bool UDecimal::operator==(const UDecimal& other) const
{
    for (int i = 0; i < 4; ++i)
        if (m_value.auWords[i] != other.m_value.auWords[i])
            return false;
    return true;
}

bool UDecimal::operator!=(const UDecimal& other) const
{
    return !(*this == other);
}

Oskal_DECIMAL& UDecimal::GetBuffer()
{
    return m_value;
}

const Oskal_DECIMAL& UDecimal::GetBuffer() const
{
    return m_value;
}

}} // namespace Oskal::Lib
