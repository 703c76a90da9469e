#include <Oskal/Lib/UDriverException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

UDriverException::UDriverException() {}

UDriverException::UDriverException(const wchar_t* pszMessage) : UException(pszMessage) {}

UDriverException::UDriverException(const UDriverException& other) : UException(other) {}

UDriverException::~UDriverException() {}

}}} // namespace Oskal::Lib::Exceptions
