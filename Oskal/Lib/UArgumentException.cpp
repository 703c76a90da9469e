#include <Oskal/Lib/UArgumentException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

UArgumentException::UArgumentException(const wchar_t* pszName) : m_name(pszName) {}

UArgumentException::UArgumentException(const wchar_t* pszName, const wchar_t* pszMessage)
    : UException(pszMessage), m_name(pszName)
{
}

UArgumentException::UArgumentException(const UArgumentException& other) : UException(other), m_name(other.m_name) {}

UArgumentException::~UArgumentException() {}

const wchar_t* UArgumentException::GetName() const
{
    return m_name.GetBuffer();
}

}}} // namespace Oskal::Lib::Exceptions
