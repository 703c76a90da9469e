#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Logging/ULogSeverity.h>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

// Receives the library's diagnostic lines (see ULog). Write may be called on any thread, one call
// at a time; it runs under ULog's lock, so it must not wait for another thread that logs.
class OSKAL_LIB_API ILogger
{
public:
    virtual ~ILogger();
    virtual void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszText) = 0;
};

} // namespace Logging
} // namespace Lib
} // namespace Oskal
