#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

class OSKAL_LIB_API UDriverException : public UException
{
public:
    UDriverException();
    explicit UDriverException(const wchar_t* pszMessage);
    UDriverException(const UDriverException& other);
    ~UDriverException() override;
};

}}} // namespace Oskal::Lib::Exceptions
