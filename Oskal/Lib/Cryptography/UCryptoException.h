#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Cryptography {

class OSKAL_LIB_API UCryptoException : public Exceptions::UException
{
public:
    UCryptoException();
    explicit UCryptoException(const wchar_t* pszMessage);
    UCryptoException(const UCryptoException& other);
    ~UCryptoException() override;
};

}}} // namespace Oskal::Lib::Cryptography
