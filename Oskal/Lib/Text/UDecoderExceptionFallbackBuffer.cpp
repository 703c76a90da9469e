#include <Oskal/Lib/Text/UDecoderExceptionFallbackBuffer.h>

#include <Oskal/Lib/Text/UDecoderFallbackException.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

UDecoderExceptionFallbackBuffer::UDecoderExceptionFallbackBuffer() {}

UDecoderExceptionFallbackBuffer::~UDecoderExceptionFallbackBuffer() {}

UDecoderExceptionFallbackBuffer* UDecoderExceptionFallbackBuffer::Create()
{
    return new UDecoderExceptionFallbackBuffer();
}

int UDecoderExceptionFallbackBuffer::Fallback(unsigned long /*ulCodePoint*/)
{
    throw UDecoderFallbackException(L"Decoder Exception Fallback");
}

wchar_t UDecoderExceptionFallbackBuffer::GetNextChar()
{
    return 0;
}

int UDecoderExceptionFallbackBuffer::MovePrevious()
{
    return 0;
}

unsigned long UDecoderExceptionFallbackBuffer::GetRemaining()
{
    return 0;
}

const wchar_t* UDecoderExceptionFallbackBuffer::GetBuffer(unsigned long* pulLength)
{
    if (pulLength != nullptr)
        *pulLength = 0;
    return L"";
}

void UDecoderExceptionFallbackBuffer::Reset() {}

} // namespace Text
} // namespace Lib
} // namespace Oskal
