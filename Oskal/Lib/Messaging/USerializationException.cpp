#include <Oskal/Lib/Messaging/USerializationException.h>

namespace Oskal { namespace Lib { namespace Messaging { namespace Serialization {

USerializationException::USerializationException() {}

USerializationException::USerializationException(const wchar_t* pszMessage) : UMessagingException(pszMessage) {}

USerializationException::USerializationException(const USerializationException& other) : UMessagingException(other) {}

USerializationException::~USerializationException() {}

}}}} // namespace Oskal::Lib::Messaging::Serialization
