#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Logging/ULogSink.h>
#include <Oskal/Lib/Threading/IThreadProc.h>
#include <Oskal/Lib/Threading/UCriticalSection.h>
#include <Oskal/Lib/Threading/UStandAloneWindow.h>
#include <Oskal/Lib/Threading/UThread.h>
#include <Oskal/Lib/UEventProvider.h>
#include <Oskal/Lib/UReferenceManagement.h>

#include <memory>
#include <vector>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

class ULogSinkConnection;

// The receiving end of the log connection: a hidden window of the class writers look for
// ("ORIN Local Log Server Window"). A writer registers with a window message; the server opens
// the writer's process and queue and reads its level, class-name and entry blocks on a reading
// thread, handing each entry to the attached ULogSink objects. Writers that end (or unregister)
// are drained and closed. One server per session of the window station: a second one's window
// would never be found.
class OSKAL_LIB_API ULogSinkServer : public UStandAloneWindow,
                                     public UReferenceManagement,
                                     public UEventProvider<ULogSink>,
                                     private Threading::IThreadProc
{
public:
    static ULogSinkServer* Create();

    // Starts the window and the reading thread; 1 on success.
    int Start();
    // Stops both; writers still connected are drained first.
    void Stop();

    // Writing processes connected now.
    unsigned long GetConnectionCount();

protected:
    ULogSinkServer();
    ~ULogSinkServer() override;

    const wchar_t* GetWindowClassName() override;
    LRESULT WndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) override;

private:
    unsigned long ThreadProc(void* pArg1, void* pArg2, void* pArg3) override;

    LRESULT RegisterWriter(unsigned long ulProcessId);
    void UnregisterWriter(unsigned long ulProcessId);
    void DeliverEntry(const LOG_SINK_ENTRY& entry);
    void NotifySource(unsigned long ulProcessId, int bConnected);
    // Reads what every connection has waiting; closes the ones whose writer is gone.
    void ServeConnections(bool bDrainAll);
    void WaitForWork();

    Threading::UCriticalSection m_lock; // guards m_connections
    std::vector<std::shared_ptr<ULogSinkConnection>> m_connections;
    std::vector<std::shared_ptr<ULogSinkConnection>> m_joining; // registered, not yet announced
    HANDLE m_hWake;                                             // auto-reset: the connection list changed
    HANDLE m_hStop;                                             // manual-reset: the reading thread ends
    Threading::UThread m_reader;
};

} // namespace Logging
} // namespace Lib
} // namespace Oskal
