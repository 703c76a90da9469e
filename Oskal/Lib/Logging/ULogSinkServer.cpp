#include <Oskal/Lib/Logging/ULogSinkServer.h>

#include <Oskal/Lib/Logging/ULogBridge.h>
#include <Oskal/Lib/Logging/ULogSinkConnection.h>
#include <Oskal/Lib/Threading/UCriticalSectionAutoLock.h>
#include <Oskal/Lib/UWin32Exception.h>

#include <algorithm>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

using Threading::UCriticalSectionAutoLock;

namespace
{

// Blocks read from one writer before the others get their turn.
const unsigned long kBlocksPerTurn = 256;

} // namespace

ULogSinkServer* ULogSinkServer::Create()
{
    return new ULogSinkServer();
}

ULogSinkServer::ULogSinkServer()
    : m_hWake(CreateEventW(nullptr, FALSE, FALSE, nullptr)), m_hStop(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    if (m_hWake == nullptr || m_hStop == nullptr)
    {
        const DWORD error = GetLastError();
        if (m_hWake != nullptr)
            CloseHandle(m_hWake);
        if (m_hStop != nullptr)
            CloseHandle(m_hStop);
        throw Exceptions::UWin32Exception(L"Creating the log sink server's events failed.", error);
    }
}

ULogSinkServer::~ULogSinkServer()
{
    Stop();
    CloseHandle(m_hWake);
    CloseHandle(m_hStop);
}

const wchar_t* ULogSinkServer::GetWindowClassName()
{
    return ULogBridge::ServerWindowClassName;
}

int ULogSinkServer::Start()
{
    ResetEvent(m_hStop);
    if (!m_reader.IsActive() && !m_reader.Start(this))
        return 0;
    if (!StartDispatcherThread())
    {
        Stop();
        return 0;
    }
    return 1;
}

void ULogSinkServer::Stop()
{
    // The window first, so that no writer registers while the reader drains and ends.
    StopDispatcherThread();
    SetEvent(m_hStop);
    m_reader.Join(INFINITE);
}

unsigned long ULogSinkServer::GetConnectionCount()
{
    UCriticalSectionAutoLock lock(m_lock);
    return static_cast<unsigned long>(m_connections.size() + m_joining.size());
}

LRESULT ULogSinkServer::WndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    if (uMsg == ULogBridge::WM_USER_REGISTER_LOG_SOURCE)
        return RegisterWriter(static_cast<unsigned long>(wParam));
    if (uMsg == ULogBridge::WM_USER_UNREGISTER_LOG_SOURCE)
    {
        UnregisterWriter(static_cast<unsigned long>(wParam));
        return 1;
    }
    return UStandAloneWindow::WndProc(hWnd, uMsg, wParam, lParam);
}

LRESULT ULogSinkServer::RegisterWriter(unsigned long ulProcessId)
{
    if (WaitForSingleObject(m_hStop, 0) == WAIT_OBJECT_0)
        return 0;
    {
        // Any process may send this message, again and again: each further connection would map
        // the writer's queue once more and take some of its blocks. Its queue name stays taken
        // while a connection holds it, so a later process with a reused id cannot be refused here.
        UCriticalSectionAutoLock lock(m_lock);
        for (const auto* list : {&m_connections, &m_joining})
            for (const auto& existing : *list)
                if (existing->GetProcessId() == ulProcessId && !existing->IsCloseRequested())
                    return 1;
    }
    auto connection = std::make_shared<ULogSinkConnection>(ulProcessId);
    if (!connection->Open())
        return 0;
    {
        UCriticalSectionAutoLock lock(m_lock);
        m_joining.push_back(connection);
    }
    SetEvent(m_hWake);
    return 1;
}

void ULogSinkServer::UnregisterWriter(unsigned long ulProcessId)
{
    {
        UCriticalSectionAutoLock lock(m_lock);
        for (const auto* list : {&m_connections, &m_joining})
            for (const auto& connection : *list)
                if (connection->GetProcessId() == ulProcessId)
                    connection->RequestClose();
    }
    SetEvent(m_hWake);
}

void ULogSinkServer::DeliverEntry(const LOG_SINK_ENTRY& entry)
{
    ForEachEventReceipient([&entry](ULogSink* pSink) {
        try
        {
            pSink->OnLogEntry(entry);
        }
        catch (...)
        {
            // A sink's failure must not end the reading thread.
        }
    });
}

void ULogSinkServer::NotifySource(unsigned long ulProcessId, int bConnected)
{
    ForEachEventReceipient([=](ULogSink* pSink) {
        try
        {
            pSink->OnLogSourceChanged(ulProcessId, bConnected);
        }
        catch (...)
        {
        }
    });
}

void ULogSinkServer::ServeConnections(bool bDrainAll)
{
    std::vector<std::shared_ptr<ULogSinkConnection>> joined;
    {
        UCriticalSectionAutoLock lock(m_lock);
        joined.swap(m_joining);
        m_connections.insert(m_connections.end(), joined.begin(), joined.end());
    }
    for (auto& connection : joined)
        NotifySource(connection->GetProcessId(), 1);

    std::vector<std::shared_ptr<ULogSinkConnection>> connections;
    {
        UCriticalSectionAutoLock lock(m_lock);
        connections = m_connections;
    }
    const auto handler = [this](const LOG_SINK_ENTRY& entry) { DeliverEntry(entry); };
    std::vector<std::shared_ptr<ULogSinkConnection>> ended;
    for (auto& connection : connections)
    {
        // Asked before reading: what the writer wrote before it ended is then all in the queue.
        const bool finished = bDrainAll || connection->IsCloseRequested() || connection->HasProcessEnded();
        if (finished)
        {
            // A dead writer adds nothing more; the bound keeps a third process that fills its
            // queue from holding the reader here.
            for (int turn = 0; turn < 64 && connection->ReadAvailable(handler, kBlocksPerTurn) != 0; ++turn)
            {
            }
            ended.push_back(connection);
        }
        else
            connection->ReadAvailable(handler, kBlocksPerTurn);
        if (!connection->IsOpen() && !finished)
            ended.push_back(connection);
    }
    if (ended.empty())
        return;
    {
        UCriticalSectionAutoLock lock(m_lock);
        for (auto& connection : ended)
            m_connections.erase(std::remove(m_connections.begin(), m_connections.end(), connection),
                                m_connections.end());
    }
    for (auto& connection : ended)
    {
        connection->Close();
        NotifySource(connection->GetProcessId(), 0);
    }
}

void ULogSinkServer::WaitForWork()
{
    // The stop and wake events, then each writer's data event and process handle. Beyond what
    // one wait takes, the groups are looked at in turn with short waits.
    std::vector<HANDLE> handles = {m_hStop, m_hWake};
    DWORD timeout = 1000;
    {
        UCriticalSectionAutoLock lock(m_lock);
        for (auto& connection : m_connections)
        {
            // A stalled queue is looked at again after a short while instead.
            if (connection->IsStalled())
                timeout = 50;
            else if (HANDLE data = connection->GetDataAvailableEvent())
                handles.push_back(data);
            if (HANDLE process = connection->GetProcessHandle())
                handles.push_back(process);
        }
    }
    if (handles.size() <= MAXIMUM_WAIT_OBJECTS)
    {
        WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), FALSE, timeout);
        return;
    }
    for (size_t at = 0; at < handles.size(); at += MAXIMUM_WAIT_OBJECTS)
    {
        const DWORD count = static_cast<DWORD>(std::min<size_t>(MAXIMUM_WAIT_OBJECTS, handles.size() - at));
        if (WaitForMultipleObjects(count, handles.data() + at, FALSE, at == 0 ? 10 : 0) != WAIT_TIMEOUT)
            return;
    }
}

unsigned long ULogSinkServer::ThreadProc(void* /*pArg1*/, void* /*pArg2*/, void* /*pArg3*/)
{
    while (WaitForSingleObject(m_hStop, 0) != WAIT_OBJECT_0)
    {
        ServeConnections(false);
        WaitForWork();
    }
    ServeConnections(true);
    return 0;
}

} // namespace Logging
} // namespace Lib
} // namespace Oskal
