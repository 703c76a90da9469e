#pragma once

#include <Oskal/Lib/ExceptionMacros.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace FileBasedWriteFilter {

class OSKAL_LIB_API UFbwfWrapperException : public Exceptions::UException
{
public:
    UFbwfWrapperException();
    explicit UFbwfWrapperException(const wchar_t* pszMessage);
    UFbwfWrapperException(const wchar_t* pszMessage, unsigned long ulCode);
    OSKAL_DECLARE_EXCEPTION_COPY(UFbwfWrapperException)

    unsigned long GetErrorCode() const;

private:
    unsigned long m_code;
};

}}} // namespace Oskal::Lib::FileBasedWriteFilter
