#include "Support/ChildProcess.h"

#include <Oskal/Lib/Win32Api.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace OskalTests {

namespace
{

const wchar_t kChildFlag[] = L"OSKAL_TEST_CHILD";

} // namespace

bool IsChildProcess()
{
    return GetEnvironmentVariableW(kChildFlag, nullptr, 0) != 0;
}

std::wstring ChildArgument(const wchar_t* pszName)
{
    wchar_t buffer[1024];
    const DWORD n = GetEnvironmentVariableW(pszName, buffer, 1024);
    return n == 0 || n >= 1024 ? std::wstring() : std::wstring(buffer, n);
}

TestProcess::TestProcess(const char* pszTest, const ChildEnvironment& environment) : m_hProcess(nullptr), m_ulId(0)
{
    wchar_t path[MAX_PATH];
    if (GetModuleFileNameW(nullptr, path, MAX_PATH) == 0)
        throw std::runtime_error("GetModuleFileNameW failed");
    std::wstring command =
        std::wstring(L"\"") + path + L"\" --gtest_brief=1 --gtest_also_run_disabled_tests --gtest_filter=";
    for (const char* p = pszTest; *p != 0; ++p)
        command += static_cast<wchar_t>(*p);

    // The child inherits this process's environment as it stands during the call.
    const bool wasChild = IsChildProcess();
    SetEnvironmentVariableW(kChildFlag, L"1");
    for (const auto& variable : environment)
        SetEnvironmentVariableW(variable.first.c_str(), variable.second.c_str());
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    const BOOL started =
        CreateProcessW(nullptr, &command[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process);
    for (const auto& variable : environment)
        SetEnvironmentVariableW(variable.first.c_str(), nullptr);
    if (!wasChild)
        SetEnvironmentVariableW(kChildFlag, nullptr);
    if (!started)
        throw std::runtime_error("CreateProcessW failed");
    CloseHandle(process.hThread);
    m_hProcess = process.hProcess;
    m_ulId = process.dwProcessId;
}

TestProcess::~TestProcess()
{
    Kill();
    CloseHandle(m_hProcess);
}

long TestProcess::Wait(unsigned long ulTimeout)
{
    if (WaitForSingleObject(m_hProcess, ulTimeout) != WAIT_OBJECT_0)
    {
        Kill();
        return -1;
    }
    DWORD code = 0;
    GetExitCodeProcess(m_hProcess, &code);
    return static_cast<long>(code);
}

void TestProcess::Kill()
{
    if (WaitForSingleObject(m_hProcess, 0) == WAIT_TIMEOUT)
    {
        TerminateProcess(m_hProcess, 0xDEAD);
        WaitForSingleObject(m_hProcess, INFINITE);
    }
}

std::string RunCurrentTestInChild(unsigned long ulTimeout, const ChildEnvironment& environment)
{
    const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string(info->test_suite_name()) + "." + info->name();
    TestProcess child(name.c_str(), environment);
    const long code = child.Wait(ulTimeout);
    if (code == -1)
        return name + ": the child process did not end within " + std::to_string(ulTimeout) + " ms and was killed";
    if (code != 0)
        return name + ": the child process failed with exit code " + std::to_string(code) +
               " (run it alone to see why)";
    return "";
}

} // namespace OskalTests
