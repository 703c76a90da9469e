#include <Oskal/Lib/UNotSupportedException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

OSKAL_IMPLEMENT_EXCEPTION(UNotSupportedException, UException)

}
}} // namespace Oskal::Lib
