#include <Oskal/Lib/IO/UStream.h>

#include <Oskal/Lib/IO/UNullStream.h>
#include <Oskal/Lib/UInvalidOperationException.h>
#include <Oskal/Lib/UNotSupportedException.h>

namespace Oskal { namespace Lib { namespace IO {

UStream::UStream() {}

UStream::UStream(const UStream&) {}

UStream& UStream::operator=(const UStream&)
{
    return *this;
}

UStream::~UStream() {}

int UStream::CanTimeout() const
{
    return 0;
}

unsigned long UStream::GetReadTimeout() const
{
    throw Exceptions::UInvalidOperationException();
}

unsigned long UStream::GetWriteTimeout() const
{
    throw Exceptions::UInvalidOperationException();
}

void UStream::SetReadTimeout(unsigned long)
{
    throw Exceptions::UInvalidOperationException();
}

void UStream::SetWriteTimeout(unsigned long)
{
    throw Exceptions::UInvalidOperationException();
}

long UStream::ReadByte()
{
    unsigned char value = 0;
    if (Read(&value, 1) == 0)
        return -1;
    return value;
}

void UStream::ResetView()
{
    throw Exceptions::UNotSupportedException();
}

void UStream::SetView(long long, long long)
{
    throw Exceptions::UNotSupportedException();
}

void UStream::WriteByte(unsigned char ucByte)
{
    Write(&ucByte, 1);
}

UStream& UStream::Null()
{
    // Stateless, so one shared object serves every caller.
    static UNullStream s_null;
    return s_null;
}

}}} // namespace Oskal::Lib::IO
