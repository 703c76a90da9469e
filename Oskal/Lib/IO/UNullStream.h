#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/UStream.h>

namespace Oskal { namespace Lib { namespace IO {

// Swallows every write and yields nothing; it has no position or length.
class OSKAL_LIB_API UNullStream : public UStream
{
public:
    UNullStream();
    UNullStream(const UNullStream& other);
    ~UNullStream() override;

    int CanRead() const override;
    int CanWrite() const override;
    int CanSeek() const override;
    void Close() override;
    void Flush() override;
    // GetLength, GetPosition, Seek, SetLength and SetPosition throw UInvalidOperationException.
    long long GetLength() const override;
    long long GetPosition() const override;
    int IsDataAvailable() const override;
    long Read(void* pvBuffer, long lCount) override;
    long long Seek(long long llOffset, USeekOrigin eOrigin) override;
    void SetLength(long long llLength) override;
    void SetPosition(long long llPosition) override;
    void Write(const void* pvBuffer, long lCount) override;
};

}}} // namespace Oskal::Lib::IO
