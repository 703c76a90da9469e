#include <Oskal/Lib/Text/UEncoderExceptionFallbackBuffer.h>

#include <Oskal/Lib/Text/UEncoderFallbackException.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

UEncoderExceptionFallbackBuffer::UEncoderExceptionFallbackBuffer() {}

UEncoderExceptionFallbackBuffer::~UEncoderExceptionFallbackBuffer() {}

UEncoderExceptionFallbackBuffer* UEncoderExceptionFallbackBuffer::Create()
{
    return new UEncoderExceptionFallbackBuffer();
}

int UEncoderExceptionFallbackBuffer::Fallback(unsigned long /*ulCodePoint*/)
{
    throw UEncoderFallbackException(L"Encoder Exception Fallback");
}

wchar_t UEncoderExceptionFallbackBuffer::GetNextChar()
{
    return 0;
}

int UEncoderExceptionFallbackBuffer::MovePrevious()
{
    return 0;
}

unsigned long UEncoderExceptionFallbackBuffer::GetRemaining()
{
    return 0;
}

const wchar_t* UEncoderExceptionFallbackBuffer::GetBuffer(unsigned long* pulLength)
{
    if (pulLength != nullptr)
        *pulLength = 0;
    return L"";
}

void UEncoderExceptionFallbackBuffer::Reset() {}

} // namespace Text
} // namespace Lib
} // namespace Oskal
