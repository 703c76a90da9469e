#pragma once

#include <Oskal/Lib/ExceptionMacros.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Xml {

class OSKAL_LIB_API UXmlException : public Exceptions::UException
{
public:
    OSKAL_DECLARE_EXCEPTION(UXmlException)
};

}}} // namespace Oskal::Lib::Xml
