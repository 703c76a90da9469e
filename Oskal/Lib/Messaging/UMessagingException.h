#pragma once

#include <Oskal/Lib/ExceptionMacros.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Messaging {

class OSKAL_LIB_API UMessagingException : public Exceptions::UException
{
public:
    OSKAL_DECLARE_EXCEPTION(UMessagingException)
};

}}} // namespace Oskal::Lib::Messaging
