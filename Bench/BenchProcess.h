#pragma once

// Two-process benchmarks: a copy of the running program plays the other side, and named-event
// round trips between the two are the reference that hand-offs are compared with.
#include "BenchReport.h"

#include <string>

namespace OskalBench
{

// Starts this program again with the arguments; the process handle, or null.
inline HANDLE StartCopy(const std::wstring& arguments)
{
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring command = std::wstring(L"\"") + path + L"\" " + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, &command[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
        return nullptr;
    CloseHandle(process.hThread);
    return process.hProcess;
}

// Waits for the copy and returns its exit code.
inline unsigned long Finish(HANDLE hProcess)
{
    WaitForSingleObject(hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(hProcess, &code);
    CloseHandle(hProcess);
    return code;
}

// The copy's side of EventRoundTrips: started with "echo <name> <rounds>".
inline int Echo(const wchar_t* pszName, unsigned long ulRounds)
{
    HANDLE hPing = OpenEventW(SYNCHRONIZE, FALSE, (std::wstring(pszName) + L" ping").c_str());
    HANDLE hPong = OpenEventW(EVENT_MODIFY_STATE, FALSE, (std::wstring(pszName) + L" pong").c_str());
    if (hPing == nullptr || hPong == nullptr)
        return 1;
    for (unsigned long i = 0; i < ulRounds; ++i)
    {
        WaitForSingleObject(hPing, INFINITE);
        SetEvent(hPong);
    }
    return 0;
}

// Round trips per second: this side sets "ping" and waits for "pong", the copy answers. The
// program must call Echo when started with "echo <name> <rounds>".
inline double EventRoundTrips(const std::wstring& name, unsigned long ulRounds)
{
    HANDLE hPing = CreateEventW(nullptr, FALSE, FALSE, (name + L" ping").c_str());
    HANDLE hPong = CreateEventW(nullptr, FALSE, FALSE, (name + L" pong").c_str());
    HANDLE hCopy = StartCopy(L"echo \"" + name + L"\" " + std::to_wstring(ulRounds));
    double start = 0;
    for (unsigned long i = 0; i < ulRounds; ++i)
    {
        SetEvent(hPing);
        WaitForSingleObject(hPong, INFINITE);
        if (i == 0)
            start = Now();
    }
    const double elapsed = Now() - start;
    Finish(hCopy);
    CloseHandle(hPing);
    CloseHandle(hPong);
    return (ulRounds - 1) / elapsed;
}

} // namespace OskalBench
