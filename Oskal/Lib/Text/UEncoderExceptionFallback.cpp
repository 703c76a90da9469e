#include <Oskal/Lib/Text/UEncoderExceptionFallback.h>

#include <Oskal/Lib/Text/UEncoderExceptionFallbackBuffer.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

UEncoderExceptionFallback::UEncoderExceptionFallback() {}

UEncoderExceptionFallback::~UEncoderExceptionFallback() {}

UEncoderExceptionFallback* UEncoderExceptionFallback::Create()
{
    return new UEncoderExceptionFallback();
}

UEncoderFallbackBuffer* UEncoderExceptionFallback::CreateFallbackBuffer()
{
    return UEncoderExceptionFallbackBuffer::Create();
}

unsigned long UEncoderExceptionFallback::GetMaxCharCount()
{
    return 0;
}

UEncoderFallback* UEncoderExceptionFallback::Clone()
{
    return new UEncoderExceptionFallback();
}

} // namespace Text
} // namespace Lib
} // namespace Oskal
