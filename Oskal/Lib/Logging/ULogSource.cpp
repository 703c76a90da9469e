#include <Oskal/Lib/Logging/ULogSource.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/Internal/WideFormat.h>
#include <Oskal/Lib/Logging/ULogConfiguration.h>
#include <Oskal/Lib/Logging/ULogFile.h>
#include <Oskal/Lib/Threading/UCriticalSectionAutoLock.h>
#include <Oskal/Lib/UException.h>

#include <cstring>
#include <cwchar>
#include <vector>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

using Threading::UCriticalSection;
using Threading::UCriticalSectionAutoLock;

namespace
{

ULogSource* volatile s_pInstance = nullptr;

// Serialises making the source. Lock order: this one, then the logging lock; code that holds
// the logging lock never asks for this one.
UCriticalSection& InstanceLock()
{
    static UCriticalSection* s_pLock = new UCriticalSection();
    return *s_pLock;
}

// Longest entry text: the first block and 49 continuation blocks, the terminator included.
const unsigned long kMaxEntryLength =
    ULogBridge::FirstBlockTextLength + ULogBridge::MaxContinuationBlocks * ULogBridge::ContinuationTextLength - 1;

// How often (ms) a connected source checks that the server still runs.
const DWORD kAliveCheckInterval = 100;

void CopyName(wchar_t* pwcTarget, unsigned long ulCapacity, const wchar_t* pszName)
{
    const size_t length = pszName != nullptr ? wcsnlen(pszName, ulCapacity - 1) : 0;
    std::memcpy(pwcTarget, pszName, length * sizeof(wchar_t));
    pwcTarget[length] = L'\0';
}

} // namespace

ULogSource::ULogSource()
    : m_hServerProcess(nullptr), m_ulNextClassId(0), m_lConnected(0), m_lLastAliveCheck(0), m_pLogFile(nullptr),
      m_pConfiguration(nullptr), m_bQueueCreated(0)
{
}

ULogSource::~ULogSource()
{
    Shutdown();
    delete m_pConfiguration;
    for (unsigned long i = 0; i < m_writers.GetLength(); ++i)
    {
        delete m_writers[i]->pWriter;
        delete m_writers[i];
    }
}

ULogSource* ULogSource::GetPublished()
{
    return static_cast<ULogSource*>(
        InterlockedCompareExchangePointer(reinterpret_cast<void* volatile*>(&s_pInstance), nullptr, nullptr));
}

ULogSource* ULogSource::GetInstance()
{
    if (ULogSource* source = GetPublished())
        return source;
    UCriticalSectionAutoLock instanceLock(InstanceLock());
    if (ULogSource* source = GetPublished())
        return source;
    ULogSource* source = new ULogSource();
    // Connected and published under the logging lock, so that a level made meanwhile is either
    // among the levels sent at connection or told to the published source.
    UCriticalSectionAutoLock loggingLock(ULogLevel::GetLock());
    if (!source->InitSinkConnection())
        source->InitLogFile();
    InterlockedExchangePointer(reinterpret_cast<void* volatile*>(&s_pInstance), source);
    return source;
}

int ULogSource::IsConnected() const
{
    return m_lConnected != 0 ? 1 : 0;
}

int ULogSource::InitSinkConnection()
{
    UCriticalSectionAutoLock lock(ULogLevel::GetLock());
    ShutdownSinkConnection();
    HWND window = FindWindowW(ServerWindowClassName, nullptr);
    if (window == nullptr)
        return 0;
    DWORD serverId = 0;
    GetWindowThreadProcessId(window, &serverId);
    HANDLE server = OpenProcess(SYNCHRONIZE, FALSE, serverId);
    if (server == nullptr)
        return 0;
    m_hServerProcess = server;

    int registered = 0;
    try
    {
        // The queue stays mapped until the final shutdown, even after a disconnect, so that a
        // thread still filling a claimed block never writes into unmapped memory.
        if (!m_bQueueCreated)
        {
            wchar_t name[64];
            FormatQueueName(m_ulProcessId, name);
            m_queue.Create(name, LogEntryBlockSize, NumberOfBlocks, 0);
            m_bQueueCreated = 1;
        }
        DWORD_PTR result = 0;
        if (SendMessageTimeoutW(window, WM_USER_REGISTER_LOG_SOURCE, m_ulProcessId, 0, SMTO_BLOCK, 5000, &result) !=
                0 &&
            result != 0)
        {
            registered = 1;
            InterlockedExchange(&m_lConnected, 1);
            if (SendLogLevels() && SendClassNames())
                return 1;
        }
    }
    catch (const Exceptions::UException&)
    {
        // A queue name left behind by an earlier process with our id, or a queue that times
        // out: no connection, the log file takes over.
    }
    if (registered && m_lConnected != 0)
        ShutdownSinkConnection();
    InterlockedExchange(&m_lConnected, 0);
    if (m_hServerProcess != nullptr)
    {
        CloseHandle(m_hServerProcess);
        m_hServerProcess = nullptr;
    }
    return 0;
}

void ULogSource::ShutdownSinkConnection()
{
    UCriticalSectionAutoLock lock(ULogLevel::GetLock());
    if (m_lConnected == 0)
        return;
    HWND window = FindWindowW(ServerWindowClassName, nullptr);
    if (window != nullptr)
        PostMessageW(window, WM_USER_UNREGISTER_LOG_SOURCE, m_ulProcessId, 0);
    CloseHandle(m_hServerProcess);
    m_hServerProcess = nullptr;
    InterlockedExchange(&m_lConnected, 0);
}

int ULogSource::InitLogFile()
{
    UCriticalSectionAutoLock lock(ULogLevel::GetLock());
    if (m_pLogFile != nullptr)
        return 1;
    m_pLogFile = new ULogFile();
    if (m_pLogFile->Open())
        return 1;
    delete m_pLogFile;
    m_pLogFile = nullptr;
    return 0;
}

void ULogSource::ShutdownLogFile()
{
    UCriticalSectionAutoLock lock(ULogLevel::GetLock());
    delete m_pLogFile;
    m_pLogFile = nullptr;
}

void ULogSource::Shutdown()
{
    ShutdownSinkConnection();
    ShutdownLogFile();
}

void ULogSource::LoseConnection()
{
    ShutdownSinkConnection();
    InitLogFile();
}

int ULogSource::IsLogSinkAlive() const
{
    return m_hServerProcess != nullptr && WaitForSingleObject(m_hServerProcess, 0) == WAIT_TIMEOUT ? 1 : 0;
}

ULogBridge::ULogEntryBlock* ULogSource::GetLogEntryBlock()
{
    // Only the last attempt counts a loss: the four before it may still find room.
    for (int attempt = 0; attempt < 5; ++attempt)
    {
        void* block = m_queue.BeginWriting(nullptr, attempt < 4 ? 1 : 0);
        if (block != nullptr)
            return static_cast<ULogEntryBlock*>(block);
        if (!IsLogSinkAlive())
        {
            LoseConnection();
            return nullptr;
        }
        Sleep(20);
    }
    return nullptr;
}

int ULogSource::WriteNameBlock(ULogBlockType eType, const wchar_t* pszName)
{
    ULogEntryBlock* block = m_lConnected != 0 ? GetLogEntryBlock() : nullptr;
    if (block == nullptr)
    {
        // A name the server never learns would shift its ids: treat it as a lost connection.
        if (m_lConnected != 0)
            LoseConnection();
        return 0;
    }
    std::memset(block, 0, sizeof(ULogEntryBlock));
    block->ulType = static_cast<unsigned long>(eType);
    CopyName(block->szText, ContinuationTextLength, pszName);
    // Protected: overwriting never drops a name.
    m_queue.EndWriting(block, LogEntryBlockSize, 1);
    return 1;
}

int ULogSource::SendLogLevels()
{
    const Collections::UVector<ULogLevel*>* levels = ULogLevel::GetLogLevels();
    for (unsigned long i = 0; levels != nullptr && i < levels->GetLength(); ++i)
        if (!WriteNameBlock(eLogBlockType_LogLevel, (*levels)[i]->GetName().GetBuffer()))
            return 0;
    return 1;
}

int ULogSource::SendClassNames()
{
    for (unsigned long i = 0; i < m_writers.GetLength(); ++i)
        if (!WriteNameBlock(eLogBlockType_ClassName, m_writers[i]->className.GetBuffer()))
            return 0;
    return 1;
}

void ULogSource::ProcessLogLevelAdded(const ULogLevel* pLevel)
{
    UCriticalSectionAutoLock lock(ULogLevel::GetLock());
    if (m_lConnected != 0)
        WriteNameBlock(eLogBlockType_LogLevel, pLevel->GetName().GetBuffer());
}

ULogWriter* ULogSource::GetWriter(const wchar_t* pszClassName)
{
    Internal::ThrowIfNull(pszClassName, L"pszClassName");
    UCriticalSectionAutoLock lock(ULogLevel::GetLock());
    const UString name(pszClassName);
    for (unsigned long i = 0; i < m_writers.GetLength(); ++i)
        if (m_writers[i]->className == name)
            return m_writers[i]->pWriter;
    // The server numbers class names in the order of these blocks, as the ids here go.
    if (m_lConnected != 0)
        WriteNameBlock(eLogBlockType_ClassName, pszClassName);
    WriterRecord* record = new WriterRecord{m_ulNextClassId, name, nullptr};
    record->pWriter = new ULogWriter(record->ulClassId, &record->className);
    if (m_pConfiguration != nullptr)
        record->pWriter->SetLogLevelMask(m_pConfiguration->GetLogLevelMask(pszClassName));
    m_writers.Add(record);
    ++m_ulNextClassId;
    return record->pWriter;
}

void ULogSource::ApplyConfiguration(const ULogConfiguration& configuration)
{
    ULogConfiguration* copy = new ULogConfiguration(configuration);
    UCriticalSectionAutoLock lock(ULogLevel::GetLock());
    delete m_pConfiguration;
    m_pConfiguration = copy;
    for (unsigned long i = 0; i < m_writers.GetLength(); ++i)
        m_writers[i]->pWriter->SetLogLevelMask(copy->GetLogLevelMask(m_writers[i]->className.GetBuffer()));
}

int ULogSource::SetApplicationName(const wchar_t* pszName)
{
    UCriticalSectionAutoLock lock(ULogLevel::GetLock());
    m_applicationName = pszName != nullptr ? pszName : L"";
    if (m_lConnected == 0)
        return 1;
    return WriteNameBlock(eLogBlockType_ApplicationName, m_applicationName.GetBuffer());
}

int ULogSource::WriteLogEntry(unsigned long ulClassId, const ULogLevel* pLevel, const wchar_t* pszFormat, va_list args)
{
    // Formatted once, bounded to what 50 blocks hold; a format the run-time refuses is written
    // as it stands.
    const int formatted = Internal::FormattedLength(pszFormat, args);
    std::vector<wchar_t> text;
    unsigned long length;
    if (formatted >= 0)
    {
        length = static_cast<unsigned long>(formatted) < kMaxEntryLength ? formatted : kMaxEntryLength;
        text.resize(length + 1);
        Internal::FormatTruncated(text.data(), length + 1, pszFormat, args);
    }
    else
    {
        length = pszFormat != nullptr ? static_cast<unsigned long>(wcsnlen(pszFormat, kMaxEntryLength)) : 0;
        text.assign(pszFormat, pszFormat + length);
        text.push_back(L'\0');
    }

    // An overwriting queue always has a block, so a server that died would go unnoticed: look
    // at its process now and then, and fall back to the log file once it is gone.
    if (m_lConnected != 0)
    {
        const DWORD now = GetTickCount();
        if (now - static_cast<DWORD>(m_lLastAliveCheck) >= kAliveCheckInterval)
        {
            InterlockedExchange(&m_lLastAliveCheck, static_cast<long>(now));
            UCriticalSectionAutoLock lock(ULogLevel::GetLock());
            if (m_lConnected != 0 && !IsLogSinkAlive())
                LoseConnection();
        }
    }
    if (m_lConnected == 0)
    {
        WriteToLogFile(ulClassId, pLevel, text.data());
        return 0;
    }

    const unsigned long continuations = length < FirstBlockTextLength ? 0 : (length + 10) / ContinuationTextLength;
    std::vector<void*> blocks;
    try
    {
        blocks.reserve(continuations + 1);
        for (unsigned long i = 0; i <= continuations; ++i)
        {
            void* block = m_queue.BeginWriting(nullptr, 0);
            if (block == nullptr)
                break;
            blocks.push_back(block);
        }
        if (blocks.size() != continuations + 1)
        {
            for (void* block : blocks)
                m_queue.AbortWriting(block);
            return 0;
        }

        SYSTEMTIME now;
        GetSystemTime(&now);
        ULogEntryBlock* first = static_cast<ULogEntryBlock*>(blocks[0]);
        std::memset(first, 0, sizeof(ULogEntryBlock));
        first->ulType = eLogBlockType_Entry;
        SystemTimeToFileTime(&now, &first->entry.ftTime);
        first->entry.ulClassId = ulClassId;
        first->entry.ulLevelId = pLevel->GetLogLevelId();
        first->entry.ulContinuationBlocks = continuations;
        if (continuations == 0)
        {
            std::memcpy(first->entry.szText, text.data(), (length + 1) * sizeof(wchar_t));
            m_queue.EndWriting(first, LogEntryBlockSize, 0);
            return 1;
        }
        // The first block holds characters 0 to 233 without a terminator; the continuation
        // blocks hold the rest, the terminator ending the last one.
        std::memcpy(first->entry.szText, text.data(), FirstBlockTextLength * sizeof(wchar_t));
        unsigned long at = FirstBlockTextLength;
        std::vector<unsigned long> sizes(blocks.size(), LogEntryBlockSize);
        for (size_t i = 1; i < blocks.size(); ++i)
        {
            ULogEntryBlock* next = static_cast<ULogEntryBlock*>(blocks[i]);
            std::memset(next, 0, sizeof(ULogEntryBlock));
            next->ulType = eLogBlockType_Continuation;
            const unsigned long remaining = length + 1 - at;
            const unsigned long take = remaining < ContinuationTextLength ? remaining : ContinuationTextLength;
            std::memcpy(next->szText, text.data() + at, take * sizeof(wchar_t));
            at += take;
        }
        m_queue.EndWritingSequence(blocks.data(), sizes.data(), static_cast<unsigned long>(blocks.size()), 0);
        blocks.clear();
        return 0;
    }
    catch (const Exceptions::UException&)
    {
        // The queue's mutex timed out (a hung reader): the entry is dropped, the caller goes on.
        for (void* block : blocks)
        {
            try
            {
                m_queue.AbortWriting(block);
            }
            catch (const Exceptions::UException&)
            {
            }
        }
        return 0;
    }
}

void ULogSource::WriteToLogFile(unsigned long ulClassId, const ULogLevel* pLevel, const wchar_t* pszText)
{
    UCriticalSectionAutoLock lock(ULogLevel::GetLock());
    if (m_pLogFile == nullptr)
        return;
    const wchar_t* className = L"";
    for (unsigned long i = 0; i < m_writers.GetLength(); ++i)
        if (m_writers[i]->ulClassId == ulClassId)
            className = m_writers[i]->className.GetBuffer();
    SYSTEMTIME now;
    GetLocalTime(&now);
    wchar_t prefix[600];
    _snwprintf_s(prefix, 600, _TRUNCATE, L"%04d-%02d-%02d %02d:%02d:%02d.%03d\t%s\t%s\t", now.wYear, now.wMonth,
                 now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds, pLevel->GetName().GetBuffer(),
                 className);
    UString line(prefix);
    line.Append(pszText);
    m_pLogFile->WriteLine(line.GetBuffer());
}

void ULogSource::InitialStartup()
{
    InstanceLock();
}

void ULogSource::FinalShutdown()
{
    UCriticalSectionAutoLock instanceLock(InstanceLock());
    ULogSource* source =
        static_cast<ULogSource*>(InterlockedExchangePointer(reinterpret_cast<void* volatile*>(&s_pInstance), nullptr));
    if (source == nullptr)
        return;
    source->Shutdown();
    source->m_queue.Close();
    delete source;
}

} // namespace Logging
} // namespace Lib
} // namespace Oskal
