#include <Oskal/Lib/UShuttingDownException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

OSKAL_IMPLEMENT_EXCEPTION(UShuttingDownException, UException)

}
}} // namespace Oskal::Lib
