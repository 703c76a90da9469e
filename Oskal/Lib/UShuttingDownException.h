#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

class OSKAL_LIB_API UShuttingDownException : public UException
{
public:
    UShuttingDownException();
    explicit UShuttingDownException(const wchar_t* pszMessage);
    UShuttingDownException(const UShuttingDownException& other);
    ~UShuttingDownException() override;
};

}}} // namespace Oskal::Lib::Exceptions
