// The DLL as a module: its name and the version resource built from the project version.
#include <Oskal/Lib/UString.h>

#include <gtest/gtest.h>
#include <windows.h>

#include <vector>

namespace {

HMODULE LibraryModule()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&Oskal::Lib::UString::Empty), &module);
    return module;
}

TEST(Module, HasTheLibraryFileName)
{
    HMODULE module = LibraryModule();
    ASSERT_NE(nullptr, module);
    wchar_t path[MAX_PATH];
    ASSERT_NE(0u, GetModuleFileNameW(module, path, MAX_PATH));
    std::wstring name(path);
    name = name.substr(name.find_last_of(L"\\/") + 1);
    EXPECT_EQ(L"Oskal.Lib (Unmanaged).dll", name);
}

TEST(Module, VersionResourceCarriesTheProjectVersion)
{
    wchar_t path[MAX_PATH];
    ASSERT_NE(0u, GetModuleFileNameW(LibraryModule(), path, MAX_PATH));
    DWORD ignored = 0;
    DWORD size = GetFileVersionInfoSizeW(path, &ignored);
    ASSERT_NE(0u, size);
    std::vector<unsigned char> data(size);
    ASSERT_TRUE(GetFileVersionInfoW(path, 0, size, data.data()));
    VS_FIXEDFILEINFO* info = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueW(data.data(), L"\\", reinterpret_cast<void**>(&info), &length));
    EXPECT_EQ(static_cast<DWORD>(MAKELONG(OSKAL_VERSION_MINOR, OSKAL_VERSION_MAJOR)), info->dwFileVersionMS);
    EXPECT_EQ(static_cast<DWORD>(MAKELONG(0, OSKAL_VERSION_PATCH)), info->dwFileVersionLS);
    EXPECT_EQ(info->dwFileVersionMS, info->dwProductVersionMS);
    EXPECT_EQ(info->dwFileVersionLS, info->dwProductVersionLS);
}

} // namespace
