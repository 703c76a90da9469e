#include <Oskal/Lib/IO/UFileStream.h>

#include <Oskal/Lib/IO/UFileIoException.h>
#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/UArgumentException.h>

#include <windows.h>

namespace Oskal { namespace Lib { namespace IO {

namespace {

[[noreturn]] void ThrowLastError(const wchar_t* pszMessage)
{
    throw UFileIoException(pszMessage, static_cast<long>(GetLastError()));
}

long long MovePointer(HANDLE hFile, long long llDistance, DWORD dwOrigin, const wchar_t* pszMessage)
{
    LARGE_INTEGER distance;
    distance.QuadPart = llDistance;
    LARGE_INTEGER position;
    if (!SetFilePointerEx(hFile, distance, &position, dwOrigin))
        ThrowLastError(pszMessage);
    return position.QuadPart;
}

const wchar_t g_szGetPositionFailed[] = L"Getting current file position failed.";
const wchar_t g_szSetPositionFailed[] = L"Setting current file position failed.";

} // namespace

UFileStream::UFileStream()
    : m_hFile(INVALID_HANDLE_VALUE), m_ulAccess(0), m_llViewStart(-1), m_llViewLength(-1)
{
}

UFileStream::~UFileStream()
{
    if (m_hFile != INVALID_HANDLE_VALUE)
        CloseHandle(m_hFile);
}

int UFileStream::CanRead() const
{
    return m_hFile != INVALID_HANDLE_VALUE && (m_ulAccess & GENERIC_READ) != 0;
}

int UFileStream::CanWrite() const
{
    return m_hFile != INVALID_HANDLE_VALUE && (m_ulAccess & GENERIC_WRITE) != 0;
}

int UFileStream::CanSeek() const
{
    return m_hFile != INVALID_HANDLE_VALUE;
}

void UFileStream::Close()
{
    if (m_hFile == INVALID_HANDLE_VALUE)
        return;
    CloseHandle(m_hFile);
    m_hFile = INVALID_HANDLE_VALUE;
}

void UFileStream::Flush()
{
    if (!FlushFileBuffers(m_hFile))
        ThrowLastError(L"Flushing file buffers failed.");
}

long long UFileStream::GetLength() const
{
    LARGE_INTEGER size;
    if (!GetFileSizeEx(m_hFile, &size))
        ThrowLastError(L"Getting file size failed.");
    return size.QuadPart;
}

long long UFileStream::GetPosition() const
{
    return MovePointer(m_hFile, 0, FILE_CURRENT, g_szGetPositionFailed);
}

int UFileStream::IsDataAvailable() const
{
    const long long llPosition = GetPosition();
    const long long llLength = GetLength();
    if (m_llViewStart >= 0)
        return llPosition >= m_llViewStart && llPosition < m_llViewStart + m_llViewLength;
    return llPosition < llLength;
}

long UFileStream::Read(void* pvBuffer, long lCount)
{
    Internal::ThrowIfNull(pvBuffer, L"pvBuffer");
    // A negative count would turn into a huge unsigned ReadFile count.
    Internal::ThrowIfNegative(lCount, L"lCount");

    DWORD dwToRead = static_cast<DWORD>(lCount);
    if (m_llViewStart >= 0)
    {
        const long long llPosition = GetPosition();
        const long long llViewEnd = m_llViewStart + m_llViewLength;
        if (llPosition < m_llViewStart || llPosition >= llViewEnd)
            return 0;
        // Compare in 64 bits: the rest of the view may exceed what a long holds.
        if (llViewEnd - llPosition < lCount)
            dwToRead = static_cast<DWORD>(llViewEnd - llPosition);
    }

    DWORD dwRead = 0;
    if (!ReadFile(m_hFile, pvBuffer, dwToRead, &dwRead, nullptr))
        ThrowLastError(L"Reading file failed.");
    return static_cast<long>(dwRead);
}

void UFileStream::ResetView()
{
    m_llViewStart = -1;
    m_llViewLength = -1;
}

long long UFileStream::Seek(long long llOffset, USeekOrigin eOrigin)
{
    return MovePointer(m_hFile, llOffset, static_cast<DWORD>(eOrigin), g_szSetPositionFailed);
}

void UFileStream::SetLength(long long llLength)
{
    const long long llPosition = MovePointer(m_hFile, 0, FILE_CURRENT, g_szGetPositionFailed);
    MovePointer(m_hFile, llLength, FILE_BEGIN, g_szSetPositionFailed);
    if (!SetEndOfFile(m_hFile))
        ThrowLastError(L"Setting end of file failed.");
    if (llPosition < llLength)
        MovePointer(m_hFile, llPosition, FILE_BEGIN, g_szSetPositionFailed);
    else
        MovePointer(m_hFile, 0, FILE_END, g_szSetPositionFailed);
}

void UFileStream::SetPosition(long long llPosition)
{
    MovePointer(m_hFile, llPosition, FILE_BEGIN, g_szSetPositionFailed);
}

void UFileStream::SetView(long long llStart, long long llLength)
{
    // Written as a subtraction so that a huge start plus length cannot overflow.
    if (llStart < 0 || llLength < 0 || llLength > GetLength() - llStart)
        throw Exceptions::UArgumentException(L"llStart,llLength", L"Specified view is not within the stream.");
    m_llViewStart = llStart;
    m_llViewLength = llLength;
    SetPosition(llStart);
}

void UFileStream::Write(const void* pvBuffer, long lCount)
{
    Internal::ThrowIfNegative(lCount, L"lCount");
    DWORD dwWritten = 0;
    if (!WriteFile(m_hFile, pvBuffer, static_cast<DWORD>(lCount), &dwWritten, nullptr))
        ThrowLastError(L"Writing file failed.");
}

void UFileStream::Open(const wchar_t* pszFileName, UFileOpenMode eMode, UFileAccessMode eAccess,
                       UFileShareMode eShare)
{
    Close();
    HANDLE hFile = CreateFileW(pszFileName, static_cast<DWORD>(eAccess), static_cast<DWORD>(eShare), nullptr,
                               static_cast<DWORD>(eMode), 0, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
        ThrowLastError(L"Opening file failed.");
    m_hFile = hFile;
    m_ulAccess = static_cast<unsigned long>(eAccess);
    m_llViewStart = -1;
    m_llViewLength = -1;
}

int UFileStream::IsOpen() const
{
    return m_hFile != INVALID_HANDLE_VALUE;
}

}}} // namespace Oskal::Lib::IO
