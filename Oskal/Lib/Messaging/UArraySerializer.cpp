#include <Oskal/Lib/Messaging/UArraySerializer.h>

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

using Collections::UVector;
using IO::UStream;
using namespace Internal::MessageWire;

namespace
{

// Elements that need converting go through a staging buffer of this many bytes at a time.
const unsigned long kStagingBytes = 0x10000;

void WriteHeader(UStream* pStream, unsigned char ucValueTag, unsigned long ulCount)
{
    Internal::ThrowIfNull(pStream, L"pStream");
    pStream->WriteByte(static_cast<unsigned char>(eTag_Array + ucValueTag));
    WriteCount(pStream, ulCount);
}

// Settled: the length becomes the count even when the count equals the capacity, where Resize
// leaves the length alone.
template <typename T> void SetLength(UVector<T>& values, unsigned long ulLength)
{
    values.Resize(ulLength);
    while (values.GetLength() < ulLength)
        values.Add(T());
}

// Reads the count and fills the vector in the steps BoundedFill allows; fill(first, n) reads n
// elements into place.
template <typename T, typename Fill>
void ReadElements(UVector<T>& values, UStream* pStream, unsigned long ulMinBytes, Fill fill)
{
    Internal::ThrowIfNull(pStream, L"pStream");
    const unsigned long count = ReadCount(pStream);
    const BoundedFill bounds(pStream, count, ulMinBytes);
    for (unsigned long done = 0; done < count;)
    {
        const unsigned long end = bounds.NextEnd(done);
        SetLength(values, end);
        fill(values.GetBuffer() + done, end - done);
        done = end;
    }
    SetLength(values, count);
}

// Elements of width W whose bytes lie in memory as the wire has them: one write, one read.
template <typename T> void WriteRaw(const UVector<T>& values, UStream* pStream, unsigned char ucValueTag)
{
    WriteHeader(pStream, ucValueTag, values.GetLength());
    WriteAll(pStream, values.GetBuffer(), static_cast<unsigned __int64>(values.GetLength()) * sizeof(T));
}

template <typename T> void ReadRaw(UVector<T>& values, UStream* pStream)
{
    ReadElements(values, pStream, sizeof(T), [pStream](T* pFirst, unsigned long n) {
        ReadExact(pStream, pFirst, static_cast<unsigned __int64>(n) * sizeof(T));
    });
}

// Elements converted to their W wire bytes by encode(element, bytes), written through a staging
// buffer.
template <unsigned long W, typename T, typename Encode>
void WriteConverted(const UVector<T>& values, UStream* pStream, unsigned char ucValueTag, Encode encode)
{
    WriteHeader(pStream, ucValueTag, values.GetLength());
    unsigned char staging[kStagingBytes];
    unsigned long used = 0;
    for (unsigned long i = 0; i < values.GetLength(); ++i)
    {
        encode(values[i], staging + used);
        used += W;
        if (used + W > kStagingBytes)
        {
            WriteAll(pStream, staging, used);
            used = 0;
        }
    }
    WriteAll(pStream, staging, used);
}

// Elements made from their W wire bytes by decode(bytes, element).
template <unsigned long W, typename T, typename Decode>
void ReadConverted(UVector<T>& values, UStream* pStream, Decode decode)
{
    ReadElements(values, pStream, W, [pStream, decode](T* pFirst, unsigned long n) {
        unsigned char staging[kStagingBytes];
        while (n != 0)
        {
            const unsigned long batch = n < kStagingBytes / W ? n : kStagingBytes / W;
            ReadExact(pStream, staging, batch * W);
            for (unsigned long i = 0; i < batch; ++i)
                decode(staging + i * W, *pFirst++);
            n -= batch;
        }
    });
}

} // namespace

void UArraySerializer::SerializeArrayOfSByte(const UVector<signed char>& values, UStream* pStream)
{
    WriteRaw(values, pStream, eTag_SByte);
}

void UArraySerializer::SerializeArrayOfByte(const UVector<unsigned char>& values, UStream* pStream)
{
    WriteRaw(values, pStream, eTag_Byte);
}

void UArraySerializer::SerializeArrayOfInt16(const UVector<short>& values, UStream* pStream)
{
    WriteRaw(values, pStream, eTag_Int16);
}

void UArraySerializer::SerializeArrayOfUInt16(const UVector<unsigned short>& values, UStream* pStream)
{
    WriteRaw(values, pStream, eTag_UInt16);
}

void UArraySerializer::SerializeArrayOfChar(const UVector<wchar_t>& values, UStream* pStream)
{
    WriteRaw(values, pStream, eTag_Char);
}

void UArraySerializer::SerializeArrayOfInt32(const UVector<int>& values, UStream* pStream)
{
    WriteRaw(values, pStream, eTag_Int32);
}

void UArraySerializer::SerializeArrayOfUInt32(const UVector<unsigned int>& values, UStream* pStream)
{
    WriteRaw(values, pStream, eTag_UInt32);
}

void UArraySerializer::SerializeArrayOfInt64(const UVector<__int64>& values, UStream* pStream)
{
    WriteRaw(values, pStream, eTag_Int64);
}

void UArraySerializer::SerializeArrayOfUInt64(const UVector<unsigned __int64>& values, UStream* pStream)
{
    WriteRaw(values, pStream, eTag_UInt64);
}

void UArraySerializer::SerializeArrayOfBoolean(UVector<int> values, UStream* pStream)
{
    WriteConverted<1>(values, pStream, eTag_Boolean,
                      [](int bValue, unsigned char* pbyOut) { *pbyOut = bValue != 0 ? 1 : 0; });
}

void UArraySerializer::SerializeArrayOfDecimal(const UVector<UDecimal>& values, UStream* pStream)
{
    WriteConverted<sizeof(Oskal_DECIMAL)>(values, pStream, eTag_Decimal,
                                          [](const UDecimal& value, unsigned char* pbyOut) {
                                              std::memcpy(pbyOut, &value.GetBuffer(), sizeof(Oskal_DECIMAL));
                                          });
}

void UArraySerializer::SerializeArrayOfSingle(const UVector<float>& values, UStream* pStream)
{
    WriteRaw(values, pStream, eTag_Single);
}

void UArraySerializer::SerializeArrayOfDouble(const UVector<double>& values, UStream* pStream)
{
    WriteRaw(values, pStream, eTag_Double);
}

void UArraySerializer::SerializeArrayOfDateTime(const UVector<SYSTEMTIME>& values, UStream* pStream)
{
    // One element at a time, so an invalid one leaves exactly the elements before it written.
    WriteHeader(pStream, eTag_DateTime, values.GetLength());
    for (unsigned long i = 0; i < values.GetLength(); ++i)
    {
        const unsigned __int64 fileTime = ToFileTime(values[i]);
        pStream->Write(&fileTime, sizeof(fileTime));
    }
}

void UArraySerializer::SerializeArrayOfString(const UVector<UString>& values, UStream* pStream)
{
    WriteHeader(pStream, eTag_String, values.GetLength());
    for (unsigned long i = 0; i < values.GetLength(); ++i)
        WriteStringPayload(pStream, values[i]);
}

void UArraySerializer::DeserializeArrayOfSByte(UVector<signed char>& values, UStream* pStream)
{
    ReadRaw(values, pStream);
}

void UArraySerializer::DeserializeArrayOfByte(UVector<unsigned char>& values, UStream* pStream)
{
    ReadRaw(values, pStream);
}

void UArraySerializer::DeserializeArrayOfInt16(UVector<short>& values, UStream* pStream)
{
    ReadRaw(values, pStream);
}

void UArraySerializer::DeserializeArrayOfUInt16(UVector<unsigned short>& values, UStream* pStream)
{
    ReadRaw(values, pStream);
}

void UArraySerializer::DeserializeArrayOfChar(UVector<wchar_t>& values, UStream* pStream)
{
    ReadRaw(values, pStream);
}

void UArraySerializer::DeserializeArrayOfInt32(UVector<int>& values, UStream* pStream)
{
    ReadRaw(values, pStream);
}

void UArraySerializer::DeserializeArrayOfUInt32(UVector<unsigned int>& values, UStream* pStream)
{
    ReadRaw(values, pStream);
}

void UArraySerializer::DeserializeArrayOfInt64(UVector<__int64>& values, UStream* pStream)
{
    ReadRaw(values, pStream);
}

void UArraySerializer::DeserializeArrayOfUInt64(UVector<unsigned __int64>& values, UStream* pStream)
{
    ReadRaw(values, pStream);
}

void UArraySerializer::DeserializeArrayOfBoolean(UVector<int>& values, UStream* pStream)
{
    ReadConverted<1>(values, pStream, [](const unsigned char* pbyIn, int& bValue) { bValue = *pbyIn != 0 ? 1 : 0; });
}

void UArraySerializer::DeserializeArrayOfDecimal(UVector<UDecimal>& values, UStream* pStream)
{
    ReadConverted<sizeof(Oskal_DECIMAL)>(values, pStream, [](const unsigned char* pbyIn, UDecimal& value) {
        std::memcpy(&value.GetBuffer(), pbyIn, sizeof(Oskal_DECIMAL));
    });
}

void UArraySerializer::DeserializeArrayOfSingle(UVector<float>& values, UStream* pStream)
{
    ReadRaw(values, pStream);
}

void UArraySerializer::DeserializeArrayOfDouble(UVector<double>& values, UStream* pStream)
{
    ReadRaw(values, pStream);
}

void UArraySerializer::DeserializeArrayOfDateTime(UVector<SYSTEMTIME>& values, UStream* pStream)
{
    ReadConverted<8>(values, pStream, [](const unsigned char* pbyIn, SYSTEMTIME& value) {
        unsigned __int64 fileTime;
        std::memcpy(&fileTime, pbyIn, sizeof(fileTime));
        value = FromFileTime(fileTime);
    });
}

void UArraySerializer::DeserializeArrayOfString(UVector<UString>& values, UStream* pStream)
{
    Internal::ThrowIfNull(pStream, L"pStream");
    Internal::ReleasePtr<Text::UDecoder> decoder(GetEncoding()->CreateDecoder());
    // Every element holds at least its one-byte count.
    ReadElements(values, pStream, 1, [pStream, &decoder](UString* pFirst, unsigned long n) {
        for (unsigned long i = 0; i < n; ++i)
            pFirst[i] = ReadStringPayload(pStream, decoder.Get());
    });
}

} // namespace Serialization
} // namespace Messaging
} // namespace Lib
} // namespace Oskal
