#include <Oskal/Lib/Logging/ILogger.h>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

ILogger::~ILogger() = default;

}
} // namespace Lib
} // namespace Oskal
