#pragma once

#include <Oskal/Lib/ExceptionMacros.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Logging {

class OSKAL_LIB_API ULoggingException : public Exceptions::UException
{
public:
    OSKAL_DECLARE_EXCEPTION(ULoggingException)
};

}}} // namespace Oskal::Lib::Logging
