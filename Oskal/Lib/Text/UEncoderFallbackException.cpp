#include <Oskal/Lib/Text/UEncoderFallbackException.h>

namespace Oskal { namespace Lib { namespace Text {

UEncoderFallbackException::UEncoderFallbackException(const wchar_t* pszMessage) : Exceptions::UArgumentException(L"", pszMessage) {}

UEncoderFallbackException::UEncoderFallbackException(const UEncoderFallbackException& other) : Exceptions::UArgumentException(other) {}

UEncoderFallbackException::~UEncoderFallbackException() {}

}}} // namespace Oskal::Lib::Text
