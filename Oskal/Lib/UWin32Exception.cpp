#include <Oskal/Lib/UWin32Exception.h>

namespace Oskal { namespace Lib { namespace Exceptions {

UWin32Exception::UWin32Exception() : m_code(0) {}

UWin32Exception::UWin32Exception(const wchar_t* pszMessage, unsigned long ulCode)
    : UException(pszMessage), m_code(ulCode)
{
}

OSKAL_IMPLEMENT_EXCEPTION_COPY(UWin32Exception)

unsigned long UWin32Exception::GetErrorCode() const
{
    return m_code;
}

}}} // namespace Oskal::Lib::Exceptions
