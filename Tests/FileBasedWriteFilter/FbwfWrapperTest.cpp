// The wrapper over the fbwflib.dll double: every operation's arguments and failure, the two
// sessions of settings, exclusions, cached files with buffer growth, and a misbehaving library.
#include "FbwfTestSupport.h"

#include "Support/ChildProcess.h"

#include <functional>

using namespace Oskal::Lib;
using namespace Oskal::Lib::Collections;
using namespace Oskal::Lib::FileBasedWriteFilter;
using namespace FbwfTests;

namespace
{

std::vector<std::wstring> Texts(const UVector<UString>& strings)
{
    std::vector<std::wstring> texts;
    for (unsigned long i = 0; i < strings.GetLength(); ++i)
        texts.push_back(strings[i].GetBuffer());
    return texts;
}

std::vector<std::wstring> Names(const UVector<FBWF_FILE_CACHE_ENTRY>& files)
{
    std::vector<std::wstring> names;
    for (unsigned long i = 0; i < files.GetLength(); ++i)
        names.push_back(files[i].fileName.GetBuffer());
    return names;
}

} // namespace

TEST_F(FbwfTest, EveryOperationPassesItsArgumentsAndReportsFailures)
{
    FBWF_MEMORY_USAGE usage;
    struct Case
    {
        const char* function;
        std::function<void(UFbwfWrapper*)> call;
        const wchar_t* message;
        const wchar_t* volume;
        const wchar_t* path;
        unsigned long number;
    } cases[] = {
        {"FbwfEnableFilter", [](UFbwfWrapper* w) { w->EnableFilter(); }, L"FbwfEnableFilter() failed.", L"", L"", 0},
        {"FbwfDisableFilter", [](UFbwfWrapper* w) { w->DisableFilter(); }, L"FbwfDisableFilter() failed.", L"", L"", 0},
        {"FbwfIsFilterEnabled", [](UFbwfWrapper* w) { w->IsFilterEnabled(1); }, L"FbwfIsFilterEnabled() failed.", L"",
         L"", 0},
        {"FbwfEnableCompression", [](UFbwfWrapper* w) { w->EnableCompression(); }, L"FbwfEnableCompression() failed.",
         L"", L"", 0},
        {"FbwfDisableCompression", [](UFbwfWrapper* w) { w->DisableCompression(); },
         L"FbwfDisableCompression() failed.", L"", L"", 0},
        {"FbwfIsCompressionEnabled", [](UFbwfWrapper* w) { w->IsCompressionEnabled(7); },
         L"FbwfIsCompressionEnabled() failed.", L"", L"", 1},
        {"FbwfEnableCachePreAllocation", [](UFbwfWrapper* w) { w->EnableCachePreAllocation(); },
         L"FbwfEnableCachePreAllocation() failed.", L"", L"", 0},
        {"FbwfDisableCachePreAllocation", [](UFbwfWrapper* w) { w->DisableCachePreAllocation(); },
         L"FbwfDisableCachePreAllocation() failed.", L"", L"", 0},
        {"FbwfIsCachePreAllocationEnabled", [](UFbwfWrapper* w) { w->IsCachePreAllocationEnabled(0); },
         L"FbwfIsCachePreAllocationEnabled() failed.", L"", L"", 0},
        {"FbwfSetCacheThreshold", [](UFbwfWrapper* w) { w->SetCacheThreshold(77); }, L"FbwfSetCacheThreshold() failed.",
         L"", L"", 77},
        {"FbwfGetMemoryUsage", [&](UFbwfWrapper* w) { w->GetMemoryUsage(&usage); }, L"FbwfGetMemoryUsage() failed.",
         L"", L"", 0},
        {"FbwfGetVolumeList", [](UFbwfWrapper* w) { w->GetProtectedVolumes(1); }, L"FbwfGetVolumeList() failed.", L"",
         L"", 1},
        {"FbwfProtectVolume", [](UFbwfWrapper* w) { w->ProtectVolume(L'C'); }, L"FbwfProtectVolume() failed.", L"C:",
         L"", 0},
        {"FbwfProtectVolume", [](UFbwfWrapper* w) { w->ProtectVolume(L"\\Device\\X"); }, L"FbwfProtectVolume() failed.",
         L"\\Device\\X", L"", 0},
        {"FbwfUnprotectVolume", [](UFbwfWrapper* w) { w->UnprotectVolume(L'D', 1); }, L"FbwfUnprotectVolume() failed.",
         L"D:", L"", 1},
        {"FbwfIsVolumeProtected", [](UFbwfWrapper* w) { w->IsVolumeProtected(L"E:", 0); },
         L"FbwfIsVolumeProtected() failed.", L"E:", L"", 0},
        {"FbwfGetExclusionList", [](UFbwfWrapper* w) { w->GetExclusionList(L'C', 1); },
         L"FbwfGetExclusionList() failed.", L"C:", L"", 1},
        {"FbwfAddExclusion", [](UFbwfWrapper* w) { w->AddExclusion(L"C:\\data\\logs"); }, L"FbwfAddExclusion() failed.",
         L"C:", L"\\data\\logs", 0},
        {"FbwfRemoveExclusion", [](UFbwfWrapper* w) { w->RemoveExclusion(L"c:\\data\\..\\logs"); },
         L"FbwfRemoveExclusion() failed.", L"c:", L"\\logs", 0},
        {"FbwfCommitFile", [](UFbwfWrapper* w) { w->CommitFile(L"C:\\a.txt"); }, L"FbwfCommitFile() failed.", L"C:",
         L"\\a.txt", 0},
        {"FbwfRestoreFile", [](UFbwfWrapper* w) { w->RestoreFile(L"C:\\b\\a.txt"); }, L"FbwfRestoreFile() failed.",
         L"C:", L"\\b\\a.txt", 0},
    };
    unsigned long code = 1000;
    for (const Case& c : cases)
    {
        Reset();
        SetFailure(c.function, ++code);
        auto failure = WrapperFailure([&] { c.call(m_wrapper); });
        EXPECT_EQ(c.message, failure.first) << c.function;
        EXPECT_EQ(code, failure.second) << c.function;
        FBWF_TEST_CALL call = LastCall();
        EXPECT_STREQ(c.function, call.szFunction);
        EXPECT_STREQ(c.volume, call.szVolume) << c.function;
        EXPECT_STREQ(c.path, call.szPath) << c.function;
        EXPECT_EQ(c.number, call.ulNumber) << c.function;
    }

    auto noPointer = WrapperFailure([&] { m_wrapper->GetMemoryUsage(nullptr); });
    EXPECT_EQ(L"pMemUsage must not be NULL.", noPointer.first);
    EXPECT_EQ(87u, noPointer.second);
    for (const wchar_t* bad : {L"", L"\\\\server\\share\\file"})
        EXPECT_EQ(L"Invalid path.", WrapperFailure([&] { m_wrapper->CommitFile(bad); }).first);
}

TEST_F(FbwfTest, SettingsChangeForTheNextSession)
{
    struct Setting
    {
        const char* name;
        std::function<void()> enable, disable;
        std::function<int(int)> query;
    } settings[] = {
        {"filter", [&] { m_wrapper->EnableFilter(); }, [&] { m_wrapper->DisableFilter(); },
         [&](int now) { return m_wrapper->IsFilterEnabled(now); }},
        {"compression", [&] { m_wrapper->EnableCompression(); }, [&] { m_wrapper->DisableCompression(); },
         [&](int now) { return m_wrapper->IsCompressionEnabled(now); }},
        {"pre-allocation", [&] { m_wrapper->EnableCachePreAllocation(); },
         [&] { m_wrapper->DisableCachePreAllocation(); },
         [&](int now) { return m_wrapper->IsCachePreAllocationEnabled(now); }},
    };
    for (const Setting& s : settings)
    {
        s.enable();
        EXPECT_EQ(1, s.query(0)) << s.name;
        EXPECT_EQ(0, s.query(1)) << s.name;
        Restart();
        EXPECT_EQ(1, s.query(5)) << s.name;
        s.disable();
        EXPECT_EQ(0, s.query(0)) << s.name;
        EXPECT_EQ(1, s.query(1)) << s.name;
    }

    m_wrapper->SetCacheThreshold(64);
    Restart();
    m_wrapper->SetCacheThreshold(128);
    FBWF_MEMORY_USAGE usage = {};
    m_wrapper->GetMemoryUsage(&usage);
    EXPECT_EQ(64u, usage.ulCurrentCacheThreshold);
    EXPECT_EQ(128u, usage.ulNextCacheThreshold);
}

TEST_F(FbwfTest, VolumesAndExclusionsDecideWhatIsWriteProtected)
{
    const UString deviceC = UFbwfWrapper::GetDevicePath(L'C');
    m_wrapper->EnableFilter();
    m_wrapper->ProtectVolume(L'C');
    m_wrapper->AddExclusion(L"C:\\data\\logs");
    m_wrapper->AddExclusion(L"C:\\temp");
    EXPECT_EQ(1, m_wrapper->IsVolumeProtected(L'C', 0));
    EXPECT_EQ(0, m_wrapper->IsVolumeProtected(L'C', 1));
    EXPECT_TRUE(Texts(m_wrapper->GetProtectedVolumes(1)).empty());
    EXPECT_EQ(0, m_wrapper->IsWriteProtected(L"C:\\data\\x.txt", 1));
    Restart();
    EXPECT_EQ(std::vector<std::wstring>{deviceC.GetBuffer()}, Texts(m_wrapper->GetProtectedVolumes(1)));
    EXPECT_EQ((std::vector<std::wstring>{L"\\data\\logs", L"\\temp"}), Texts(m_wrapper->GetExclusionList(L'C', 1)));

    struct Case
    {
        const wchar_t* path;
        int excluded;
    } cases[] = {
        {L"C:\\data\\logs", 1},       {L"C:\\data\\logs\\2026\\today.txt", 1},
        {L"c:\\DATA\\Logs\\x", 1},    {L"C:\\data\\logs2\\x", 0},
        {L"C:\\data\\log", 0},        {L"C:\\data", 0},
        {L"C:\\temp\\..\\system", 0}, {L"C:\\system\\..\\temp\\x", 1},
    };
    for (const Case& c : cases)
    {
        EXPECT_EQ(c.excluded, m_wrapper->IsExcluded(c.path, 1)) << c.path;
        EXPECT_EQ(1 - c.excluded, m_wrapper->IsWriteProtected(c.path, 1)) << c.path;
    }

    m_wrapper->RemoveExclusion(L"C:\\temp");
    m_wrapper->UnprotectVolume(L'C', 0);
    EXPECT_EQ(0, m_wrapper->IsVolumeProtected(L'C', 0));
    EXPECT_EQ(std::vector<std::wstring>{L"\\data\\logs"}, Texts(m_wrapper->GetExclusionList(L'C', 0)));
}

TEST_F(FbwfTest, CachedFilesOfOneVolumeAndOfAll)
{
    const UString deviceC = UFbwfWrapper::GetDevicePath(L'C');
    m_wrapper->ProtectVolume(L'C');
    m_wrapper->EnableFilter();
    // Filter off now: no search at all.
    EXPECT_EQ(0u, m_wrapper->GetCachedFiles(L'C').GetLength());
    EXPECT_STREQ("FbwfIsFilterEnabled", LastCall().szFunction);
    Restart();
    // Nothing cached is an empty list, not an error.
    EXPECT_EQ(0u, m_wrapper->GetCachedFiles(L'C').GetLength());
    EXPECT_EQ(0u, m_wrapper->GetCachedFiles()[0].files.GetLength());

    // Names of growing length make every record ask for a larger buffer.
    const std::wstring longName = L"\\logs\\" + std::wstring(200, L'n') + L".txt";
    AddCachedFile(deviceC, L"\\a.txt", 10);
    AddCachedFile(deviceC, L"\\data\\bb.bin", 20);
    AddCachedFile(deviceC, longName.c_str(), 30);
    AddCachedFile(deviceC, L"\\z", 40);
    const std::vector<std::wstring> expected{L"\\a.txt", L"\\data\\bb.bin", longName, L"\\z"};

    UVector<FBWF_FILE_CACHE_ENTRY> files = m_wrapper->GetCachedFiles(L'C');
    EXPECT_EQ(expected, Names(files));
    EXPECT_EQ(30u, files[2].ulCacheSize);
    EXPECT_EQ(expected, Names(m_wrapper->GetCachedFiles(deviceC)));
    UVector<FBWF_DRIVE_CACHE_ENTRY> drives = m_wrapper->GetCachedFiles();
    ASSERT_EQ(1u, drives.GetLength());
    EXPECT_EQ(L'C', drives[0].wcDriveLetter);
    EXPECT_EQ(expected, Names(drives[0].files));
    EXPECT_EQ(0, LastCall().lOpenSearches);

    EXPECT_EQ(1, m_wrapper->IsCached(L"c:\\DATA\\bb.bin"));
    EXPECT_EQ(0, m_wrapper->IsCached(L"C:\\data"));
    m_wrapper->CommitFile(L"C:\\data\\bb.bin");
    m_wrapper->RestoreFile(L"C:\\z");
    EXPECT_EQ(0, m_wrapper->IsCached(L"C:\\data\\bb.bin"));
    EXPECT_EQ((std::vector<std::wstring>{L"\\a.txt", longName}), Names(m_wrapper->GetCachedFiles(L'C')));
    EXPECT_EQ(2u, WrapperFailure([&] { m_wrapper->CommitFile(L"C:\\z"); }).second);
}

TEST_F(FbwfTest, FailedSearchesAreReportedAndClosed)
{
    const UString deviceC = UFbwfWrapper::GetDevicePath(L'C');
    m_wrapper->ProtectVolume(L'C');
    m_wrapper->EnableFilter();
    Restart();
    AddCachedFile(deviceC, L"\\a", 1);
    AddCachedFile(deviceC, L"\\b", 1);
    SetFailure("FbwfFindNext", 31);
    EXPECT_EQ(std::make_pair(std::wstring(L"FbwfFindNext() failed."), 31ul),
              WrapperFailure([&] { m_wrapper->GetCachedFiles(L'C'); }));
    EXPECT_EQ(0, LastCall().lOpenSearches);
    EXPECT_STREQ("FbwfFindClose", LastCall().szFunction);

    // A volume the filter does not protect.
    EXPECT_EQ(std::make_pair(std::wstring(L"FbwfFindFirst() failed."), 15ul),
              WrapperFailure([&] { m_wrapper->GetCachedFiles(L"\\Device\\Unknown"); }));
}

TEST_F(FbwfTest, MisbehavingLibraryEndsInExceptions)
{
    OSKAL_RUN_IN_CHILD(60000);
    const UString deviceC = UFbwfWrapper::GetDevicePath(L'C');
    m_wrapper->ProtectVolume(L'C');
    m_wrapper->EnableFilter();
    m_wrapper->AddExclusion(L"C:\\logs");
    Restart();
    AddCachedFile(deviceC, L"\\cached.txt", 1);

    struct Case
    {
        ULONG hostile;
        const wchar_t* message;
        std::function<void(UFbwfWrapper*)> call;
    } cases[] = {
        {FBWF_HOSTILE_STATIC_SIZE, L"FbwfFindFirst() failed.", [](UFbwfWrapper* w) { w->GetCachedFiles(L'C'); }},
        {FBWF_HOSTILE_STATIC_SIZE, L"FbwfGetVolumeList() failed.", [](UFbwfWrapper* w) { w->GetProtectedVolumes(1); }},
        {FBWF_HOSTILE_STATIC_SIZE, L"FbwfGetExclusionList() failed.",
         [](UFbwfWrapper* w) { w->GetExclusionList(L'C', 1); }},
        {FBWF_HOSTILE_CREEPING_SIZE, L"FbwfFindFirst() failed.", [](UFbwfWrapper* w) { w->GetCachedFiles(L'C'); }},
        {FBWF_HOSTILE_CREEPING_SIZE, L"FbwfGetVolumeList() failed.",
         [](UFbwfWrapper* w) { w->GetProtectedVolumes(0); }},
        {FBWF_HOSTILE_LENGTH_PAST_BUFFER, L"FbwfFindFirst() failed.", [](UFbwfWrapper* w) { w->GetCachedFiles(L'C'); }},
        {FBWF_HOSTILE_LENGTH_PAST_BUFFER, L"FbwfGetExclusionList() failed.",
         [](UFbwfWrapper* w) { w->GetExclusionList(L'C', 1); }},
    };
    for (const Case& c : cases)
    {
        SetHostile(c.hostile);
        EXPECT_EQ(c.message, WrapperFailure([&] { c.call(m_wrapper); }).first) << c.hostile;
        EXPECT_EQ(0, LastCall().lOpenSearches);
    }

    // Without terminators: names come by their length, lists end with the buffer.
    SetHostile(FBWF_HOSTILE_NO_TERMINATOR);
    EXPECT_EQ(std::vector<std::wstring>{L"\\cached.txt"}, Names(m_wrapper->GetCachedFiles(L'C')));
    UVector<UString> volumes = m_wrapper->GetProtectedVolumes(1);
    ASSERT_EQ(1u, volumes.GetLength());
    EXPECT_EQ(std::wstring(256, L'X'), std::wstring(volumes[0].GetBuffer()));
}
