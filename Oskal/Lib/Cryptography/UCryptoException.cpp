#include <Oskal/Lib/Cryptography/UCryptoException.h>

namespace Oskal { namespace Lib { namespace Cryptography {

OSKAL_IMPLEMENT_EXCEPTION(UCryptoException, Exceptions::UException)

}
}} // namespace Oskal::Lib
