#pragma once

#include <Oskal/Lib/ExceptionMacros.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UArgumentException.h>

namespace Oskal { namespace Lib { namespace Text {

class OSKAL_LIB_API UEncoderFallbackException : public Exceptions::UArgumentException
{
public:
    // The argument name stays empty; the text is the message.
    explicit UEncoderFallbackException(const wchar_t* pszMessage);
    OSKAL_DECLARE_EXCEPTION_COPY(UEncoderFallbackException)
};

}}} // namespace Oskal::Lib::Text
