// The local log file: its time-stamped name beside the executable, reopening, and UTF-8 lines.
#include "Support/TestFiles.h"

#include <Oskal/Lib/Logging/ULogFile.h>
#include <Oskal/Lib/Win32Api.h>

#include <gtest/gtest.h>

#include <string>

namespace Oskal
{
namespace Lib
{
namespace Logging
{
struct ULogFileProbe
{
    static int ReadAdministrativeInformation(ULogFile& file) { return file.ReadAdministrativeInformation(); }
    static int GetOldestAndNewestRecord(ULogFile& file, unsigned long* pOldest, unsigned long* pNewest)
    {
        return file.GetOldestAndNewestRecord(pOldest, pNewest);
    }
};
} // namespace Logging
} // namespace Lib
} // namespace Oskal

namespace
{

using Oskal::Lib::Logging::ULogFile;
using Oskal::Lib::Logging::ULogFileProbe;

std::wstring LogDirectory()
{
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring directory(path);
    return directory.substr(0, directory.find_last_of(L'\\')) + L"\\log";
}

std::wstring NameAt(const SYSTEMTIME& t)
{
    wchar_t name[64];
    swprintf(name, 64, L"%04d-%02d-%02d - %02d-%02d-%02d - log.txt", t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute,
             t.wSecond);
    return name;
}

TEST(LogFile, OpensATimeStampedFileInTheLogFolderBesideTheProgram)
{
    SYSTEMTIME before, after;
    GetLocalTime(&before);
    ULogFile file;
    ASSERT_EQ(1, file.Open());
    GetLocalTime(&after);
    ASSERT_EQ(1, file.WriteLine(L"first line \u00e9\u4e2d"));
    file.Close();

    const std::wstring early = LogDirectory() + L"\\" + NameAt(before);
    const std::wstring late = LogDirectory() + L"\\" + NameAt(after);
    const bool earlyExists = GetFileAttributesW(early.c_str()) != INVALID_FILE_ATTRIBUTES;
    const bool lateExists = GetFileAttributesW(late.c_str()) != INVALID_FILE_ATTRIBUTES;
    ASSERT_TRUE(earlyExists || lateExists) << "no file named after the time of opening";
    // The run-time starts a new UTF-8 text file with a byte-order mark.
    EXPECT_EQ("\xef\xbb\xbf"
              "first line \xc3\xa9\xe4\xb8\xad\r\n",
              OskalTests::ReadFileText(earlyExists ? early : late));

    // Opening again closes the open file first.
    ASSERT_EQ(1, file.Open());
    ASSERT_EQ(1, file.Open());
    file.Close();
    DeleteFileW(early.c_str());
    DeleteFileW(late.c_str());
}

TEST(LogFile, OpenOfAPathKeepsItsTextAndWritesUtf8Lines)
{
    OskalTests::TempFile temp(L"logfile");
    ULogFile file;
    ASSERT_EQ(1, file.Open(temp.Path(), 12345));
    ASSERT_EQ(1, file.WriteLine(L"caf\u00e9"));
    file.Close();
    EXPECT_EQ(0, file.WriteLine(L"closed"));
    ASSERT_EQ(1, file.Open(temp.Path(), 0));
    unsigned long oldest = 7, newest = 9;
    EXPECT_EQ(1, ULogFileProbe::ReadAdministrativeInformation(file));
    EXPECT_EQ(1, ULogFileProbe::GetOldestAndNewestRecord(file, &oldest, &newest));
    EXPECT_EQ(7u, oldest);
    EXPECT_EQ(9u, newest);
    // Lines go after the text already there, also after the placeholder has sought to the start.
    ASSERT_EQ(1, file.WriteLine(L"more"));
    file.Close();
    EXPECT_EQ("caf\xc3\xa9\r\nmore\r\n", OskalTests::ReadFileText(temp.Path()));
    EXPECT_EQ(0, file.Open(nullptr, 0));
}

} // namespace
