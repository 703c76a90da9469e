#include <Oskal/Lib/IO/UNullStream.h>

#include <Oskal/Lib/UInvalidOperationException.h>

namespace Oskal { namespace Lib { namespace IO {

UNullStream::UNullStream() {}

UNullStream::UNullStream(const UNullStream& other) : UStream(other) {}

UNullStream::~UNullStream() {}

int UNullStream::CanRead() const
{
    return 1;
}

int UNullStream::CanWrite() const
{
    return 1;
}

int UNullStream::CanSeek() const
{
    return 0;
}

void UNullStream::Close() {}

void UNullStream::Flush() {}

long long UNullStream::GetLength() const
{
    throw Exceptions::UInvalidOperationException();
}

long long UNullStream::GetPosition() const
{
    throw Exceptions::UInvalidOperationException();
}

int UNullStream::IsDataAvailable() const
{
    return 0;
}

long UNullStream::Read(void*, long)
{
    return 0;
}

long long UNullStream::Seek(long long, USeekOrigin)
{
    throw Exceptions::UInvalidOperationException();
}

void UNullStream::SetLength(long long)
{
    throw Exceptions::UInvalidOperationException();
}

void UNullStream::SetPosition(long long)
{
    throw Exceptions::UInvalidOperationException();
}

void UNullStream::Write(const void*, long) {}

}}} // namespace Oskal::Lib::IO
