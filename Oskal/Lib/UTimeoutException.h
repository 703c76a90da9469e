#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

class OSKAL_LIB_API UTimeoutException : public UException
{
public:
    UTimeoutException();
    explicit UTimeoutException(const wchar_t* pszMessage);
    UTimeoutException(const UTimeoutException& other);
    ~UTimeoutException() override;
};

}}} // namespace Oskal::Lib::Exceptions
