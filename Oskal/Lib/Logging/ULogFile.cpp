#include <Oskal/Lib/Logging/ULogFile.h>

#include <Oskal/Lib/Win32Api.h>

#include <cstdio>
#include <cwchar>
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <string>
#include <sys/stat.h>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

ULogFile::ULogFile() : m_nFile(-1), m_nReserved(-1) {}

ULogFile::~ULogFile()
{
    Close();
}

int ULogFile::Open()
{
    Close();
    SYSTEMTIME now;
    GetLocalTime(&now);

    wchar_t module[261];
    const DWORD length = GetModuleFileNameW(nullptr, module, 261);
    if (length == 0 || length >= 261)
        return 0;
    wchar_t* slash = std::wcsrchr(module, L'\\');
    if (slash != nullptr)
        *slash = 0;

    wchar_t directory[261];
    wchar_t file[261];
    if (_snwprintf_s(directory, 261, _TRUNCATE, L"%s\\log", module) < 0 ||
        _snwprintf_s(file, 261, _TRUNCATE, L"%s\\%04d-%02d-%02d - %02d-%02d-%02d - log.txt", directory, now.wYear,
                     now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond) < 0)
        return 0;
    // Usually the folder exists already.
    CreateDirectoryW(directory, nullptr);
    if (_wsopen_s(&m_nFile, file, _O_RDWR | _O_CREAT | _O_TRUNC | _O_U8TEXT, _SH_DENYWR, _S_IREAD | _S_IWRITE) != 0)
        m_nFile = -1;
    return m_nFile != -1 ? 1 : 0;
}

int ULogFile::Open(const wchar_t* pszPath, long /*lReserved*/)
{
    Close();
    if (pszPath == nullptr)
        return 0;
    if (_wsopen_s(&m_nFile, pszPath, _O_RDWR | _O_CREAT | _O_SEQUENTIAL, _SH_DENYWR, _S_IREAD | _S_IWRITE) != 0)
        m_nFile = -1;
    return m_nFile != -1 ? 1 : 0;
}

void ULogFile::Close()
{
    if (m_nFile != -1)
    {
        _close(m_nFile);
        m_nFile = -1;
    }
}

int ULogFile::WriteLine(const wchar_t* pszText)
{
    if (m_nFile == -1 || pszText == nullptr)
        return 0;
    // The file may be in UTF-8 or plain text mode depending on how it was opened: write the
    // UTF-8 bytes ourselves, in binary mode for the call, so both give the same bytes.
    const int length = static_cast<int>(std::wcslen(pszText));
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, pszText, length, nullptr, 0, nullptr, nullptr);
    if (length != 0 && bytes <= 0)
        return 0;
    std::string line(static_cast<size_t>(bytes), '\0');
    if (bytes != 0)
        WideCharToMultiByte(CP_UTF8, 0, pszText, length, &line[0], bytes, nullptr, nullptr);
    line += "\r\n";
    const int mode = _setmode(m_nFile, _O_BINARY);
    // A file opened by path is not truncated, and the placeholder reader seeks to its start:
    // lines always go after what the file holds.
    const bool atEnd = _lseek(m_nFile, 0, SEEK_END) != -1;
    const int written = !atEnd ? -1 : _write(m_nFile, line.data(), static_cast<unsigned int>(line.size()));
    if (mode != -1)
        _setmode(m_nFile, mode);
    return written == static_cast<int>(line.size()) ? 1 : 0;
}

// Kept: the two placeholders below read nothing: one seeks to the start and succeeds, the other
// succeeds and fills nothing (pinned by
// LogFile.OpenOfAPathKeepsItsTextAndWritesUtf8Lines).
int ULogFile::ReadAdministrativeInformation()
{
    if (m_nFile != -1)
        _lseek(m_nFile, 0, SEEK_SET);
    return 1;
}

int ULogFile::GetOldestAndNewestRecord(unsigned long* /*pulOldest*/, unsigned long* /*pulNewest*/)
{
    return 1;
}

} // namespace Logging
} // namespace Lib
} // namespace Oskal
