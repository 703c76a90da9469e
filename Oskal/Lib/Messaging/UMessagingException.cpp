#include <Oskal/Lib/Messaging/UMessagingException.h>

namespace Oskal { namespace Lib { namespace Messaging {

UMessagingException::UMessagingException() {}

UMessagingException::UMessagingException(const wchar_t* pszMessage) : Exceptions::UException(pszMessage) {}

UMessagingException::UMessagingException(const UMessagingException& other) : Exceptions::UException(other) {}

UMessagingException::~UMessagingException() {}

}}} // namespace Oskal::Lib::Messaging
