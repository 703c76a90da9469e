#include <Oskal/Lib/Logging/ULogSink.h>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

ULogSink::~ULogSink() {}

void ULogSink::OnLogSourceChanged(unsigned long /*ulProcessId*/, int /*bConnected*/) {}

} // namespace Logging
} // namespace Lib
} // namespace Oskal
