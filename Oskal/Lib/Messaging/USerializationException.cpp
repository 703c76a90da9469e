#include <Oskal/Lib/Messaging/USerializationException.h>

namespace Oskal { namespace Lib { namespace Messaging { namespace Serialization {

OSKAL_IMPLEMENT_EXCEPTION(USerializationException, UMessagingException)

}
}}} // namespace Oskal::Lib::Messaging
