#pragma once

#include <Oskal/Lib/Export.h>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

// The local log file of a process whose log entries cannot reach a log sink server: a new file
// "<year>-<month>-<day> - <hour>-<minute>-<second> - log.txt" (local time of opening) in the
// folder "log" beside the program's executable, written as UTF-8 text.
class OSKAL_LIB_API ULogFile
{
public:
    ULogFile();
    virtual ~ULogFile();
    ULogFile(const ULogFile&) = delete;
    ULogFile& operator=(const ULogFile&) = delete;

    // A new time-stamped file in the default place (truncated if it exists); 1 on success.
    int Open();
    // That file, kept if it exists; lReserved is ignored. 1 on success.
    int Open(const wchar_t* pszPath, long lReserved);
    void Close();

    // Appends pszText and a line end; 1 on success, 0 when no file is open or writing failed.
    int WriteLine(const wchar_t* pszText);

private:
    friend struct ULogFileProbe; // lets the tests reach the placeholders below

    // Placeholders for reading a file back later: they keep exactly this behaviour.
    int ReadAdministrativeInformation();
    int GetOldestAndNewestRecord(unsigned long* pulOldest, unsigned long* pulNewest);

    int m_nFile;
    int m_nReserved;
};

} // namespace Logging
} // namespace Lib
} // namespace Oskal
