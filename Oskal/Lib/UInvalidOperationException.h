#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

class OSKAL_LIB_API UInvalidOperationException : public UException
{
public:
    UInvalidOperationException();
    explicit UInvalidOperationException(const wchar_t* pszMessage);
    UInvalidOperationException(const UInvalidOperationException& other);
    ~UInvalidOperationException() override;
};

}}} // namespace Oskal::Lib::Exceptions
