#pragma once

#include <Oskal/Lib/Collections/UVector.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Threading/UCriticalSection.h>
#include <Oskal/Lib/UReferenceManagement.h>
#include <Oskal/Lib/UString.h>
#include <Oskal/Lib/Win32Api.h>

namespace Oskal
{
namespace Lib
{
namespace FileBasedWriteFilter
{

// The write filter's memory usage record: four 32-bit words, as the filter fills them.
struct FBWF_MEMORY_USAGE
{
    unsigned long ulCurrentCacheThreshold;
    unsigned long ulNextCacheThreshold;
    unsigned long ulDirectoryStructure;
    unsigned long ulFileData;
};

// One file in the write filter's cache.
struct OSKAL_LIB_API FBWF_FILE_CACHE_ENTRY
{
    FBWF_FILE_CACHE_ENTRY();
    FBWF_FILE_CACHE_ENTRY(const FBWF_FILE_CACHE_ENTRY& other);
    FBWF_FILE_CACHE_ENTRY& operator=(const FBWF_FILE_CACHE_ENTRY& other);
    bool operator==(const FBWF_FILE_CACHE_ENTRY& other) const;

    UString fileName;
    // Bytes of cache the file uses, and the handles open on it.
    unsigned long ulCacheSize;
    unsigned long ulOpenHandleCount;
};

// The cached files of one volume.
struct OSKAL_LIB_API FBWF_DRIVE_CACHE_ENTRY
{
    FBWF_DRIVE_CACHE_ENTRY();
    FBWF_DRIVE_CACHE_ENTRY(const FBWF_DRIVE_CACHE_ENTRY& other);
    FBWF_DRIVE_CACHE_ENTRY& operator=(const FBWF_DRIVE_CACHE_ENTRY& other);
    bool operator==(const FBWF_DRIVE_CACHE_ENTRY& other) const;

    wchar_t wcDriveLetter;
    Collections::UVector<FBWF_FILE_CACHE_ENTRY> files;
};

// The File-Based Write Filter of Windows Embedded, through its client library fbwflib.dll, which
// is loaded at run time from the system directory only. One instance per process, reference
// counted: GetWrapper hands out a reference, Release gives it back. Every call into the library
// holds the instance lock; a non-zero result becomes a UFbwfWrapperException carrying it.
// Volumes are named by drive letter ('C') or by name ("C:" or a device path); the "now" flags
// choose the settings in force now (non-zero) or those of the next start (zero).
class OSKAL_LIB_API UFbwfWrapper : public UReferenceManagement
{
public:
    // Loads the library on first use; "Cannot load fbwflib.dll" with the loader's error code, or
    // "Cannot find all functions in fbwflib.dll" (1627), when that fails.
    static UFbwfWrapper* GetWrapper();

    unsigned long AddRef() override;
    // The last release unloads the library and lets the next GetWrapper start afresh.
    unsigned long Release() override;

    void EnableFilter();
    void DisableFilter();
    int IsFilterEnabled(int bNow);
    void EnableCompression();
    void DisableCompression();
    int IsCompressionEnabled(int bNow);
    void EnableCachePreAllocation();
    void DisableCachePreAllocation();
    int IsCachePreAllocationEnabled(int bNow);
    void SetCacheThreshold(unsigned long ulThreshold);
    void GetMemoryUsage(FBWF_MEMORY_USAGE* pMemUsage);
    Collections::UVector<UString> GetProtectedVolumes(int bNow);
    void ProtectVolume(wchar_t wcDriveLetter);
    void ProtectVolume(const wchar_t* pszVolume);
    // bRemoveAllReferences is passed to the library as it is.
    void UnprotectVolume(wchar_t wcDriveLetter, int bRemoveAllReferences);
    void UnprotectVolume(const wchar_t* pszVolume, int bRemoveAllReferences);
    int IsVolumeProtected(wchar_t wcDriveLetter, int bNow);
    int IsVolumeProtected(const wchar_t* pszVolume, int bNow);
    Collections::UVector<UString> GetExclusionList(wchar_t wcDriveLetter, int bNow);
    Collections::UVector<UString> GetExclusionList(const wchar_t* pszVolume, int bNow);
    // The path names its volume ("C:\\logs"); a relative path is taken from the current directory.
    void AddExclusion(const wchar_t* pszPath);
    void RemoveExclusion(const wchar_t* pszPath);
    void CommitFile(const wchar_t* pszPath);
    void RestoreFile(const wchar_t* pszPath);
    // 0 when the filter is off for the settings asked about or the path is excluded.
    int IsWriteProtected(const wchar_t* pszPath, int bNow);
    // Whether the path or a folder above it is on its volume's exclusion list.
    int IsExcluded(const wchar_t* pszPath, int bNow);
    // Whether the file is in the cache now.
    int IsCached(const wchar_t* pszPath);
    // Every protected volume's cached files; empty while the filter is off now.
    Collections::UVector<FBWF_DRIVE_CACHE_ENTRY> GetCachedFiles();
    Collections::UVector<FBWF_FILE_CACHE_ENTRY> GetCachedFiles(wchar_t wcDriveLetter);
    Collections::UVector<FBWF_FILE_CACHE_ENTRY> GetCachedFiles(const wchar_t* pszVolume);

    // The device path of a drive ("\\Device\\HarddiskVolume1").
    static UString GetDevicePath(wchar_t wcDriveLetter);
    // The first drive letter whose device path is the one given (compared without case).
    static wchar_t GetDriveLetter(const wchar_t* pszDevicePath);
    // Splits the full form of a path into its volume ("C:") and the rest ("\\dir\\file"), each
    // cut to its buffer; 0 when the path has no full form of fewer than 261 characters.
    static int GetVolumeAndPath(const wchar_t* pszPath, wchar_t* pszVolume, unsigned long ulVolumeSize,
                                wchar_t* pszPathOut, unsigned long ulPathSize);
    // The non-empty parts of a path between backslashes.
    static Collections::UVector<UString> SplitPath(const wchar_t* pszPath);
    // The strings of a buffer of ulSize characters holding NUL-ended strings that end with an
    // empty one; nothing is read past ulSize.
    static Collections::UVector<UString> SeparateMultiString(const wchar_t* pwcBuffer, unsigned long ulSize);

protected:
    UFbwfWrapper();
    ~UFbwfWrapper() override;

    void InitWrapper();
    void ShutdownWrapper();
    void ResetFunctionPointers();

private:
    typedef unsigned long(WINAPI* PFN_NOARGS)();
    typedef unsigned long(WINAPI* PFN_ULONG)(unsigned long);
    typedef unsigned long(WINAPI* PFN_PULONG)(unsigned long*);
    typedef unsigned long(WINAPI* PFN_PULONG_PULONG)(unsigned long*, unsigned long*);
    typedef unsigned long(WINAPI* PFN_ULONG_PULONG)(unsigned long, unsigned long*);
    typedef unsigned long(WINAPI* PFN_VOLUME)(const wchar_t*);
    typedef unsigned long(WINAPI* PFN_VOLUME_BOOL)(const wchar_t*, BOOL);
    typedef unsigned long(WINAPI* PFN_VOLUME_PATH)(const wchar_t*, const wchar_t*);
    typedef unsigned long(WINAPI* PFN_ULONG_VOLUME_PULONG)(unsigned long, const wchar_t*, unsigned long*);
    typedef unsigned long(WINAPI* PFN_ULONG_BUFFER)(unsigned long, void*, unsigned long*);
    typedef unsigned long(WINAPI* PFN_VOLUME_ULONG_BUFFER)(const wchar_t*, unsigned long, void*, unsigned long*);
    typedef unsigned long(WINAPI* PFN_VOLUME_BUFFER)(const wchar_t*, void*, unsigned long*);
    typedef unsigned long(WINAPI* PFN_BUFFER)(void*, unsigned long*);
    typedef unsigned long(WINAPI* PFN_ULONG_HANDLE)(unsigned long, HANDLE);

    // Calls a function that fills a buffer, growing the buffer while the library asks for more.
    template <typename Call> Collections::UVector<UString> GetMultiString(Call call, const wchar_t* pszFailure);
    // Runs one search under the held lock; the failure's message (and *pulCode), or null.
    const wchar_t* FindCachedFiles(const wchar_t* pszVolume, Collections::UVector<FBWF_FILE_CACHE_ENTRY>& files,
                                   unsigned long* pulCode);
    void CallOnPath(PFN_VOLUME_PATH pfn, const wchar_t* pszPath, const wchar_t* pszFailure);

    HMODULE m_hModule;
    Threading::UCriticalSection m_lock;

    PFN_NOARGS m_pfnEnableFilter;
    PFN_NOARGS m_pfnDisableFilter;
    PFN_VOLUME m_pfnProtectVolume;
    PFN_VOLUME_BOOL m_pfnUnprotectVolume;
    PFN_ULONG m_pfnSetCacheThreshold;
    PFN_ULONG_BUFFER m_pfnGetVolumeList;
    PFN_PULONG_PULONG m_pfnIsFilterEnabled;
    PFN_ULONG_VOLUME_PULONG m_pfnIsVolumeProtected;
    PFN_PULONG m_pfnGetMemoryUsage;
    PFN_NOARGS m_pfnFindClose;
    PFN_BUFFER m_pfnFindNext;
    PFN_VOLUME_BUFFER m_pfnFindFirst;
    PFN_NOARGS m_pfnEnableCompression;
    PFN_NOARGS m_pfnDisableCompression;
    PFN_ULONG_PULONG m_pfnIsCompressionEnabled;
    PFN_NOARGS m_pfnEnableCachePreAllocation;
    PFN_NOARGS m_pfnDisableCachePreAllocation;
    PFN_ULONG_PULONG m_pfnIsCachePreAllocationEnabled;
    PFN_VOLUME_PATH m_pfnAddExclusion;
    PFN_VOLUME_PATH m_pfnRemoveExclusion;
    PFN_VOLUME_ULONG_BUFFER m_pfnGetExclusionList;
    PFN_VOLUME_PATH m_pfnCommitFile;
    PFN_VOLUME_PATH m_pfnRestoreFile;
    PFN_ULONG_HANDLE m_pfnCacheThresholdNotification;
};

} // namespace FileBasedWriteFilter
} // namespace Lib
} // namespace Oskal
