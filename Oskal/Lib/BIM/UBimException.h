#pragma once

#include <Oskal/Lib/ExceptionMacros.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace BIM {

class OSKAL_LIB_API UBimException : public Exceptions::UException
{
public:
    OSKAL_DECLARE_EXCEPTION(UBimException)

private:
    // Copies the message; the class is not assignable from outside.
    UBimException& operator=(const UBimException& other);
};

}}} // namespace Oskal::Lib::BIM
