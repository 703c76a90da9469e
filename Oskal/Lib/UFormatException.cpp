#include <Oskal/Lib/UFormatException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

UFormatException::UFormatException() {}

UFormatException::UFormatException(const wchar_t* pszMessage) : UException(pszMessage) {}

UFormatException::UFormatException(const UFormatException& other) : UException(other) {}

UFormatException::~UFormatException() {}

}}} // namespace Oskal::Lib::Exceptions
