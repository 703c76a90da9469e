#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/USeekOrigin.h>

namespace Oskal { namespace Lib { namespace IO {

// Byte stream. Positions and lengths are 64-bit byte counts, read and write counts 32-bit.
// The virtual functions keep this order: streams built elsewhere and existing callers rely on it.
class OSKAL_LIB_API UStream
{
public:
    virtual ~UStream();

    virtual int CanRead() const = 0;
    virtual int CanWrite() const = 0;
    virtual int CanSeek() const = 0;
    // 0: streams have no timeouts unless they say otherwise.
    virtual int CanTimeout() const;
    // The four timeout operations throw UInvalidOperationException unless overridden.
    virtual unsigned long GetReadTimeout() const;
    virtual unsigned long GetWriteTimeout() const;
    virtual void SetReadTimeout(unsigned long ulTimeout);
    virtual void SetWriteTimeout(unsigned long ulTimeout);
    virtual void Close() = 0;
    virtual void Flush() = 0;
    virtual long long GetLength() const = 0;
    virtual long long GetPosition() const = 0;
    virtual int IsDataAvailable() const = 0;
    // Returns the number of bytes read, 0 at the end of the stream.
    virtual long Read(void* pvBuffer, long lCount) = 0;
    // The byte (0 to 255), or -1 at the end of the stream.
    virtual long ReadByte();
    // Views are not supported unless overridden: UNotSupportedException.
    virtual void ResetView();
    virtual long long Seek(long long llOffset, USeekOrigin eOrigin) = 0;
    virtual void SetLength(long long llLength) = 0;
    virtual void SetPosition(long long llPosition) = 0;
    virtual void SetView(long long llStart, long long llLength);
    virtual void Write(const void* pvBuffer, long lCount) = 0;
    virtual void WriteByte(unsigned char ucByte);

    // One library-wide stream that swallows writes and yields nothing.
    static UStream& Null();

protected:
    UStream();
    UStream(const UStream& other);
    UStream& operator=(const UStream& other);
};

}}} // namespace Oskal::Lib::IO
