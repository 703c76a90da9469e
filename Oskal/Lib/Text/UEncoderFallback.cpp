#include <Oskal/Lib/Text/UEncoderFallback.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

UEncoderFallback::UEncoderFallback() {}

UEncoderFallback::~UEncoderFallback() {}

} // namespace Text
} // namespace Lib
} // namespace Oskal
