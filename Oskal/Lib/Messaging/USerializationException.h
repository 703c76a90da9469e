#pragma once

#include <Oskal/Lib/ExceptionMacros.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Messaging/UMessagingException.h>

namespace Oskal { namespace Lib { namespace Messaging { namespace Serialization {

class OSKAL_LIB_API USerializationException : public UMessagingException
{
public:
    OSKAL_DECLARE_EXCEPTION(USerializationException)
};

}}}} // namespace Oskal::Lib::Messaging::Serialization
