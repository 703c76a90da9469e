/* A stand-in for the write filter's client library, for tests on systems without the filter.
   Settings follow the filter's two sessions: changes apply to the next session, and
   FbwfTestRestart makes them the current one. Cached files exist only in the current session. */

#include "FbwfDouble.h"

#include <string.h>
#include <wchar.h>

#define MAX_VOLUMES 8
#define MAX_ITEMS 32
#define NAME_LENGTH 260

typedef struct Volume
{
    WCHAR device[NAME_LENGTH];
    ULONG isProtected[2]; /* [0] next session, [1] current session */
    WCHAR exclusions[2][MAX_ITEMS][NAME_LENGTH];
    ULONG exclusionCount[2];
    WCHAR cached[MAX_ITEMS][NAME_LENGTH];
    ULONG cachedSize[MAX_ITEMS];
    ULONG cachedCount;
} Volume;

typedef struct Failure
{
    char function[64];
    ULONG code;
} Failure;

static struct
{
    ULONG filter[2];
    ULONG compression[2];
    ULONG preAllocation[2];
    ULONG threshold[2];
    Volume volumes[MAX_VOLUMES];
    ULONG volumeCount;
    Failure failures[MAX_ITEMS];
    ULONG failureCount;
    ULONG hostile;
    FBWF_TEST_CALL call;
    /* The running search: its volume and next file, or -1. */
    LONG searchVolume;
    ULONG searchNext;
} g;

static void CopyName(WCHAR* target, LPCWSTR source)
{
    target[0] = 0;
    if (source != NULL)
    {
        wcsncpy(target, source, NAME_LENGTH - 1);
        target[NAME_LENGTH - 1] = 0;
    }
}

/* Records the call; returns the failure injected for the function, or 0. */
static ULONG Enter(const char* function, LPCWSTR volume, LPCWSTR path, ULONG number)
{
    ULONG i;
    strncpy(g.call.szFunction, function, sizeof(g.call.szFunction) - 1);
    CopyName(g.call.szVolume, volume);
    CopyName(g.call.szPath, path);
    g.call.ulNumber = number;
    ++g.call.ulCalls;
    for (i = 0; i < g.failureCount; ++i)
        if (strcmp(g.failures[i].function, function) == 0)
            return g.failures[i].code;
    return ERROR_SUCCESS;
}

static void ToDevice(LPCWSTR name, WCHAR* device)
{
    CopyName(device, name);
    if (name != NULL && wcslen(name) == 2 && name[1] == L':')
    {
        if (QueryDosDeviceW(name, device, NAME_LENGTH) == 0)
            CopyName(device, name);
        device[NAME_LENGTH - 1] = 0;
    }
}

static Volume* FindVolume(LPCWSTR name, BOOL create)
{
    WCHAR device[NAME_LENGTH];
    ULONG i;
    if (name == NULL || name[0] == 0)
        return NULL;
    ToDevice(name, device);
    for (i = 0; i < g.volumeCount; ++i)
        if (_wcsicmp(g.volumes[i].device, device) == 0)
            return &g.volumes[i];
    if (!create || g.volumeCount == MAX_VOLUMES)
        return NULL;
    memset(&g.volumes[g.volumeCount], 0, sizeof(Volume));
    CopyName(g.volumes[g.volumeCount].device, device);
    return &g.volumes[g.volumeCount++];
}

/* Writes a multi-string into the caller's buffer, or asks for room as the hostile flags say. */
static ULONG FillList(WCHAR (*items)[NAME_LENGTH], ULONG count, const ULONG* include, void* buffer, PULONG size)
{
    ULONG needed = sizeof(WCHAR), i, at = 0;
    WCHAR* out = (WCHAR*)buffer;
    if (size == NULL)
        return ERROR_INVALID_PARAMETER;
    for (i = 0; i < count; ++i)
        if (include == NULL || include[i])
            needed += (ULONG)(wcslen(items[i]) + 1) * sizeof(WCHAR);
    if (g.hostile & FBWF_HOSTILE_STATIC_SIZE)
        return ERROR_MORE_DATA;
    if (g.hostile & FBWF_HOSTILE_CREEPING_SIZE)
    {
        *size += 2;
        return ERROR_MORE_DATA;
    }
    if (buffer == NULL || *size < needed)
    {
        *size = needed;
        return ERROR_MORE_DATA;
    }
    if (g.hostile & FBWF_HOSTILE_NO_TERMINATOR)
    {
        for (i = 0; i < *size / sizeof(WCHAR); ++i)
            out[i] = L'X';
        return ERROR_SUCCESS;
    }
    for (i = 0; i < count; ++i)
    {
        if (include != NULL && !include[i])
            continue;
        wcscpy(out + at, items[i]);
        at += (ULONG)wcslen(items[i]) + 1;
    }
    out[at] = 0;
    *size = (g.hostile & FBWF_HOSTILE_LENGTH_PAST_BUFFER) ? *size + 64 : needed;
    return ERROR_SUCCESS;
}

/* Writes the search's current file as a cache detail record. */
static ULONG FillDetail(void* detail, PULONG size)
{
    Volume* volume = &g.volumes[g.searchVolume];
    const WCHAR* name = volume->cached[g.searchNext];
    ULONG nameBytes = (ULONG)wcslen(name) * sizeof(WCHAR);
    ULONG needed = 3 * sizeof(ULONG) + nameBytes + sizeof(WCHAR);
    ULONG* header = (ULONG*)detail;
    if (detail == NULL || size == NULL)
        return ERROR_INVALID_PARAMETER;
    if (g.hostile & FBWF_HOSTILE_STATIC_SIZE)
        return ERROR_MORE_DATA;
    if (g.hostile & FBWF_HOSTILE_CREEPING_SIZE)
    {
        *size += 2;
        return ERROR_MORE_DATA;
    }
    if (*size < needed)
    {
        *size = needed;
        return ERROR_MORE_DATA;
    }
    header[0] = volume->cachedSize[g.searchNext];
    header[1] = g.searchNext;
    header[2] = (g.hostile & FBWF_HOSTILE_LENGTH_PAST_BUFFER) ? 0x7FFFFFF0 : nameBytes;
    memcpy(header + 3, name, nameBytes);
    if (g.hostile & FBWF_HOSTILE_NO_TERMINATOR)
        memset((char*)(header + 3) + nameBytes, 'X', *size - 3 * sizeof(ULONG) - nameBytes);
    else
        ((WCHAR*)((char*)(header + 3) + nameBytes))[0] = 0;
    ++g.searchNext;
    return ERROR_SUCCESS;
}

/* Enable and disable change the next session; the query of the filter reports both sessions, the
   others the one asked for. */
#define SWITCH(Name, field, value)                                                                                     \
    ULONG WINAPI Fbwf##Name(void)                                                                                      \
    {                                                                                                                  \
        ULONG code = Enter("Fbwf" #Name, NULL, NULL, 0);                                                               \
        if (code == ERROR_SUCCESS)                                                                                     \
            g.field[0] = value;                                                                                        \
        return code;                                                                                                   \
    }
#define QUERY(Name, field)                                                                                             \
    ULONG WINAPI Fbwf##Name(ULONG currentSession, PULONG enabled)                                                      \
    {                                                                                                                  \
        ULONG code = Enter("Fbwf" #Name, NULL, NULL, currentSession);                                                  \
        if (code == ERROR_SUCCESS && enabled == NULL)                                                                  \
            return ERROR_INVALID_PARAMETER;                                                                            \
        if (code == ERROR_SUCCESS)                                                                                     \
            *enabled = g.field[currentSession ? 1 : 0];                                                                \
        return code;                                                                                                   \
    }

SWITCH(EnableFilter, filter, 1)
SWITCH(DisableFilter, filter, 0)
SWITCH(EnableCompression, compression, 1)
SWITCH(DisableCompression, compression, 0)
SWITCH(EnableCachePreAllocation, preAllocation, 1)
SWITCH(DisableCachePreAllocation, preAllocation, 0)
QUERY(IsCompressionEnabled, compression)
QUERY(IsCachePreAllocationEnabled, preAllocation)

ULONG WINAPI FbwfIsFilterEnabled(PULONG currentSession, PULONG nextSession)
{
    ULONG code = Enter("FbwfIsFilterEnabled", NULL, NULL, 0);
    if (code != ERROR_SUCCESS)
        return code;
    if (currentSession == NULL || nextSession == NULL)
        return ERROR_INVALID_PARAMETER;
    *currentSession = g.filter[1];
    *nextSession = g.filter[0];
    return ERROR_SUCCESS;
}

ULONG WINAPI FbwfSetCacheThreshold(ULONG threshold)
{
    ULONG code = Enter("FbwfSetCacheThreshold", NULL, NULL, threshold);
    if (code == ERROR_SUCCESS)
        g.threshold[0] = threshold;
    return code;
}

ULONG WINAPI FbwfGetMemoryUsage(ULONG* usage)
{
    ULONG code = Enter("FbwfGetMemoryUsage", NULL, NULL, 0), i, files = 0;
    if (code != ERROR_SUCCESS)
        return code;
    if (usage == NULL)
        return ERROR_INVALID_PARAMETER;
    for (i = 0; i < g.volumeCount; ++i)
        files += g.volumes[i].cachedCount;
    usage[0] = g.threshold[1];
    usage[1] = g.threshold[0];
    usage[2] = 4096 * g.volumeCount;
    usage[3] = 512 * files;
    return ERROR_SUCCESS;
}

ULONG WINAPI FbwfProtectVolume(LPCWSTR volume)
{
    ULONG code = Enter("FbwfProtectVolume", volume, NULL, 0);
    Volume* v;
    if (code != ERROR_SUCCESS)
        return code;
    v = FindVolume(volume, TRUE);
    if (v == NULL)
        return ERROR_INVALID_DRIVE;
    v->isProtected[0] = 1;
    return ERROR_SUCCESS;
}

ULONG WINAPI FbwfUnprotectVolume(LPCWSTR volume, BOOL removeAllReferences)
{
    ULONG code = Enter("FbwfUnprotectVolume", volume, NULL, (ULONG)removeAllReferences);
    Volume* v;
    if (code != ERROR_SUCCESS)
        return code;
    v = FindVolume(volume, FALSE);
    if (v == NULL)
        return ERROR_INVALID_DRIVE;
    v->isProtected[0] = 0;
    if (removeAllReferences)
        v->exclusionCount[0] = 0;
    return ERROR_SUCCESS;
}

ULONG WINAPI FbwfIsVolumeProtected(ULONG currentSession, LPCWSTR volume, PULONG isProtected)
{
    ULONG code = Enter("FbwfIsVolumeProtected", volume, NULL, currentSession);
    Volume* v;
    if (code != ERROR_SUCCESS)
        return code;
    if (isProtected == NULL)
        return ERROR_INVALID_PARAMETER;
    v = FindVolume(volume, FALSE);
    *isProtected = v != NULL && v->isProtected[currentSession ? 1 : 0];
    return ERROR_SUCCESS;
}

ULONG WINAPI FbwfGetVolumeList(ULONG currentSession, void* volumeList, PULONG size)
{
    static WCHAR names[MAX_VOLUMES][NAME_LENGTH];
    static ULONG included[MAX_VOLUMES];
    ULONG code = Enter("FbwfGetVolumeList", NULL, NULL, currentSession), i;
    if (code != ERROR_SUCCESS)
        return code;
    for (i = 0; i < g.volumeCount; ++i)
    {
        CopyName(names[i], g.volumes[i].device);
        included[i] = g.volumes[i].isProtected[currentSession ? 1 : 0];
    }
    return FillList(names, g.volumeCount, included, volumeList, size);
}

ULONG WINAPI FbwfAddExclusion(LPCWSTR volume, LPCWSTR path)
{
    ULONG code = Enter("FbwfAddExclusion", volume, path, 0);
    Volume* v;
    if (code != ERROR_SUCCESS)
        return code;
    v = FindVolume(volume, FALSE);
    if (v == NULL)
        return ERROR_INVALID_DRIVE;
    if (path == NULL || v->exclusionCount[0] == MAX_ITEMS)
        return ERROR_INVALID_PARAMETER;
    CopyName(v->exclusions[0][v->exclusionCount[0]++], path);
    return ERROR_SUCCESS;
}

ULONG WINAPI FbwfRemoveExclusion(LPCWSTR volume, LPCWSTR path)
{
    ULONG code = Enter("FbwfRemoveExclusion", volume, path, 0), i;
    Volume* v;
    if (code != ERROR_SUCCESS)
        return code;
    v = FindVolume(volume, FALSE);
    if (v == NULL)
        return ERROR_INVALID_DRIVE;
    for (i = 0; i < v->exclusionCount[0]; ++i)
    {
        if (path != NULL && _wcsicmp(v->exclusions[0][i], path) == 0)
        {
            memmove(v->exclusions[0][i], v->exclusions[0][i + 1],
                    (v->exclusionCount[0] - i - 1) * sizeof(v->exclusions[0][0]));
            --v->exclusionCount[0];
            return ERROR_SUCCESS;
        }
    }
    return ERROR_FILE_NOT_FOUND;
}

ULONG WINAPI FbwfGetExclusionList(LPCWSTR volume, ULONG currentSession, void* exclusionList, PULONG size)
{
    ULONG code = Enter("FbwfGetExclusionList", volume, NULL, currentSession);
    Volume* v;
    ULONG session = currentSession ? 1 : 0;
    if (code != ERROR_SUCCESS)
        return code;
    v = FindVolume(volume, FALSE);
    if (v == NULL)
        return ERROR_INVALID_DRIVE;
    return FillList(v->exclusions[session], v->exclusionCount[session], NULL, exclusionList, size);
}

/* Commit writes the cached file through; restore drops it. Either way it leaves the cache. */
static ULONG TakeCachedFile(LPCWSTR volume, LPCWSTR path)
{
    Volume* v = FindVolume(volume, FALSE);
    ULONG i;
    if (v == NULL)
        return ERROR_INVALID_DRIVE;
    for (i = 0; i < v->cachedCount; ++i)
    {
        if (path != NULL && _wcsicmp(v->cached[i], path) == 0)
        {
            memmove(v->cached[i], v->cached[i + 1], (v->cachedCount - i - 1) * sizeof(v->cached[0]));
            memmove(&v->cachedSize[i], &v->cachedSize[i + 1], (v->cachedCount - i - 1) * sizeof(ULONG));
            --v->cachedCount;
            return ERROR_SUCCESS;
        }
    }
    return ERROR_FILE_NOT_FOUND;
}

ULONG WINAPI FbwfCommitFile(LPCWSTR volume, LPCWSTR path)
{
    ULONG code = Enter("FbwfCommitFile", volume, path, 0);
    return code != ERROR_SUCCESS ? code : TakeCachedFile(volume, path);
}

ULONG WINAPI FbwfRestoreFile(LPCWSTR volume, LPCWSTR path)
{
    ULONG code = Enter("FbwfRestoreFile", volume, path, 0);
    return code != ERROR_SUCCESS ? code : TakeCachedFile(volume, path);
}

ULONG WINAPI FbwfFindFirst(LPCWSTR volume, void* cacheDetail, PULONG size)
{
    ULONG code = Enter("FbwfFindFirst", volume, NULL, size != NULL ? *size : 0);
    Volume* v;
    if (code != ERROR_SUCCESS)
        return code;
    if (!g.filter[1])
        return ERROR_INVALID_FUNCTION;
    v = FindVolume(volume, FALSE);
    if (v == NULL || !v->isProtected[1])
        return ERROR_INVALID_DRIVE;
    if (v->cachedCount == 0)
        return ERROR_FILE_NOT_FOUND;
    if (g.searchVolume < 0)
        ++g.call.lOpenSearches;
    g.searchVolume = (LONG)(v - g.volumes);
    g.searchNext = 0;
    code = FillDetail(cacheDetail, size);
    if (code != ERROR_SUCCESS)
    {
        g.searchVolume = -1;
        --g.call.lOpenSearches;
    }
    return code;
}

ULONG WINAPI FbwfFindNext(void* cacheDetail, PULONG size)
{
    ULONG code = Enter("FbwfFindNext", NULL, NULL, size != NULL ? *size : 0);
    if (code != ERROR_SUCCESS)
        return code;
    if (g.searchVolume < 0)
        return ERROR_INVALID_FUNCTION;
    if (g.searchNext >= g.volumes[g.searchVolume].cachedCount)
        return ERROR_NO_MORE_FILES;
    return FillDetail(cacheDetail, size);
}

ULONG WINAPI FbwfFindClose(void)
{
    ULONG code = Enter("FbwfFindClose", NULL, NULL, 0);
    if (g.searchVolume >= 0)
        --g.call.lOpenSearches;
    g.searchVolume = -1;
    return code;
}

#ifndef FBWF_DOUBLE_PARTIAL
ULONG WINAPI FbwfCacheThresholdNotification(ULONG threshold, HANDLE event)
{
    (void)event;
    return Enter("FbwfCacheThresholdNotification", NULL, NULL, threshold);
}
#endif

void WINAPI FbwfTestReset(void)
{
    memset(&g, 0, sizeof(g));
    g.searchVolume = -1;
}

void WINAPI FbwfTestSetFailure(const char* pszFunction, ULONG ulCode)
{
    if (g.failureCount < MAX_ITEMS && pszFunction != NULL)
    {
        strncpy(g.failures[g.failureCount].function, pszFunction, sizeof(g.failures[0].function) - 1);
        g.failures[g.failureCount++].code = ulCode;
    }
}

void WINAPI FbwfTestSetHostile(ULONG ulFlags)
{
    g.hostile = ulFlags;
}

void WINAPI FbwfTestRestart(void)
{
    ULONG i;
    g.filter[1] = g.filter[0];
    g.compression[1] = g.compression[0];
    g.preAllocation[1] = g.preAllocation[0];
    g.threshold[1] = g.threshold[0];
    for (i = 0; i < g.volumeCount; ++i)
    {
        Volume* v = &g.volumes[i];
        v->isProtected[1] = v->isProtected[0];
        memcpy(v->exclusions[1], v->exclusions[0], sizeof(v->exclusions[0]));
        v->exclusionCount[1] = v->exclusionCount[0];
        v->cachedCount = 0;
    }
}

void WINAPI FbwfTestAddCachedFile(LPCWSTR pszVolume, LPCWSTR pszName, ULONG ulCacheSize)
{
    Volume* v = FindVolume(pszVolume, TRUE);
    if (v != NULL && v->cachedCount < MAX_ITEMS)
    {
        CopyName(v->cached[v->cachedCount], pszName);
        v->cachedSize[v->cachedCount++] = ulCacheSize;
    }
}

void WINAPI FbwfTestGetLastCall(FBWF_TEST_CALL* pCall)
{
    if (pCall != NULL)
        *pCall = g.call;
}

BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD dwReason, LPVOID pvReserved)
{
    (void)hInstance;
    (void)pvReserved;
    if (dwReason == DLL_PROCESS_ATTACH)
        FbwfTestReset();
    return TRUE;
}
