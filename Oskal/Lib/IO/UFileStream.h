#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/UFileAccessMode.h>
#include <Oskal/Lib/IO/UFileOpenMode.h>
#include <Oskal/Lib/IO/UFileShareMode.h>
#include <Oskal/Lib/IO/UStream.h>

namespace Oskal { namespace Lib { namespace IO {

// Stream over a Win32 file handle. Every failing Win32 call throws UFileIoException with the
// error code; on a closed stream that is the invalid handle's error.
// While a view is set, reading is confined to it; positions and lengths still refer to the file.
class OSKAL_LIB_API UFileStream : public UStream
{
public:
    UFileStream();
    ~UFileStream() override;

    UFileStream(const UFileStream&) = delete;
    UFileStream& operator=(const UFileStream&) = delete;

    int CanRead() const override;
    int CanWrite() const override;
    int CanSeek() const override;
    // Keeps the view.
    void Close() override;
    void Flush() override;
    long long GetLength() const override;
    long long GetPosition() const override;
    int IsDataAvailable() const override;
    long Read(void* pvBuffer, long lCount) override;
    void ResetView() override;
    long long Seek(long long llOffset, USeekOrigin eOrigin) override;
    // Leaves the position where it was, or at the new end if that was cut off.
    void SetLength(long long llLength) override;
    void SetPosition(long long llPosition) override;
    // Moves the position to llStart.
    void SetView(long long llStart, long long llLength) override;
    // Not confined to the view.
    void Write(const void* pvBuffer, long lCount) override;

    // Always closes first, so a failed open leaves the stream closed. Clears the view.
    virtual void Open(const wchar_t* pszFileName, UFileOpenMode eMode, UFileAccessMode eAccess,
                      UFileShareMode eShare);
    virtual int IsOpen() const;

private:
    void* m_hFile;
    unsigned long m_ulAccess;
    long long m_llViewStart;
    long long m_llViewLength;
};

}}} // namespace Oskal::Lib::IO
