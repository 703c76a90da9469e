#pragma once

#include <string>
#include <utility>
#include <vector>

namespace OskalTests {

// Tests that kill threads or processes, or that wait on other processes, run in a child copy of
// the test program with a time limit, so that one fault ends one test and not the whole suite.

// True inside a child started by RunTestInChild or StartTestProcess.
bool IsChildProcess();

// The value of an environment variable handed to this child, or "" when it is not set.
std::wstring ChildArgument(const wchar_t* pszName);

typedef std::vector<std::pair<std::wstring, std::wstring>> ChildEnvironment;

// A running child copy of this program that runs only the test pszTest ("Suite.Name"; disabled
// tests may be named, so helpers for cross-process tests can be DISABLED_ tests that only run
// this way). The environment variables are added to the child's. The destructor kills a child
// that still runs.
class TestProcess
{
public:
    TestProcess(const char* pszTest, const ChildEnvironment& environment = ChildEnvironment());
    ~TestProcess();
    TestProcess(const TestProcess&) = delete;
    TestProcess& operator=(const TestProcess&) = delete;

    // Waits up to ulTimeout ms; the exit code, or -1 after killing a child that ran too long.
    long Wait(unsigned long ulTimeout);
    void Kill();
    void* Handle() const { return m_hProcess; }
    unsigned long Id() const { return m_ulId; }

private:
    void* m_hProcess;
    unsigned long m_ulId;
};

// Runs the current test again in a child with a time limit and returns a description of what
// went wrong ("" when the child passed).
std::string RunCurrentTestInChild(unsigned long ulTimeout, const ChildEnvironment& environment = ChildEnvironment());

} // namespace OskalTests

// First statement of a test that must run in a child process: in the parent it runs the test in
// a child (at most ulTimeout ms), checks the result and returns; in the child it does nothing, so
// the rest of the test body runs there.
#define OSKAL_RUN_IN_CHILD(ulTimeout)                                                              \
    do                                                                                             \
    {                                                                                              \
        if (!OskalTests::IsChildProcess())                                                         \
        {                                                                                          \
            const std::string childFailure = OskalTests::RunCurrentTestInChild(ulTimeout);        \
            EXPECT_EQ("", childFailure);                                                           \
            return;                                                                                \
        }                                                                                          \
    } while (0)
