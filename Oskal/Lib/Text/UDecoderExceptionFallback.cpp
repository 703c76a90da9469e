#include <Oskal/Lib/Text/UDecoderExceptionFallback.h>

#include <Oskal/Lib/Text/UDecoderExceptionFallbackBuffer.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

UDecoderExceptionFallback::UDecoderExceptionFallback() {}

UDecoderExceptionFallback::~UDecoderExceptionFallback() {}

UDecoderExceptionFallback* UDecoderExceptionFallback::Create()
{
    return new UDecoderExceptionFallback();
}

UDecoderFallbackBuffer* UDecoderExceptionFallback::CreateFallbackBuffer()
{
    return UDecoderExceptionFallbackBuffer::Create();
}

unsigned long UDecoderExceptionFallback::GetMaxCharCount()
{
    return 0;
}

UDecoderFallback* UDecoderExceptionFallback::Clone()
{
    return new UDecoderExceptionFallback();
}

} // namespace Text
} // namespace Lib
} // namespace Oskal
