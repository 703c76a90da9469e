#include "Support/TestFiles.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>

namespace OskalTests {

TempFile::TempFile(const wchar_t* pszTag)
{
    static LONG counter = 0;
    wchar_t directory[MAX_PATH];
    GetTempPathW(MAX_PATH, directory);
    m_path = std::wstring(directory) + L"oskal-" + pszTag + L"-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
             std::to_wstring(InterlockedIncrement(&counter)) + L".tmp";
    DeleteFileW(m_path.c_str());
}

TempFile::~TempFile()
{
    DeleteFileW(m_path.c_str());
}

std::string ReadFileText(const std::wstring& path)
{
    std::string text;
    FILE* f = _wfopen(path.c_str(), L"rb");
    if (f == nullptr)
        return text;
    char buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof(buffer), f)) > 0)
        text.append(buffer, n);
    std::fclose(f);
    return text;
}

bool WriteFileText(const std::wstring& path, const std::string& text)
{
    FILE* f = _wfopen(path.c_str(), L"wb");
    if (f == nullptr)
        return false;
    const bool written = std::fwrite(text.data(), 1, text.size(), f) == text.size();
    return std::fclose(f) == 0 && written;
}

std::wstring TestDataDirectory()
{
    const wchar_t* value = _wgetenv(L"OSKAL_TESTDATA");
    if (value == nullptr || *value == 0)
        return std::wstring();
    DWORD attributes = GetFileAttributesW(value);
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY))
        return std::wstring();
    return value;
}

bool TestDataRequired()
{
    const char* value = std::getenv("OSKAL_REQUIRE_TESTDATA");
    return value != nullptr && *value != 0 && *value != '0';
}

} // namespace OskalTests
