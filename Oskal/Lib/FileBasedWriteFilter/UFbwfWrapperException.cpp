#include <Oskal/Lib/FileBasedWriteFilter/UFbwfWrapperException.h>

namespace Oskal { namespace Lib { namespace FileBasedWriteFilter {

UFbwfWrapperException::UFbwfWrapperException() : m_code(0) {}

UFbwfWrapperException::UFbwfWrapperException(const wchar_t* pszMessage) : Exceptions::UException(pszMessage), m_code(0)
{
}

UFbwfWrapperException::UFbwfWrapperException(const wchar_t* pszMessage, unsigned long ulCode)
    : Exceptions::UException(pszMessage), m_code(ulCode)
{
}

OSKAL_IMPLEMENT_EXCEPTION_COPY(UFbwfWrapperException)

unsigned long UFbwfWrapperException::GetErrorCode() const
{
    return m_code;
}

}}} // namespace Oskal::Lib::FileBasedWriteFilter
