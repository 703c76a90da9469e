#pragma once

#include <string>

namespace OskalTests {

// A unique path in the temporary directory; the file is removed when the object goes away.
class TempFile
{
public:
    explicit TempFile(const wchar_t* pszTag = L"test");
    ~TempFile();
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    const wchar_t* Path() const { return m_path.c_str(); }

private:
    std::wstring m_path;
};

// A whole file's bytes ("" when it cannot be opened), and writing them (false on failure).
std::string ReadFileText(const std::wstring& path);
bool WriteFileText(const std::wstring& path, const std::string& text);

// The folder of published test vectors as a Windows path, or "" when it is not available.
std::wstring TestDataDirectory();

// True when the run must have the test data (CI): a missing folder or file is then a failure.
bool TestDataRequired();

} // namespace OskalTests

// Skips the current test when the test data is absent, unless the run requires it.
#define OSKAL_REQUIRE_TESTDATA()                                                                   \
    do                                                                                             \
    {                                                                                              \
        if (OskalTests::TestDataDirectory().empty())                                               \
        {                                                                                          \
            if (OskalTests::TestDataRequired())                                                    \
                FAIL() << "test data folder is missing (OSKAL_TESTDATA)";                         \
            GTEST_SKIP() << "test data folder not found; set OSKAL_TESTDATA";                     \
        }                                                                                          \
    } while (0)
