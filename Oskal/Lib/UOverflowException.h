#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

class OSKAL_LIB_API UOverflowException : public UException
{
public:
    UOverflowException();
    explicit UOverflowException(const wchar_t* pszMessage);
    UOverflowException(const UOverflowException& other);
    ~UOverflowException() override;
};

}}} // namespace Oskal::Lib::Exceptions
