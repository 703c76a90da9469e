#include <Oskal/Lib/Cryptography/UCryptoException.h>

namespace Oskal { namespace Lib { namespace Cryptography {

UCryptoException::UCryptoException() {}

UCryptoException::UCryptoException(const wchar_t* pszMessage) : Exceptions::UException(pszMessage) {}

UCryptoException::UCryptoException(const UCryptoException& other) : Exceptions::UException(other) {}

UCryptoException::~UCryptoException() {}

}}} // namespace Oskal::Lib::Cryptography
