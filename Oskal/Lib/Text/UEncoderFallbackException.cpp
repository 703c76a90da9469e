#include <Oskal/Lib/Text/UEncoderFallbackException.h>

namespace Oskal { namespace Lib { namespace Text {

UEncoderFallbackException::UEncoderFallbackException(const wchar_t* pszMessage)
    : Exceptions::UArgumentException(L"", pszMessage)
{
}

OSKAL_IMPLEMENT_EXCEPTION_COPY(UEncoderFallbackException)

}}} // namespace Oskal::Lib::Text
