#include <Oskal/Lib/Messaging/UMessagingException.h>

namespace Oskal { namespace Lib { namespace Messaging {

OSKAL_IMPLEMENT_EXCEPTION(UMessagingException, Exceptions::UException)

}
}} // namespace Oskal::Lib
