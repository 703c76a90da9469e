// The wrapper over the fbwflib.dll test double, which the run installs in the system directory:
// loading from there only, every operation's arguments and failures, the two sessions of
// settings, exclusions, cached files with buffer growth, a misbehaving library, and the
// drive letter and path conversions.
#include "Doubles/fbwflib/FbwfDouble.h"
#include "Support/ChildProcess.h"

#include <Oskal/Lib/FileBasedWriteFilter/UFbwfWrapper.h>
#include <Oskal/Lib/FileBasedWriteFilter/UFbwfWrapperException.h>

#include <gtest/gtest.h>

#include <functional>

using namespace Oskal::Lib;
using namespace Oskal::Lib::Collections;
using namespace Oskal::Lib::FileBasedWriteFilter;
typedef std::vector<std::wstring> Texts;

namespace
{

std::wstring ProgramFolder()
{
    wchar_t path[MAX_PATH];
    std::wstring text(path, GetModuleFileNameW(nullptr, path, MAX_PATH));
    return text.substr(0, text.find_last_of(L'\\'));
}

std::wstring Double(const wchar_t* pszName = L"fbwflib.dll")
{
    return ProgramFolder() + L"\\..\\doubles\\" + pszName;
}

std::wstring SystemCopy()
{
    wchar_t path[MAX_PATH];
    return std::wstring(path, GetSystemDirectoryW(path, MAX_PATH)) + L"\\fbwflib.dll";
}

const std::wstring kPlanted = ProgramFolder() + L"\\fbwflib.dll";

long long FileSize(const std::wstring& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    return GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) ? data.nFileSizeLow + 0ll : -1;
}

// Installs the double for the run (a child process finds it installed by its parent). A file of
// that name that is not one of the doubles (a real write filter) is left alone: the tests skip.
struct DoubleEnvironment : ::testing::Environment
{
    void SetUp() override
    {
        const long long size = FileSize(SystemCopy());
        if (!OskalTests::IsChildProcess() &&
            (size < 0 || size == FileSize(Double()) || size == FileSize(Double(L"fbwflib_partial.dll"))))
            installed = CopyFileW(Double().c_str(), SystemCopy().c_str(), FALSE) != 0;
        installed = installed || (OskalTests::IsChildProcess() && size == FileSize(Double()));
    }
    void TearDown() override
    {
        if (installed && !OskalTests::IsChildProcess())
            DeleteFileW(SystemCopy().c_str());
    }
    bool installed = false;
};
DoubleEnvironment* const g_double =
    static_cast<DoubleEnvironment*>(::testing::AddGlobalTestEnvironment(new DoubleEnvironment));

std::wstring LoadedFrom()
{
    wchar_t path[MAX_PATH];
    HMODULE module = GetModuleHandleW(L"fbwflib.dll");
    return module == nullptr ? L"" : std::wstring(path, GetModuleFileNameW(module, path, MAX_PATH));
}

// The message and code of the UFbwfWrapperException the call throws ("" when none).
std::pair<std::wstring, unsigned long> Failure(const std::function<void()>& call)
{
    try
    {
        call();
    }
    catch (const UFbwfWrapperException& e)
    {
        return {e.GetMessageText(), e.GetErrorCode()};
    }
    return {L"", 0};
}

// The texts of a list of strings, or the names of a list of cached files.
const wchar_t* TextOf(const UString& text) { return text.GetBuffer(); }
const wchar_t* TextOf(const FBWF_FILE_CACHE_ENTRY& file) { return file.fileName.GetBuffer(); }
template <typename T> Texts Strings(const UVector<T>& items)
{
    Texts texts;
    for (unsigned long i = 0; i < items.GetLength(); ++i)
        texts.push_back(TextOf(items[i]));
    return texts;
}

template <typename T> T Export(const char* pszName)
{
    return reinterpret_cast<T>(reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleW(L"fbwflib.dll"), pszName)));
}
// The double's control function FbwfTest<name>.
#define FBWF_TEST(name) Export<PFN_FbwfTest##name>("FbwfTest" #name)

// Holds the wrapper over an empty model, with the double's control functions.
class FbwfTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!g_double->installed)
            GTEST_SKIP() << "the fbwflib.dll test double is not installed";
        w = UFbwfWrapper::GetWrapper();
        FBWF_TEST(Reset)();
        deviceC = UFbwfWrapper::GetDevicePath(L'C');
    }
    void TearDown() override
    {
        if (w != nullptr)
            w->Release();
    }
    FBWF_TEST_CALL LastCall()
    {
        FBWF_TEST_CALL call;
        FBWF_TEST(GetLastCall)(&call);
        return call;
    }

    UFbwfWrapper* w = nullptr;
    UString deviceC;
};

} // namespace

TEST(FbwfLoading, OnlyTheSystemDirectoryCopyIsLoadedByOneInstance)
{
    if (!g_double->installed)
        GTEST_SKIP() << "the fbwflib.dll test double is not installed";
    ASSERT_TRUE(CopyFileW(Double().c_str(), kPlanted.c_str(), FALSE));
    UFbwfWrapper* first = UFbwfWrapper::GetWrapper();
    EXPECT_EQ(first, UFbwfWrapper::GetWrapper());
    EXPECT_EQ(2u, first->GetRefCount());
    EXPECT_EQ(0, _wcsicmp(SystemCopy().c_str(), LoadedFrom().c_str())) << LoadedFrom();
    EXPECT_EQ(1u, first->Release());
    EXPECT_EQ(0u, first->Release());
    EXPECT_EQ(L"", LoadedFrom());

    // Missing from the system directory: the planted copy is not used. Incomplete: refused and
    // unloaded, and no instance is kept.
    const std::pair<std::wstring, std::wstring> libraries[] = {
        {L"", L"Cannot load fbwflib.dll"},
        {Double(L"fbwflib_partial.dll"), L"Cannot find all functions in fbwflib.dll"}};
    for (const auto& library : libraries)
    {
        DeleteFileW(SystemCopy().c_str());
        if (!library.first.empty())
            CopyFileW(library.first.c_str(), SystemCopy().c_str(), FALSE);
        for (int attempt = 0; attempt < 2; ++attempt)
        {
            auto failure = Failure([] { UFbwfWrapper::GetWrapper()->Release(); });
            EXPECT_EQ(library.second, failure.first);
            EXPECT_EQ(library.first.empty() ? ERROR_MOD_NOT_FOUND : 1627ul, failure.second);
            EXPECT_EQ(L"", LoadedFrom());
        }
    }
    EXPECT_TRUE(DeleteFileW(kPlanted.c_str()));
    ASSERT_TRUE(CopyFileW(Double().c_str(), SystemCopy().c_str(), FALSE));
}

TEST_F(FbwfTest, EveryOperationPassesItsArgumentsAndReportsFailures)
{
    FBWF_MEMORY_USAGE usage;
    struct Case
    {
        const char* function;
        std::function<void()> call;
        const wchar_t *volume, *path;
        unsigned long number;
    } cases[] = {
        {"FbwfEnableFilter", [&] { w->EnableFilter(); }, L"", L"", 0},
        {"FbwfDisableFilter", [&] { w->DisableFilter(); }, L"", L"", 0},
        {"FbwfIsFilterEnabled", [&] { w->IsFilterEnabled(1); }, L"", L"", 0},
        {"FbwfEnableCompression", [&] { w->EnableCompression(); }, L"", L"", 0},
        {"FbwfDisableCompression", [&] { w->DisableCompression(); }, L"", L"", 0},
        {"FbwfIsCompressionEnabled", [&] { w->IsCompressionEnabled(7); }, L"", L"", 1},
        {"FbwfEnableCachePreAllocation", [&] { w->EnableCachePreAllocation(); }, L"", L"", 0},
        {"FbwfDisableCachePreAllocation", [&] { w->DisableCachePreAllocation(); }, L"", L"", 0},
        {"FbwfIsCachePreAllocationEnabled", [&] { w->IsCachePreAllocationEnabled(0); }, L"", L"", 0},
        {"FbwfSetCacheThreshold", [&] { w->SetCacheThreshold(77); }, L"", L"", 77},
        {"FbwfGetMemoryUsage", [&] { w->GetMemoryUsage(&usage); }, L"", L"", 0},
        {"FbwfGetVolumeList", [&] { w->GetProtectedVolumes(1); }, L"", L"", 1},
        {"FbwfProtectVolume", [&] { w->ProtectVolume(L'C'); }, L"C:", L"", 0},
        {"FbwfProtectVolume", [&] { w->ProtectVolume(L"\\Device\\X"); }, L"\\Device\\X", L"", 0},
        {"FbwfUnprotectVolume", [&] { w->UnprotectVolume(L'D', 1); }, L"D:", L"", 1},
        {"FbwfIsVolumeProtected", [&] { w->IsVolumeProtected(L"E:", 0); }, L"E:", L"", 0},
        {"FbwfGetExclusionList", [&] { w->GetExclusionList(L'C', 1); }, L"C:", L"", 1},
        {"FbwfAddExclusion", [&] { w->AddExclusion(L"C:\\data\\logs"); }, L"C:", L"\\data\\logs", 0},
        {"FbwfRemoveExclusion", [&] { w->RemoveExclusion(L"C:\\data\\..\\logs"); }, L"C:", L"\\logs", 0},
        {"FbwfCommitFile", [&] { w->CommitFile(L"C:\\a.txt"); }, L"C:", L"\\a.txt", 0},
        {"FbwfRestoreFile", [&] { w->RestoreFile(L"C:\\b\\a.txt"); }, L"C:", L"\\b\\a.txt", 0},
    };
    unsigned long code = 1000;
    for (const Case& c : cases)
    {
        FBWF_TEST(Reset)();
        FBWF_TEST(SetFailure)(c.function, ++code);
        const std::string name = c.function;
        EXPECT_EQ(std::make_pair(std::wstring(name.begin(), name.end()) + L"() failed.", code), Failure(c.call));
        FBWF_TEST_CALL call = LastCall();
        EXPECT_STREQ(c.function, call.szFunction);
        EXPECT_STREQ(c.volume, call.szVolume) << c.function;
        EXPECT_STREQ(c.path, call.szPath) << c.function;
        EXPECT_EQ(c.number, call.ulNumber) << c.function;
    }
    EXPECT_EQ(std::make_pair(std::wstring(L"pMemUsage must not be NULL."), 87ul),
              Failure([&] { w->GetMemoryUsage(nullptr); }));
    for (const wchar_t* bad : {L"", L"\\\\server\\share\\file"})
        EXPECT_EQ(L"Invalid path.", Failure([&] { w->IsExcluded(bad, 1); }).first);
}

TEST_F(FbwfTest, SettingsVolumesAndExclusionsTakeEffectInTheNextSession)
{
    const std::function<int(int)> queries[] = {[&](int now) { return w->IsFilterEnabled(now); },
                                               [&](int now) { return w->IsCompressionEnabled(now); },
                                               [&](int now) { return w->IsCachePreAllocationEnabled(now); },
                                               [&](int now) { return w->IsVolumeProtected(L'C', now); }};
    w->EnableFilter();
    w->EnableCompression();
    w->EnableCachePreAllocation();
    w->ProtectVolume(L'C');
    w->AddExclusion(L"C:\\data\\logs");
    w->AddExclusion(L"C:\\temp");
    w->SetCacheThreshold(64);
    for (const auto& query : queries)
        EXPECT_EQ(std::make_pair(1, 0), std::make_pair(query(0), query(1)));
    EXPECT_EQ(0, w->IsWriteProtected(L"C:\\data\\x.txt", 1));
    FBWF_TEST(Restart)();
    for (const auto& query : queries)
        EXPECT_EQ(std::make_pair(1, 1), std::make_pair(query(0), query(5)));
    w->SetCacheThreshold(128);
    FBWF_MEMORY_USAGE usage = {};
    w->GetMemoryUsage(&usage);
    EXPECT_EQ(std::make_pair(64ul, 128ul), std::make_pair(usage.ulCurrentCacheThreshold, usage.ulNextCacheThreshold));
    EXPECT_EQ(Texts{deviceC.GetBuffer()}, Strings(w->GetProtectedVolumes(1)));
    EXPECT_EQ((Texts{L"\\data\\logs", L"\\temp"}), Strings(w->GetExclusionList(L'C', 1)));

    const std::pair<const wchar_t*, int> paths[] = {
        {L"C:\\data\\logs", 1},       {L"C:\\data\\logs\\2026\\today.txt", 1},
        {L"c:\\DATA\\Logs\\x", 1},    {L"C:\\data\\logs2\\x", 0},
        {L"C:\\data\\log", 0},        {L"C:\\data", 0},
        {L"C:\\temp\\..\\system", 0}, {L"C:\\system\\..\\temp\\x", 1}};
    for (const auto& path : paths)
    {
        EXPECT_EQ(path.second, w->IsExcluded(path.first, 1)) << path.first;
        EXPECT_EQ(1 - path.second, w->IsWriteProtected(path.first, 1)) << path.first;
    }
    w->RemoveExclusion(L"C:\\temp");
    w->UnprotectVolume(L'C', 0);
    EXPECT_EQ(0, w->IsVolumeProtected(L'C', 0));
    EXPECT_EQ(Texts{L"\\data\\logs"}, Strings(w->GetExclusionList(L'C', 0)));
}

TEST_F(FbwfTest, CachedFilesOfOneVolumeAndOfAll)
{
    w->ProtectVolume(L'C');
    w->EnableFilter();
    // Filter off now: no search at all.
    EXPECT_EQ(0u, w->GetCachedFiles(L'C').GetLength());
    EXPECT_STREQ("FbwfIsFilterEnabled", LastCall().szFunction);
    FBWF_TEST(Restart)();
    // Nothing cached is an empty list, not an error.
    EXPECT_EQ(0u, w->GetCachedFiles(L'C').GetLength());
    EXPECT_EQ(0u, w->GetCachedFiles()[0].files.GetLength());

    // Names of growing length make records ask for a larger buffer.
    const Texts names{L"\\a.txt", L"\\data\\bb.bin", L"\\logs\\" + std::wstring(200, L'n'), L"\\z"};
    for (size_t i = 0; i < names.size(); ++i)
        FBWF_TEST(AddCachedFile)(deviceC, names[i].c_str(), static_cast<ULONG>(10 * i));
    UVector<FBWF_FILE_CACHE_ENTRY> files = w->GetCachedFiles(L'C');
    EXPECT_EQ(names, Strings(files));
    EXPECT_EQ(20u, files[2].ulCacheSize);
    EXPECT_EQ(names, Strings(w->GetCachedFiles(deviceC)));
    UVector<FBWF_DRIVE_CACHE_ENTRY> drives = w->GetCachedFiles();
    ASSERT_EQ(1u, drives.GetLength());
    EXPECT_EQ(L'C', drives[0].wcDriveLetter);
    EXPECT_EQ(names, Strings(drives[0].files));
    EXPECT_EQ(0, LastCall().lOpenSearches);

    EXPECT_EQ(std::make_pair(1, 0), std::make_pair(w->IsCached(L"c:\\DATA\\bb.bin"), w->IsCached(L"C:\\data")));
    w->CommitFile(L"C:\\data\\bb.bin");
    w->RestoreFile(L"C:\\z");
    EXPECT_EQ((Texts{names[0], names[2]}), Strings(w->GetCachedFiles(L'C')));
    EXPECT_EQ(2u, Failure([&] { w->CommitFile(L"C:\\z"); }).second);

    // A failing search is reported, and closed.
    FBWF_TEST(SetFailure)("FbwfFindNext", 31);
    EXPECT_EQ(std::make_pair(std::wstring(L"FbwfFindNext() failed."), 31ul), Failure([&] { w->GetCachedFiles(L'C'); }));
    EXPECT_EQ(0, LastCall().lOpenSearches);
    EXPECT_EQ(std::make_pair(std::wstring(L"FbwfFindFirst() failed."), 15ul),
              Failure([&] { w->GetCachedFiles(L"\\Device\\Unknown"); }));
}

TEST_F(FbwfTest, MisbehavingLibraryEndsInExceptions)
{
    OSKAL_RUN_IN_CHILD(60000);
    w->ProtectVolume(L'C');
    w->EnableFilter();
    w->AddExclusion(L"C:\\logs");
    FBWF_TEST(Restart)();
    FBWF_TEST(AddCachedFile)(deviceC, L"\\cached.txt", 1);
    const std::function<void()> calls[] = {[&] { w->GetCachedFiles(L'C'); }, [&] { w->GetProtectedVolumes(1); },
                                           [&] { w->GetExclusionList(L'C', 1); }};
    const wchar_t* messages[] = {L"FbwfFindFirst() failed.", L"FbwfGetVolumeList() failed.",
                                 L"FbwfGetExclusionList() failed."};
    for (ULONG hostile : {FBWF_HOSTILE_STATIC_SIZE, FBWF_HOSTILE_CREEPING_SIZE, FBWF_HOSTILE_LENGTH_PAST_BUFFER})
    {
        FBWF_TEST(SetHostile)(hostile);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(messages[i], Failure(calls[i]).first) << hostile << " " << i;
        EXPECT_EQ(0, LastCall().lOpenSearches);
    }
    // Without terminators: names come by their length, lists end with the buffer.
    FBWF_TEST(SetHostile)(FBWF_HOSTILE_NO_TERMINATOR);
    EXPECT_EQ(Texts{L"\\cached.txt"}, Strings(w->GetCachedFiles(L'C')));
    EXPECT_EQ(Texts{std::wstring(256, L'X')}, Strings(w->GetProtectedVolumes(1)));
}

TEST(FbwfConversions, DriveLettersDevicePathsAndPaths)
{
    const UString device = UFbwfWrapper::GetDevicePath(L'C');
    std::wstring lower(device.GetBuffer());
    for (wchar_t& c : lower)
        c = towlower(c);
    EXPECT_EQ(L'C', UFbwfWrapper::GetDriveLetter(lower.c_str()));
    EXPECT_EQ(std::make_pair(std::wstring(L"Conversion of device path to drive letter failed."), 0ul),
              Failure([] { UFbwfWrapper::GetDriveLetter(L"\\Device\\NoSuchVolume"); }));
    wchar_t unused = L'Z', target[MAX_PATH];
    while (unused > L'D' && QueryDosDeviceW((std::wstring(1, unused) + L":").c_str(), target, MAX_PATH) != 0)
        --unused;
    auto failure = Failure([&] { UFbwfWrapper::GetDevicePath(unused); });
    EXPECT_EQ(L"Conversion of drive letter to device path failed.", failure.first);
    EXPECT_NE(0u, failure.second);

    struct Case
    {
        std::wstring path;
        unsigned long volumeSize, pathSize;
        const wchar_t *volume, *rest; // null: refused
    } cases[] = {
        {L"C:\\data\\file.txt", 261, 261, L"C:", L"\\data\\file.txt"},
        {L"C:\\data\\..\\x\\.\\y", 261, 261, L"C:", L"\\x\\y"},
        {L"C:\\data", 2, 4, L"C", L"\\da"},
        {L"\\\\server\\share\\x", 261, 261, nullptr, nullptr},
        {L"", 261, 261, nullptr, nullptr},
        // Settled: a full path of 261 characters or more is refused, never cut.
        {L"C:\\" + std::wstring(257, L'p'), 261, 261, L"C:", nullptr},
        {L"C:\\" + std::wstring(258, L'p'), 261, 261, nullptr, nullptr},
    };
    for (const Case& c : cases)
    {
        wchar_t volume[261] = L"", rest[261] = L"";
        EXPECT_EQ(c.volume ? 1 : 0,
                  UFbwfWrapper::GetVolumeAndPath(c.path.c_str(), volume, c.volumeSize, rest, c.pathSize));
        EXPECT_STREQ(c.volume ? c.volume : L"", volume) << c.path;
        EXPECT_STREQ(c.rest ? c.rest : rest, rest) << c.path;
    }

    EXPECT_EQ((Texts{L"a", L"bb", L"c"}), Strings(UFbwfWrapper::SplitPath(L"\\a\\\\bb\\c\\")));
    EXPECT_EQ(Texts{}, Strings(UFbwfWrapper::SplitPath(L"\\")));
    const std::pair<std::wstring, Texts> multi[] = {{std::wstring(L"ab\0c\0\0zz\0", 9), {L"ab", L"c"}},
                                                    {std::wstring(L"\0ab\0", 4), {}},
                                                    {std::wstring(L"ab\0cd", 5), {L"ab", L"cd"}}};
    for (const auto& m : multi)
        EXPECT_EQ(m.second, Strings(UFbwfWrapper::SeparateMultiString(m.first.data(), m.first.size())));
    EXPECT_EQ(Texts{L"abc"}, Strings(UFbwfWrapper::SeparateMultiString(L"abcdef", 3)));
}
