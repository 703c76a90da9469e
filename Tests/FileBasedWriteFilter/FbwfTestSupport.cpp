#include "FbwfTestSupport.h"

#include "Support/ChildProcess.h"

#include <vector>

using namespace Oskal::Lib::FileBasedWriteFilter;

namespace FbwfTests
{

namespace
{

std::wstring ProgramDirectory()
{
    wchar_t path[MAX_PATH];
    DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring text(path, length);
    return text.substr(0, text.find_last_of(L'\\'));
}

std::vector<char> Contents(const std::wstring& path)
{
    HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    std::vector<char> data;
    if (file == INVALID_HANDLE_VALUE)
        return data;
    char block[65536];
    DWORD got;
    while (ReadFile(file, block, sizeof(block), &got, nullptr) && got != 0)
        data.insert(data.end(), block, block + got);
    CloseHandle(file);
    return data;
}

// Installs the double for the whole run and removes it at the end; a child process finds it
// installed by its parent. An fbwflib.dll in the system directory that is not the double (a real
// write filter) is never touched, and the tests then skip.
class DoubleEnvironment : public ::testing::Environment
{
public:
    void SetUp() override
    {
        if (OskalTests::IsChildProcess())
            return;
        const std::vector<char> existing = Contents(SystemCopy());
        if (!existing.empty() && existing != Contents(DoublePath()) &&
            existing != Contents(DoublePath(L"fbwflib_partial.dll")))
            return;
        m_installed = InstallAsSystemCopy(DoublePath());
    }

    void TearDown() override
    {
        if (m_installed)
            DeleteFileW(SystemCopy().c_str());
    }

    bool m_installed = false;
};

DoubleEnvironment* g_environment =
    static_cast<DoubleEnvironment*>(::testing::AddGlobalTestEnvironment(new DoubleEnvironment));

// GetProcAddress's result as the function type the double declares.
template <typename T> T Export(HMODULE module, const char* pszName)
{
    return reinterpret_cast<T>(reinterpret_cast<void (*)()>(GetProcAddress(module, pszName)));
}

} // namespace

std::wstring DoublePath(const wchar_t* pszFile)
{
    return ProgramDirectory() + L"\\..\\doubles\\" + pszFile;
}

std::wstring SystemCopy()
{
    wchar_t path[MAX_PATH];
    UINT length = GetSystemDirectoryW(path, MAX_PATH);
    return std::wstring(path, length) + L"\\fbwflib.dll";
}

std::wstring PlantedCopy()
{
    return ProgramDirectory() + L"\\fbwflib.dll";
}

bool DoubleInstalled()
{
    if (OskalTests::IsChildProcess())
        return GetFileAttributesW(SystemCopy().c_str()) != INVALID_FILE_ATTRIBUTES;
    return g_environment->m_installed;
}

bool InstallAsSystemCopy(const std::wstring& source)
{
    return CopyFileW(source.c_str(), SystemCopy().c_str(), FALSE) != 0;
}

void FbwfTest::SetUp()
{
    if (!DoubleInstalled())
        GTEST_SKIP() << "the fbwflib.dll test double could not be installed";
    m_wrapper = UFbwfWrapper::GetWrapper();
    HMODULE module = GetModuleHandleW(L"fbwflib.dll");
    ASSERT_NE(nullptr, module);
    Reset = Export<PFN_FbwfTestReset>(module, "FbwfTestReset");
    SetFailure = Export<PFN_FbwfTestSetFailure>(module, "FbwfTestSetFailure");
    SetHostile = Export<PFN_FbwfTestSetHostile>(module, "FbwfTestSetHostile");
    Restart = Export<PFN_FbwfTestRestart>(module, "FbwfTestRestart");
    AddCachedFile = Export<PFN_FbwfTestAddCachedFile>(module, "FbwfTestAddCachedFile");
    GetLastCall = Export<PFN_FbwfTestGetLastCall>(module, "FbwfTestGetLastCall");
    ASSERT_TRUE(Reset && SetFailure && SetHostile && Restart && AddCachedFile && GetLastCall);
    Reset();
}

void FbwfTest::TearDown()
{
    if (m_wrapper != nullptr)
        m_wrapper->Release();
}

} // namespace FbwfTests
