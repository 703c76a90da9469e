#include <Oskal/Lib/UQueueFullException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

OSKAL_IMPLEMENT_EXCEPTION(UQueueFullException, UException)

}
}} // namespace Oskal::Lib
