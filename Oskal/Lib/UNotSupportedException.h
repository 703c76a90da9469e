#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

class OSKAL_LIB_API UNotSupportedException : public UException
{
public:
    UNotSupportedException();
    explicit UNotSupportedException(const wchar_t* pszMessage);
    UNotSupportedException(const UNotSupportedException& other);
    ~UNotSupportedException() override;
};

}}} // namespace Oskal::Lib::Exceptions
