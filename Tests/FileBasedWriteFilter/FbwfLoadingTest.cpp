// Loading the library from the system directory only, the singleton's life, and the drive
// letter, device path and path conversions.
#include "FbwfTestSupport.h"

#include <functional>

using namespace Oskal::Lib;
using namespace Oskal::Lib::Collections;
using namespace Oskal::Lib::FileBasedWriteFilter;
using namespace FbwfTests;

namespace
{

std::wstring LoadedFrom()
{
    HMODULE module = GetModuleHandleW(L"fbwflib.dll");
    if (module == nullptr)
        return L"";
    wchar_t path[MAX_PATH];
    DWORD length = GetModuleFileNameW(module, path, MAX_PATH);
    return std::wstring(path, length);
}

// Moves the installed double aside (or replaces it) for one test and puts it back afterwards.
class SystemCopySwap
{
public:
    explicit SystemCopySwap(const std::wstring& replacement = L"")
    {
        m_aside = SystemCopy() + L".aside";
        MoveFileExW(SystemCopy().c_str(), m_aside.c_str(), MOVEFILE_REPLACE_EXISTING);
        if (!replacement.empty())
            CopyFileW(replacement.c_str(), SystemCopy().c_str(), FALSE);
    }
    ~SystemCopySwap()
    {
        DeleteFileW(PlantedCopy().c_str());
        MoveFileExW(m_aside.c_str(), SystemCopy().c_str(), MOVEFILE_REPLACE_EXISTING);
    }

private:
    std::wstring m_aside;
};

struct Work
{
    UFbwfWrapper* expected;
    LONG mismatches;
};

DWORD WINAPI TakeAndGiveBack(void* pv)
{
    Work* work = static_cast<Work*>(pv);
    for (int n = 0; n < 200; ++n)
    {
        UFbwfWrapper* wrapper = UFbwfWrapper::GetWrapper();
        if (wrapper != work->expected)
            InterlockedIncrement(&work->mismatches);
        wrapper->Release();
    }
    return 0;
}

} // namespace

TEST(FbwfLoading, OneReferenceCountedInstanceUnloadedWithItsLastRelease)
{
    if (!DoubleInstalled())
        GTEST_SKIP() << "the fbwflib.dll test double could not be installed";
    ASSERT_EQ(L"", LoadedFrom());
    UFbwfWrapper* first = UFbwfWrapper::GetWrapper();
    UFbwfWrapper* second = UFbwfWrapper::GetWrapper();
    EXPECT_EQ(first, second);
    EXPECT_EQ(2u, first->GetRefCount());
    EXPECT_EQ(0, _wcsicmp(SystemCopy().c_str(), LoadedFrom().c_str())) << LoadedFrom();
    EXPECT_EQ(1u, second->Release());
    EXPECT_EQ(0u, first->Release());
    EXPECT_EQ(L"", LoadedFrom());

    // Threads taking and giving back references while one is held all see the same instance.
    UFbwfWrapper* held = UFbwfWrapper::GetWrapper();
    std::vector<HANDLE> threads;
    Work work{held, 0};
    for (int i = 0; i < 4; ++i)
        threads.push_back(CreateThread(nullptr, 0, &TakeAndGiveBack, &work, 0, nullptr));
    WaitForMultipleObjects(static_cast<DWORD>(threads.size()), threads.data(), TRUE, 30000);
    for (HANDLE thread : threads)
        CloseHandle(thread);
    EXPECT_EQ(0, work.mismatches);
    EXPECT_EQ(1u, held->GetRefCount());
    held->Release();
}

TEST(FbwfLoading, OnlyTheSystemDirectoryIsSearched)
{
    if (!DoubleInstalled())
        GTEST_SKIP() << "the fbwflib.dll test double could not be installed";
    {
        // Absent from the system directory, planted beside the program: still not found.
        SystemCopySwap swap;
        ASSERT_TRUE(CopyFileW(DoublePath().c_str(), PlantedCopy().c_str(), FALSE));
        auto failure = WrapperFailure([] { UFbwfWrapper::GetWrapper()->Release(); });
        EXPECT_EQ(L"Cannot load fbwflib.dll", failure.first);
        EXPECT_EQ(static_cast<unsigned long>(ERROR_MOD_NOT_FOUND), failure.second);
        EXPECT_EQ(L"", LoadedFrom());
    }
    {
        // A library without every function is refused, unloaded and not kept as the instance.
        SystemCopySwap swap(DoublePath(L"fbwflib_partial.dll"));
        for (int attempt = 0; attempt < 2; ++attempt)
        {
            auto failure = WrapperFailure([] { UFbwfWrapper::GetWrapper()->Release(); });
            EXPECT_EQ(L"Cannot find all functions in fbwflib.dll", failure.first);
            EXPECT_EQ(1627u, failure.second);
            EXPECT_EQ(L"", LoadedFrom());
        }
    }
    // Both present: the system directory's copy is the one loaded.
    ASSERT_TRUE(CopyFileW(DoublePath().c_str(), PlantedCopy().c_str(), FALSE));
    UFbwfWrapper* wrapper = UFbwfWrapper::GetWrapper();
    EXPECT_EQ(0, _wcsicmp(SystemCopy().c_str(), LoadedFrom().c_str())) << LoadedFrom();
    wrapper->Release();
    EXPECT_TRUE(DeleteFileW(PlantedCopy().c_str()));
}

TEST(FbwfConversions, DriveLettersAndDevicePaths)
{
    const UString device = UFbwfWrapper::GetDevicePath(L'C');
    EXPECT_EQ(L'\\', device.GetAt(0));
    EXPECT_EQ(L'C', UFbwfWrapper::GetDriveLetter(device));
    std::wstring lower(device.GetBuffer());
    for (wchar_t& c : lower)
        c = towlower(c);
    EXPECT_EQ(L'C', UFbwfWrapper::GetDriveLetter(lower.c_str()));

    auto none = WrapperFailure([] { UFbwfWrapper::GetDriveLetter(L"\\Device\\NoSuchVolume"); });
    EXPECT_EQ(L"Conversion of device path to drive letter failed.", none.first);
    EXPECT_EQ(0u, none.second);

    wchar_t unused = 0;
    wchar_t target[MAX_PATH];
    for (wchar_t letter = L'Z'; letter >= L'D' && unused == 0; --letter)
    {
        const wchar_t name[3] = {letter, L':', 0};
        if (QueryDosDeviceW(name, target, MAX_PATH) == 0)
            unused = letter;
    }
    ASSERT_NE(0, unused);
    auto failure = WrapperFailure([&] { UFbwfWrapper::GetDevicePath(unused); });
    EXPECT_EQ(L"Conversion of drive letter to device path failed.", failure.first);
    EXPECT_NE(0u, failure.second);
}

TEST(FbwfConversions, PathsSplitIntoVolumeAndRest)
{
    struct Case
    {
        const wchar_t* path;
        unsigned long volumeSize;
        int ok;
        const wchar_t* volume;
        const wchar_t* rest;
    } cases[] = {
        {L"C:\\data\\file.txt", 261, 1, L"C:", L"\\data\\file.txt"},
        {L"C:\\data\\..\\x\\.\\y", 261, 1, L"C:", L"\\x\\y"},
        {L"C:\\", 261, 1, L"C:", L"\\"},
        {L"C:\\data", 2, 1, L"C", L"\\data"},
        {L"\\\\server\\share\\x", 261, 0, L"", L""},
        {L"", 261, 0, L"", L""},
    };
    for (const Case& c : cases)
    {
        wchar_t volume[261] = L"", rest[261] = L"";
        EXPECT_EQ(c.ok, UFbwfWrapper::GetVolumeAndPath(c.path, volume, c.volumeSize, rest, 261)) << c.path;
        if (c.ok)
        {
            EXPECT_STREQ(c.volume, volume) << c.path;
            EXPECT_STREQ(c.rest, rest) << c.path;
        }
    }
    // Settled: a full path of 261 characters or more is refused, never cut.
    for (size_t length : {258u, 259u, 300u})
    {
        std::wstring path = L"C:\\" + std::wstring(length - 3, L'p');
        wchar_t volume[261], rest[261];
        EXPECT_EQ(length < 261 ? 1 : 0, UFbwfWrapper::GetVolumeAndPath(path.c_str(), volume, 261, rest, 261)) << length;
    }
    wchar_t volume[261], rest[8];
    ASSERT_EQ(1, UFbwfWrapper::GetVolumeAndPath(L"C:\\abcdefghij", volume, 261, rest, 8));
    EXPECT_STREQ(L"\\abcdef", rest);

    struct Split
    {
        const wchar_t* path;
        std::vector<std::wstring> parts;
    } splits[] = {
        {L"\\a\\bb\\c", {L"a", L"bb", L"c"}},
        {L"a\\\\b\\", {L"a", L"b"}},
        {L"\\", {}},
        {L"", {}},
    };
    for (const Split& s : splits)
    {
        UVector<UString> parts = UFbwfWrapper::SplitPath(s.path);
        std::vector<std::wstring> got;
        for (unsigned long i = 0; i < parts.GetLength(); ++i)
            got.push_back(parts[i].GetBuffer());
        EXPECT_EQ(s.parts, got) << s.path;
    }
}

TEST(FbwfConversions, MultiStringsStopAtTheEmptyStringOrTheSize)
{
    struct Case
    {
        std::wstring buffer;
        unsigned long size;
        std::vector<std::wstring> strings;
    } cases[] = {
        {std::wstring(L"ab\0c\0\0zz\0", 9), 9, {L"ab", L"c"}},
        {std::wstring(L"\0ab\0", 4), 4, {}},
        {std::wstring(L"ab\0cd", 5), 5, {L"ab", L"cd"}},
        {std::wstring(L"abcdef", 6), 3, {L"abc"}},
        {std::wstring(L"ab\0cd\0", 6), 0, {}},
    };
    for (const Case& c : cases)
    {
        UVector<UString> strings = UFbwfWrapper::SeparateMultiString(c.buffer.data(), c.size);
        std::vector<std::wstring> got;
        for (unsigned long i = 0; i < strings.GetLength(); ++i)
            got.push_back(strings[i].GetBuffer());
        EXPECT_EQ(c.strings, got);
    }
}
