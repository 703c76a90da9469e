#include <Oskal/Lib/Messaging/UPrimitiveSerializer.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/Internal/MessageWire.h>
#include <Oskal/Lib/Internal/ReleasePtr.h>

#include <cstring>

namespace Oskal
{
namespace Lib
{
namespace Messaging
{
namespace Serialization
{

using IO::UStream;
using namespace Internal::MessageWire;

namespace
{

template <typename T> void WriteValue(UStream* pStream, unsigned char ucTag, const T& value)
{
    Internal::ThrowIfNull(pStream, L"pStream");
    // The wire is little-endian, as the machine is: the value's bytes go out as they lie.
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    pStream->WriteByte(ucTag);
    pStream->Write(bytes, sizeof(T));
}

template <typename T> T ReadValue(UStream* pStream)
{
    Internal::ThrowIfNull(pStream, L"pStream");
    T value;
    ReadExact(pStream, &value, sizeof(T));
    return value;
}

} // namespace

void UPrimitiveSerializer::SerializeSByte(signed char cValue, UStream* pStream)
{
    WriteValue(pStream, eTag_SByte, cValue);
}

void UPrimitiveSerializer::SerializeInt16(short sValue, UStream* pStream)
{
    WriteValue(pStream, eTag_Int16, sValue);
}

void UPrimitiveSerializer::SerializeInt32(int iValue, UStream* pStream)
{
    WriteValue(pStream, eTag_Int32, iValue);
}

void UPrimitiveSerializer::SerializeInt64(__int64 llValue, UStream* pStream)
{
    WriteValue(pStream, eTag_Int64, llValue);
}

void UPrimitiveSerializer::SerializeByte(unsigned char ucValue, UStream* pStream)
{
    WriteValue(pStream, eTag_Byte, ucValue);
}

void UPrimitiveSerializer::SerializeUInt16(unsigned short usValue, UStream* pStream)
{
    WriteValue(pStream, eTag_UInt16, usValue);
}

void UPrimitiveSerializer::SerializeUInt32(unsigned int uValue, UStream* pStream)
{
    WriteValue(pStream, eTag_UInt32, uValue);
}

void UPrimitiveSerializer::SerializeUInt64(unsigned __int64 ullValue, UStream* pStream)
{
    WriteValue(pStream, eTag_UInt64, ullValue);
}

void UPrimitiveSerializer::SerializeBoolean(int bValue, UStream* pStream)
{
    WriteValue(pStream, eTag_Boolean, static_cast<unsigned char>(bValue != 0 ? 1 : 0));
}

void UPrimitiveSerializer::SerializeChar(wchar_t wcValue, UStream* pStream)
{
    WriteValue(pStream, eTag_Char, wcValue);
}

void UPrimitiveSerializer::SerializeDecimal(const UDecimal& value, UStream* pStream)
{
    WriteValue(pStream, eTag_Decimal, value.GetBuffer());
}

void UPrimitiveSerializer::SerializeSingle(float fValue, UStream* pStream)
{
    WriteValue(pStream, eTag_Single, fValue);
}

void UPrimitiveSerializer::SerializeDouble(double dValue, UStream* pStream)
{
    WriteValue(pStream, eTag_Double, dValue);
}

void UPrimitiveSerializer::SerializeDateTime(const SYSTEMTIME& value, UStream* pStream)
{
    Internal::ThrowIfNull(pStream, L"pStream");
    WriteValue(pStream, eTag_DateTime, ToFileTime(value));
}

void UPrimitiveSerializer::SerializeString(const UString& value, UStream* pStream)
{
    Internal::ThrowIfNull(pStream, L"pStream");
    pStream->WriteByte(eTag_String);
    WriteStringPayload(pStream, value);
}

signed char UPrimitiveSerializer::DeserializeSByte(UStream* pStream)
{
    return ReadValue<signed char>(pStream);
}

short UPrimitiveSerializer::DeserializeInt16(UStream* pStream)
{
    return ReadValue<short>(pStream);
}

int UPrimitiveSerializer::DeserializeInt32(UStream* pStream)
{
    return ReadValue<int>(pStream);
}

__int64 UPrimitiveSerializer::DeserializeInt64(UStream* pStream)
{
    return ReadValue<__int64>(pStream);
}

unsigned char UPrimitiveSerializer::DeserializeByte(UStream* pStream)
{
    return ReadValue<unsigned char>(pStream);
}

unsigned short UPrimitiveSerializer::DeserializeUInt16(UStream* pStream)
{
    return ReadValue<unsigned short>(pStream);
}

unsigned int UPrimitiveSerializer::DeserializeUInt32(UStream* pStream)
{
    return ReadValue<unsigned int>(pStream);
}

unsigned __int64 UPrimitiveSerializer::DeserializeUInt64(UStream* pStream)
{
    return ReadValue<unsigned __int64>(pStream);
}

int UPrimitiveSerializer::DeserializeBoolean(UStream* pStream)
{
    return ReadValue<unsigned char>(pStream) != 0 ? 1 : 0;
}

wchar_t UPrimitiveSerializer::DeserializeChar(UStream* pStream)
{
    return ReadValue<wchar_t>(pStream);
}

UDecimal UPrimitiveSerializer::DeserializeDecimal(UStream* pStream)
{
    UDecimal value;
    value.GetBuffer() = ReadValue<Oskal_DECIMAL>(pStream);
    return value;
}

float UPrimitiveSerializer::DeserializeSingle(UStream* pStream)
{
    return ReadValue<float>(pStream);
}

double UPrimitiveSerializer::DeserializeDouble(UStream* pStream)
{
    return ReadValue<double>(pStream);
}

SYSTEMTIME UPrimitiveSerializer::DeserializeDateTime(UStream* pStream)
{
    return FromFileTime(ReadValue<unsigned __int64>(pStream));
}

UString UPrimitiveSerializer::DeserializeString(UStream* pStream)
{
    Internal::ThrowIfNull(pStream, L"pStream");
    Internal::ReleasePtr<Text::UDecoder> decoder(GetEncoding()->CreateDecoder());
    // Settled: fewer bytes than the count is a short read like any other, not a shorter text.
    return ReadStringPayload(pStream, decoder.Get());
}

} // namespace Serialization
} // namespace Messaging
} // namespace Lib
} // namespace Oskal
