#include <Oskal/Lib/UInvalidOperationException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

OSKAL_IMPLEMENT_EXCEPTION(UInvalidOperationException, UException)

}
}} // namespace Oskal::Lib
