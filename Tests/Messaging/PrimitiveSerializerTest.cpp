// Single values: the exact bytes of every tag and payload, round trips, the date and text forms
// and every short read.
#include "MessageTestSupport.h"

#include <Oskal/Lib/Messaging/UPrimitiveSerializer.h>
#include <Oskal/Lib/UArgumentException.h>

#include <cfloat>
#include <functional>

using namespace Oskal::Lib;
using namespace Oskal::Lib::Messaging::Serialization;
using namespace MessageTests;
typedef UPrimitiveSerializer P;

namespace
{

Bytes Written(const std::function<void(MemoryStream*)>& write)
{
    MemoryStream stream;
    write(&stream);
    return stream.m_data;
}

SYSTEMTIME Date(WORD year, WORD month, WORD day, WORD hour = 0, WORD minute = 0, WORD second = 0, WORD ms = 0)
{
    SYSTEMTIME t = {};
    t.wYear = year;
    t.wMonth = month;
    t.wDay = day;
    t.wHour = hour;
    t.wMinute = minute;
    t.wSecond = second;
    t.wMilliseconds = ms;
    return t;
}

UDecimal Decimal(unsigned int a, unsigned int b, unsigned int c, unsigned int d)
{
    unsigned int words[4] = {a, b, c, d};
    return UDecimal(words);
}

} // namespace

TEST(PrimitiveSerializer, WritesTagAndLittleEndianPayload)
{
    struct Case
    {
        const char* name;
        std::function<void(MemoryStream*)> write;
        Bytes expected;
    } cases[] = {
        {"SByte", [](MemoryStream* s) { P::SerializeSByte(-2, s); }, {7, 0xFE}},
        {"Int16", [](MemoryStream* s) { P::SerializeInt16(-2, s); }, {8, 0xFE, 0xFF}},
        {"Int32", [](MemoryStream* s) { P::SerializeInt32(1, s); }, {9, 1, 0, 0, 0}},
        {"Int64", [](MemoryStream* s) { P::SerializeInt64(0x0102030405060708LL, s); }, {10, 8, 7, 6, 5, 4, 3, 2, 1}},
        {"Byte", [](MemoryStream* s) { P::SerializeByte(0xAB, s); }, {11, 0xAB}},
        {"UInt16", [](MemoryStream* s) { P::SerializeUInt16(0xBEEF, s); }, {12, 0xEF, 0xBE}},
        {"UInt32", [](MemoryStream* s) { P::SerializeUInt32(0xDEADBEEF, s); }, {13, 0xEF, 0xBE, 0xAD, 0xDE}},
        {"UInt64", [](MemoryStream* s) { P::SerializeUInt64(~0ULL, s); }, {14, 255, 255, 255, 255, 255, 255, 255, 255}},
        {"Boolean 5", [](MemoryStream* s) { P::SerializeBoolean(5, s); }, {15, 1}},
        {"Boolean -1", [](MemoryStream* s) { P::SerializeBoolean(-1, s); }, {15, 1}},
        {"Boolean 0", [](MemoryStream* s) { P::SerializeBoolean(0, s); }, {15, 0}},
        {"Char", [](MemoryStream* s) { P::SerializeChar(L'\x20AC', s); }, {16, 0xAC, 0x20}},
        {"Decimal",
         [](MemoryStream* s) { P::SerializeDecimal(Decimal(1, 0x02030405, 0, 0x80000000), s); },
         {17, 1, 0, 0, 0, 5, 4, 3, 2, 0, 0, 0, 0, 0, 0, 0, 0x80}},
        {"Single", [](MemoryStream* s) { P::SerializeSingle(1.0f, s); }, {18, 0, 0, 0x80, 0x3F}},
        {"Double", [](MemoryStream* s) { P::SerializeDouble(-2.0, s); }, {19, 0, 0, 0, 0, 0, 0, 0, 0xC0}},
        {"DateTime epoch",
         [](MemoryStream* s) { P::SerializeDateTime(Date(1601, 1, 1), s); },
         {20, 0, 0, 0, 0, 0, 0, 0, 0}},
        // 2000-01-01 is 0x01BF53EB256D4000 intervals of 100 ns after the epoch.
        {"DateTime 2000",
         [](MemoryStream* s) { P::SerializeDateTime(Date(2000, 1, 1), s); },
         {20, 0x00, 0x40, 0x6D, 0x25, 0xEB, 0x53, 0xBF, 0x01}},
        {"String empty", [](MemoryStream* s) { P::SerializeString(UString(), s); }, {21, 0}},
        {"String", [](MemoryStream* s) { P::SerializeString(UString(L"A\x20AC"), s); }, {21, 4, 'A', 0xE2, 0x82, 0xAC}},
        {"String pair",
         [](MemoryStream* s) { P::SerializeString(UString(L"\xD83D\xDE00"), s); },
         {21, 4, 0xF0, 0x9F, 0x98, 0x80}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.expected, Written(c.write)) << c.name;
}

TEST(PrimitiveSerializer, RoundTripsEveryType)
{
    MemoryStream s;
    P::SerializeSByte(-128, &s);
    P::SerializeInt16(-32768, &s);
    P::SerializeInt32(-123456789, &s);
    P::SerializeInt64(-1234567890123456789LL, &s);
    P::SerializeByte(255, &s);
    P::SerializeUInt16(65535, &s);
    P::SerializeUInt32(4000000000U, &s);
    P::SerializeUInt64(18000000000000000000ULL, &s);
    P::SerializeBoolean(7, &s);
    P::SerializeChar(L'\xFFFF', &s);
    P::SerializeDecimal(Decimal(1, 2, 3, 0x80010000), &s);
    P::SerializeSingle(FLT_MIN, &s);
    P::SerializeDouble(DBL_MAX, &s);
    P::SerializeDateTime(Date(2026, 11, 23, 22, 59, 58, 999), &s);
    P::SerializeString(UString(L"\xFEFF"
                               L"caf\x00E9 \xD83D\xDE00"),
                       &s);

    struct Expect
    {
        int tag;
        std::function<void(MemoryStream*)> check;
    } expected[] = {
        {7, [](MemoryStream* r) { EXPECT_EQ(-128, P::DeserializeSByte(r)); }},
        {8, [](MemoryStream* r) { EXPECT_EQ(-32768, P::DeserializeInt16(r)); }},
        {9, [](MemoryStream* r) { EXPECT_EQ(-123456789, P::DeserializeInt32(r)); }},
        {10, [](MemoryStream* r) { EXPECT_EQ(-1234567890123456789LL, P::DeserializeInt64(r)); }},
        {11, [](MemoryStream* r) { EXPECT_EQ(255, P::DeserializeByte(r)); }},
        {12, [](MemoryStream* r) { EXPECT_EQ(65535, P::DeserializeUInt16(r)); }},
        {13, [](MemoryStream* r) { EXPECT_EQ(4000000000U, P::DeserializeUInt32(r)); }},
        {14, [](MemoryStream* r) { EXPECT_EQ(18000000000000000000ULL, P::DeserializeUInt64(r)); }},
        {15, [](MemoryStream* r) { EXPECT_EQ(1, P::DeserializeBoolean(r)); }},
        {16, [](MemoryStream* r) { EXPECT_EQ(L'\xFFFF', P::DeserializeChar(r)); }},
        {17, [](MemoryStream* r) { EXPECT_TRUE(Decimal(1, 2, 3, 0x80010000) == P::DeserializeDecimal(r)); }},
        {18, [](MemoryStream* r) { EXPECT_EQ(FLT_MIN, P::DeserializeSingle(r)); }},
        {19, [](MemoryStream* r) { EXPECT_EQ(DBL_MAX, P::DeserializeDouble(r)); }},
        {20,
         [](MemoryStream* r) {
             SYSTEMTIME t = P::DeserializeDateTime(r);
             EXPECT_EQ(2026, t.wYear);
             EXPECT_EQ(1, t.wDayOfWeek); // a Monday, filled in by the conversion
             EXPECT_EQ(23, t.wDay);
             EXPECT_EQ(999, t.wMilliseconds);
         }},
        // Settled: a leading U+FEFF is text, not a byte-order mark.
        {21,
         [](MemoryStream* r) {
             EXPECT_STREQ(L"\xFEFF"
                          L"caf\x00E9 \xD83D\xDE00",
                          P::DeserializeString(r));
         }},
    };
    for (const Expect& e : expected)
    {
        EXPECT_EQ(e.tag, s.ReadByte());
        e.check(&s);
    }
    EXPECT_EQ(0u, s.Left());
}

TEST(PrimitiveSerializer, EveryShortReadIsUnexpectedEnd)
{
    struct Case
    {
        const char* name;
        Bytes payload; // one byte short of a whole value, or as given
        std::function<void(MemoryStream*)> read;
    } cases[] = {
        {"SByte", {}, [](MemoryStream* r) { P::DeserializeSByte(r); }},
        {"Int16", {1}, [](MemoryStream* r) { P::DeserializeInt16(r); }},
        {"Int32", {1, 2, 3}, [](MemoryStream* r) { P::DeserializeInt32(r); }},
        {"Int64", {1, 2, 3, 4, 5, 6, 7}, [](MemoryStream* r) { P::DeserializeInt64(r); }},
        {"Byte", {}, [](MemoryStream* r) { P::DeserializeByte(r); }},
        {"UInt16", {1}, [](MemoryStream* r) { P::DeserializeUInt16(r); }},
        {"UInt32", {1, 2, 3}, [](MemoryStream* r) { P::DeserializeUInt32(r); }},
        {"UInt64", {1, 2, 3, 4, 5, 6, 7}, [](MemoryStream* r) { P::DeserializeUInt64(r); }},
        {"Boolean", {}, [](MemoryStream* r) { P::DeserializeBoolean(r); }},
        {"Char", {1}, [](MemoryStream* r) { P::DeserializeChar(r); }},
        {"Decimal", Bytes(15, 1), [](MemoryStream* r) { P::DeserializeDecimal(r); }},
        {"Single", {1, 2, 3}, [](MemoryStream* r) { P::DeserializeSingle(r); }},
        {"Double", {1, 2, 3, 4, 5, 6, 7}, [](MemoryStream* r) { P::DeserializeDouble(r); }},
        {"DateTime", {1, 2, 3, 4, 5, 6, 7}, [](MemoryStream* r) { P::DeserializeDateTime(r); }},
        {"String without count", {}, [](MemoryStream* r) { P::DeserializeString(r); }},
        {"String count cut", {0x80}, [](MemoryStream* r) { P::DeserializeString(r); }},
        // Settled: fewer bytes than the count is an error, not a shorter text.
        {"String bytes cut", {3, 'a', 'b'}, [](MemoryStream* r) { P::DeserializeString(r); }},
        {"String huge count",
         {0xFF, 0xFF, 0xFF, 0xFF, 0x0F, 'a', 'b', 'c', 'd'},
         [](MemoryStream* r) { P::DeserializeString(r); }},
    };
    for (const Case& c : cases)
    {
        for (int seekable = 0; seekable < 2; ++seekable)
        {
            MemoryStream r(c.payload, seekable);
            EXPECT_EQ(L"Unexpected end of stream.", SerializationFailure([&] { c.read(&r); }))
                << c.name << " seekable " << seekable;
        }
    }
}

TEST(PrimitiveSerializer, ReadsWholeValuesFromStreamsThatHandOutLittleAtATime)
{
    MemoryStream r({9, 0x78, 0x56, 0x34, 0x12, 21, 3, 'x', 'y', 'z'}, 0, 1);
    EXPECT_EQ(9, r.ReadByte());
    EXPECT_EQ(0x12345678, P::DeserializeInt32(&r));
    EXPECT_EQ(21, r.ReadByte());
    EXPECT_STREQ(L"xyz", P::DeserializeString(&r));
}

TEST(PrimitiveSerializer, RefusesDatesThatDoNotConvert)
{
    for (const SYSTEMTIME& t : {Date(2020, 13, 1), Date(2020, 1, 1, 24), Date(2020, 1, 1, 0, 0, 0, 1000)})
    {
        MemoryStream s;
        EXPECT_EQ(L"Invalid SYSTEMTIME value.", SerializationFailure([&] { P::SerializeDateTime(t, &s); }));
        EXPECT_TRUE(s.m_data.empty());
    }
    MemoryStream r(Bytes(8, 0xFF));
    EXPECT_EQ(L"Invalid DateTime value.", SerializationFailure([&] { P::DeserializeDateTime(&r); }));
}

TEST(PrimitiveSerializer, DecodesEachStringOnItsOwn)
{
    // A cut sequence at the end of one string, its continuation at the start of the next: each
    // string decodes alone, so the euro sign is never put together across them.
    MemoryStream r({2, 0xE2, 0x82, 2, 0xAC, 'b', 3, 0xEF, 0xBB, 0xBF});
    UString first = P::DeserializeString(&r);
    UString second = P::DeserializeString(&r);
    EXPECT_EQ(nullptr, wcschr(first, L'\x20AC'));
    EXPECT_EQ(nullptr, wcschr(second, L'\x20AC'));
    EXPECT_STREQ(L"\xFEFF", P::DeserializeString(&r));
}

TEST(PrimitiveSerializer, NullStreamIsAnArgumentError)
{
    std::function<void()> calls[] = {
        [] { P::SerializeInt32(1, nullptr); },
        [] { P::SerializeString(UString(L"x"), nullptr); },
        [] { P::SerializeDateTime(Date(2000, 1, 1), nullptr); },
        [] { P::DeserializeInt32(nullptr); },
        [] { P::DeserializeString(nullptr); },
    };
    for (auto& call : calls)
        EXPECT_THROW(call(), Exceptions::UArgumentException);
}
