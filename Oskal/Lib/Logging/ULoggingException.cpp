#include <Oskal/Lib/Logging/ULoggingException.h>

namespace Oskal { namespace Lib { namespace Logging {

OSKAL_IMPLEMENT_EXCEPTION(ULoggingException, Exceptions::UException)

}
}} // namespace Oskal::Lib
