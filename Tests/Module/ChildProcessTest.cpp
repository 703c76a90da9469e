// The child-process runner that fault-prone tests rely on: a hang or a crash in the child
// becomes a failure of one test in the parent.
#include "Support/ChildProcess.h"

#include <Oskal/Lib/Win32Api.h>

#include <gtest/gtest.h>

namespace {

TEST(ChildProcess, DISABLED_Exits)
{
    ExitProcess(static_cast<UINT>(std::stoi(OskalTests::ChildArgument(L"OSKAL_EXIT_CODE"))));
}

TEST(ChildProcess, DISABLED_Hangs)
{
    Sleep(INFINITE);
}

TEST(ChildProcess, ReportsExitCodesAndKillsHangingChildren)
{
    OskalTests::TestProcess passing("ChildProcess.DISABLED_Exits", {{L"OSKAL_EXIT_CODE", L"0"}});
    OskalTests::TestProcess failing("ChildProcess.DISABLED_Exits", {{L"OSKAL_EXIT_CODE", L"7"}});
    OskalTests::TestProcess hanging("ChildProcess.DISABLED_Hangs");
    EXPECT_EQ(0, passing.Wait(30000));
    EXPECT_EQ(7, failing.Wait(30000));
    EXPECT_EQ(-1, hanging.Wait(200));
    EXPECT_FALSE(OskalTests::IsChildProcess());
}

TEST(ChildProcess, RunsTheTestBodyInTheChild)
{
    OSKAL_RUN_IN_CHILD(30000);
    EXPECT_TRUE(OskalTests::IsChildProcess());
}

} // namespace
