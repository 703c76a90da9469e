#include <Oskal/Lib/Text/UDecoderFallbackBuffer.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

UDecoderFallbackBuffer::UDecoderFallbackBuffer() {}

UDecoderFallbackBuffer::~UDecoderFallbackBuffer() {}

} // namespace Text
} // namespace Lib
} // namespace Oskal
