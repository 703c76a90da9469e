#include <Oskal/Lib/UOverflowException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

UOverflowException::UOverflowException() {}

UOverflowException::UOverflowException(const wchar_t* pszMessage) : UException(pszMessage) {}

UOverflowException::UOverflowException(const UOverflowException& other) : UException(other) {}

UOverflowException::~UOverflowException() {}

}}} // namespace Oskal::Lib::Exceptions
