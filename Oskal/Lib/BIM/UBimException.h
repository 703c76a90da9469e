#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace BIM {

class OSKAL_LIB_API UBimException : public Exceptions::UException
{
public:
    UBimException();
    explicit UBimException(const wchar_t* pszMessage);
    UBimException(const UBimException& other);
    ~UBimException() override;

private:
    // Copies the message; the class is not assignable from outside.
    UBimException& operator=(const UBimException& other);
};

}}} // namespace Oskal::Lib::BIM
