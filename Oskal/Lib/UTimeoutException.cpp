#include <Oskal/Lib/UTimeoutException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

OSKAL_IMPLEMENT_EXCEPTION(UTimeoutException, UException)

}
}} // namespace Oskal::Lib
