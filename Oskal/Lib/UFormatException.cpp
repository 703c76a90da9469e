#include <Oskal/Lib/UFormatException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

OSKAL_IMPLEMENT_EXCEPTION(UFormatException, UException)

}
}} // namespace Oskal::Lib
