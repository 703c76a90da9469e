#pragma once

#include <Oskal/Lib/ExceptionMacros.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/UIoException.h>

namespace Oskal { namespace Lib { namespace IO {

class OSKAL_LIB_API UFileIoException : public UIoException
{
public:
    UFileIoException();
    explicit UFileIoException(const wchar_t* pszMessage);
    // Kept: keeps only the code; the message stays empty, whatever is passed (pinned by
    // Exceptions.ErrorCodesSurviveTheThrow)
    UFileIoException(const wchar_t* pszMessage, long lCode);
    OSKAL_DECLARE_EXCEPTION_COPY(UFileIoException)

    long GetErrorCode() const;

private:
    long m_code;
};

}}} // namespace Oskal::Lib::IO
