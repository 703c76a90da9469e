#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

class OSKAL_LIB_API UInvalidDeviceException : public UException
{
public:
    UInvalidDeviceException();
    explicit UInvalidDeviceException(const wchar_t* pszMessage);
    UInvalidDeviceException(const UInvalidDeviceException& other);
    ~UInvalidDeviceException() override;
};

}}} // namespace Oskal::Lib::Exceptions
