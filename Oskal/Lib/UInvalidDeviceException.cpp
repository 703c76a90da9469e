#include <Oskal/Lib/UInvalidDeviceException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

OSKAL_IMPLEMENT_EXCEPTION(UInvalidDeviceException, UException)

}
}} // namespace Oskal::Lib
