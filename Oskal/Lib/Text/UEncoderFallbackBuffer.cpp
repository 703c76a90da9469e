#include <Oskal/Lib/Text/UEncoderFallbackBuffer.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

UEncoderFallbackBuffer::UEncoderFallbackBuffer() {}

UEncoderFallbackBuffer::~UEncoderFallbackBuffer() {}

} // namespace Text
} // namespace Lib
} // namespace Oskal
