// Log entries across processes: writer processes of this test program log through their log
// source to a log sink server, or to their log file when no server runs.
#include "Support/ChildProcess.h"
#include "Support/TestFiles.h"

#include <Oskal/Lib/Logging/ULogConfiguration.h>
#include <Oskal/Lib/Logging/ULogLevel.h>
#include <Oskal/Lib/Logging/ULogSinkServer.h>
#include <Oskal/Lib/Logging/ULogSource.h>
#include <Oskal/Lib/Logging/ULogWriter.h>
#include <Oskal/Lib/Win32Api.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace
{

using namespace Oskal::Lib::Logging;
using OskalTests::ChildArgument;
using OskalTests::TestProcess;

// Lengths around the block boundaries: one block holds 233 characters and the terminator,
// each continuation 244 more.
const size_t kLengths[] = {0, 5, 233, 234, 477, 478, 1000};

std::wstring EntryText(unsigned long ulIndex)
{
    std::wstring text = std::to_wstring(ulIndex) + L"|";
    const size_t length = kLengths[ulIndex % (sizeof(kLengths) / sizeof(kLengths[0]))];
    for (size_t i = text.size(); i < length; ++i)
        text += static_cast<wchar_t>(L'a' + (ulIndex + i) % 26);
    if (ulIndex % 3 == 0)
        text += L" \u00e9\u4e2d\u00df";
    return text;
}

std::wstring AckEventName(unsigned long ulProcessId)
{
    return L"OskalLogTestAck-" + std::to_wstring(ulProcessId);
}

const wchar_t* const kClasses[] = {L"Plant.Pump", L"Plant.Valve"};

struct Received
{
    std::wstring application, className, level, text;
    unsigned long lost;
};

// Records every entry; acknowledges every fourth entry of a paced writer.
class RecordingSink : public ULogSink
{
public:
    void OnLogEntry(const LOG_SINK_ENTRY& entry) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_entries[entry.ulProcessId].push_back(
            {entry.pszApplicationName, entry.pszClassName, entry.pszLevelName, entry.pszText, entry.ulLost});
        HANDLE ack = std::wcstoul(entry.pszText, nullptr, 10) % 4 == 3
                         ? OpenEventW(EVENT_MODIFY_STATE, FALSE, AckEventName(entry.ulProcessId).c_str())
                         : nullptr;
        if (ack != nullptr)
        {
            SetEvent(ack);
            CloseHandle(ack);
        }
    }
    void OnLogSourceChanged(unsigned long ulProcessId, int bConnected) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!bConnected)
            m_ended.push_back(ulProcessId);
    }
    std::vector<Received> EntriesOf(unsigned long ulProcessId)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_entries[ulProcessId];
    }
    bool HasEnded(unsigned long ulProcessId)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return std::find(m_ended.begin(), m_ended.end(), ulProcessId) != m_ended.end();
    }

private:
    std::mutex m_mutex;
    std::map<unsigned long, std::vector<Received>> m_entries;
    std::vector<unsigned long> m_ended;
};

// A running server with a recording sink, released at the end of the scope.
struct Server
{
    Server() : server(ULogSinkServer::Create())
    {
        server->AttachEventReceipient(&sink);
        started = server->Start();
    }
    ~Server()
    {
        server->Stop();
        server->DetachEventReceipient(&sink);
        server->Release();
    }
    bool WaitUntil(const std::function<bool()>& fnDone, unsigned long ulTimeout = 30000)
    {
        for (DWORD start = GetTickCount(); GetTickCount() - start < ulTimeout; Sleep(10))
            if (fnDone())
                return true;
        return fnDone();
    }
    RecordingSink sink;
    ULogSinkServer* server;
    int started;
};

// The writer: OSKAL_LOG_COUNT entries, alternating between two classes and levels. "paced"
// waits for the server's acknowledgement after every fourth entry, so that the queue never
// overflows; "flood" writes without waiting.
TEST(LogConnection, DISABLED_Writer)
{
    const unsigned long count = std::stoul(ChildArgument(L"OSKAL_LOG_COUNT"));
    const bool paced = ChildArgument(L"OSKAL_LOG_MODE") == L"paced";
    HANDLE ack = CreateEventW(nullptr, FALSE, FALSE, AckEventName(GetCurrentProcessId()).c_str());
    ULogSource* source = ULogSource::GetInstance();
    ASSERT_EQ(1, source->IsConnected());
    ASSERT_EQ(1, source->SetApplicationName((L"writer " + std::to_wstring(GetCurrentProcessId())).c_str()));
    ULogWriter* writers[2] = {source->GetWriter(kClasses[0]), source->GetWriter(kClasses[1])};
    ULogLevelMask mask;
    mask.SetBit(ULogLevel::Note->GetLogLevelId());
    mask.SetBit(ULogLevel::Error->GetLogLevelId());
    writers[0]->SetLogLevelMask(mask);
    writers[1]->SetLogLevelMask(mask);
    for (unsigned long i = 0; i < count; ++i)
    {
        // A level outside the mask is not written at all.
        writers[i % 2]->Write(ULogLevel::Warning, L"never %s", L"sent");
        writers[i % 2]->Write(i % 2 ? ULogLevel::Error : ULogLevel::Note, L"%s", EntryText(i).c_str());
        if (paced && i % 4 == 3)
        {
            ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(ack, 20000)) << "no acknowledgement of entry " << i;
        }
    }
}

void ExpectIntactEntries(const std::vector<Received>& entries, unsigned long ulProcessId, unsigned long ulCount)
{
    ASSERT_EQ(ulCount, entries.size());
    for (unsigned long i = 0; i < ulCount; ++i)
    {
        const Received& entry = entries[i];
        ASSERT_EQ(EntryText(i), entry.text) << i;
        EXPECT_EQ(kClasses[i % 2], entry.className) << i;
        EXPECT_EQ(i % 2 ? L"Error" : L"Note", entry.level) << i;
        EXPECT_EQ(L"writer " + std::to_wstring(ulProcessId), entry.application) << i;
        EXPECT_EQ(0u, entry.lost) << i;
    }
}

// Three long writers and 33 short ones at once: more than one wait can watch (each brings its
// queue's event and its process).
TEST(LogConnection, EntriesOfManyWritersArriveIntactAndInOrder)
{
    OSKAL_RUN_IN_CHILD(300000);
    Server server;
    ASSERT_EQ(1, server.started);
    std::vector<std::unique_ptr<TestProcess>> writers;
    for (int i = 0; i < 36; ++i)
        writers.emplace_back(
            new TestProcess("LogConnection.DISABLED_Writer",
                            {{L"OSKAL_LOG_COUNT", i < 3 ? L"600" : L"8"}, {L"OSKAL_LOG_MODE", L"paced"}}));
    for (size_t i = 0; i < writers.size(); ++i)
    {
        const unsigned long id = writers[i]->Id();
        EXPECT_EQ(0, writers[i]->Wait(180000));
        ASSERT_TRUE(server.WaitUntil([&] { return server.sink.HasEnded(id); }));
        ExpectIntactEntries(server.sink.EntriesOf(id), id, i < 3 ? 600 : 8);
    }
    EXPECT_EQ(0u, server.server->GetConnectionCount());
}

// A process registered again (by itself or by another process) keeps its one connection: each
// more would map its queue once more and take some of its blocks.
TEST(LogConnection, RegisteringAgainKeepsOneConnection)
{
    OSKAL_RUN_IN_CHILD(60000);
    Server server;
    ASSERT_EQ(1, server.started);
    wchar_t name[64];
    ULogBridge::FormatQueueName(GetCurrentProcessId(), name);
    Oskal::Lib::Ipc::USharedMemoryQueue queue(1);
    queue.Create(name, ULogBridge::LogEntryBlockSize, ULogBridge::NumberOfBlocks, 0);
    HWND window = FindWindowW(ULogBridge::ServerWindowClassName, nullptr);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(1, SendMessageW(window, ULogBridge::WM_USER_REGISTER_LOG_SOURCE, GetCurrentProcessId(), 0));
    EXPECT_EQ(1u, server.server->GetConnectionCount());
}

// Overflow: a flooding writer loses entries, but every entry that arrives is whole and in
// order, and what arrives plus the lost counts never exceeds what was written. (A loss is
// charged to the oldest entry still queued, which may come before the lost one; and losses the
// queue cannot charge stay uncounted: the last ones before the writer ends, the local count
// that a multi-block entry does not carry, and a dropped entry's own lost count when no entry
// remains to carry it.) A writer killed in
// the middle costs only its own entries: a paced writer next to it gets everything through.
TEST(LogConnection, OverflowAndAKilledWriterCostOnlyTheirOwnEntries)
{
    OSKAL_RUN_IN_CHILD(240000);
    Server server;
    ASSERT_EQ(1, server.started);
    TestProcess flood("LogConnection.DISABLED_Writer", {{L"OSKAL_LOG_COUNT", L"3000"}, {L"OSKAL_LOG_MODE", L"flood"}});
    TestProcess killed("LogConnection.DISABLED_Writer",
                       {{L"OSKAL_LOG_COUNT", L"1000000"}, {L"OSKAL_LOG_MODE", L"flood"}});
    TestProcess paced("LogConnection.DISABLED_Writer", {{L"OSKAL_LOG_COUNT", L"200"}, {L"OSKAL_LOG_MODE", L"paced"}});
    ASSERT_TRUE(server.WaitUntil([&] { return server.sink.EntriesOf(killed.Id()).size() > 100; }));
    killed.Kill();
    EXPECT_EQ(0, flood.Wait(120000));
    EXPECT_EQ(0, paced.Wait(120000));
    for (const TestProcess* writer : {&flood, &killed, &paced})
        ASSERT_TRUE(server.WaitUntil([&] { return server.sink.HasEnded(writer->Id()); })) << writer->Id();

    ExpectIntactEntries(server.sink.EntriesOf(paced.Id()), paced.Id(), 200);
    for (const TestProcess* writer : {&flood, &killed})
    {
        const std::vector<Received> entries = server.sink.EntriesOf(writer->Id());
        unsigned long lost = 0;
        long previous = -1;
        for (const Received& entry : entries)
        {
            const long index = std::stol(entry.text);
            ASSERT_GT(index, previous);
            ASSERT_EQ(EntryText(static_cast<unsigned long>(index)), entry.text);
            previous = index;
            lost += entry.lost;
        }
        if (writer == &flood)
        {
            EXPECT_LE(entries.size() + lost, 3000u);
        }
        EXPECT_FALSE(entries.empty());
    }
}

std::wstring LogFolder()
{
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder(path);
    return folder.substr(0, folder.find_last_of(L'\\')) + L"\\log";
}

// The UTF-8 text of every log file that mentions the marker, deleting them.
std::string TakeLogFilesWith(const std::string& marker)
{
    std::string found;
    WIN32_FIND_DATAW data;
    HANDLE search = FindFirstFileW((LogFolder() + L"\\*log.txt").c_str(), &data);
    if (search == INVALID_HANDLE_VALUE)
        return found;
    do
    {
        const std::wstring path = LogFolder() + L"\\" + data.cFileName;
        const std::string text = OskalTests::ReadFileText(path);
        if (text.find(marker) != std::string::npos)
        {
            found += text;
            DeleteFileW(path.c_str());
        }
    } while (FindNextFileW(search, &data));
    FindClose(search);
    return found;
}

// With no server the source writes to its log file; masks decide what is written, and a level
// id beyond the mask's 640 bits reads as disabled.
TEST(LogConnection, DISABLED_FileWriter)
{
    ULogSource* source = ULogSource::GetInstance();
    ASSERT_EQ(0, source->IsConnected());
    const std::wstring marker = ChildArgument(L"OSKAL_LOG_MARKER");
    ULogWriter* writer = source->GetWriter(L"Plant.Tank");
    EXPECT_EQ(writer, source->GetWriter(L"Plant.Tank"));
    EXPECT_STREQ(L"Plant.Tank", writer->GetClassNameW().GetBuffer());
    const ULogLevel* high = nullptr;
    for (int i = 0; high == nullptr || high->GetLogLevelId() < 700; ++i)
        high = ULogLevel::GetAspect((L"Extra" + std::to_wstring(i)).c_str());
    ULogLevelMask mask;
    mask.SetBit(ULogLevel::Warning->GetLogLevelId());
    mask.SetBit(high->GetLogLevelId());
    writer->SetLogLevelMask(mask);
    writer->Write(ULogLevel::Warning, L"%s enabled %d", marker.c_str(), 1);
    writer->Write(ULogLevel::Note, L"%s disabled", marker.c_str());
    writer->Write(high, L"%s beyond the mask", marker.c_str());

    // A configuration sets the masks of writers made before and after it.
    ULogConfiguration configuration;
    configuration.Load(ChildArgument(L"OSKAL_LOG_CONFIG").c_str());
    source->ApplyConfiguration(configuration);
    ULogWriter* mixer = source->GetWriter(L"Plant.Mixer");
    writer->Write(ULogLevel::Warning, L"%s tank warning", marker.c_str());
    mixer->Write(ULogLevel::Warning, L"%s mixer warning", marker.c_str());
    mixer->Write(ULogLevel::Error, L"%s mixer error", marker.c_str());
    // A server that starts now is not looked for: the source stays with its file.
    HANDLE started = OpenEventW(EVENT_MODIFY_STATE, FALSE, L"OskalLogTestStarted");
    HANDLE go = OpenEventW(SYNCHRONIZE, FALSE, L"OskalLogTestGo");
    ASSERT_TRUE(started != nullptr && go != nullptr);
    SetEvent(started);
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(go, 30000));
    writer->Write(ULogLevel::Warning, L"%s after the server started", marker.c_str());
    EXPECT_EQ(0, ULogSource::GetInstance()->IsConnected());
}

TEST(LogConnection, WithoutAServerAtStartEntriesGoToTheLogFile)
{
    OSKAL_RUN_IN_CHILD(60000);
    OskalTests::TempFile configuration(L"logconfig");
    ASSERT_TRUE(OskalTests::WriteFileText(
        configuration.Path(), "<Plant level=\"Failure\"><Mixer level=\"Error\"/><Tank include=\"Warning\"/></Plant>"));
    HANDLE started = CreateEventW(nullptr, TRUE, FALSE, L"OskalLogTestStarted");
    HANDLE go = CreateEventW(nullptr, TRUE, FALSE, L"OskalLogTestGo");
    TestProcess writer("LogConnection.DISABLED_FileWriter",
                       {{L"OSKAL_LOG_MARKER", L"marker-7f3a"}, {L"OSKAL_LOG_CONFIG", configuration.Path()}});
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(started, 30000));
    {
        Server server;
        ASSERT_EQ(1, server.started);
        SetEvent(go);
        ASSERT_EQ(0, writer.Wait(30000));
        EXPECT_TRUE(server.sink.EntriesOf(writer.Id()).empty());
    }
    CloseHandle(started);
    CloseHandle(go);
    const std::string text = TakeLogFilesWith("marker-7f3a");
    EXPECT_NE(std::string::npos, text.find("\tWarning\tPlant.Tank\tmarker-7f3a enabled 1\r\n")) << text;
    EXPECT_EQ(std::string::npos, text.find("disabled"));
    EXPECT_EQ(std::string::npos, text.find("beyond the mask"));
    EXPECT_NE(std::string::npos, text.find("marker-7f3a tank warning"));
    EXPECT_EQ(std::string::npos, text.find("mixer warning"));
    EXPECT_NE(std::string::npos, text.find("\tError\tPlant.Mixer\tmarker-7f3a mixer error"));
    EXPECT_NE(std::string::npos, text.find("marker-7f3a after the server started"));
}

// A server in its own process, until it is killed.
TEST(LogConnection, DISABLED_ServerProcess)
{
    Server server;
    ASSERT_EQ(1, server.started);
    HANDLE ready = OpenEventW(EVENT_MODIFY_STATE, FALSE, L"OskalLogTestServerReady");
    ASSERT_NE(nullptr, ready);
    SetEvent(ready);
    Sleep(INFINITE);
}

TEST(LogConnection, DISABLED_WriterOutlivingItsServer)
{
    ULogSource* source = ULogSource::GetInstance();
    ASSERT_EQ(1, source->IsConnected());
    ULogWriter* writer = source->GetWriter(L"Plant.Boiler");
    ULogLevelMask mask;
    mask.SetBit(ULogLevel::Note->GetLogLevelId());
    writer->SetLogLevelMask(mask);
    HANDLE connected = OpenEventW(EVENT_MODIFY_STATE, FALSE, L"OskalLogTestConnected");
    ASSERT_NE(nullptr, connected);
    SetEvent(connected);
    // Goes on writing while the server is killed, until the source notices and falls back.
    for (DWORD start = GetTickCount(); source->IsConnected() && GetTickCount() - start < 20000; Sleep(1))
        writer->Write(ULogLevel::Note, L"while connected");
    ASSERT_EQ(0, source->IsConnected());
    writer->Write(ULogLevel::Note, L"marker-9b2d after the server died");
}

TEST(LogConnection, AWriterWhoseServerDiesFallsBackToItsFile)
{
    OSKAL_RUN_IN_CHILD(90000);
    HANDLE ready = CreateEventW(nullptr, TRUE, FALSE, L"OskalLogTestServerReady");
    HANDLE connected = CreateEventW(nullptr, TRUE, FALSE, L"OskalLogTestConnected");
    TestProcess server("LogConnection.DISABLED_ServerProcess");
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(ready, 30000));
    TestProcess writer("LogConnection.DISABLED_WriterOutlivingItsServer");
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(connected, 30000));
    server.Kill();
    EXPECT_EQ(0, writer.Wait(40000));
    EXPECT_NE(std::string::npos, TakeLogFilesWith("marker-9b2d").find("marker-9b2d after the server died"));
    CloseHandle(ready);
    CloseHandle(connected);
}

} // namespace
