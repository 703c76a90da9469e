#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

class OSKAL_LIB_API UDeviceNotRespondingException : public UException
{
public:
    UDeviceNotRespondingException();
    explicit UDeviceNotRespondingException(const wchar_t* pszMessage);
    UDeviceNotRespondingException(const UDeviceNotRespondingException& other);
    ~UDeviceNotRespondingException() override;
};

}}} // namespace Oskal::Lib::Exceptions
