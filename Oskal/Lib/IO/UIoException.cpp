#include <Oskal/Lib/IO/UIoException.h>

namespace Oskal { namespace Lib { namespace IO {

OSKAL_IMPLEMENT_EXCEPTION(UIoException, Exceptions::UException)

}
}} // namespace Oskal::Lib
