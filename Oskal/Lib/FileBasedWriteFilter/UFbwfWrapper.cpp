#include <Oskal/Lib/FileBasedWriteFilter/UFbwfWrapper.h>

#include <Oskal/Lib/FileBasedWriteFilter/UFbwfWrapperException.h>
#include <Oskal/Lib/Threading/UCriticalSectionAutoLock.h>

#include <cstring>
#include <cwchar>
#include <vector>

namespace Oskal
{
namespace Lib
{
namespace FileBasedWriteFilter
{

using Collections::UVector;
using Threading::UCriticalSectionAutoLock;

namespace
{

const wchar_t kLibraryName[] = L"\\fbwflib.dll";
// A full path of 261 characters or more is refused.
const unsigned long kPathBuffer = 261;
const unsigned long kDeviceBuffer = 260;
// The layout of the library's cache detail record: three 32-bit words, then the name.
const unsigned long kDetailHeader = 12;
// Bounds for buffers the library asks for: its records and lists are far smaller.
const unsigned long kMaxBuffer = 0x1000000;
const int kMaxRetries = 32;

// The process-wide instance and the lock that guards it and the reference count.
UFbwfWrapper* g_pInstance = nullptr;

Threading::UCriticalSection& GlobalLock()
{
    static Threading::UCriticalSection lock;
    return lock;
}

void ThrowIfFailed(unsigned long ulCode, const wchar_t* pszMessage)
{
    if (ulCode != ERROR_SUCCESS)
        throw UFbwfWrapperException(pszMessage, ulCode);
}

// "C:" for a drive letter.
struct DriveName
{
    explicit DriveName(wchar_t wcDriveLetter) : text{wcDriveLetter, L':', 0} {}
    wchar_t text[3];
};

bool EqualNoCase(const UString& left, const UString& right)
{
    return left.GetLength() == right.GetLength() && _wcsicmp(left.GetBuffer(), right.GetBuffer()) == 0;
}

// Grows a buffer to the size the library asked for: only a larger size is accepted, and only a
// bounded number of times, so a library that keeps asking cannot hold the caller forever.
bool Grow(std::vector<unsigned char>& buffer, unsigned long ulAsked, int* pnRetries)
{
    if (ulAsked <= buffer.size() || ulAsked > kMaxBuffer || ++*pnRetries > kMaxRetries)
        return false;
    buffer.assign(ulAsked, 0);
    return true;
}

} // namespace

FBWF_FILE_CACHE_ENTRY::FBWF_FILE_CACHE_ENTRY() : ulCacheSize(0), ulOpenHandleCount(0) {}

FBWF_FILE_CACHE_ENTRY::FBWF_FILE_CACHE_ENTRY(const FBWF_FILE_CACHE_ENTRY& other)
    : fileName(other.fileName), ulCacheSize(other.ulCacheSize), ulOpenHandleCount(other.ulOpenHandleCount)
{
}

FBWF_FILE_CACHE_ENTRY& FBWF_FILE_CACHE_ENTRY::operator=(const FBWF_FILE_CACHE_ENTRY& other)
{
    fileName = other.fileName;
    ulCacheSize = other.ulCacheSize;
    ulOpenHandleCount = other.ulOpenHandleCount;
    return *this;
}

bool FBWF_FILE_CACHE_ENTRY::operator==(const FBWF_FILE_CACHE_ENTRY& other) const
{
    return fileName == other.fileName && ulCacheSize == other.ulCacheSize &&
           ulOpenHandleCount == other.ulOpenHandleCount;
}

FBWF_DRIVE_CACHE_ENTRY::FBWF_DRIVE_CACHE_ENTRY() : wcDriveLetter(0) {}

FBWF_DRIVE_CACHE_ENTRY::FBWF_DRIVE_CACHE_ENTRY(const FBWF_DRIVE_CACHE_ENTRY& other)
    : wcDriveLetter(other.wcDriveLetter), files(other.files)
{
}

FBWF_DRIVE_CACHE_ENTRY& FBWF_DRIVE_CACHE_ENTRY::operator=(const FBWF_DRIVE_CACHE_ENTRY& other)
{
    wcDriveLetter = other.wcDriveLetter;
    files = other.files;
    return *this;
}

bool FBWF_DRIVE_CACHE_ENTRY::operator==(const FBWF_DRIVE_CACHE_ENTRY& other) const
{
    return wcDriveLetter == other.wcDriveLetter && files == other.files;
}

UFbwfWrapper::UFbwfWrapper() : m_hModule(nullptr)
{
    ResetFunctionPointers();
}

UFbwfWrapper::~UFbwfWrapper()
{
    ShutdownWrapper();
}

UFbwfWrapper* UFbwfWrapper::GetWrapper()
{
    UCriticalSectionAutoLock lock(GlobalLock());
    if (g_pInstance != nullptr)
    {
        g_pInstance->AddRef();
        return g_pInstance;
    }
    UFbwfWrapper* wrapper = new UFbwfWrapper();
    try
    {
        wrapper->InitWrapper();
    }
    catch (...)
    {
        // Settled: a wrapper that failed to start is never published.
        wrapper->Release();
        throw;
    }
    g_pInstance = wrapper;
    return wrapper;
}

unsigned long UFbwfWrapper::AddRef()
{
    UCriticalSectionAutoLock lock(GlobalLock());
    return UReferenceManagement::AddRef();
}

unsigned long UFbwfWrapper::Release()
{
    UCriticalSectionAutoLock lock(GlobalLock());
    const bool published = g_pInstance == this;
    const unsigned long count = UReferenceManagement::Release();
    // Settled: the instance is gone, so the next GetWrapper must not find it.
    if (count == 0 && published)
        g_pInstance = nullptr;
    return count;
}

void UFbwfWrapper::InitWrapper()
{
    // Only the system directory's copy: a planted fbwflib.dll beside a program is never loaded.
    wchar_t path[MAX_PATH + sizeof(kLibraryName) / sizeof(wchar_t)];
    const UINT length = GetSystemDirectoryW(path, MAX_PATH);
    if (length == 0 || length >= MAX_PATH)
        throw UFbwfWrapperException(L"Cannot load fbwflib.dll", length == 0 ? GetLastError() : ERROR_BUFFER_OVERFLOW);
    wcscpy(path + length, kLibraryName);
    m_hModule = LoadLibraryW(path);
    if (m_hModule == nullptr)
        throw UFbwfWrapperException(L"Cannot load fbwflib.dll", GetLastError());

    struct Import
    {
        const char* name;
        FARPROC* target;
    } imports[] = {
        {"FbwfEnableFilter", reinterpret_cast<FARPROC*>(&m_pfnEnableFilter)},
        {"FbwfDisableFilter", reinterpret_cast<FARPROC*>(&m_pfnDisableFilter)},
        {"FbwfProtectVolume", reinterpret_cast<FARPROC*>(&m_pfnProtectVolume)},
        {"FbwfUnprotectVolume", reinterpret_cast<FARPROC*>(&m_pfnUnprotectVolume)},
        {"FbwfSetCacheThreshold", reinterpret_cast<FARPROC*>(&m_pfnSetCacheThreshold)},
        {"FbwfGetVolumeList", reinterpret_cast<FARPROC*>(&m_pfnGetVolumeList)},
        {"FbwfIsFilterEnabled", reinterpret_cast<FARPROC*>(&m_pfnIsFilterEnabled)},
        {"FbwfIsVolumeProtected", reinterpret_cast<FARPROC*>(&m_pfnIsVolumeProtected)},
        {"FbwfGetMemoryUsage", reinterpret_cast<FARPROC*>(&m_pfnGetMemoryUsage)},
        {"FbwfFindClose", reinterpret_cast<FARPROC*>(&m_pfnFindClose)},
        {"FbwfFindNext", reinterpret_cast<FARPROC*>(&m_pfnFindNext)},
        {"FbwfFindFirst", reinterpret_cast<FARPROC*>(&m_pfnFindFirst)},
        {"FbwfEnableCompression", reinterpret_cast<FARPROC*>(&m_pfnEnableCompression)},
        {"FbwfDisableCompression", reinterpret_cast<FARPROC*>(&m_pfnDisableCompression)},
        {"FbwfIsCompressionEnabled", reinterpret_cast<FARPROC*>(&m_pfnIsCompressionEnabled)},
        {"FbwfEnableCachePreAllocation", reinterpret_cast<FARPROC*>(&m_pfnEnableCachePreAllocation)},
        {"FbwfDisableCachePreAllocation", reinterpret_cast<FARPROC*>(&m_pfnDisableCachePreAllocation)},
        {"FbwfIsCachePreAllocationEnabled", reinterpret_cast<FARPROC*>(&m_pfnIsCachePreAllocationEnabled)},
        {"FbwfAddExclusion", reinterpret_cast<FARPROC*>(&m_pfnAddExclusion)},
        {"FbwfRemoveExclusion", reinterpret_cast<FARPROC*>(&m_pfnRemoveExclusion)},
        {"FbwfGetExclusionList", reinterpret_cast<FARPROC*>(&m_pfnGetExclusionList)},
        {"FbwfCommitFile", reinterpret_cast<FARPROC*>(&m_pfnCommitFile)},
        {"FbwfRestoreFile", reinterpret_cast<FARPROC*>(&m_pfnRestoreFile)},
        {"FbwfCacheThresholdNotification", reinterpret_cast<FARPROC*>(&m_pfnCacheThresholdNotification)},
    };
    bool all = true;
    for (const Import& import : imports)
    {
        *import.target = GetProcAddress(m_hModule, import.name);
        all = all && *import.target != nullptr;
    }
    if (!all)
        throw UFbwfWrapperException(L"Cannot find all functions in fbwflib.dll", ERROR_FUNCTION_FAILED);
}

void UFbwfWrapper::ShutdownWrapper()
{
    // Settled: a library that was never loaded is not unloaded.
    if (m_hModule != nullptr)
        FreeLibrary(m_hModule);
    m_hModule = nullptr;
    ResetFunctionPointers();
}

void UFbwfWrapper::ResetFunctionPointers()
{
    m_pfnEnableFilter = nullptr;
    m_pfnDisableFilter = nullptr;
    m_pfnProtectVolume = nullptr;
    m_pfnUnprotectVolume = nullptr;
    m_pfnSetCacheThreshold = nullptr;
    m_pfnGetVolumeList = nullptr;
    m_pfnIsFilterEnabled = nullptr;
    m_pfnIsVolumeProtected = nullptr;
    m_pfnGetMemoryUsage = nullptr;
    m_pfnFindClose = nullptr;
    m_pfnFindNext = nullptr;
    m_pfnFindFirst = nullptr;
    m_pfnEnableCompression = nullptr;
    m_pfnDisableCompression = nullptr;
    m_pfnIsCompressionEnabled = nullptr;
    m_pfnEnableCachePreAllocation = nullptr;
    m_pfnDisableCachePreAllocation = nullptr;
    m_pfnIsCachePreAllocationEnabled = nullptr;
    m_pfnAddExclusion = nullptr;
    m_pfnRemoveExclusion = nullptr;
    m_pfnGetExclusionList = nullptr;
    m_pfnCommitFile = nullptr;
    m_pfnRestoreFile = nullptr;
    m_pfnCacheThresholdNotification = nullptr;
}

// The calls below hold the instance lock only around the library call: the exception for a
// failed call is built after the lock is left.

#define OSKAL_FBWF_SIMPLE(Method, Pointer, Message)                                                                    \
    void UFbwfWrapper::Method()                                                                                        \
    {                                                                                                                  \
        unsigned long code;                                                                                            \
        {                                                                                                              \
            UCriticalSectionAutoLock lock(m_lock);                                                                     \
            code = Pointer();                                                                                          \
        }                                                                                                              \
        ThrowIfFailed(code, Message);                                                                                  \
    }

OSKAL_FBWF_SIMPLE(EnableFilter, m_pfnEnableFilter, L"FbwfEnableFilter() failed.")
OSKAL_FBWF_SIMPLE(DisableFilter, m_pfnDisableFilter, L"FbwfDisableFilter() failed.")
OSKAL_FBWF_SIMPLE(EnableCompression, m_pfnEnableCompression, L"FbwfEnableCompression() failed.")
OSKAL_FBWF_SIMPLE(DisableCompression, m_pfnDisableCompression, L"FbwfDisableCompression() failed.")
OSKAL_FBWF_SIMPLE(EnableCachePreAllocation, m_pfnEnableCachePreAllocation, L"FbwfEnableCachePreAllocation() failed.")
OSKAL_FBWF_SIMPLE(DisableCachePreAllocation, m_pfnDisableCachePreAllocation, L"FbwfDisableCachePreAllocation() failed.")

#undef OSKAL_FBWF_SIMPLE

int UFbwfWrapper::IsFilterEnabled(int bNow)
{
    unsigned long code, current = 0, next = 0;
    {
        UCriticalSectionAutoLock lock(m_lock);
        code = m_pfnIsFilterEnabled(&current, &next);
    }
    ThrowIfFailed(code, L"FbwfIsFilterEnabled() failed.");
    return (bNow ? current : next) != 0 ? 1 : 0;
}

int UFbwfWrapper::IsCompressionEnabled(int bNow)
{
    unsigned long code, enabled = 0;
    {
        UCriticalSectionAutoLock lock(m_lock);
        code = m_pfnIsCompressionEnabled(bNow ? 1 : 0, &enabled);
    }
    ThrowIfFailed(code, L"FbwfIsCompressionEnabled() failed.");
    return enabled != 0 ? 1 : 0;
}

int UFbwfWrapper::IsCachePreAllocationEnabled(int bNow)
{
    unsigned long code, enabled = 0;
    {
        UCriticalSectionAutoLock lock(m_lock);
        code = m_pfnIsCachePreAllocationEnabled(bNow ? 1 : 0, &enabled);
    }
    ThrowIfFailed(code, L"FbwfIsCachePreAllocationEnabled() failed.");
    return enabled != 0 ? 1 : 0;
}

void UFbwfWrapper::SetCacheThreshold(unsigned long ulThreshold)
{
    unsigned long code;
    {
        UCriticalSectionAutoLock lock(m_lock);
        code = m_pfnSetCacheThreshold(ulThreshold);
    }
    ThrowIfFailed(code, L"FbwfSetCacheThreshold() failed.");
}

void UFbwfWrapper::GetMemoryUsage(FBWF_MEMORY_USAGE* pMemUsage)
{
    if (pMemUsage == nullptr)
        throw UFbwfWrapperException(L"pMemUsage must not be NULL.", ERROR_INVALID_PARAMETER);
    unsigned long code, words[4] = {0, 0, 0, 0};
    {
        UCriticalSectionAutoLock lock(m_lock);
        code = m_pfnGetMemoryUsage(words);
    }
    ThrowIfFailed(code, L"FbwfGetMemoryUsage() failed.");
    pMemUsage->ulCurrentCacheThreshold = words[0];
    pMemUsage->ulNextCacheThreshold = words[1];
    pMemUsage->ulDirectoryStructure = words[2];
    pMemUsage->ulFileData = words[3];
}

template <typename Call> UVector<UString> UFbwfWrapper::GetMultiString(Call call, const wchar_t* pszFailure)
{
    std::vector<unsigned char> buffer(512);
    unsigned long code, size;
    int retries = 0;
    {
        UCriticalSectionAutoLock lock(m_lock);
        for (;;)
        {
            size = static_cast<unsigned long>(buffer.size());
            code = call(buffer.data(), &size);
            if (code != ERROR_MORE_DATA || !Grow(buffer, size, &retries))
                break;
        }
    }
    ThrowIfFailed(code, pszFailure);
    // The size reported on success may not run past the buffer; the walk stops at either.
    if (size > buffer.size())
        throw UFbwfWrapperException(pszFailure, ERROR_INVALID_DATA);
    return SeparateMultiString(reinterpret_cast<const wchar_t*>(buffer.data()), size / sizeof(wchar_t));
}

UVector<UString> UFbwfWrapper::GetProtectedVolumes(int bNow)
{
    const unsigned long session = bNow ? 1 : 0;
    return GetMultiString(
        [&](void* pvBuffer, unsigned long* pulSize) { return m_pfnGetVolumeList(session, pvBuffer, pulSize); },
        L"FbwfGetVolumeList() failed.");
}

void UFbwfWrapper::ProtectVolume(wchar_t wcDriveLetter)
{
    ProtectVolume(DriveName(wcDriveLetter).text);
}

void UFbwfWrapper::ProtectVolume(const wchar_t* pszVolume)
{
    unsigned long code;
    {
        UCriticalSectionAutoLock lock(m_lock);
        code = m_pfnProtectVolume(pszVolume);
    }
    ThrowIfFailed(code, L"FbwfProtectVolume() failed.");
}

void UFbwfWrapper::UnprotectVolume(wchar_t wcDriveLetter, int bRemoveAllReferences)
{
    UnprotectVolume(DriveName(wcDriveLetter).text, bRemoveAllReferences);
}

void UFbwfWrapper::UnprotectVolume(const wchar_t* pszVolume, int bRemoveAllReferences)
{
    unsigned long code;
    {
        UCriticalSectionAutoLock lock(m_lock);
        code = m_pfnUnprotectVolume(pszVolume, bRemoveAllReferences);
    }
    ThrowIfFailed(code, L"FbwfUnprotectVolume() failed.");
}

int UFbwfWrapper::IsVolumeProtected(wchar_t wcDriveLetter, int bNow)
{
    return IsVolumeProtected(DriveName(wcDriveLetter).text, bNow);
}

int UFbwfWrapper::IsVolumeProtected(const wchar_t* pszVolume, int bNow)
{
    unsigned long code, isProtected = 0;
    {
        UCriticalSectionAutoLock lock(m_lock);
        code = m_pfnIsVolumeProtected(bNow ? 1 : 0, pszVolume, &isProtected);
    }
    ThrowIfFailed(code, L"FbwfIsVolumeProtected() failed.");
    return isProtected != 0 ? 1 : 0;
}

UVector<UString> UFbwfWrapper::GetExclusionList(wchar_t wcDriveLetter, int bNow)
{
    return GetExclusionList(DriveName(wcDriveLetter).text, bNow);
}

UVector<UString> UFbwfWrapper::GetExclusionList(const wchar_t* pszVolume, int bNow)
{
    const unsigned long session = bNow ? 1 : 0;
    return GetMultiString(
        [&](void* pvBuffer, unsigned long* pulSize) {
            return m_pfnGetExclusionList(pszVolume, session, pvBuffer, pulSize);
        },
        L"FbwfGetExclusionList() failed.");
}

void UFbwfWrapper::CallOnPath(PFN_VOLUME_PATH pfn, const wchar_t* pszPath, const wchar_t* pszFailure)
{
    wchar_t volume[kPathBuffer], path[kPathBuffer];
    if (!GetVolumeAndPath(pszPath, volume, kPathBuffer, path, kPathBuffer))
        throw UFbwfWrapperException(L"Invalid path.");
    unsigned long code;
    {
        UCriticalSectionAutoLock lock(m_lock);
        code = pfn(volume, path);
    }
    ThrowIfFailed(code, pszFailure);
}

void UFbwfWrapper::AddExclusion(const wchar_t* pszPath)
{
    CallOnPath(m_pfnAddExclusion, pszPath, L"FbwfAddExclusion() failed.");
}

void UFbwfWrapper::RemoveExclusion(const wchar_t* pszPath)
{
    CallOnPath(m_pfnRemoveExclusion, pszPath, L"FbwfRemoveExclusion() failed.");
}

void UFbwfWrapper::CommitFile(const wchar_t* pszPath)
{
    CallOnPath(m_pfnCommitFile, pszPath, L"FbwfCommitFile() failed.");
}

void UFbwfWrapper::RestoreFile(const wchar_t* pszPath)
{
    CallOnPath(m_pfnRestoreFile, pszPath, L"FbwfRestoreFile() failed.");
}

int UFbwfWrapper::IsWriteProtected(const wchar_t* pszPath, int bNow)
{
    if (!IsFilterEnabled(bNow))
        return 0;
    return IsExcluded(pszPath, bNow) ? 0 : 1;
}

int UFbwfWrapper::IsExcluded(const wchar_t* pszPath, int bNow)
{
    wchar_t volume[kPathBuffer], path[kPathBuffer];
    if (!GetVolumeAndPath(pszPath, volume, kPathBuffer, path, kPathBuffer))
        throw UFbwfWrapperException(L"Invalid path.");
    const UVector<UString> parts = SplitPath(path);
    const UVector<UString> exclusions = GetExclusionList(volume, bNow);
    for (unsigned long i = 0; i < exclusions.GetLength(); ++i)
    {
        // An excluded folder covers everything below it.
        const UVector<UString> excluded = SplitPath(exclusions[i]);
        if (excluded.GetLength() == 0 || excluded.GetLength() > parts.GetLength())
            continue;
        unsigned long same = 0;
        while (same < excluded.GetLength() && EqualNoCase(excluded[same], parts[same]))
            ++same;
        if (same == excluded.GetLength())
            return 1;
    }
    return 0;
}

int UFbwfWrapper::IsCached(const wchar_t* pszPath)
{
    wchar_t volume[kPathBuffer], path[kPathBuffer];
    if (!GetVolumeAndPath(pszPath, volume, kPathBuffer, path, kPathBuffer))
        throw UFbwfWrapperException(L"Invalid path.");
    const UVector<UString> parts = SplitPath(path);
    const UVector<FBWF_FILE_CACHE_ENTRY> files = GetCachedFiles(volume);
    for (unsigned long i = 0; i < files.GetLength(); ++i)
    {
        const UVector<UString> cached = SplitPath(files[i].fileName);
        if (cached.GetLength() != parts.GetLength())
            continue;
        unsigned long same = 0;
        while (same < cached.GetLength() && EqualNoCase(cached[same], parts[same]))
            ++same;
        if (same == cached.GetLength())
            return 1;
    }
    return 0;
}

UVector<FBWF_DRIVE_CACHE_ENTRY> UFbwfWrapper::GetCachedFiles()
{
    UVector<FBWF_DRIVE_CACHE_ENTRY> drives;
    if (!IsFilterEnabled(1))
        return drives;
    const UVector<UString> volumes = GetProtectedVolumes(1);
    drives.SetCapacity(volumes.GetLength());
    for (unsigned long i = 0; i < volumes.GetLength(); ++i)
    {
        FBWF_DRIVE_CACHE_ENTRY drive;
        drive.wcDriveLetter = GetDriveLetter(volumes[i]);
        drive.files = GetCachedFiles(volumes[i].GetBuffer());
        drives.Add(drive);
    }
    return drives;
}

UVector<FBWF_FILE_CACHE_ENTRY> UFbwfWrapper::GetCachedFiles(wchar_t wcDriveLetter)
{
    return GetCachedFiles(DriveName(wcDriveLetter).text);
}

UVector<FBWF_FILE_CACHE_ENTRY> UFbwfWrapper::GetCachedFiles(const wchar_t* pszVolume)
{
    UVector<FBWF_FILE_CACHE_ENTRY> files;
    files.SetGrowCount(64);
    const wchar_t* failure;
    unsigned long code = ERROR_SUCCESS;
    {
        // Held across the whole search: the library keeps one search per process. The lock is
        // re-entrant, so IsFilterEnabled takes it again.
        UCriticalSectionAutoLock lock(m_lock);
        if (!IsFilterEnabled(1))
            return files;
        failure = FindCachedFiles(pszVolume, files, &code);
    }
    if (failure != nullptr)
        throw UFbwfWrapperException(failure, code);
    return files;
}

const wchar_t* UFbwfWrapper::FindCachedFiles(const wchar_t* pszVolume, UVector<FBWF_FILE_CACHE_ENTRY>& files,
                                             unsigned long* pulCode)
{
    std::vector<unsigned char> detail(1);
    int retries = 0;
    unsigned long size, code;
    for (;;)
    {
        size = static_cast<unsigned long>(detail.size());
        code = m_pfnFindFirst(pszVolume, detail.data(), &size);
        if (code != ERROR_MORE_DATA || !Grow(detail, size, &retries))
            break;
    }
    if (code == ERROR_FILE_NOT_FOUND)
        return nullptr;
    *pulCode = code;
    if (code != ERROR_SUCCESS)
        return L"FbwfFindFirst() failed.";

    // Every search that started is ended, however it ends.
    struct SearchCloser
    {
        PFN_NOARGS pfnFindClose;
        ~SearchCloser() { pfnFindClose(); }
    } closer{m_pfnFindClose};

    const wchar_t* failure = L"FbwfFindFirst() failed.";
    for (;;)
    {
        // The record must hold its header and the whole name it claims.
        *pulCode = ERROR_INVALID_DATA;
        if (detail.size() < kDetailHeader)
            return failure;
        unsigned long header[3];
        std::memcpy(header, detail.data(), sizeof(header));
        if (header[2] > detail.size() - kDetailHeader)
            return failure;
        FBWF_FILE_CACHE_ENTRY entry;
        entry.ulCacheSize = header[0];
        entry.ulOpenHandleCount = header[1];
        // The name need not be terminated: its length says where it ends.
        std::vector<wchar_t> name(header[2] / sizeof(wchar_t) + 1);
        std::memcpy(name.data(), detail.data() + kDetailHeader, header[2] / sizeof(wchar_t) * sizeof(wchar_t));
        entry.fileName.Assign(name.data(), header[2] / sizeof(wchar_t));
        files.Add(entry);

        failure = L"FbwfFindNext() failed.";
        retries = 0;
        for (;;)
        {
            size = static_cast<unsigned long>(detail.size());
            code = m_pfnFindNext(detail.data(), &size);
            if (code != ERROR_MORE_DATA || !Grow(detail, size, &retries))
                break;
        }
        *pulCode = code;
        if (code == ERROR_NO_MORE_FILES)
            return nullptr;
        if (code != ERROR_SUCCESS)
            return failure;
    }
}

UString UFbwfWrapper::GetDevicePath(wchar_t wcDriveLetter)
{
    wchar_t target[kDeviceBuffer];
    if (QueryDosDeviceW(DriveName(wcDriveLetter).text, target, kDeviceBuffer) == 0)
        throw UFbwfWrapperException(L"Conversion of drive letter to device path failed.", GetLastError());
    target[kDeviceBuffer - 1] = 0;
    return UString(target);
}

wchar_t UFbwfWrapper::GetDriveLetter(const wchar_t* pszDevicePath)
{
    if (pszDevicePath != nullptr)
    {
        for (wchar_t letter = L'A'; letter <= L'Z'; ++letter)
        {
            wchar_t target[kDeviceBuffer];
            if (QueryDosDeviceW(DriveName(letter).text, target, kDeviceBuffer) == 0)
                continue;
            target[kDeviceBuffer - 1] = 0;
            if (_wcsnicmp(target, pszDevicePath, kDeviceBuffer) == 0)
                return letter;
        }
    }
    throw UFbwfWrapperException(L"Conversion of device path to drive letter failed.");
}

int UFbwfWrapper::GetVolumeAndPath(const wchar_t* pszPath, wchar_t* pszVolume, unsigned long ulVolumeSize,
                                   wchar_t* pszPathOut, unsigned long ulPathSize)
{
    if (pszPath == nullptr || pszVolume == nullptr || pszPathOut == nullptr || ulVolumeSize == 0 || ulPathSize == 0)
        return 0;
    wchar_t full[kPathBuffer];
    // Settled: a full path that does not fit (261 characters or more) is refused, not cut.
    const DWORD length = GetFullPathNameW(pszPath, kPathBuffer, full, nullptr);
    if (length == 0 || length >= kPathBuffer)
        return 0;
    const wchar_t* slash = wcschr(full, L'\\');
    const unsigned long volumeLength = slash != nullptr ? static_cast<unsigned long>(slash - full) : length;
    if (volumeLength == 0)
        return 0;
    const unsigned long volumeCopy = volumeLength < ulVolumeSize - 1 ? volumeLength : ulVolumeSize - 1;
    wmemcpy(pszVolume, full, volumeCopy);
    pszVolume[volumeCopy] = 0;
    const wchar_t* rest = full + volumeLength;
    const unsigned long restLength = length - volumeLength;
    const unsigned long restCopy = restLength < ulPathSize - 1 ? restLength : ulPathSize - 1;
    wmemcpy(pszPathOut, rest, restCopy);
    pszPathOut[restCopy] = 0;
    return 1;
}

UVector<UString> UFbwfWrapper::SplitPath(const wchar_t* pszPath)
{
    UVector<UString> parts;
    if (pszPath == nullptr)
        return parts;
    parts.SetGrowCount(8);
    const wchar_t* start = pszPath;
    for (const wchar_t* p = pszPath;; ++p)
    {
        if (*p == L'\\' || *p == L'/' || *p == 0)
        {
            if (p != start)
                parts.Add(UString(start, static_cast<unsigned long>(p - start)));
            if (*p == 0)
                return parts;
            start = p + 1;
        }
    }
}

UVector<UString> UFbwfWrapper::SeparateMultiString(const wchar_t* pwcBuffer, unsigned long ulSize)
{
    UVector<UString> strings;
    if (pwcBuffer == nullptr)
        return strings;
    strings.SetGrowCount(8);
    unsigned long at = 0;
    while (at < ulSize && pwcBuffer[at] != 0)
    {
        unsigned long end = at;
        while (end < ulSize && pwcBuffer[end] != 0)
            ++end;
        // A last string that the buffer cuts off ends with the buffer.
        strings.Add(UString(pwcBuffer + at, end - at));
        at = end + 1;
    }
    return strings;
}

} // namespace FileBasedWriteFilter
} // namespace Lib
} // namespace Oskal
