#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

class OSKAL_LIB_API UFormatException : public UException
{
public:
    UFormatException();
    explicit UFormatException(const wchar_t* pszMessage);
    UFormatException(const UFormatException& other);
    ~UFormatException() override;
};

}}} // namespace Oskal::Lib::Exceptions
