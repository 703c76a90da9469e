#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/UIoException.h>

namespace Oskal { namespace Lib { namespace IO {

class OSKAL_LIB_API UFileIoException : public UIoException
{
public:
    UFileIoException();
    explicit UFileIoException(const wchar_t* pszMessage);
    // Keeps only the code: the message stays empty, whatever is passed.
    UFileIoException(const wchar_t* pszMessage, long lCode);
    UFileIoException(const UFileIoException& other);
    ~UFileIoException() override;

    long GetErrorCode() const;

private:
    long m_code;
};

}}} // namespace Oskal::Lib::IO
