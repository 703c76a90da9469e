#pragma once

#include <cstdarg>

namespace Oskal
{
namespace Lib
{
namespace Internal
{

// printf-style formatting of wide text with the Windows run-time's own rules (msvcrt's
// _vsnwprintf and _vscwprintf: %s in a wide format takes a wide string), which every caller of
// the library writes. Each call works on its own copy of the argument list, so the caller's list
// can be used again.

// Length of the formatted text without the terminator, or -1 when the format is invalid.
int FormattedLength(const wchar_t* pszFormat, va_list args);

// Formats into pwcBuffer (room for ulCapacity units, at least 1), cutting the text to
// ulCapacity - 1 units; the result is always terminated. Returns the units written, or -1 for a
// null buffer or format (the buffer then holds "").
long FormatTruncated(wchar_t* pwcBuffer, unsigned long ulCapacity, const wchar_t* pszFormat, va_list args);

} // namespace Internal
} // namespace Lib
} // namespace Oskal
