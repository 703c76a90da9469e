#include <Oskal/Lib/Xml/UXmlException.h>

namespace Oskal { namespace Lib { namespace Xml {

OSKAL_IMPLEMENT_EXCEPTION(UXmlException, Exceptions::UException)

}
}} // namespace Oskal::Lib
