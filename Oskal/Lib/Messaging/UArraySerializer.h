#pragma once

#include <Oskal/Lib/Collections/UVector.h>
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

// Vectors in the tagged message format: the array tag (0x40 plus the element's value tag), the
// element count, then every element's value payload without a tag. Deserialize reads what follows
// the tag and sets the vector's length to the count read (old elements that fit are overwritten).
// A count is never trusted beyond what the stream holds: a short message throws
// USerializationException "Unexpected end of stream." before room for the count is made.
class OSKAL_LIB_API UArraySerializer
{
public:
    static void SerializeArrayOfSByte(const Collections::UVector<signed char>& values, IO::UStream* pStream);
    static void SerializeArrayOfByte(const Collections::UVector<unsigned char>& values, IO::UStream* pStream);
    static void SerializeArrayOfInt16(const Collections::UVector<short>& values, IO::UStream* pStream);
    static void SerializeArrayOfUInt16(const Collections::UVector<unsigned short>& values, IO::UStream* pStream);
    static void SerializeArrayOfChar(const Collections::UVector<wchar_t>& values, IO::UStream* pStream);
    static void SerializeArrayOfInt32(const Collections::UVector<int>& values, IO::UStream* pStream);
    static void SerializeArrayOfUInt32(const Collections::UVector<unsigned int>& values, IO::UStream* pStream);
    static void SerializeArrayOfInt64(const Collections::UVector<__int64>& values, IO::UStream* pStream);
    static void SerializeArrayOfUInt64(const Collections::UVector<unsigned __int64>& values, IO::UStream* pStream);
    // Taken by value; any non-zero element is written as 1.
    static void SerializeArrayOfBoolean(Collections::UVector<int> values, IO::UStream* pStream);
    static void SerializeArrayOfDecimal(const Collections::UVector<UDecimal>& values, IO::UStream* pStream);
    static void SerializeArrayOfSingle(const Collections::UVector<float>& values, IO::UStream* pStream);
    static void SerializeArrayOfDouble(const Collections::UVector<double>& values, IO::UStream* pStream);
    // An invalid element throws "Invalid SYSTEMTIME value."; the elements before it stay written.
    static void SerializeArrayOfDateTime(const Collections::UVector<SYSTEMTIME>& values, IO::UStream* pStream);
    static void SerializeArrayOfString(const Collections::UVector<UString>& values, IO::UStream* pStream);

    static void DeserializeArrayOfSByte(Collections::UVector<signed char>& values, IO::UStream* pStream);
    static void DeserializeArrayOfByte(Collections::UVector<unsigned char>& values, IO::UStream* pStream);
    static void DeserializeArrayOfInt16(Collections::UVector<short>& values, IO::UStream* pStream);
    static void DeserializeArrayOfUInt16(Collections::UVector<unsigned short>& values, IO::UStream* pStream);
    static void DeserializeArrayOfChar(Collections::UVector<wchar_t>& values, IO::UStream* pStream);
    static void DeserializeArrayOfInt32(Collections::UVector<int>& values, IO::UStream* pStream);
    static void DeserializeArrayOfUInt32(Collections::UVector<unsigned int>& values, IO::UStream* pStream);
    static void DeserializeArrayOfInt64(Collections::UVector<__int64>& values, IO::UStream* pStream);
    static void DeserializeArrayOfUInt64(Collections::UVector<unsigned __int64>& values, IO::UStream* pStream);
    // Every element becomes 1 or 0.
    static void DeserializeArrayOfBoolean(Collections::UVector<int>& values, IO::UStream* pStream);
    static void DeserializeArrayOfDecimal(Collections::UVector<UDecimal>& values, IO::UStream* pStream);
    static void DeserializeArrayOfSingle(Collections::UVector<float>& values, IO::UStream* pStream);
    static void DeserializeArrayOfDouble(Collections::UVector<double>& values, IO::UStream* pStream);
    static void DeserializeArrayOfDateTime(Collections::UVector<SYSTEMTIME>& values, IO::UStream* pStream);
    // Each element keeps a leading U+FEFF; no half sequence carries from one element to the next.
    static void DeserializeArrayOfString(Collections::UVector<UString>& values, IO::UStream* pStream);
};

} // namespace Serialization
} // namespace Messaging
} // namespace Lib
} // namespace Oskal
