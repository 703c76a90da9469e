#include <Oskal/Lib/IO/UFileIoException.h>
#include <Oskal/Lib/IO/UFileStream.h>
#include <Oskal/Lib/UInvalidOperationException.h>

#include "Support/TestFiles.h"
#include "Support/Thrown.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <climits>
#include <vector>

using namespace Oskal::Lib;
using namespace Oskal::Lib::IO;
using OskalTests::ExpectArgumentError;

namespace {

// A temporary file holding bytes 0, 1, 2, ..., written with Win32 so that the stream under test
// is not involved.
class TempFile : public OskalTests::TempFile
{
public:
    explicit TempFile(DWORD dwSize = 0) : OskalTests::TempFile(L"osk")
    {
        std::vector<unsigned char> bytes(dwSize);
        for (DWORD i = 0; i < dwSize; ++i)
            bytes[i] = static_cast<unsigned char>(i);
        HANDLE h = CreateFileW(Path(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        DWORD written = 0;
        WriteFile(h, bytes.data(), dwSize, &written, nullptr);
        CloseHandle(h);
    }
};

// Runs f, which must throw UFileIoException, and returns the error code. That exception keeps
// no message, whatever the stream passed.
template <typename F> long FileIoErrorOf(F f)
{
    try
    {
        f();
    }
    catch (const UFileIoException& e)
    {
        EXPECT_STREQ(L"", e.GetMessageText());
        return e.GetErrorCode();
    }
    ADD_FAILURE() << "no UFileIoException";
    return 0;
}

void Open(UFileStream& stream, const TempFile& file, UFileAccessMode eAccess = eFileAccessMode_ReadWrite)
{
    stream.Open(file.Path(), eFileOpenMode_OpenExisting, eAccess, eFileShareMode_None);
}

} // namespace

TEST(UFileStream, AccessModeDecidesCapabilitiesAndFailures)
{
    TempFile file(10);
    unsigned char buffer[4] = {};
    UFileStream stream;
    EXPECT_EQ(0, stream.CanRead() + stream.CanWrite() + stream.CanSeek() + stream.IsOpen());
    stream.Open(file.Path(), eFileOpenMode_OpenExisting, eFileAccessMode_Read, eFileShareMode_ReadWrite);
    EXPECT_EQ(1, stream.CanRead());
    EXPECT_EQ(0, stream.CanWrite());
    EXPECT_EQ(1, stream.CanSeek());
    EXPECT_EQ(ERROR_ACCESS_DENIED, FileIoErrorOf([&] { stream.Write(buffer, 4); }));
    EXPECT_THROW(stream.WriteByte(1), UIoException);
    // Windows reports ERROR_ACCESS_DENIED, Wine ERROR_INVALID_PARAMETER.
    EXPECT_NE(0, FileIoErrorOf([&] { stream.SetLength(5); }));
    EXPECT_EQ(10, stream.GetLength());
    stream.Open(file.Path(), eFileOpenMode_OpenExisting, eFileAccessMode_Write,
                eFileShareMode_Read | eFileShareMode_Delete);
    EXPECT_EQ(0, stream.CanRead());
    EXPECT_EQ(1, stream.CanWrite());
    EXPECT_EQ(ERROR_ACCESS_DENIED, FileIoErrorOf([&] { stream.Read(buffer, 4); }));
    EXPECT_THROW(stream.ReadByte(), Exceptions::UException);
    Open(stream, file);
    EXPECT_EQ(1, stream.CanRead());
    EXPECT_EQ(1, stream.CanWrite());
    EXPECT_EQ(0, stream.CanTimeout());
    EXPECT_THROW(stream.GetReadTimeout(), Exceptions::UInvalidOperationException);
}

TEST(UFileStream, ReadWriteAndSeek)
{
    TempFile file;
    UFileStream stream;
    stream.Open(file.Path(), eFileOpenMode_CreateAlways, eFileAccessMode_ReadWrite, eFileShareMode_None);
    const unsigned char data[] = {1, 2, 3, 4, 5};
    stream.Write(data, 5);
    stream.WriteByte(0xFF);
    stream.Flush();
    EXPECT_EQ(6, stream.GetLength());
    EXPECT_EQ(-1, stream.ReadByte());
    EXPECT_EQ(0, stream.IsDataAvailable());
    EXPECT_EQ(5, stream.Seek(-1, eSeekOrigin_End));
    EXPECT_EQ(1, stream.IsDataAvailable());
    EXPECT_EQ(255, stream.ReadByte());
    EXPECT_EQ(3, stream.Seek(-3, eSeekOrigin_Current));
    unsigned char buffer[10] = {};
    EXPECT_EQ(3, stream.Read(buffer, 10));
    EXPECT_EQ(4, buffer[0]);
    EXPECT_EQ(0, stream.Read(buffer, 10));
    ExpectArgumentError([&] { stream.Read(nullptr, 4); }, L"pvBuffer", L"Argument 'pvBuffer' must not be NULL.");
    ExpectArgumentError([&] { stream.Read(buffer, -1); }, L"lCount", L"Argument 'lCount' must be >= 0.");
    ExpectArgumentError([&] { stream.Write(buffer, -1); }, L"lCount", L"Argument 'lCount' must be >= 0.");
    // Past the end is a valid position; before the start is not.
    stream.SetPosition(100);
    EXPECT_EQ(100, stream.GetPosition());
    EXPECT_EQ(6, stream.GetLength());
    EXPECT_EQ(ERROR_NEGATIVE_SEEK, FileIoErrorOf([&] { stream.Seek(-1, eSeekOrigin_Begin); }));
    EXPECT_EQ(ERROR_NEGATIVE_SEEK, FileIoErrorOf([&] { stream.SetPosition(-1); }));
}

TEST(UFileStream, ViewConfinesReadingButNotWriting)
{
    TempFile file(100);
    UFileStream stream;
    Open(stream, file);
    stream.SetView(10, 5);
    EXPECT_EQ(10, stream.GetPosition());
    EXPECT_EQ(100, stream.GetLength());
    unsigned char buffer[100] = {};
    stream.SetPosition(12);
    EXPECT_EQ(3, stream.Read(buffer, 100));
    EXPECT_EQ(12, buffer[0]);
    EXPECT_EQ(0, stream.Read(buffer, 100));
    EXPECT_EQ(-1, stream.ReadByte());
    stream.SetPosition(5);
    EXPECT_EQ(0, stream.Read(buffer, 100));
    EXPECT_EQ(5, stream.GetPosition());
    const struct
    {
        long long position;
        int available;
    } cases[] = {{5, 0}, {10, 1}, {14, 1}, {15, 0}, {50, 0}};
    for (const auto& c : cases)
    {
        stream.SetPosition(c.position);
        EXPECT_EQ(c.available, stream.IsDataAvailable()) << "position " << c.position;
    }
    stream.WriteByte(0xAA);
    stream.ResetView();
    stream.SetPosition(15);
    EXPECT_EQ(85, stream.Read(buffer, 100));
    EXPECT_EQ(0xAA, buffer[35]);
}

TEST(UFileStream, ViewMustLieWithinTheStream)
{
    TempFile file(100);
    UFileStream stream;
    Open(stream, file);
    stream.SetPosition(3);
    const wchar_t* name = L"llStart,llLength";
    const wchar_t* message = L"Specified view is not within the stream.";
    ExpectArgumentError([&] { stream.SetView(90, 20); }, name, message);
    ExpectArgumentError([&] { stream.SetView(-1, 5); }, name, message);
    ExpectArgumentError([&] { stream.SetView(0, -1); }, name, message);
    ExpectArgumentError([&] { stream.SetView(LLONG_MAX, LLONG_MAX); }, name, message);
    EXPECT_EQ(3, stream.GetPosition());
    unsigned char buffer[100];
    EXPECT_EQ(97, stream.Read(buffer, 100)) << "a rejected view is not stored";
    stream.SetView(90, 10);
    EXPECT_EQ(90, stream.GetPosition());
    EXPECT_EQ(10, stream.Read(buffer, 100));
}

