#include <Oskal/Lib/UQueueFullException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

UQueueFullException::UQueueFullException() {}

UQueueFullException::UQueueFullException(const wchar_t* pszMessage) : UException(pszMessage) {}

UQueueFullException::UQueueFullException(const UQueueFullException& other) : UException(other) {}

UQueueFullException::~UQueueFullException() {}

}}} // namespace Oskal::Lib::Exceptions
