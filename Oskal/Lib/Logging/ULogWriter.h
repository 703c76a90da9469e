#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Logging/ULogLevel.h>
#include <Oskal/Lib/Logging/ULogLevelMask.h>
#include <Oskal/Lib/UString.h>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

// Writes the log entries of one class name. Made only by the log source (GetWriter), and lives
// as long as it does. It writes nothing until bits are set in its mask.
class OSKAL_LIB_API ULogWriter
{
public:
    // Writes the entry when the mask has the bit of pLevel's id; printf-style with the Windows
    // run-time's rules (%s takes a wide string). Never throws because no server runs.
    void Write(const ULogLevel* pLevel, const wchar_t* pszFormat, ...);

    const UString& GetClassNameW() const;
    unsigned long GetClassId() const { return m_ulClassId; }

    // The levels this writer writes. Read without a lock while entries are written.
    void SetLogLevelMask(const ULogLevelMask& mask) { m_mask = mask; }
    const ULogLevelMask& GetLogLevelMask() const { return m_mask; }

private:
    friend class ULogSource;
    ULogWriter(unsigned long ulClassId, const UString* pClassName);
    ULogWriter(const ULogWriter&) = delete;
    ULogWriter& operator=(const ULogWriter&) = delete;

    ULogLevelMask m_mask;
    unsigned long m_ulClassId;
    const UString* m_pClassName; // the source's record
};

} // namespace Logging
} // namespace Lib
} // namespace Oskal
