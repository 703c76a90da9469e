#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Ipc/USharedMemoryQueue.h>
#include <Oskal/Lib/Win32Api.h>

#include <cstddef>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

// What both ends of a log connection agree on: the window messages, the queue's geometry and
// name, and the 496-byte block that carries entries and names. The writing process creates the
// queue; the log sink server opens it.
class OSKAL_LIB_API ULogBridge
{
public:
    // Window messages; wParam carries the writer's process id.
    enum : UINT
    {
        WM_USER_REGISTER_LOG_SOURCE = WM_USER + 1,
        WM_USER_UNREGISTER_LOG_SOURCE = WM_USER + 2
    };

    enum : unsigned long
    {
        LogEntryBlockSize = 496,
        NumberOfBlocks = 50,
        FirstBlockTextLength = 234,   // wide characters
        ContinuationTextLength = 244, // wide characters
        MaxContinuationBlocks = NumberOfBlocks - 1
    };

    enum ULogBlockType
    {
        eLogBlockType_Entry = 0,
        eLogBlockType_Continuation = 1,
        eLogBlockType_ClassName = 2,
        eLogBlockType_LogLevel = 3,
        eLogBlockType_ApplicationName = 4
    };

    // One queue block, little-endian, text in UTF-16.
    struct ULogEntryBlock
    {
        unsigned long ulType;
        unsigned long ulReserved; // 0
        union {
            struct
            {
                FILETIME ftTime; // UTC
                unsigned long ulClassId;
                unsigned long ulLevelId;
                unsigned long ulContinuationBlocks;
                wchar_t szText[FirstBlockTextLength];
            } entry;                                // type 0
            wchar_t szText[ContinuationTextLength]; // types 1 to 4
        };
    };

    // "ORIN Logging - Sink Process Id: %d" for that process id (the writer's own).
    static void FormatQueueName(unsigned long ulProcessId, wchar_t (&szName)[64]);

    // The class name of the log sink server's window.
    static const wchar_t* const ServerWindowClassName;

protected:
    ULogBridge();
    virtual ~ULogBridge();
    ULogBridge(const ULogBridge&) = delete;
    ULogBridge& operator=(const ULogBridge&) = delete;

    unsigned long m_ulProcessId;
    Ipc::USharedMemoryQueue m_queue;
};

static_assert(sizeof(ULogBridge::ULogEntryBlock) == ULogBridge::LogEntryBlockSize, "log entry blocks are 496 bytes");
static_assert(offsetof(ULogBridge::ULogEntryBlock, entry.ulClassId) == 16, "class id at offset 16");
static_assert(offsetof(ULogBridge::ULogEntryBlock, entry.szText) == 28, "entry text at offset 28");
static_assert(offsetof(ULogBridge::ULogEntryBlock, szText) == 8, "name text at offset 8");

} // namespace Logging
} // namespace Lib
} // namespace Oskal
