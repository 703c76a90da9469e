#include <Oskal/Lib/UTimeoutException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

UTimeoutException::UTimeoutException() {}

UTimeoutException::UTimeoutException(const wchar_t* pszMessage) : UException(pszMessage) {}

UTimeoutException::UTimeoutException(const UTimeoutException& other) : UException(other) {}

UTimeoutException::~UTimeoutException() {}

}}} // namespace Oskal::Lib::Exceptions
