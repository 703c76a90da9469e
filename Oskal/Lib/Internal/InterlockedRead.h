#pragma once

#include <Oskal/Lib/Win32Api.h>

namespace Oskal { namespace Lib { namespace Internal {

// Reads a value that other threads change with interlocked operations: a compare-exchange of the
// value with itself, a full barrier like the writes it pairs with.
inline LONG InterlockedRead(const volatile LONG& value)
{
    return InterlockedCompareExchange(const_cast<volatile LONG*>(&value), 0, 0);
}

}}} // namespace Oskal::Lib::Internal
