#pragma once

/* The test double of fbwflib.dll: the write filter's functions over an in-memory model, and
   these extra functions through which tests set the model up and look at what was called.
   Volumes are kept by device path; a name of the form "X:" is turned into its device path. */

#include <windows.h>

#ifdef __cplusplus
extern "C"
{
#endif

    /* Misbehaviours a test can switch on (FbwfTestSetHostile). */
    enum
    {
        /* Buffer-filling calls answer ERROR_MORE_DATA without asking for more room. */
        FBWF_HOSTILE_STATIC_SIZE = 1,
        /* Buffer-filling calls answer ERROR_MORE_DATA forever, asking for 2 more bytes each time. */
        FBWF_HOSTILE_CREEPING_SIZE = 2,
        /* Names and lists are written without terminators, the rest of the buffer filled with 'X'. */
        FBWF_HOSTILE_NO_TERMINATOR = 4,
        /* Cache records claim a name longer than the buffer; lists report a size past the buffer. */
        FBWF_HOSTILE_LENGTH_PAST_BUFFER = 8,
    };

    typedef struct FBWF_TEST_CALL
    {
        char szFunction[64]; /* the last write filter function called */
        WCHAR szVolume[300]; /* its volume argument, as passed */
        WCHAR szPath[300];   /* its path argument */
        ULONG ulNumber;      /* its number argument (session, threshold, flag) */
        ULONG ulCalls;       /* calls of any write filter function since the reset */
        LONG lOpenSearches;  /* FbwfFindFirst successes not yet closed */
    } FBWF_TEST_CALL;

    typedef void(WINAPI* PFN_FbwfTestReset)(void);
    typedef void(WINAPI* PFN_FbwfTestSetFailure)(const char* pszFunction, ULONG ulCode);
    typedef void(WINAPI* PFN_FbwfTestSetHostile)(ULONG ulFlags);
    typedef void(WINAPI* PFN_FbwfTestRestart)(void);
    typedef void(WINAPI* PFN_FbwfTestAddCachedFile)(LPCWSTR pszVolume, LPCWSTR pszName, ULONG ulCacheSize);
    typedef void(WINAPI* PFN_FbwfTestGetLastCall)(FBWF_TEST_CALL* pCall);

#ifdef __cplusplus
}
#endif
