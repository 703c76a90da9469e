#pragma once

#include <Oskal/Lib/ExceptionMacros.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

class OSKAL_LIB_API UOverflowException : public UException
{
public:
    OSKAL_DECLARE_EXCEPTION(UOverflowException)
};

}}} // namespace Oskal::Lib::Exceptions
