#include <Oskal/Lib/Internal/WideFormat.h>

#include <stdio.h>
#include <wchar.h>

namespace Oskal
{
namespace Lib
{
namespace Internal
{

int FormattedLength(const wchar_t* pszFormat, va_list args)
{
    if (pszFormat == nullptr)
        return -1;
    va_list copy;
    va_copy(copy, args);
    const int length = _vscwprintf(pszFormat, copy);
    va_end(copy);
    return length;
}

long FormatTruncated(wchar_t* pwcBuffer, unsigned long ulCapacity, const wchar_t* pszFormat, va_list args)
{
    if (pwcBuffer == nullptr || ulCapacity == 0)
        return -1;
    pwcBuffer[0] = L'\0';
    if (pszFormat == nullptr)
        return -1;
    va_list copy;
    va_copy(copy, args);
    // On truncation msvcrt returns -1 and leaves the text unterminated.
    const int length = _vsnwprintf(pwcBuffer, ulCapacity - 1, pszFormat, copy);
    va_end(copy);
    const unsigned long written = length >= 0 && static_cast<unsigned long>(length) < ulCapacity - 1
                                      ? static_cast<unsigned long>(length)
                                      : ulCapacity - 1;
    pwcBuffer[written] = L'\0';
    return static_cast<long>(written);
}

} // namespace Internal
} // namespace Lib
} // namespace Oskal
