// Log entries per second from ULogWriter::Write in one process to a sink's callback in another,
// against named-event round trips per second between two processes in the same run.
#include "BenchProcess.h"

#include <Oskal/Lib/Logging/ULogLevel.h>
#include <Oskal/Lib/Logging/ULogSinkServer.h>
#include <Oskal/Lib/Logging/ULogSource.h>
#include <Oskal/Lib/Logging/ULogWriter.h>

#include <cstdio>
#include <cwchar>
#include <string>

using namespace Oskal::Lib::Logging;

namespace
{

const unsigned long kEntries = 20000;
const unsigned long kBurst = 40; // entries between acknowledgements: the queue holds 50 blocks

const wchar_t kAck[] = L"OskalBenchLogAck";

// Counts entries; acknowledges every burst so the writer never overflows the queue.
class CountingSink : public ULogSink
{
public:
    CountingSink() : m_ulCount(0), m_dFirst(0), m_dLast(0), m_hAck(CreateEventW(nullptr, FALSE, FALSE, kAck)) {}
    void OnLogEntry(const LOG_SINK_ENTRY&) override
    {
        const double now = OskalBench::Now();
        if (m_ulCount++ == 0)
            m_dFirst = now;
        m_dLast = now;
        if (m_ulCount % kBurst == 0)
            SetEvent(m_hAck);
    }
    volatile unsigned long m_ulCount;
    double m_dFirst, m_dLast;
    HANDLE m_hAck;
};

int RunWriter()
{
    HANDLE ack = OpenEventW(SYNCHRONIZE, FALSE, kAck);
    ULogSource* source = ULogSource::GetInstance();
    if (ack == nullptr || !source->IsConnected())
        return 1;
    ULogWriter* writer = source->GetWriter(L"Bench.Writer");
    ULogLevelMask mask;
    mask.SetBit(ULogLevel::Note->GetLogLevelId());
    writer->SetLogLevelMask(mask);
    for (unsigned long i = 0; i < kEntries; ++i)
    {
        writer->Write(ULogLevel::Note, L"entry %lu of the benchmark", i);
        if ((i + 1) % kBurst == 0 && WaitForSingleObject(ack, 10000) != WAIT_OBJECT_0)
            return 2;
    }
    return 0;
}

double EntriesPerSecond()
{
    CountingSink sink;
    ULogSinkServer* server = ULogSinkServer::Create();
    server->AttachEventReceipient(&sink);
    double rate = 0;
    if (server->Start())
    {
        // Timed from the first entry's arrival, so the writer's start-up is left out.
        HANDLE writer = OskalBench::StartCopy(L"--writer");
        for (DWORD begin = GetTickCount(); sink.m_ulCount < kEntries && GetTickCount() - begin < 60000;)
            Sleep(1);
        if (sink.m_ulCount >= kEntries)
            rate = (kEntries - 1) / (sink.m_dLast - sink.m_dFirst);
        WaitForSingleObject(writer, 10000);
        CloseHandle(writer);
    }
    server->Stop();
    server->DetachEventReceipient(&sink);
    server->Release();
    return rate;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc > 1 && std::wcscmp(argv[1], L"--writer") == 0)
        return RunWriter();
    if (argc == 4 && std::wcscmp(argv[1], L"echo") == 0)
        return OskalBench::Echo(argv[2], std::wcstoul(argv[3], nullptr, 10));
    const double trips = OskalBench::EventRoundTrips(L"OskalBenchLog " + std::to_wstring(GetCurrentProcessId()), 20000);
    const double entries = EntriesPerSecond();
    OskalBench::Report("log.entries", entries, "entries/s", "event.roundtrips", trips);
    return entries > 0 ? 0 : 1;
}
