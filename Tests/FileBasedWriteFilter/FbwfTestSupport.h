#pragma once

#include "Doubles/fbwflib/FbwfDouble.h"

#include <Oskal/Lib/FileBasedWriteFilter/UFbwfWrapper.h>
#include <Oskal/Lib/FileBasedWriteFilter/UFbwfWrapperException.h>

#include <gtest/gtest.h>

#include <string>

namespace FbwfTests
{

// Where the double is built, where the system keeps fbwflib.dll, and beside the test program.
std::wstring DoublePath(const wchar_t* pszFile = L"fbwflib.dll");
std::wstring SystemCopy();
std::wstring PlantedCopy();

// True when the double is in the system directory (installed by this run, or by the parent of
// a child process); false when a file of that name there is not ours and was left alone.
bool DoubleInstalled();
// Copies a file over the system copy (the double, or its partial twin); true on success.
bool InstallAsSystemCopy(const std::wstring& source);

// The message and code of the UFbwfWrapperException the call throws ("" when none).
template <typename F> std::pair<std::wstring, unsigned long> WrapperFailure(F call)
{
    try
    {
        call();
    }
    catch (const Oskal::Lib::FileBasedWriteFilter::UFbwfWrapperException& e)
    {
        return {e.GetMessageText(), e.GetErrorCode()};
    }
    return {L"", 0};
}

// Holds the wrapper and the double's control functions, the double reset to an empty model.
class FbwfTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    Oskal::Lib::FileBasedWriteFilter::UFbwfWrapper* m_wrapper = nullptr;
    PFN_FbwfTestSetFailure SetFailure = nullptr;
    PFN_FbwfTestSetHostile SetHostile = nullptr;
    PFN_FbwfTestRestart Restart = nullptr;
    PFN_FbwfTestAddCachedFile AddCachedFile = nullptr;
    PFN_FbwfTestGetLastCall GetLastCall = nullptr;
    PFN_FbwfTestReset Reset = nullptr;

    FBWF_TEST_CALL LastCall()
    {
        FBWF_TEST_CALL call;
        GetLastCall(&call);
        return call;
    }
};

} // namespace FbwfTests
