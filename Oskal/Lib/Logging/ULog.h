#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Logging/ILogger.h>
#include <Oskal/Lib/Logging/ULogSeverity.h>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

// The library's diagnostic channel. Write formats a line with the Windows run-time's printf rules
// (in a wide format %s takes a wide string; a narrow format is widened first and follows the same
// rules), cuts it to 2047 characters, and hands it to every registered logger in registration
// order. With no logger the line is dropped.
class OSKAL_LIB_API ULog
{
public:
    ULog() = delete;

    static void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszFormat);
    static void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszFormat, void* pArg1);
    static void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszFormat, void* pArg1,
                      void* pArg2);
    static void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszFormat, void* pArg1,
                      void* pArg2, void* pArg3);
    static void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszFormat, void* pArg1,
                      void* pArg2, void* pArg3, void* pArg4);
    static void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszFormat, void* pArg1,
                      void* pArg2, void* pArg3, void* pArg4, void* pArg5);

    static void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const char* pszFormat);
    static void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const char* pszFormat, void* pArg1);
    static void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const char* pszFormat, void* pArg1,
                      void* pArg2);
    static void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const char* pszFormat, void* pArg1, void* pArg2,
                      void* pArg3);
    static void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const char* pszFormat, void* pArg1, void* pArg2,
                      void* pArg3, void* pArg4);
    static void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const char* pszFormat, void* pArg1, void* pArg2,
                      void* pArg3, void* pArg4, void* pArg5);

    // A null logger is ignored. The same logger may be registered more than once; it then
    // receives each line once per registration, and UnregisterLogger removes one registration.
    static void RegisterLogger(ILogger* pLogger);
    static void UnregisterLogger(ILogger* pLogger);

    // The lock under which loggers are called and the list is changed: holding it keeps every
    // logger quiet, for example while a logger's own records are read.
    static void Lock();
    static void Unlock();

    // Longest text a logger receives, without the terminator.
    static const unsigned long MaxTextLength = 2047;

private:
    static void Dispatch(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszText);
};

} // namespace Logging
} // namespace Lib
} // namespace Oskal
