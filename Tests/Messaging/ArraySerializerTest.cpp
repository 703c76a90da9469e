// Vectors: exact bytes of every array form, round trips, the length the read count gives, the
// count encoding's settled form and per-element text decoding.
#include "MessageTestSupport.h"

#include <Oskal/Lib/Messaging/UArraySerializer.h>

#include <functional>

using namespace Oskal::Lib;
using namespace Oskal::Lib::Collections;
using namespace Oskal::Lib::Messaging::Serialization;
using namespace MessageTests;
typedef UArraySerializer A;

namespace
{

template <typename T> UVector<T> Vec(std::initializer_list<T> values)
{
    return UVector<T>(values.begin(), static_cast<unsigned long>(values.size()));
}

Bytes Written(const std::function<void(MemoryStream*)>& write)
{
    MemoryStream stream;
    write(&stream);
    return stream.m_data;
}

SYSTEMTIME Day(WORD year, WORD month, WORD day)
{
    SYSTEMTIME t = {};
    t.wYear = year;
    t.wMonth = month;
    t.wDay = day;
    return t;
}

// Writes with the serializer, reads back after the tag, and compares.
template <typename T>
void ExpectRoundTrip(const UVector<T>& values, void (*write)(const UVector<T>&, Oskal::Lib::IO::UStream*),
                     void (*read)(UVector<T>&, Oskal::Lib::IO::UStream*), const char* name)
{
    for (int seekable = 0; seekable < 2; ++seekable)
    {
        MemoryStream s;
        write(values, &s);
        s.m_seekable = seekable;
        s.ReadByte();
        UVector<T> back(3);
        read(back, &s);
        EXPECT_TRUE(values == back) << name;
        EXPECT_EQ(0u, s.Left()) << name;
    }
}

} // namespace

TEST(ArraySerializer, WritesArrayTagCountAndPayloads)
{
    unsigned int words[4] = {1, 2, 3, 4};
    struct Case
    {
        const char* name;
        std::function<void(MemoryStream*)> write;
        Bytes expected;
    } cases[] = {
        {"empty Int32", [](MemoryStream* s) { A::SerializeArrayOfInt32(UVector<int>(), s); }, {0x49, 0}},
        {"SByte",
         [](MemoryStream* s) {
             A::SerializeArrayOfSByte(Vec<signed char>({-1, 2}), s);
         },
         {0x47, 2, 0xFF, 2}},
        {"Byte", [](MemoryStream* s) { A::SerializeArrayOfByte(Vec<unsigned char>({9}), s); }, {0x4B, 1, 9}},
        {"Int16",
         [](MemoryStream* s) {
             A::SerializeArrayOfInt16(Vec<short>({-2, 0x102}), s);
         },
         {0x48, 2, 0xFE, 0xFF, 2, 1}},
        {"UInt16",
         [](MemoryStream* s) { A::SerializeArrayOfUInt16(Vec<unsigned short>({0xBEEF}), s); },
         {0x4C, 1, 0xEF, 0xBE}},
        {"Char",
         [](MemoryStream* s) {
             A::SerializeArrayOfChar(Vec<wchar_t>({L'a', L'\x20AC'}), s);
         },
         {0x50, 2, 'a', 0, 0xAC, 0x20}},
        {"Int32",
         [](MemoryStream* s) {
             A::SerializeArrayOfInt32(Vec<int>({1, -1}), s);
         },
         {0x49, 2, 1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}},
        {"UInt32",
         [](MemoryStream* s) { A::SerializeArrayOfUInt32(Vec<unsigned int>({0x01020304}), s); },
         {0x4D, 1, 4, 3, 2, 1}},
        {"Int64",
         [](MemoryStream* s) { A::SerializeArrayOfInt64(Vec<__int64>({-2}), s); },
         {0x4A, 1, 0xFE, 255, 255, 255, 255, 255, 255, 255}},
        {"UInt64",
         [](MemoryStream* s) { A::SerializeArrayOfUInt64(Vec<unsigned __int64>({0x0102030405060708ULL}), s); },
         {0x4E, 1, 8, 7, 6, 5, 4, 3, 2, 1}},
        {"Boolean",
         [](MemoryStream* s) {
             A::SerializeArrayOfBoolean(Vec<int>({0, 5, -1, 1}), s);
         },
         {0x4F, 4, 0, 1, 1, 1}},
        {"Decimal",
         [&](MemoryStream* s) { A::SerializeArrayOfDecimal(Vec<UDecimal>({UDecimal(words)}), s); },
         {0x51, 1, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0, 0}},
        {"Single",
         [](MemoryStream* s) { A::SerializeArrayOfSingle(Vec<float>({-1.0f}), s); },
         {0x52, 1, 0, 0, 0x80, 0xBF}},
        {"Double",
         [](MemoryStream* s) { A::SerializeArrayOfDouble(Vec<double>({1.0}), s); },
         {0x53, 1, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F}},
        {"DateTime",
         [](MemoryStream* s) {
             A::SerializeArrayOfDateTime(Vec<SYSTEMTIME>({Day(1601, 1, 1), Day(2000, 1, 1)}), s);
         },
         {0x54, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x40, 0x6D, 0x25, 0xEB, 0x53, 0xBF, 0x01}},
        {"String",
         [](MemoryStream* s) {
             A::SerializeArrayOfString(Vec<UString>({UString(L"ab"), UString(), UString(L"\x00E9")}), s);
         },
         {0x55, 3, 2, 'a', 'b', 0, 2, 0xC3, 0xA9}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.expected, Written(c.write)) << c.name;
}

TEST(ArraySerializer, RoundTripsEveryType)
{
    unsigned int words[4] = {0xFFFFFFFF, 0, 7, 0x801C0000};
    ExpectRoundTrip(Vec<signed char>({-128, 0, 127}), &A::SerializeArrayOfSByte, &A::DeserializeArrayOfSByte, "SByte");
    ExpectRoundTrip(Vec<unsigned char>({0, 255}), &A::SerializeArrayOfByte, &A::DeserializeArrayOfByte, "Byte");
    ExpectRoundTrip(Vec<short>({-32768, 32767}), &A::SerializeArrayOfInt16, &A::DeserializeArrayOfInt16, "Int16");
    ExpectRoundTrip(Vec<unsigned short>({65535}), &A::SerializeArrayOfUInt16, &A::DeserializeArrayOfUInt16, "UInt16");
    ExpectRoundTrip(Vec<wchar_t>({L'\xD800', L'x'}), &A::SerializeArrayOfChar, &A::DeserializeArrayOfChar, "Char");
    ExpectRoundTrip(Vec<int>({-5, 1 << 30}), &A::SerializeArrayOfInt32, &A::DeserializeArrayOfInt32, "Int32");
    ExpectRoundTrip(Vec<unsigned int>({~0U}), &A::SerializeArrayOfUInt32, &A::DeserializeArrayOfUInt32, "UInt32");
    ExpectRoundTrip(Vec<__int64>({-0x4000000000000000LL}), &A::SerializeArrayOfInt64, &A::DeserializeArrayOfInt64,
                    "Int64");
    ExpectRoundTrip(Vec<unsigned __int64>({~0ULL, 0}), &A::SerializeArrayOfUInt64, &A::DeserializeArrayOfUInt64,
                    "UInt64");
    ExpectRoundTrip(Vec<UDecimal>({UDecimal(words), UDecimal()}), &A::SerializeArrayOfDecimal,
                    &A::DeserializeArrayOfDecimal, "Decimal");
    ExpectRoundTrip(Vec<float>({1.5f, -0.0f}), &A::SerializeArrayOfSingle, &A::DeserializeArrayOfSingle, "Single");
    ExpectRoundTrip(Vec<double>({3.25, 1e300}), &A::SerializeArrayOfDouble, &A::DeserializeArrayOfDouble, "Double");
    ExpectRoundTrip(Vec<UString>({UString(L"\xFEFF"
                                          L"x"),
                                  UString(), UString(L"\xD83D\xDE00")}),
                    &A::SerializeArrayOfString, &A::DeserializeArrayOfString, "String");

    MemoryStream s;
    A::SerializeArrayOfBoolean(Vec<int>({0, 9, 1}), &s);
    A::SerializeArrayOfDateTime(Vec<SYSTEMTIME>({Day(2024, 2, 29)}), &s);
    UVector<int> flags;
    UVector<SYSTEMTIME> dates;
    s.ReadByte();
    A::DeserializeArrayOfBoolean(flags, &s);
    s.ReadByte();
    A::DeserializeArrayOfDateTime(dates, &s);
    EXPECT_TRUE(Vec<int>({0, 1, 1}) == flags);
    ASSERT_EQ(1u, dates.GetLength());
    EXPECT_EQ(2024, dates[0].wYear);
    EXPECT_EQ(29, dates[0].wDay);
}

TEST(ArraySerializer, LengthBecomesTheCountRead)
{
    struct Case
    {
        unsigned long capacity;
        unsigned long length;
        Bytes message;
        std::vector<int> expected;
    } cases[] = {
        // Settled: the count equals the capacity, where Resize alone would keep the length of 1.
        {3, 1, {3, 7, 8, 9}, {7, 8, 9}},
        {5, 5, {2, 1, 2}, {1, 2}},
        {0, 0, {1, 4}, {4}},
        {4, 4, {0}, {}},
        // Boolean bytes read back as 0 or 1.
        {2, 2, {3, 0, 2, 255}, {0, 1, 1}},
    };
    for (const Case& c : cases)
    {
        UVector<int> values(c.capacity);
        while (values.GetLength() > c.length)
            values.RemoveRange(values.GetLength() - 1, 1);
        MemoryStream r(c.message);
        A::DeserializeArrayOfBoolean(values, &r);
        ASSERT_EQ(c.expected.size(), values.GetLength());
        for (unsigned long i = 0; i < values.GetLength(); ++i)
            EXPECT_EQ(c.expected[i] != 0 ? 1 : 0, values[i]);
    }
}

TEST(CountEncoding, LargeCountsReadBackAsLowBits)
{
    // Kept: the serializer writes every 7-bit group with bit 7 clear.
    UVector<short> twoHundred(200);
    MemoryStream s;
    A::SerializeArrayOfInt16(twoHundred, &s);
    ASSERT_EQ(3u + 400u, s.m_data.size());
    EXPECT_EQ((Bytes{0x48, 0x48, 0x01}), Bytes(s.m_data.begin(), s.m_data.begin() + 3));
    // Read back, the count is 72 and the second count byte becomes payload.
    s.ReadByte();
    UVector<unsigned char> bytes;
    A::DeserializeArrayOfByte(bytes, &s);
    ASSERT_EQ(72u, bytes.GetLength());
    EXPECT_EQ(1, bytes[0]);

    struct Case
    {
        Bytes encoded;
        unsigned long count;
        size_t used;
    } reads[] = {
        {{0x00}, 0, 1},
        {{0x7F}, 127, 1},
        {{0x81, 0x01}, 129, 2},
        {{0xC8, 0x01}, 200, 2},
        {{0xFF, 0xFF, 0xFF, 0xFF, 0x0F}, 0xFFFFFFFFUL, 5},
        // Five bytes at most, even with bit 7 set in the fifth; bits past the 32nd are lost.
        {{0x80, 0x80, 0x80, 0x80, 0xF1, 0x55}, 0x10000000UL, 5},
    };
    for (const Case& c : reads)
    {
        Bytes message = c.encoded;
        message.insert(message.end(), c.count < 1000 ? c.count : 0, 'x');
        MemoryStream r(message);
        if (c.count < 1000)
        {
            UVector<unsigned char> got;
            A::DeserializeArrayOfByte(got, &r);
            EXPECT_EQ(c.count, got.GetLength());
            EXPECT_EQ(0u, r.Left());
        }
        else
        {
            EXPECT_EQ(L"Unexpected end of stream.", SerializationFailure([&] {
                          UVector<unsigned char> got;
                          A::DeserializeArrayOfByte(got, &r);
                      }));
            EXPECT_EQ(c.used, r.m_position);
        }
    }
}

TEST(ArraySerializer, StringElementsDecodeOnTheirOwn)
{
    // The first element ends in half a euro sign, the second begins with its last byte; a leading
    // U+FEFF of an element is kept.
    MemoryStream r({3, 2, 0xE2, 0x82, 2, 0xAC, 'b', 4, 0xEF, 0xBB, 0xBF, 'c'});
    UVector<UString> values;
    A::DeserializeArrayOfString(values, &r);
    ASSERT_EQ(3u, values.GetLength());
    EXPECT_EQ(nullptr, wcschr(values[0], L'\x20AC'));
    EXPECT_EQ(nullptr, wcschr(values[1], L'\x20AC'));
    EXPECT_STREQ(L"\xFEFF"
                 L"c",
                 values[2]);
}

TEST(ArraySerializer, InvalidDatesStopTheWriteAndTheRead)
{
    SYSTEMTIME bad = Day(2023, 13, 1);
    MemoryStream s;
    EXPECT_EQ(L"Invalid SYSTEMTIME value.", SerializationFailure([&] {
                  A::SerializeArrayOfDateTime(Vec<SYSTEMTIME>({Day(1601, 1, 1), bad}), &s);
              }));
    // Nothing is rolled back: tag, count and the first element are written.
    EXPECT_EQ(2u + 8u, s.m_data.size());

    Bytes message{2, 0, 0, 0, 0, 0, 0, 0, 0};
    message.insert(message.end(), 8, 0xFF);
    MemoryStream r(message);
    UVector<SYSTEMTIME> dates;
    EXPECT_EQ(L"Invalid DateTime value.", SerializationFailure([&] { A::DeserializeArrayOfDateTime(dates, &r); }));
}
