#include <Oskal/Lib/IO/UFileIoException.h>

namespace Oskal { namespace Lib { namespace IO {

UFileIoException::UFileIoException() : m_code(0) {}

UFileIoException::UFileIoException(const wchar_t* pszMessage) : UIoException(pszMessage), m_code(0) {}

UFileIoException::UFileIoException(const wchar_t*, long lCode) : UIoException(L""), m_code(lCode) {}

OSKAL_IMPLEMENT_EXCEPTION_COPY(UFileIoException)

long UFileIoException::GetErrorCode() const
{
    return m_code;
}

}}} // namespace Oskal::Lib::IO
