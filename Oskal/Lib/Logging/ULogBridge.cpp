#include <Oskal/Lib/Logging/ULogBridge.h>

#include <cwchar>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

const wchar_t* const ULogBridge::ServerWindowClassName = L"ORIN Local Log Server Window";

// Overwrite mode: a writer never waits for a slow server; the queue counts what it drops.
ULogBridge::ULogBridge() : m_ulProcessId(GetCurrentProcessId()), m_queue(1) {}

ULogBridge::~ULogBridge() {}

void ULogBridge::FormatQueueName(unsigned long ulProcessId, wchar_t (&szName)[64])
{
    _snwprintf_s(szName, 64, _TRUNCATE, L"ORIN Logging - Sink Process Id: %d", static_cast<int>(ulProcessId));
}

} // namespace Logging
} // namespace Lib
} // namespace Oskal
