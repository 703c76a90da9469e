#include <Oskal/Lib/UNotSupportedException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

UNotSupportedException::UNotSupportedException() {}

UNotSupportedException::UNotSupportedException(const wchar_t* pszMessage) : UException(pszMessage) {}

UNotSupportedException::UNotSupportedException(const UNotSupportedException& other) : UException(other) {}

UNotSupportedException::~UNotSupportedException() {}

}}} // namespace Oskal::Lib::Exceptions
