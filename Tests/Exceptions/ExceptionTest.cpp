#include "Support/Thrown.h"

#include <Oskal/Lib/BIM/UBimException.h>
#include <Oskal/Lib/Collections/UChunkQueue.h>
#include <Oskal/Lib/Cryptography/UCryptoException.h>
#include <Oskal/Lib/FileBasedWriteFilter/UFbwfWrapperException.h>
#include <Oskal/Lib/IO/UFileIoException.h>
#include <Oskal/Lib/IO/UIoException.h>
#include <Oskal/Lib/Logging/ULoggingException.h>
#include <Oskal/Lib/Messaging/UMessagingException.h>
#include <Oskal/Lib/Messaging/USerializationException.h>
#include <Oskal/Lib/Text/UDecoderFallbackException.h>
#include <Oskal/Lib/Text/UEncoderFallbackException.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UDeviceNotRespondingException.h>
#include <Oskal/Lib/UDriverException.h>
#include <Oskal/Lib/UException.h>
#include <Oskal/Lib/UFatalException.h>
#include <Oskal/Lib/UFormatException.h>
#include <Oskal/Lib/UInvalidDeviceException.h>
#include <Oskal/Lib/UInvalidOperationException.h>
#include <Oskal/Lib/UNotSupportedException.h>
#include <Oskal/Lib/UOverflowException.h>
#include <Oskal/Lib/UQueueFullException.h>
#include <Oskal/Lib/UShuttingDownException.h>
#include <Oskal/Lib/UString.h>
#include <Oskal/Lib/UTimeoutException.h>
#include <Oskal/Lib/UWin32Exception.h>
#include <Oskal/Lib/Xml/UXmlException.h>

#include <gtest/gtest.h>

#include <windows.h>

#include <cwchar>
#include <functional>
#include <string>
#include <type_traits>
#include <typeinfo>

using namespace Oskal::Lib;
using namespace Oskal::Lib::Exceptions;

namespace {

// Throws from a separate, never inlined frame, so the object is copied into the exception and
// unwound through a real call.
template <typename T>
[[noreturn]] __attribute__((noinline)) void Raise(const T& exception)
{
    throw exception;
}

// Runs the action, which must throw, once for each handler type in Handlers; each handler must
// catch it and see the message text.
template <typename... Handlers>
void ExpectCaughtAs(const std::function<void()>& action, const wchar_t* pszMessage)
{
    (
        [&] {
            try
            {
                action();
                ADD_FAILURE() << "nothing thrown";
            }
            catch (const Handlers& e)
            {
                EXPECT_STREQ(pszMessage, e.GetMessageText()) << typeid(Handlers).name();
            }
            catch (...)
            {
                ADD_FAILURE() << "not caught as " << typeid(Handlers).name();
            }
        }(),
        ...);
}

// A class with the usual two constructors: both kinds, thrown and caught by itself and the root.
template <typename T>
void ExpectPlainClass()
{
    ExpectCaughtAs<T, UException>([] { Raise(T(L"Some failure.")); }, L"Some failure.");
    ExpectCaughtAs<T, UException>([] { Raise(T()); }, L"");
}

} // namespace

TEST(Exceptions, PlainClassesKeepTheirMessage)
{
    ExpectPlainClass<UDeviceNotRespondingException>();
    ExpectPlainClass<UDriverException>();
    ExpectPlainClass<UFatalException>();
    ExpectPlainClass<UFormatException>();
    ExpectPlainClass<UInvalidDeviceException>();
    ExpectPlainClass<UInvalidOperationException>();
    ExpectPlainClass<UNotSupportedException>();
    ExpectPlainClass<UOverflowException>();
    ExpectPlainClass<UQueueFullException>();
    ExpectPlainClass<UShuttingDownException>();
    ExpectPlainClass<UTimeoutException>();
    ExpectPlainClass<UException>();
    ExpectPlainClass<IO::UIoException>();
    ExpectPlainClass<BIM::UBimException>();
    ExpectPlainClass<Cryptography::UCryptoException>();
    ExpectPlainClass<Logging::ULoggingException>();
    ExpectPlainClass<Messaging::UMessagingException>();
    ExpectPlainClass<Xml::UXmlException>();
    using Messaging::UMessagingException;
    using Messaging::Serialization::USerializationException;
    ExpectCaughtAs<USerializationException, UMessagingException, UException>(
        [] { Raise(USerializationException(L"Bad tag.")); }, L"Bad tag.");
    BIM::UBimException original(L"Checksum mismatch.");
    BIM::UBimException copy(original);
    EXPECT_STREQ(L"Checksum mismatch.", copy.GetMessageText());
}

namespace {

// What a handler of type H sees of the exception the action throws: the message, and the
// argument name or the error code where the class has one.
template <typename H> std::wstring Seen(const std::function<void()>& action)
{
    try
    {
        action();
    }
    catch (const H& e)
    {
        if constexpr (std::is_same_v<H, UWin32Exception> || std::is_same_v<H, IO::UFileIoException> ||
                      std::is_same_v<H, FileBasedWriteFilter::UFbwfWrapperException>)
            return OskalTests::Describe(e) + L"|" + std::to_wstring(e.GetErrorCode());
        else
            return OskalTests::Describe(e);
    }
    catch (...)
    {
        return L"(not caught)";
    }
    return L"(nothing thrown)";
}

} // namespace

TEST(Exceptions, ArgumentNameAndMessageForms)
{
    using Text::UDecoderFallbackException;
    using Text::UEncoderFallbackException;
    // The one-text form is the name, not the message.
    EXPECT_EQ(L"pszName|", Seen<UArgumentException>([] { Raise(UArgumentException(L"pszName")); }));
    EXPECT_EQ(L"", Seen<UException>([] { Raise(UArgumentException(L"pszName")); }));
    EXPECT_EQ(L"lCount|Argument 'lCount' must be >= 0.",
              Seen<UArgumentException>([] { Raise(UArgumentException(L"lCount", L"Argument 'lCount' must be >= 0.")); }));
    // The fallback exceptions carry their text as the message and no name.
    EXPECT_EQ(L"|m", Seen<UArgumentException>([] { Raise(UEncoderFallbackException(L"m")); }));
    EXPECT_EQ(L"|m", Seen<UArgumentException>([] { Raise(UDecoderFallbackException(L"m")); }));
    ExpectCaughtAs<UEncoderFallbackException, UException>([] { Raise(UEncoderFallbackException(L"e")); }, L"e");
    ExpectCaughtAs<UDecoderFallbackException, UException>([] { Raise(UDecoderFallbackException(L"d")); }, L"d");
}

TEST(Exceptions, ErrorCodesSurviveTheThrow)
{
    using FileBasedWriteFilter::UFbwfWrapperException;
    using IO::UFileIoException;
    EXPECT_EQ(L"Mapping failed.|5", Seen<UWin32Exception>([] { Raise(UWin32Exception(L"Mapping failed.", 5)); }));
    EXPECT_EQ(L"Mapping failed.", Seen<UException>([] { Raise(UWin32Exception(L"Mapping failed.", 5)); }));
    EXPECT_EQ(0u, UWin32Exception().GetErrorCode());
    // With a code, only the code is kept: the file stream's exceptions have no message text.
    EXPECT_EQ(L"|2", Seen<UFileIoException>([] { Raise(UFileIoException(L"Opening file failed.", 2)); }));
    ExpectCaughtAs<IO::UIoException, UException>([] { Raise(UFileIoException(L"Opening file failed.", 2)); }, L"");
    EXPECT_EQ(L"Disk gone.|0", Seen<UFileIoException>([] { Raise(UFileIoException(L"Disk gone.")); }));
    EXPECT_EQ(0, UFileIoException().GetErrorCode());
    EXPECT_EQ(-3, UFileIoException(UFileIoException(L"", -3)).GetErrorCode());
    EXPECT_EQ(L"Enabling the filter failed.|87",
              Seen<UFbwfWrapperException>([] { Raise(UFbwfWrapperException(L"Enabling the filter failed.", 87)); }));
    EXPECT_EQ(L"No library.", Seen<UException>([] { Raise(UFbwfWrapperException(L"No library.", 87)); }));
    EXPECT_EQ(L"No library.|0", Seen<UFbwfWrapperException>([] { Raise(UFbwfWrapperException(L"No library.")); }));
    EXPECT_EQ(0u, UFbwfWrapperException().GetErrorCode());
}

TEST(Exceptions, HResultToStringGivesSystemTextWithoutLineBreak)
{
    wchar_t* pszText = nullptr;
    UException::HResultToString(0x2FFF1234, &pszText);
    ASSERT_NE(nullptr, pszText);
    EXPECT_STREQ(L"Unknown error.", pszText);
    EXPECT_EQ(nullptr, LocalFree(pszText));
    pszText = nullptr;
    UException::HResultToString(ERROR_FILE_NOT_FOUND, &pszText);
    ASSERT_NE(nullptr, pszText);
    std::wstring text(pszText);
    EXPECT_EQ(nullptr, LocalFree(pszText));
    ASSERT_FALSE(text.empty());
    EXPECT_NE(L"Unknown error.", text);
    EXPECT_NE(L'\n', text.back());
    EXPECT_NE(L'\r', text.back());
}
