#include <Oskal/Lib/Logging/ULogSinkConnection.h>

#include <Oskal/Lib/UException.h>

#include <cstring>
#include <cwchar>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

namespace
{

// Units of a text field up to its terminator, or the whole field when it has none.
unsigned long BoundedLength(const wchar_t* pwcText, unsigned long ulField)
{
    return static_cast<unsigned long>(wcsnlen(pwcText, ulField));
}

} // namespace

ULogSinkConnection::ULogSinkConnection(unsigned long ulProcessId)
    : m_ulProcessId(ulProcessId), m_hProcess(nullptr), m_queue(0), m_bOpen(0), m_bStalled(0), m_bCloseRequested(0),
      m_bPending(0), m_pendingFirst(), m_ulPendingBlocks(0), m_ulLost(0), m_ulDropped(0)
{
}

ULogSinkConnection::~ULogSinkConnection()
{
    Close();
}

int ULogSinkConnection::Open()
{
    Close();
    m_hProcess = OpenProcess(SYNCHRONIZE, FALSE, m_ulProcessId);
    if (m_hProcess == nullptr)
        return 0;
    try
    {
        wchar_t name[64];
        ULogBridge::FormatQueueName(m_ulProcessId, name);
        m_queue.Open(name);
        // Only the log queue's own shape: a block that holds a whole log block, and no more
        // blocks than a writer makes, so that a writer cannot keep more of this process's
        // memory mapped than any other writer.
        if (m_queue.GetBlockSize() != ULogBridge::LogEntryBlockSize ||
            m_queue.GetNumberOfBlocks() != ULogBridge::NumberOfBlocks)
            throw Exceptions::UException(L"The writer's queue does not hold log blocks.");
    }
    catch (const Exceptions::UException&)
    {
        Close();
        return 0;
    }
    m_bOpen = 1;
    return 1;
}

void ULogSinkConnection::Close()
{
    m_queue.Close();
    if (m_hProcess != nullptr)
    {
        CloseHandle(m_hProcess);
        m_hProcess = nullptr;
    }
    m_bOpen = 0;
    m_bPending = 0;
}

int ULogSinkConnection::HasProcessEnded() const
{
    return m_hProcess == nullptr || WaitForSingleObject(m_hProcess, 0) != WAIT_TIMEOUT ? 1 : 0;
}

HANDLE ULogSinkConnection::GetDataAvailableEvent() const
{
    return m_bOpen ? m_queue.GetDataAvailableEvent() : nullptr;
}

unsigned long ULogSinkConnection::ReadAvailable(const EntryHandler& fnHandler, unsigned long ulMaxBlocks)
{
    unsigned long read = 0;
    // The block is copied out before it is looked at: the writer may still scribble on it.
    unsigned char copy[ULogBridge::LogEntryBlockSize];
    try
    {
        while (m_bOpen && read < ulMaxBlocks)
        {
            unsigned long size = 0, lost = 0;
            void* block = m_queue.BeginReading(&size, &lost, 0);
            if (block == nullptr)
                break;
            const unsigned long used = size < sizeof(copy) ? size : sizeof(copy);
            std::memcpy(copy, block, used);
            m_queue.EndReading(block);
            ++read;
            ProcessBlock(copy, used, lost, fnHandler);
        }
    }
    catch (const Exceptions::UException&)
    {
        // A damaged or hostile queue: this writer is done, the server goes on.
        Close();
    }
    m_bStalled = m_bOpen && read == 0 && WaitForSingleObject(m_queue.GetDataAvailableEvent(), 0) == WAIT_OBJECT_0;
    return read;
}

void ULogSinkConnection::ProcessBlock(const unsigned char* pbyData, unsigned long ulSize, unsigned long ulLost,
                                      const EntryHandler& fnHandler)
{
    m_ulLost += ulLost;
    ULogBridge::ULogEntryBlock block;
    std::memset(&block, 0, sizeof(block));
    std::memcpy(&block, pbyData, ulSize < sizeof(block) ? ulSize : sizeof(block));
    if (ulSize < 8)
        return;

    switch (block.ulType)
    {
    case ULogBridge::eLogBlockType_Entry: {
        if (m_bPending)
            DropPending();
        const unsigned long continuations = block.entry.ulContinuationBlocks;
        if (continuations > ULogBridge::MaxContinuationBlocks)
        {
            // More blocks than a queue of 50 can hold: not from a well-behaved writer.
            ++m_ulDropped;
            return;
        }
        const unsigned long length = BoundedLength(block.entry.szText, ULogBridge::FirstBlockTextLength);
        if (continuations == 0)
        {
            wchar_t text[ULogBridge::FirstBlockTextLength + 1];
            std::memcpy(text, block.entry.szText, length * sizeof(wchar_t));
            text[length] = L'\0';
            Deliver(block, text, fnHandler);
            return;
        }
        m_bPending = 1;
        m_pendingFirst = block;
        m_ulPendingBlocks = continuations;
        m_pendingText.assign(block.entry.szText, block.entry.szText + length);
        // A terminator in the first block ends the text; the continuations are still read.
        if (length < ULogBridge::FirstBlockTextLength)
            m_pendingText.push_back(L'\0');
        return;
    }
    case ULogBridge::eLogBlockType_Continuation: {
        if (!m_bPending)
        {
            // The rest of an entry whose start was dropped.
            return;
        }
        const unsigned long length = BoundedLength(block.szText, ULogBridge::ContinuationTextLength);
        const bool ended = !m_pendingText.empty() && m_pendingText.back() == L'\0';
        if (!ended)
            m_pendingText.insert(m_pendingText.end(), block.szText, block.szText + length);
        if (--m_ulPendingBlocks == 0)
        {
            if (m_pendingText.empty() || m_pendingText.back() != L'\0')
                m_pendingText.push_back(L'\0');
            m_bPending = 0;
            Deliver(m_pendingFirst, m_pendingText.data(), fnHandler);
        }
        return;
    }
    case ULogBridge::eLogBlockType_ClassName:
    case ULogBridge::eLogBlockType_LogLevel:
    case ULogBridge::eLogBlockType_ApplicationName: {
        wchar_t name[ULogBridge::ContinuationTextLength + 1];
        const unsigned long length = BoundedLength(block.szText, ULogBridge::ContinuationTextLength);
        std::memcpy(name, block.szText, length * sizeof(wchar_t));
        name[length] = L'\0';
        if (block.ulType == ULogBridge::eLogBlockType_ClassName)
            m_map.AddClassName(name);
        else if (block.ulType == ULogBridge::eLogBlockType_LogLevel)
            m_map.AddLogLevel(name);
        else
            m_map.SetApplicationName(name);
        return;
    }
    default:
        return;
    }
}

void ULogSinkConnection::DropPending()
{
    m_bPending = 0;
    m_pendingText.clear();
    ++m_ulDropped;
}

void ULogSinkConnection::Deliver(const ULogBridge::ULogEntryBlock& first, const wchar_t* pszText,
                                 const EntryHandler& fnHandler)
{
    LOG_SINK_ENTRY entry;
    entry.ulProcessId = m_ulProcessId;
    entry.pszApplicationName = m_map.GetApplicationName();
    entry.pszClassName = m_map.GetLogClassName(first.entry.ulClassId);
    entry.pszLevelName = m_map.GetLogLevelName(first.entry.ulLevelId);
    entry.ftTime = first.entry.ftTime;
    entry.pszText = pszText;
    entry.ulLost = m_ulLost;
    m_ulLost = 0;
    if (fnHandler)
        fnHandler(entry);
}

} // namespace Logging
} // namespace Lib
} // namespace Oskal
