#include <Oskal/Lib/UDeviceNotRespondingException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

UDeviceNotRespondingException::UDeviceNotRespondingException() {}

UDeviceNotRespondingException::UDeviceNotRespondingException(const wchar_t* pszMessage) : UException(pszMessage) {}

UDeviceNotRespondingException::UDeviceNotRespondingException(const UDeviceNotRespondingException& other) : UException(other) {}

UDeviceNotRespondingException::~UDeviceNotRespondingException() {}

}}} // namespace Oskal::Lib::Exceptions
