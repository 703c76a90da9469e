#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

class OSKAL_LIB_API UQueueFullException : public UException
{
public:
    UQueueFullException();
    explicit UQueueFullException(const wchar_t* pszMessage);
    UQueueFullException(const UQueueFullException& other);
    ~UQueueFullException() override;
};

}}} // namespace Oskal::Lib::Exceptions
