#include <Oskal/Lib/UDriverException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

OSKAL_IMPLEMENT_EXCEPTION(UDriverException, UException)

}
}} // namespace Oskal::Lib
