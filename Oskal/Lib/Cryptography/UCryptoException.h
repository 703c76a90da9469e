#pragma once

#include <Oskal/Lib/ExceptionMacros.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Cryptography {

class OSKAL_LIB_API UCryptoException : public Exceptions::UException
{
public:
    OSKAL_DECLARE_EXCEPTION(UCryptoException)
};

}}} // namespace Oskal::Lib::Cryptography
