#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Win32Api.h>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

// One log entry as the log sink server received it. The texts live only during the call.
struct LOG_SINK_ENTRY
{
    unsigned long ulProcessId;
    const wchar_t* pszApplicationName; // "" until the writer names its application
    const wchar_t* pszClassName;       // "" for a class id the writer never named
    const wchar_t* pszLevelName;       // "" for a level id the writer never named
    FILETIME ftTime;                   // UTC, when the entry was written
    const wchar_t* pszText;
    unsigned long ulLost; // entries the queue dropped just before this one
};

// Receives the entries of a log sink server (attach it with AttachEventReceipient). Called on
// the server's reading thread, one entry at a time.
class OSKAL_LIB_API ULogSink
{
public:
    virtual ~ULogSink();
    virtual void OnLogEntry(const LOG_SINK_ENTRY& entry) = 0;
    // A writing process connected (1) or went away (0); its queue was drained before.
    virtual void OnLogSourceChanged(unsigned long ulProcessId, int bConnected);
};

} // namespace Logging
} // namespace Lib
} // namespace Oskal
