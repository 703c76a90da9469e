#include <Oskal/Lib/Logging/ULog.h>

#include <Oskal/Lib/Internal/InterlockedRead.h>
#include <Oskal/Lib/Internal/WideFormat.h>
#include <Oskal/Lib/Threading/UCriticalSection.h>
#include <Oskal/Lib/Threading/UCriticalSectionAutoLock.h>
#include <Oskal/Lib/Win32Api.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <stdio.h>
#include <string>
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

struct LoggerRegistry
{
    UCriticalSection lock;
    std::vector<ILogger*> loggers;
    // The list's size, readable without the lock: with no logger a line is not even formatted.
    volatile LONG count = 0;
};

// Made when the library loads and never destroyed, so that code which logs from its own static
// destructors after ours have run still finds a working lock.
LoggerRegistry& gRegistry = *new LoggerRegistry();

bool NoLogger()
{
    return Internal::InterlockedRead(gRegistry.count) == 0;
}

typedef wchar_t TextBuffer[ULog::MaxTextLength + 1];

// Kept (pinned by ULog.FormatsWithTheRuntimeRules): the Windows run-time's printf rules, where %s
// in a wide format takes a wide string, which is what every caller of the library writes.
void FormatV(TextBuffer& text, const wchar_t* pszFormat, va_list args)
{
    Internal::FormatTruncated(text, ULog::MaxTextLength + 1, pszFormat != nullptr ? pszFormat : L"", args);
}

void Format(TextBuffer& text, const wchar_t* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    FormatV(text, pszFormat, args);
    va_end(args);
}

// A narrow format is widened in the ANSI code page before formatting, so that it follows the
// same rules as a wide one.
std::wstring Widen(const char* pszFormat)
{
    if (pszFormat == nullptr || *pszFormat == '\0')
        return std::wstring();
    int length = MultiByteToWideChar(CP_ACP, 0, pszFormat, -1, nullptr, 0);
    if (length <= 1)
        return std::wstring();
    std::wstring wide(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(CP_ACP, 0, pszFormat, -1, &wide[0], length);
    wide.resize(static_cast<size_t>(length - 1));
    return wide;
}

} // namespace

void ULog::Dispatch(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszText)
{
    UCriticalSectionAutoLock lock(gRegistry.lock);
    // Kept (pinned by ULog.CallsEachRegistrationInOrderOverASnapshot): a snapshot, so that a logger that unregisters
    // itself (or another one) or logs again does not disturb this loop; the lock is re-entrant for that.
    const size_t count = gRegistry.loggers.size();
    if (count == 0)
        return;
    ILogger* local[8];
    std::vector<ILogger*> large;
    ILogger* const* loggers = local;
    if (count <= 8)
        std::copy(gRegistry.loggers.begin(), gRegistry.loggers.end(), local);
    else
    {
        large = gRegistry.loggers;
        loggers = large.data();
    }
    for (size_t i = 0; i < count; ++i)
        loggers[i]->Write(pszSource != nullptr ? pszSource : L"", eSeverity, pszText);
}

void ULog::Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszFormat)
{
    if (NoLogger())
        return;
    TextBuffer text;
    Format(text, pszFormat);
    Dispatch(pszSource, eSeverity, text);
}

void ULog::Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszFormat, void* pArg1)
{
    if (NoLogger())
        return;
    TextBuffer text;
    Format(text, pszFormat, pArg1);
    Dispatch(pszSource, eSeverity, text);
}

void ULog::Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszFormat, void* pArg1, void* pArg2)
{
    if (NoLogger())
        return;
    TextBuffer text;
    Format(text, pszFormat, pArg1, pArg2);
    Dispatch(pszSource, eSeverity, text);
}

void ULog::Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszFormat, void* pArg1, void* pArg2,
                 void* pArg3)
{
    if (NoLogger())
        return;
    TextBuffer text;
    Format(text, pszFormat, pArg1, pArg2, pArg3);
    Dispatch(pszSource, eSeverity, text);
}

void ULog::Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszFormat, void* pArg1, void* pArg2,
                 void* pArg3, void* pArg4)
{
    if (NoLogger())
        return;
    TextBuffer text;
    Format(text, pszFormat, pArg1, pArg2, pArg3, pArg4);
    Dispatch(pszSource, eSeverity, text);
}

void ULog::Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszFormat, void* pArg1, void* pArg2,
                 void* pArg3, void* pArg4, void* pArg5)
{
    if (NoLogger())
        return;
    TextBuffer text;
    Format(text, pszFormat, pArg1, pArg2, pArg3, pArg4, pArg5);
    Dispatch(pszSource, eSeverity, text);
}

void ULog::Write(const wchar_t* pszSource, ULogSeverity eSeverity, const char* pszFormat)
{
    if (NoLogger())
        return;
    Write(pszSource, eSeverity, Widen(pszFormat).c_str());
}

void ULog::Write(const wchar_t* pszSource, ULogSeverity eSeverity, const char* pszFormat, void* pArg1)
{
    if (NoLogger())
        return;
    Write(pszSource, eSeverity, Widen(pszFormat).c_str(), pArg1);
}

void ULog::Write(const wchar_t* pszSource, ULogSeverity eSeverity, const char* pszFormat, void* pArg1, void* pArg2)
{
    if (NoLogger())
        return;
    Write(pszSource, eSeverity, Widen(pszFormat).c_str(), pArg1, pArg2);
}

void ULog::Write(const wchar_t* pszSource, ULogSeverity eSeverity, const char* pszFormat, void* pArg1, void* pArg2,
                 void* pArg3)
{
    if (NoLogger())
        return;
    Write(pszSource, eSeverity, Widen(pszFormat).c_str(), pArg1, pArg2, pArg3);
}

void ULog::Write(const wchar_t* pszSource, ULogSeverity eSeverity, const char* pszFormat, void* pArg1, void* pArg2,
                 void* pArg3, void* pArg4)
{
    if (NoLogger())
        return;
    Write(pszSource, eSeverity, Widen(pszFormat).c_str(), pArg1, pArg2, pArg3, pArg4);
}

void ULog::Write(const wchar_t* pszSource, ULogSeverity eSeverity, const char* pszFormat, void* pArg1, void* pArg2,
                 void* pArg3, void* pArg4, void* pArg5)
{
    if (NoLogger())
        return;
    Write(pszSource, eSeverity, Widen(pszFormat).c_str(), pArg1, pArg2, pArg3, pArg4, pArg5);
}

void ULog::RegisterLogger(ILogger* pLogger)
{
    if (pLogger == nullptr)
        return;
    UCriticalSectionAutoLock lock(gRegistry.lock);
    gRegistry.loggers.push_back(pLogger);
    InterlockedExchange(&gRegistry.count, static_cast<LONG>(gRegistry.loggers.size()));
}

void ULog::UnregisterLogger(ILogger* pLogger)
{
    UCriticalSectionAutoLock lock(gRegistry.lock);
    std::vector<ILogger*>& loggers = gRegistry.loggers;
    for (size_t i = loggers.size(); i-- > 0;)
    {
        if (loggers[i] == pLogger)
        {
            loggers.erase(loggers.begin() + static_cast<std::ptrdiff_t>(i));
            InterlockedExchange(&gRegistry.count, static_cast<LONG>(loggers.size()));
            return;
        }
    }
}

void ULog::Lock()
{
    gRegistry.lock.Enter();
}

void ULog::Unlock()
{
    gRegistry.lock.Leave();
}

} // namespace Logging
} // namespace Lib
} // namespace Oskal
