#include <Oskal/Lib/UInvalidOperationException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

UInvalidOperationException::UInvalidOperationException() {}

UInvalidOperationException::UInvalidOperationException(const wchar_t* pszMessage) : UException(pszMessage) {}

UInvalidOperationException::UInvalidOperationException(const UInvalidOperationException& other) : UException(other) {}

UInvalidOperationException::~UInvalidOperationException() {}

}}} // namespace Oskal::Lib::Exceptions
