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

TEST(Exceptions, ArgumentNameAndMessageForms)
{
    // The one-text form is the name, not the message.
    try
    {
        Raise(UArgumentException(L"pszName"));
    }
    catch (const UException& e)
    {
        EXPECT_STREQ(L"", e.GetMessageText());
        EXPECT_STREQ(L"pszName", dynamic_cast<const UArgumentException&>(e).GetName());
    }
    try
    {
        Raise(UArgumentException(L"lCount", L"Argument 'lCount' must be >= 0."));
    }
    catch (const UArgumentException& e)
    {
        EXPECT_STREQ(L"lCount", e.GetName());
        EXPECT_STREQ(L"Argument 'lCount' must be >= 0.", e.GetMessageText());
    }

    // The fallback exceptions carry their text as the message and no name.
    ExpectCaughtAs<Text::UEncoderFallbackException, UArgumentException, UException>(
        [] { Raise(Text::UEncoderFallbackException(L"Encoder Exception Fallback")); }, L"Encoder Exception Fallback");
    ExpectCaughtAs<Text::UDecoderFallbackException, UArgumentException, UException>(
        [] { Raise(Text::UDecoderFallbackException(L"Decoder Exception Fallback")); }, L"Decoder Exception Fallback");
    try
    {
        Raise(Text::UEncoderFallbackException(L"m"));
    }
    catch (const UArgumentException& e)
    {
        EXPECT_STREQ(L"", e.GetName());
        EXPECT_STREQ(L"m", e.GetMessageText());
    }
    try
    {
        Raise(Text::UDecoderFallbackException(L"m"));
    }
    catch (const UArgumentException& e)
    {
        EXPECT_STREQ(L"", e.GetName());
    }
}

TEST(Exceptions, ErrorCodesSurviveTheThrow)
{
    try
    {
        Raise(UWin32Exception(L"Mapping failed.", 5));
    }
    catch (const UException& e)
    {
        EXPECT_STREQ(L"Mapping failed.", e.GetMessageText());
        EXPECT_EQ(5u, dynamic_cast<const UWin32Exception&>(e).GetErrorCode());
    }
    EXPECT_EQ(0u, UWin32Exception().GetErrorCode());

    // With a code, only the code is kept: the file stream's exceptions have no message text.
    using IO::UFileIoException;
    ExpectCaughtAs<UFileIoException, IO::UIoException, UException>(
        [] { Raise(UFileIoException(L"Opening file failed.", 2)); }, L"");
    try
    {
        Raise(UFileIoException(L"Opening file failed.", 2));
    }
    catch (const IO::UIoException& e)
    {
        EXPECT_EQ(2, dynamic_cast<const UFileIoException&>(e).GetErrorCode());
    }
    ExpectCaughtAs<UFileIoException, IO::UIoException>([] { Raise(UFileIoException(L"Disk gone.")); }, L"Disk gone.");
    EXPECT_EQ(0, UFileIoException(L"Disk gone.").GetErrorCode());
    EXPECT_EQ(0, UFileIoException().GetErrorCode());
    EXPECT_EQ(-3, UFileIoException(UFileIoException(L"", -3)).GetErrorCode());

    using FileBasedWriteFilter::UFbwfWrapperException;
    try
    {
        Raise(UFbwfWrapperException(L"Enabling the filter failed.", 0x57));
    }
    catch (const UException& e)
    {
        EXPECT_STREQ(L"Enabling the filter failed.", e.GetMessageText());
        EXPECT_EQ(0x57u, dynamic_cast<const UFbwfWrapperException&>(e).GetErrorCode());
    }
    ExpectCaughtAs<UFbwfWrapperException, UException>([] { Raise(UFbwfWrapperException(L"No library.")); },
                                                      L"No library.");
    EXPECT_EQ(0u, UFbwfWrapperException(L"No library.").GetErrorCode());
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
