#include <Oskal/Lib/UArgumentException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

UArgumentException::UArgumentException(const wchar_t* pszName) : m_name(pszName) {}

UArgumentException::UArgumentException(const wchar_t* pszName, const wchar_t* pszMessage)
    : UException(pszMessage), m_name(pszName)
{
}

OSKAL_IMPLEMENT_EXCEPTION_COPY(UArgumentException)

const wchar_t* UArgumentException::GetName() const
{
    return m_name.GetBuffer();
}

}}} // namespace Oskal::Lib::Exceptions
