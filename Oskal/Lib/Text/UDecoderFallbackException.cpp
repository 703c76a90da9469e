#include <Oskal/Lib/Text/UDecoderFallbackException.h>

namespace Oskal { namespace Lib { namespace Text {

UDecoderFallbackException::UDecoderFallbackException(const wchar_t* pszMessage) : Exceptions::UArgumentException(L"", pszMessage) {}

UDecoderFallbackException::UDecoderFallbackException(const UDecoderFallbackException& other) : Exceptions::UArgumentException(other) {}

UDecoderFallbackException::~UDecoderFallbackException() {}

}}} // namespace Oskal::Lib::Text
