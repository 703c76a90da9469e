#pragma once

#include <Oskal/Lib/ExceptionMacros.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace IO {

class OSKAL_LIB_API UIoException : public Exceptions::UException
{
public:
    OSKAL_DECLARE_EXCEPTION(UIoException)
};

}}} // namespace Oskal::Lib::IO
