// The tagged message format: exact bytes and round trips of every value and array form, every
// short read, the settled count and text rules, and damaged or hostile messages.
#include "Support/MemoryStream.h"
#include "Support/Thrown.h"

#include <Oskal/Lib/Messaging/UArraySerializer.h>
#include <Oskal/Lib/Messaging/UPrimitiveSerializer.h>
#include <Oskal/Lib/Messaging/USerializationException.h>
#include <gtest/gtest.h>
#include <cstring>
#include <functional>
#include <random>

using namespace Oskal::Lib;
using namespace Oskal::Lib::Collections;
using namespace Oskal::Lib::Messaging::Serialization;
typedef UPrimitiveSerializer P;
typedef UArraySerializer A;
typedef std::vector<unsigned char> Bytes;

namespace
{

// The shared test stream: unseekable, it cannot tell how much it holds, like a pipe; a cap makes
// it hand out fewer bytes per read than asked.
struct S : OskalTests::MemoryStream
{
    explicit S(const Bytes& data = Bytes(), int bSeekable = 1, size_t maxRead = 0)
        : MemoryStream(data) { m_seekable = bSeekable, m_maxRead = maxRead; }
};

// The message of the USerializationException the call throws.
template <typename F> std::wstring SerializationFailure(F call) { return OskalTests::Thrown<USerializationException>(call); }
const wchar_t* const kNone = L"(no exception)";

template <typename T> UVector<T> Vec(std::initializer_list<T> values)
{ return UVector<T>(values.begin(), static_cast<unsigned long>(values.size())); }

SYSTEMTIME Date(WORD year, WORD month, WORD day, WORD hour = 0, WORD ms = 0)
{ return SYSTEMTIME{year, month, 0, day, hour, 0, 0, ms}; }

UDecimal Decimal(unsigned int a, unsigned int b, unsigned int c, unsigned int d)
{ unsigned int words[4] = {a, b, c, d}; return UDecimal(words); }

// One item: how to write it, its exact bytes, and how to read it back (after the tag) and write
// what was read again.
struct Item { const char* name; std::function<void(S*)> write; std::function<void(S*, IO::UStream*)> echo; Bytes bytes; };

// clang-format off
#define VALUE(Type, value, ...)                                                                                        \
    {#Type, [](S* s) { P::Serialize##Type(value, s); },                                                               \
     [](S* in, IO::UStream* out) { P::Serialize##Type(P::Deserialize##Type(in), out); }, __VA_ARGS__}
// The vector read into starts with two elements and a capacity of 2.
#define ARRAY(Type, T, values, ...)                                                                                    \
    {"ArrayOf" #Type, [](S* s) { A::SerializeArrayOf##Type(Vec<T> values, s); },                                      \
     [](S* in, IO::UStream* out) { UVector<T> v(2); A::DeserializeArrayOf##Type(v, in); A::SerializeArrayOf##Type(v, out); }, \
     __VA_ARGS__}
// clang-format on

const std::vector<Item> kItems = {
    VALUE(SByte, -2, {7, 0xFE}),
    VALUE(Int16, -2, {8, 0xFE, 0xFF}),
    VALUE(Int32, 1, {9, 1, 0, 0, 0}),
    VALUE(Int64, 0x0102030405060708LL, {10, 8, 7, 6, 5, 4, 3, 2, 1}),
    VALUE(Byte, 0xAB, {11, 0xAB}),
    VALUE(UInt16, 0xBEEF, {12, 0xEF, 0xBE}),
    VALUE(UInt32, 0xDEADBEEF, {13, 0xEF, 0xBE, 0xAD, 0xDE}),
    VALUE(UInt64, ~0ULL, {14, 255, 255, 255, 255, 255, 255, 255, 255}),
    VALUE(Boolean, 5, {15, 1}),
    VALUE(Boolean, 0, {15, 0}),
    VALUE(Char, L'\x20AC', {16, 0xAC, 0x20}),
    VALUE(Decimal, Decimal(1, 0x02030405, 0, 0x80000000), {17, 1, 0, 0, 0, 5, 4, 3, 2, 0, 0, 0, 0, 0, 0, 0, 0x80}),
    VALUE(Single, 1.0f, {18, 0, 0, 0x80, 0x3F}),
    VALUE(Double, -2.0, {19, 0, 0, 0, 0, 0, 0, 0, 0xC0}),
    VALUE(DateTime, Date(2026, 11, 23, 22, 999), {20, 0x70, 0xDF, 0xA4, 0xFC, 0x95, 0x7B, 0xDD, 0x01}),
    VALUE(String, UString(), {21, 0}),
    VALUE(String, UString(L"A\x20AC"), {21, 4, 'A', 0xE2, 0x82, 0xAC}),
    VALUE(String, UString(L"\xD83D\xDE00"), {21, 4, 0xF0, 0x9F, 0x98, 0x80}),
    // Settled: a leading U+FEFF is text, not a byte-order mark.
    VALUE(String, UString(L"\xFEFFx"), {21, 4, 0xEF, 0xBB, 0xBF, 'x'}),
    ARRAY(Int32, int, ({}), {0x49, 0}),
    ARRAY(SByte, signed char, ({-1, 2}), {0x47, 2, 0xFF, 2}),
    ARRAY(Byte, unsigned char, ({9}), {0x4B, 1, 9}),
    ARRAY(Int16, short, ({-2, 0x102}), {0x48, 2, 0xFE, 0xFF, 2, 1}),
    ARRAY(UInt16, unsigned short, ({0xBEEF}), {0x4C, 1, 0xEF, 0xBE}),
    ARRAY(Char, wchar_t, ({L'a', L'\xD800'}), {0x50, 2, 'a', 0, 0x00, 0xD8}),
    ARRAY(Int32, int, ({1, -1, 7}), {0x49, 3, 1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 7, 0, 0, 0}),
    ARRAY(UInt32, unsigned int, ({0x01020304}), {0x4D, 1, 4, 3, 2, 1}),
    ARRAY(Int64, __int64, ({-2}), {0x4A, 1, 0xFE, 255, 255, 255, 255, 255, 255, 255}),
    ARRAY(UInt64, unsigned __int64, ({0x0102030405060708ULL}), {0x4E, 1, 8, 7, 6, 5, 4, 3, 2, 1}),
    ARRAY(Boolean, int, ({0, 5, -1, 1}), {0x4F, 4, 0, 1, 1, 1}),
    ARRAY(Decimal, UDecimal, ({Decimal(1, 2, 3, 4)}), {0x51, 1, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0, 0}),
    ARRAY(Single, float, ({-1.0f}), {0x52, 1, 0, 0, 0x80, 0xBF}),
    ARRAY(Double, double, ({1.0}), {0x53, 1, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F}),
    // 1601-01-01 is 0; 2000-01-01 is 0x01BF53EB256D4000 intervals of 100 ns after it.
    ARRAY(DateTime, SYSTEMTIME, ({Date(1601, 1, 1), Date(2000, 1, 1)}),
          {0x54, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x40, 0x6D, 0x25, 0xEB, 0x53, 0xBF, 0x01}),
    ARRAY(String, UString, ({UString(L"ab"), UString(), UString(L"\xFEFF")}),
          {0x55, 3, 2, 'a', 'b', 0, 3, 0xEF, 0xBB, 0xBF}),
};

// Reads one item after its tag, as an application's dispatcher would; false for an unknown tag.
bool ReadItem(long tag, S* in)
{
    for (const Item& item : kItems)
    {
        if (item.bytes[0] == tag)
            return item.echo(in, &IO::UStream::Null()), true;
    }
    return false;
}

} // namespace

TEST(WireFormat, ExactBytesRoundTripsAndEveryShortRead)
{
    for (const Item& item : kItems)
    {
        S written;
        item.write(&written);
        EXPECT_EQ(item.bytes, written.m_data) << item.name;
        // Read back whole and from every cut, from a stream that hands out one byte at a time and
        // from a seekable one.
        for (size_t cut = 0; cut < 2 * item.bytes.size(); ++cut)
        {
            const size_t length = item.bytes.size() - cut / 2, seekable = cut % 2;
            S in(Bytes(item.bytes.begin(), item.bytes.begin() + length), int(seekable), seekable ? 0x7FFFFFFF : 1), out;
            in.ReadByte();
            EXPECT_EQ(cut < 2 ? kNone : L"Unexpected end of stream.", SerializationFailure([&] { item.echo(&in, &out); }))
                << item.name << " cut to " << length;
            EXPECT_EQ(cut < 2 ? item.bytes : out.m_data, out.m_data) << item.name;
        }
    }
}

TEST(CountEncoding, LargeCountsReadBackAsLowBits)
{
    // Kept: every 7-bit group is written with bit 7 clear, so 200 reads back as 72, and the
    // second count byte as the first element.
    S s;
    A::SerializeArrayOfInt16(UVector<short>(200), &s);
    EXPECT_EQ((Bytes{0x48, 0x48, 0x01}), Bytes(s.m_data.begin(), s.m_data.begin() + 3));
    s.ReadByte();
    UVector<unsigned char> bytes;
    A::DeserializeArrayOfByte(bytes, &s);
    EXPECT_TRUE(bytes.GetLength() == 72 && bytes[0] == 1);
    // Reading: bit 7 goes on, for five bytes at most; bits past the 32nd are lost (0x70 << 28).
    const std::pair<Bytes, unsigned long> reads[] = {
        {{0x7F}, 127}, {{0x81, 0x01}, 129}, {{0xC8, 0x81, 0x00}, 200}, {{0x80, 0x80, 0x80, 0x80, 0xF0}, 0}};
    for (const auto& c : reads)
    {
        Bytes message = c.first;
        message.insert(message.end(), c.second, 'x');
        S in(message);
        A::DeserializeArrayOfByte(bytes, &in);
        EXPECT_EQ(c.second, bytes.GetLength());
        EXPECT_EQ(message.size(), in.m_position);
    }
}

TEST(WireFormat, ArrayReadsReplaceTheVectorElementByElement)
{
    // Settled: also when the count equals the capacity, where Resize keeps the old length.
    UVector<int> values(3);
    values.Clear();
    S in({3, 7, 8, 0});
    A::DeserializeArrayOfBoolean(values, &in);
    EXPECT_TRUE(Vec<int>({1, 1, 0}) == values);
    // Settled: the first string ends in half a euro sign and the second begins with its last
    // byte; no element sees another's bytes.
    S strings({3, 2, 0xE2, 0x82, 2, 0xAC, 'b', 1, 'c'});
    UVector<UString> texts;
    A::DeserializeArrayOfString(texts, &strings);
    ASSERT_EQ(3u, texts.GetLength());
    EXPECT_TRUE(!wcschr(texts[0], L'\x20AC') && !wcschr(texts[1], L'\x20AC'));
    EXPECT_STREQ(L"c", texts[2]);
}

TEST(WireFormat, DatesThatDoNotConvert)
{
    for (const SYSTEMTIME& t : {Date(2020, 13, 1), Date(2020, 1, 1, 24), Date(2020, 1, 1, 0, 1000)})
    {
        // Nothing is rolled back: the array's tag, count and first element stay written.
        S s;
        EXPECT_EQ(L"Invalid SYSTEMTIME value.", SerializationFailure([&] { P::SerializeDateTime(t, &s); }));
        EXPECT_EQ(L"Invalid SYSTEMTIME value.",
                  SerializationFailure([&] { A::SerializeArrayOfDateTime(Vec<SYSTEMTIME>({Date(2000, 1, 1), t}), &s); }));
        EXPECT_EQ(10u, s.m_data.size());
    }
    S in(Bytes(8, 0xFF));
    EXPECT_EQ(L"Invalid DateTime value.", SerializationFailure([&] { P::DeserializeDateTime(&in); }));
}

TEST(HostileMessage, HugeCountsEndBeforeLargeAllocationsYetLargeArraysArrive)
{
    // A five-byte count of 2^32 - 1 and four more bytes: ten bytes with the tag.
    // What is allocated stays near what arrived, though a count of 2^28 - 1 asks for 256 MiB.
    for (int seekable = 0; seekable < 2; ++seekable)
    {
        for (const Item& item : kItems)
            if (item.bytes[0] >= 0x40 || item.bytes[0] == 21)
            {
                S in({0xFF, 0xFF, 0xFF, 0xFF, 0x0F, 1, 1, 1, 1}, seekable);
                EXPECT_EQ(L"Unexpected end of stream.", SerializationFailure([&] { item.echo(&in, &IO::UStream::Null()); }))
                    << item.name;
            }
        S in({0xFF, 0xFF, 0xFF, 0x7F, 1, 2, 3}, seekable);
        UVector<unsigned char> values;
        EXPECT_NE(kNone, SerializationFailure([&] { A::DeserializeArrayOfByte(values, &in); }));
        EXPECT_LT(values.GetCapacity(), 1000u);
    }
    // Yet large arrays still arrive from streams that cannot tell their size.
    UVector<int> values(100000);
    for (unsigned long i = 0; i < values.GetLength(); ++i)
        values[i] = static_cast<int>(i * 7);
    S written;
    A::SerializeArrayOfInt32(values, &written);
    // The writer keeps only the low 7 bits of each group: patch in a count that reads back whole.
    Bytes message{0xA0, 0x8D, 0x06};
    message.insert(message.end(), written.m_data.begin() + 4, written.m_data.end());
    S in(message, 0, 999);
    UVector<int> back;
    A::DeserializeArrayOfInt32(back, &in);
    EXPECT_TRUE(values == back);
}

TEST(HostileMessage, MutationRunEndsOnlyInSerializationExceptions)
{
    Bytes sample;
    for (const Item& item : kItems)
        sample.insert(sample.end(), item.bytes.begin(), item.bytes.end());
    std::mt19937 random(20261123);
    int failures = 0, clean = 0;
    for (int round = 0; round < 100000; ++round)
    {
        Bytes message(sample.begin(), sample.begin() + random() % (sample.size() + 1));
        for (int edits = 1 + static_cast<int>(random() % 4); edits > 0 && !message.empty(); --edits)
        {
            const size_t at = random() % message.size();
            switch (random() % 4)
            {
            case 0: message[at] = static_cast<unsigned char>(random()); break;
            case 1: message[at] |= 0x80; break;
            case 2: message.insert(message.begin() + at, 0xFF); break;
            default: message.erase(message.begin() + at);
            }
        }
        // Anything but the library's serialization exception escapes and fails the test.
        S in(message, round & 1, (round & 2) ? 3 : 0x7FFFFFFF);
        ++(SerializationFailure([&] {
              for (long tag = in.ReadByte(); tag >= 0 && ReadItem(tag, &in); tag = in.ReadByte()) {}
          }) == kNone ? clean : failures);
    }
    EXPECT_GT(failures, 10000);
    EXPECT_GT(clean, 1000);
}
