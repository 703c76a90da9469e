#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Ipc/USharedMemoryQueue.h>
#include <Oskal/Lib/Logging/ULogBridge.h>
#include <Oskal/Lib/Logging/ULogSink.h>
#include <Oskal/Lib/Logging/ULogSinkTranslationMap.h>

#include <functional>
#include <vector>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

// The log sink server's side of one writing process: the process handle, its queue, what it
// named, and the entry being put together from its blocks. Everything read from the queue comes
// from another process and is checked: a damaged block costs that writer's entries, never the
// server.
class OSKAL_LIB_API ULogSinkConnection
{
public:
    typedef std::function<void(const LOG_SINK_ENTRY&)> EntryHandler;

    explicit ULogSinkConnection(unsigned long ulProcessId);
    ~ULogSinkConnection();
    ULogSinkConnection(const ULogSinkConnection&) = delete;
    ULogSinkConnection& operator=(const ULogSinkConnection&) = delete;

    // Opens the writer's process (so that a reused id cannot pass for it later) and its queue;
    // 0 when either cannot be opened.
    int Open();
    void Close();

    // Reads up to ulMaxBlocks waiting blocks and hands every complete entry to fnHandler;
    // returns the number of blocks read. A queue that throws is closed (IsOpen then gives 0).
    unsigned long ReadAvailable(const EntryHandler& fnHandler, unsigned long ulMaxBlocks);

    // One block as read from the queue (pbyData holds ulSize bytes).
    void ProcessBlock(const unsigned char* pbyData, unsigned long ulSize, unsigned long ulLost,
                      const EntryHandler& fnHandler);

    int IsOpen() const { return m_bOpen; }
    // 1 once the writing process has ended.
    int HasProcessEnded() const;
    unsigned long GetProcessId() const { return m_ulProcessId; }
    HANDLE GetProcessHandle() const { return m_hProcess; }
    HANDLE GetDataAvailableEvent() const;
    const ULogSinkTranslationMap& GetTranslationMap() const { return m_map; }
    // Entries this connection dropped because their blocks were damaged or incomplete.
    unsigned long GetDroppedEntries() const { return m_ulDropped; }

    // 1 when the last read found the data event set but no block to take (a queue whose count
    // and list disagree): waiting on that event would spin.
    int IsStalled() const { return m_bStalled; }

    // The writer asked to be unregistered: drain, then close.
    void RequestClose() { m_bCloseRequested = 1; }
    int IsCloseRequested() const { return m_bCloseRequested; }

private:
    void Deliver(const ULogBridge::ULogEntryBlock& first, const wchar_t* pszText, const EntryHandler& fnHandler);
    void DropPending();

    unsigned long m_ulProcessId;
    HANDLE m_hProcess;
    Ipc::USharedMemoryQueue m_queue;
    int m_bOpen;
    int m_bStalled;
    volatile long m_bCloseRequested;
    ULogSinkTranslationMap m_map;

    // The entry whose continuation blocks are still to come.
    int m_bPending;
    ULogBridge::ULogEntryBlock m_pendingFirst;
    unsigned long m_ulPendingBlocks;
    std::vector<wchar_t> m_pendingText;
    unsigned long m_ulLost; // carried to the next entry
    unsigned long m_ulDropped;
};

} // namespace Logging
} // namespace Lib
} // namespace Oskal
