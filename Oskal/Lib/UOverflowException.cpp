#include <Oskal/Lib/UOverflowException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

OSKAL_IMPLEMENT_EXCEPTION(UOverflowException, UException)

}
}} // namespace Oskal::Lib
