#include <Oskal/Lib/Text/UDecoderFallbackException.h>

namespace Oskal { namespace Lib { namespace Text {

UDecoderFallbackException::UDecoderFallbackException(const wchar_t* pszMessage)
    : Exceptions::UArgumentException(L"", pszMessage)
{
}

OSKAL_IMPLEMENT_EXCEPTION_COPY(UDecoderFallbackException)

}}} // namespace Oskal::Lib::Text
