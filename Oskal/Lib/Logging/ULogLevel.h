#pragma once

#include <Oskal/Lib/Collections/UVector.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UString.h>

namespace Oskal
{
namespace Lib
{
namespace Internal
{
class LibraryLifetime;
}
namespace Threading
{
class UCriticalSection;
}
} // namespace Lib
} // namespace Oskal

namespace Oskal
{
namespace Lib
{
namespace Logging
{

// A named aspect of logging with a small process-wide id. Levels are made by name on first
// request and live until the library is unloaded; the 25 predefined ones take ids 0 to 24:
// "Failure", "Error", "Warning", "Note", "Developer", "Trace0" to "Trace19".
class OSKAL_LIB_API ULogLevel
{
public:
    // The level of that name, made (with the next id) if it does not exist yet.
    static const ULogLevel* GetAspect(const wchar_t* pszName);

    const UString& GetName() const;
    unsigned long GetLogLevelId() const;

    static const ULogLevel* Failure;
    static const ULogLevel* Error;
    static const ULogLevel* Warning;
    static const ULogLevel* Note;
    static const ULogLevel* Developer;

    // Trace0 to Trace19 (ids 5 to 24); null for a number above 19.
    static const ULogLevel* GetTrace(unsigned long ulNumber);

private:
    friend class ULogSource;
    friend class ULogConfiguration;
    friend class Oskal::Lib::Internal::LibraryLifetime;

    ULogLevel(const wchar_t* pszName, unsigned long ulId);
    ULogLevel(const ULogLevel&) = delete;
    ULogLevel& operator=(const ULogLevel&) = delete;

    // Every level in order of creation (so element i has id i).
    static const Collections::UVector<ULogLevel*>* GetLogLevels();
    // The lock that the logging classes share: it guards the level list and the log source.
    static Threading::UCriticalSection& GetLock();

    static void InitialStartup();
    static void FinalShutdown();

    UString m_name;
    unsigned long m_ulId;
};

} // namespace Logging
} // namespace Lib
} // namespace Oskal
