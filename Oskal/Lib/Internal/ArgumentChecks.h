#pragma once

#include <Oskal/Lib/UArgumentException.h>

namespace Oskal { namespace Lib { namespace Internal {

// The library's argument checks, with their messages in one place. pszName is the parameter's
// name as the interface spells it (L"pvBuffer"); the message quotes it.

// "Argument '<name>' must not be NULL."
[[noreturn]] void ThrowNull(const wchar_t* pszName);
// "Argument '<name>' must be >= 0."
[[noreturn]] void ThrowNegative(const wchar_t* pszName);

inline void ThrowIfNull(const void* pv, const wchar_t* pszName)
{
    if (pv == nullptr)
        ThrowNull(pszName);
}

inline void ThrowIfNegative(long long llValue, const wchar_t* pszName)
{
    if (llValue < 0)
        ThrowNegative(pszName);
}

}}} // namespace Oskal::Lib::Internal
