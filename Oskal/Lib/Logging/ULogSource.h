#pragma once

#include <Oskal/Lib/Collections/UVector.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Logging/ULogBridge.h>
#include <Oskal/Lib/Logging/ULogWriter.h>
#include <Oskal/Lib/UString.h>

#include <cstdarg>

namespace Oskal
{
namespace Lib
{
namespace Internal
{
class LibraryLifetime;
}
} // namespace Lib
} // namespace Oskal

namespace Oskal
{
namespace Lib
{
namespace Logging
{

class ULogFile;
class ULogConfiguration;

// The process's one log source: it carries the entries of its writers to the log sink server
// through a shared-memory queue named after this process, or, when no server could be reached
// (or it went away), into a local log file. Made on first use, kept until the library unloads;
// nothing reconnects on its own.
class OSKAL_LIB_API ULogSource : public ULogBridge
{
public:
    static ULogSource* GetInstance();

    // The writer of that class name, made on first request (class ids count from 0).
    ULogWriter* GetWriter(const wchar_t* pszClassName);
    // 1 when stored (and, while connected, sent); 0 when no block could be had for it.
    int SetApplicationName(const wchar_t* pszName);

    // 1 while entries go to a log sink server.
    int IsConnected() const;

    // Sets every writer's mask from the configuration, now and for writers made later.
    void ApplyConfiguration(const ULogConfiguration& configuration);

private:
    friend class ULogWriter;
    friend class ULogLevel;
    friend class Oskal::Lib::Internal::LibraryLifetime;

    struct WriterRecord
    {
        unsigned long ulClassId;
        UString className;
        ULogWriter* pWriter;
    };

    ULogSource();
    ~ULogSource() override;

    // The source once it is fully built, or null; never makes one.
    static ULogSource* GetPublished();

    int InitSinkConnection();
    void ShutdownSinkConnection();
    int InitLogFile();
    void ShutdownLogFile();
    void Shutdown();
    ULogEntryBlock* GetLogEntryBlock();
    int WriteNameBlock(ULogBlockType eType, const wchar_t* pszName);
    int IsLogSinkAlive() const;
    int SendLogLevels();
    int SendClassNames();
    void ProcessLogLevelAdded(const ULogLevel* pLevel);
    int WriteLogEntry(unsigned long ulClassId, const ULogLevel* pLevel, const wchar_t* pszFormat, va_list args);
    void WriteToLogFile(unsigned long ulClassId, const ULogLevel* pLevel, const wchar_t* pszText);
    void LoseConnection();

    static void InitialStartup();
    static void FinalShutdown();

    HANDLE m_hServerProcess;
    unsigned long m_ulNextClassId;
    UString m_applicationName;
    Collections::UVector<WriterRecord*> m_writers;
    volatile long m_lConnected;
    volatile long m_lLastAliveCheck; // tick count of the last look at the server process
    ULogFile* m_pLogFile;
    ULogConfiguration* m_pConfiguration; // null: new writers start with an empty mask
    int m_bQueueCreated;
};

} // namespace Logging
} // namespace Lib
} // namespace Oskal
