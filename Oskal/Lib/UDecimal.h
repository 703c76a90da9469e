#pragma once

#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib {

// A 128-bit decimal value as four 32-bit words, carried between components unchanged.
struct Oskal_DECIMAL
{
    unsigned int auWords[4];
};

// Holds one Oskal_DECIMAL; the library does no arithmetic on it.
class OSKAL_LIB_API UDecimal
{
public:
    UDecimal();
    // Copies four words from the array.
    UDecimal(unsigned int* const puWords);
    UDecimal(const UDecimal& other);
    UDecimal& operator=(const UDecimal& other);

    // Word-wise equality, so vectors of decimals can be compared.
    bool operator==(const UDecimal& other) const;
    bool operator!=(const UDecimal& other) const;

    Oskal_DECIMAL& GetBuffer();
    const Oskal_DECIMAL& GetBuffer() const;

private:
    Oskal_DECIMAL m_value;
};

}} // namespace Oskal::Lib
