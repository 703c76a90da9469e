#include <Oskal/Lib/UFatalException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

OSKAL_IMPLEMENT_EXCEPTION(UFatalException, UException)

}
}} // namespace Oskal::Lib
