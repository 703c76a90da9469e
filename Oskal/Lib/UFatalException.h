#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

class OSKAL_LIB_API UFatalException : public UException
{
public:
    UFatalException();
    explicit UFatalException(const wchar_t* pszMessage);
    UFatalException(const UFatalException& other);
    ~UFatalException() override;
};

}}} // namespace Oskal::Lib::Exceptions
