#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/UStream.h>
#include <Oskal/Lib/UDecimal.h>
#include <Oskal/Lib/UString.h>
#include <Oskal/Lib/Win32Api.h>

namespace Oskal
{
namespace Lib
{
namespace Messaging
{
namespace Serialization
{

// Single values in the tagged message format: Serialize writes the one-byte type tag and the
// payload; Deserialize reads only the payload, the caller having read the tag to choose the
// function. Integers are little-endian. Every short read throws USerializationException
// "Unexpected end of stream."; stream faults pass through.
class OSKAL_LIB_API UPrimitiveSerializer
{
public:
    static void SerializeSByte(signed char cValue, IO::UStream* pStream);
    static void SerializeInt16(short sValue, IO::UStream* pStream);
    static void SerializeInt32(int iValue, IO::UStream* pStream);
    static void SerializeInt64(__int64 llValue, IO::UStream* pStream);
    static void SerializeByte(unsigned char ucValue, IO::UStream* pStream);
    static void SerializeUInt16(unsigned short usValue, IO::UStream* pStream);
    static void SerializeUInt32(unsigned int uValue, IO::UStream* pStream);
    static void SerializeUInt64(unsigned __int64 ullValue, IO::UStream* pStream);
    // Any non-zero value is written as 1.
    static void SerializeBoolean(int bValue, IO::UStream* pStream);
    static void SerializeChar(wchar_t wcValue, IO::UStream* pStream);
    static void SerializeDecimal(const UDecimal& value, IO::UStream* pStream);
    static void SerializeSingle(float fValue, IO::UStream* pStream);
    static void SerializeDouble(double dValue, IO::UStream* pStream);
    // As a FILETIME; an invalid value throws "Invalid SYSTEMTIME value.".
    static void SerializeDateTime(const SYSTEMTIME& value, IO::UStream* pStream);
    // The byte count of the UTF-8 form, then the bytes (no byte-order mark, no terminator).
    static void SerializeString(const UString& value, IO::UStream* pStream);

    static signed char DeserializeSByte(IO::UStream* pStream);
    static short DeserializeInt16(IO::UStream* pStream);
    static int DeserializeInt32(IO::UStream* pStream);
    static __int64 DeserializeInt64(IO::UStream* pStream);
    static unsigned char DeserializeByte(IO::UStream* pStream);
    static unsigned short DeserializeUInt16(IO::UStream* pStream);
    static unsigned int DeserializeUInt32(IO::UStream* pStream);
    static unsigned __int64 DeserializeUInt64(IO::UStream* pStream);
    // 1 when the byte is not 0, else 0.
    static int DeserializeBoolean(IO::UStream* pStream);
    static wchar_t DeserializeChar(IO::UStream* pStream);
    static UDecimal DeserializeDecimal(IO::UStream* pStream);
    static float DeserializeSingle(IO::UStream* pStream);
    static double DeserializeDouble(IO::UStream* pStream);
    // A FILETIME that does not convert throws "Invalid DateTime value.".
    static SYSTEMTIME DeserializeDateTime(IO::UStream* pStream);
    // A leading U+FEFF is part of the text and kept.
    static UString DeserializeString(IO::UStream* pStream);
};

} // namespace Serialization
} // namespace Messaging
} // namespace Lib
} // namespace Oskal
