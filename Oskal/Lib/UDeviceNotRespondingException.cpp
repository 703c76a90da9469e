#include <Oskal/Lib/UDeviceNotRespondingException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

OSKAL_IMPLEMENT_EXCEPTION(UDeviceNotRespondingException, UException)

}
}} // namespace Oskal::Lib
