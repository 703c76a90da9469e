#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Messaging {

class OSKAL_LIB_API UMessagingException : public Exceptions::UException
{
public:
    UMessagingException();
    explicit UMessagingException(const wchar_t* pszMessage);
    UMessagingException(const UMessagingException& other);
    ~UMessagingException() override;
};

}}} // namespace Oskal::Lib::Messaging
