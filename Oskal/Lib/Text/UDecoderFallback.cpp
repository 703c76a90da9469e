#include <Oskal/Lib/Text/UDecoderFallback.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

UDecoderFallback::UDecoderFallback() {}

UDecoderFallback::~UDecoderFallback() {}

} // namespace Text
} // namespace Lib
} // namespace Oskal
