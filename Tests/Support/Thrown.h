// What a handler sees of the library exception that a call throws, for tests that check the
// exact messages: "name|message" for argument exceptions, the message text for the others.
#pragma once

#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UException.h>

#include <gtest/gtest.h>

#include <string>

namespace OskalTests
{

inline std::wstring Describe(const Oskal::Lib::Exceptions::UException& e)
{
    return e.GetMessageText();
}

inline std::wstring Describe(const Oskal::Lib::Exceptions::UArgumentException& e)
{
    return std::wstring(e.GetName()) + L"|" + e.GetMessageText();
}

// Describe() of the E that f throws, or "(no exception)" when f returns.
template <typename E = Oskal::Lib::Exceptions::UArgumentException, typename F> std::wstring Thrown(F f)
{
    try
    {
        f();
    }
    catch (const E& e)
    {
        return Describe(e);
    }
    return L"(no exception)";
}

// Expects f to throw the argument exception with that name and message.
template <typename F> void ExpectArgumentError(F f, const wchar_t* pszName, const wchar_t* pszMessage)
{
    EXPECT_EQ(std::wstring(pszName) + L"|" + pszMessage, Thrown(f));
}

} // namespace OskalTests
