#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Messaging/UMessagingException.h>

namespace Oskal { namespace Lib { namespace Messaging { namespace Serialization {

class OSKAL_LIB_API USerializationException : public UMessagingException
{
public:
    USerializationException();
    explicit USerializationException(const wchar_t* pszMessage);
    USerializationException(const USerializationException& other);
    ~USerializationException() override;
};

}}}} // namespace Oskal::Lib::Messaging::Serialization
