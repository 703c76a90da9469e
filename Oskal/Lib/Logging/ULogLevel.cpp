#include <Oskal/Lib/Logging/ULogLevel.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/Logging/ULogSource.h>

#include <Oskal/Lib/Threading/UCriticalSectionAutoLock.h>
#include <Oskal/Lib/Win32Api.h>

#include <cwchar>

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

Collections::UVector<ULogLevel*>* s_pLogLevels = nullptr;
volatile long s_ulNextLogLevelId = 0;
int s_bInitializing = 1;
const ULogLevel* s_pTrace[20] = {};

// Made on first use, so that levels asked for during static initialisation find it, and
// never destroyed: a thread may still log while the process ends.
UCriticalSection& Lock()
{
    static UCriticalSection* s_pLock = new UCriticalSection();
    return *s_pLock;
}

} // namespace

const ULogLevel* ULogLevel::Failure = nullptr;
const ULogLevel* ULogLevel::Error = nullptr;
const ULogLevel* ULogLevel::Warning = nullptr;
const ULogLevel* ULogLevel::Note = nullptr;
const ULogLevel* ULogLevel::Developer = nullptr;

ULogLevel::ULogLevel(const wchar_t* pszName, unsigned long ulId) : m_name(pszName), m_ulId(ulId) {}

const UString& ULogLevel::GetName() const
{
    return m_name;
}

unsigned long ULogLevel::GetLogLevelId() const
{
    return m_ulId;
}

const ULogLevel* ULogLevel::GetTrace(unsigned long ulNumber)
{
    return ulNumber < 20 ? s_pTrace[ulNumber] : nullptr;
}

const ULogLevel* ULogLevel::GetAspect(const wchar_t* pszName)
{
    Internal::ThrowIfNull(pszName, L"pszName");
    UCriticalSectionAutoLock lock(Lock());
    if (s_pLogLevels == nullptr)
        s_pLogLevels = new Collections::UVector<ULogLevel*>();
    const UString name(pszName);
    for (unsigned long i = 0; i < s_pLogLevels->GetLength(); ++i)
        if ((*s_pLogLevels)[i]->m_name == name)
            return (*s_pLogLevels)[i];
    ULogLevel* level = new ULogLevel(pszName, 0);
    level->m_ulId = static_cast<unsigned long>(InterlockedIncrement(&s_ulNextLogLevelId) - 1);
    s_pLogLevels->Add(level);
    // A connected log sink server learns the new level's id and name. Only a source that
    // exists already is told: making one here would take its lock after ours.
    if (!s_bInitializing)
        if (ULogSource* source = ULogSource::GetPublished())
            source->ProcessLogLevelAdded(level);
    return level;
}

const Collections::UVector<ULogLevel*>* ULogLevel::GetLogLevels()
{
    return s_pLogLevels;
}

UCriticalSection& ULogLevel::GetLock()
{
    return Lock();
}

void ULogLevel::InitialStartup()
{
    s_bInitializing = 1;
    Failure = GetAspect(L"Failure");
    Error = GetAspect(L"Error");
    Warning = GetAspect(L"Warning");
    Note = GetAspect(L"Note");
    Developer = GetAspect(L"Developer");
    for (unsigned long i = 0; i < 20; ++i)
    {
        wchar_t name[16];
        std::swprintf(name, 16, L"Trace%lu", i);
        s_pTrace[i] = GetAspect(name);
    }
    s_bInitializing = 0;
}

void ULogLevel::FinalShutdown()
{
    UCriticalSectionAutoLock lock(Lock());
    if (s_pLogLevels == nullptr)
        return;
    for (unsigned long i = 0; i < s_pLogLevels->GetLength(); ++i)
        delete (*s_pLogLevels)[i];
    delete s_pLogLevels;
    s_pLogLevels = nullptr;
    Failure = Error = Warning = Note = Developer = nullptr;
    for (auto& trace : s_pTrace)
        trace = nullptr;
}

} // namespace Logging
} // namespace Lib
} // namespace Oskal
