#include <Oskal/Lib/UInvalidDeviceException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

UInvalidDeviceException::UInvalidDeviceException() {}

UInvalidDeviceException::UInvalidDeviceException(const wchar_t* pszMessage) : UException(pszMessage) {}

UInvalidDeviceException::UInvalidDeviceException(const UInvalidDeviceException& other) : UException(other) {}

UInvalidDeviceException::~UInvalidDeviceException() {}

}}} // namespace Oskal::Lib::Exceptions
