// Damaged and hostile messages: counts far beyond the message end without a large allocation,
// and a mutation run in which every failure is the library's own exception.
#include "MessageTestSupport.h"

#include <Oskal/Lib/Messaging/UArraySerializer.h>
#include <Oskal/Lib/Messaging/UPrimitiveSerializer.h>

#include <functional>
#include <random>

using namespace Oskal::Lib;
using namespace Oskal::Lib::Collections;
using namespace Oskal::Lib::Messaging::Serialization;
using namespace MessageTests;
typedef UPrimitiveSerializer P;
typedef UArraySerializer A;

namespace
{

// Reads one item after its tag, as an application's dispatcher would; false for an unknown tag.
// Returns the capacity of the vector it read into, so a test can see what was allocated.
bool ReadItem(int tag, Oskal::Lib::IO::UStream* s, unsigned long* pulCapacity = nullptr)
{
    auto array = [&](auto& values, auto read) {
        try
        {
            read(values, s);
        }
        catch (...)
        {
            if (pulCapacity != nullptr)
                *pulCapacity = values.GetCapacity();
            throw;
        }
    };
    switch (tag)
    {
    case 7:
        P::DeserializeSByte(s);
        break;
    case 8:
        P::DeserializeInt16(s);
        break;
    case 9:
        P::DeserializeInt32(s);
        break;
    case 10:
        P::DeserializeInt64(s);
        break;
    case 11:
        P::DeserializeByte(s);
        break;
    case 12:
        P::DeserializeUInt16(s);
        break;
    case 13:
        P::DeserializeUInt32(s);
        break;
    case 14:
        P::DeserializeUInt64(s);
        break;
    case 15:
        P::DeserializeBoolean(s);
        break;
    case 16:
        P::DeserializeChar(s);
        break;
    case 17:
        P::DeserializeDecimal(s);
        break;
    case 18:
        P::DeserializeSingle(s);
        break;
    case 19:
        P::DeserializeDouble(s);
        break;
    case 20:
        P::DeserializeDateTime(s);
        break;
    case 21:
        P::DeserializeString(s);
        break;
    case 0x47: {
        UVector<signed char> v;
        array(v, &A::DeserializeArrayOfSByte);
        break;
    }
    case 0x48: {
        UVector<short> v;
        array(v, &A::DeserializeArrayOfInt16);
        break;
    }
    case 0x49: {
        UVector<int> v;
        array(v, &A::DeserializeArrayOfInt32);
        break;
    }
    case 0x4A: {
        UVector<__int64> v;
        array(v, &A::DeserializeArrayOfInt64);
        break;
    }
    case 0x4B: {
        UVector<unsigned char> v;
        array(v, &A::DeserializeArrayOfByte);
        break;
    }
    case 0x4C: {
        UVector<unsigned short> v;
        array(v, &A::DeserializeArrayOfUInt16);
        break;
    }
    case 0x4D: {
        UVector<unsigned int> v;
        array(v, &A::DeserializeArrayOfUInt32);
        break;
    }
    case 0x4E: {
        UVector<unsigned __int64> v;
        array(v, &A::DeserializeArrayOfUInt64);
        break;
    }
    case 0x4F: {
        UVector<int> v;
        array(v, &A::DeserializeArrayOfBoolean);
        break;
    }
    case 0x50: {
        UVector<wchar_t> v;
        array(v, &A::DeserializeArrayOfChar);
        break;
    }
    case 0x51: {
        UVector<UDecimal> v;
        array(v, &A::DeserializeArrayOfDecimal);
        break;
    }
    case 0x52: {
        UVector<float> v;
        array(v, &A::DeserializeArrayOfSingle);
        break;
    }
    case 0x53: {
        UVector<double> v;
        array(v, &A::DeserializeArrayOfDouble);
        break;
    }
    case 0x54: {
        UVector<SYSTEMTIME> v;
        array(v, &A::DeserializeArrayOfDateTime);
        break;
    }
    case 0x55: {
        UVector<UString> v;
        array(v, &A::DeserializeArrayOfString);
        break;
    }
    default:
        return false;
    }
    return true;
}

const int kArrayTags[] = {0x47, 0x48, 0x49, 0x4A, 0x4B, 0x4C, 0x4D, 0x4E, 0x4F, 0x50, 0x51, 0x52, 0x53, 0x54, 0x55};

// One message with an item of every type.
Bytes SampleMessage()
{
    MemoryStream s;
    SYSTEMTIME now = {};
    now.wYear = 2026;
    now.wMonth = 11;
    now.wDay = 23;
    unsigned int words[4] = {1, 2, 3, 4};
    P::SerializeSByte(-1, &s);
    P::SerializeInt16(300, &s);
    P::SerializeInt32(70000, &s);
    P::SerializeInt64(-5, &s);
    P::SerializeByte(200, &s);
    P::SerializeUInt16(1, &s);
    P::SerializeUInt32(2, &s);
    P::SerializeUInt64(3, &s);
    P::SerializeBoolean(1, &s);
    P::SerializeChar(L'\xE9', &s);
    P::SerializeDecimal(UDecimal(words), &s);
    P::SerializeSingle(0.5f, &s);
    P::SerializeDouble(0.25, &s);
    P::SerializeDateTime(now, &s);
    P::SerializeString(UString(L"na\x00EFve \xD83D\xDE00"), &s);
    A::SerializeArrayOfSByte(UVector<signed char>(3), &s);
    A::SerializeArrayOfInt16(UVector<short>(2), &s);
    A::SerializeArrayOfInt32(UVector<int>(4), &s);
    A::SerializeArrayOfInt64(UVector<__int64>(1), &s);
    A::SerializeArrayOfByte(UVector<unsigned char>(5), &s);
    A::SerializeArrayOfUInt16(UVector<unsigned short>(2), &s);
    A::SerializeArrayOfUInt32(UVector<unsigned int>(2), &s);
    A::SerializeArrayOfUInt64(UVector<unsigned __int64>(2), &s);
    A::SerializeArrayOfBoolean(UVector<int>(3), &s);
    A::SerializeArrayOfChar(UVector<wchar_t>(3), &s);
    A::SerializeArrayOfDecimal(UVector<UDecimal>(2), &s);
    A::SerializeArrayOfSingle(UVector<float>(2), &s);
    A::SerializeArrayOfDouble(UVector<double>(2), &s);
    UVector<SYSTEMTIME> dates;
    dates.Add(now);
    A::SerializeArrayOfDateTime(dates, &s);
    UVector<UString> texts;
    texts.Add(UString(L"\x20AC"));
    texts.Add(UString(L"ab"));
    A::SerializeArrayOfString(texts, &s);
    return s.m_data;
}

} // namespace

TEST(HostileMessage, HugeCountInShortMessageEndsWithoutLargeAllocation)
{
    // A five-byte count of 2^32 - 1 and four more bytes: ten bytes with the tag.
    for (int tag : kArrayTags)
    {
        for (int seekable = 0; seekable < 2; ++seekable)
        {
            MemoryStream r({static_cast<unsigned char>(tag), 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, 1, 1, 1, 1}, seekable);
            r.ReadByte();
            unsigned long capacity = 0;
            EXPECT_EQ(L"Unexpected end of stream.", SerializationFailure([&] { ReadItem(tag, &r, &capacity); }))
                << "tag " << tag << " seekable " << seekable;
            EXPECT_LT(capacity, 1000u) << "tag " << tag;
        }
    }
    MemoryStream text({21, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, 'a', 'b', 'c', 'd'}, 0);
    text.ReadByte();
    EXPECT_EQ(L"Unexpected end of stream.", SerializationFailure([&] { P::DeserializeString(&text); }));
}

TEST(HostileMessage, LargeArraysStillArriveFromStreamsThatCannotTellTheirSize)
{
    // Growth in steps must still deliver counts far above the first step, in pieces.
    UVector<int> values(100000);
    for (unsigned long i = 0; i < values.GetLength(); ++i)
        values[i] = static_cast<int>(i * 7);
    MemoryStream s;
    A::SerializeArrayOfInt32(values, &s);
    // Writing keeps the low 7 bits of the count: patch a five-byte count that reads back whole.
    Bytes message{0x49, 0xA0, 0x8D, 0x06};
    message.insert(message.end(), s.m_data.begin() + 4, s.m_data.end());
    MemoryStream r(message, 0, 999);
    r.ReadByte();
    UVector<int> back;
    A::DeserializeArrayOfInt32(back, &r);
    EXPECT_TRUE(values == back);
}

TEST(HostileMessage, MutationRunEndsOnlyInSerializationExceptions)
{
    const Bytes sample = SampleMessage();
    {
        MemoryStream whole(sample);
        int items = 0;
        for (long tag; (tag = whole.ReadByte()) >= 0; ++items)
            ASSERT_TRUE(ReadItem(static_cast<int>(tag), &whole));
        ASSERT_EQ(30, items);
    }

    std::mt19937 random(20261123);
    int failures = 0, clean = 0, other = 0;
    for (int round = 0; round < 100000; ++round)
    {
        Bytes message = sample;
        const int edits = 1 + static_cast<int>(random() % 4);
        for (int e = 0; e < edits && !message.empty(); ++e)
        {
            const size_t at = random() % message.size();
            switch (random() % 5)
            {
            case 0:
                message[at] = static_cast<unsigned char>(random());
                break;
            case 1:
                message[at] = static_cast<unsigned char>(message[at] | 0x80);
                break;
            case 2:
                message.resize(at);
                break;
            case 3:
                message.insert(message.begin() + at, 0xFF);
                break;
            default:
                message.erase(message.begin() + at);
                break;
            }
        }
        MemoryStream r(message, round & 1, (round & 2) ? 3 : 0x7FFFFFFF);
        try
        {
            for (long tag; (tag = r.ReadByte()) >= 0;)
                if (!ReadItem(static_cast<int>(tag), &r))
                    break;
            ++clean;
        }
        catch (const USerializationException&)
        {
            ++failures;
        }
        catch (...)
        {
            ++other;
        }
    }
    EXPECT_EQ(0, other);
    EXPECT_GT(failures, 10000);
    EXPECT_GT(clean, 1000);
}
