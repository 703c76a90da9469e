#pragma once

#include <Oskal/Lib/ExceptionMacros.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

class OSKAL_LIB_API UWin32Exception : public UException
{
public:
    UWin32Exception();
    UWin32Exception(const wchar_t* pszMessage, unsigned long ulCode);
    OSKAL_DECLARE_EXCEPTION_COPY(UWin32Exception)

    unsigned long GetErrorCode() const;

private:
    unsigned long m_code;
};

}}} // namespace Oskal::Lib::Exceptions
