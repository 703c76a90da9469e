#include "BimFileTestSupport.h"

#include <gtest/gtest.h>

#include <new>
#include <sstream>

using namespace Oskal::Lib::BIM;
using namespace OskalTests;

namespace {

Bytes PlainSample()
{
    Bytes records;
    Append(records, Tlv(3, B("short \xC3\xA9")));
    Append(records, Tlv(4, B("a longer description")));
    Append(records, Tlv(1, B("TARGET01")));
    Append(records, Tlv(5, Bytes{1, 2, 0xEA, 0x07, 3, 4, 5, 0}));
    Append(records, Tlv(0x77, B("xyz")));
    Bytes payload;
    Append(payload, PlainContainer(1, FirmwareInner({{0x1000, Counting(12, 1, 7)},
                                                     {0x2000, Counting(6, 50, 7)},
                                                     {0xFFFFFFF0, Counting(16, 90, 7)}})));
    Append(payload, PlainContainer(2, Counting(9, 3, 7)));
    Append(payload, PlainContainer(7, Counting(5, 4, 7)));
    return BimFile(records, payload);
}

Bytes EncryptedSample()
{
    Bytes payload;
    Append(payload, EncryptedContainer(1, FirmwareInner({{0x400, Counting(20, 1, 7)}, {0x800, Counting(3, 9, 7)}})));
    Append(payload, EncryptedContainer(2, Counting(17, 2, 7)));
    Append(payload, EncryptedContainer(9, Counting(4, 5, 7)));
    return BimFile(Tlv(3, B("enc")), payload);
}

class Damage
{
public:
    Damage() : loaded(0), refused(0), m_file(L"bimdmg"), m_saved(L"bimdmg") {}
    // Loads (and, when that works, saves) one damaged file; only the library's exceptions may
    // come out.
    void Try(const Bytes& bytes, const std::string& what)
    {
        WriteFile(m_file.Path(), bytes);
        try
        {
            UBimFile file;
            KeyCallback callback;
            file.Load(m_file.Path(), callback);
            ++loaded;
            try
            {
                file.Save(m_saved.Path());
            }
            catch (const Oskal::Lib::Exceptions::UException&)
            {
            }
        }
        catch (const Oskal::Lib::Exceptions::UException&)
        {
            ++refused;
        }
        catch (const std::bad_alloc&)
        {
            ADD_FAILURE() << "std::bad_alloc for " << what;
        }
        catch (...)
        {
            ADD_FAILURE() << "foreign exception for " << what;
        }
    }
    int loaded;
    int refused;

private:
    TempFile m_file;
    TempFile m_saved;
};

std::string Name(const char* kind, size_t position, unsigned long long value = 0)
{
    std::ostringstream text;
    text << kind << " at " << position << " value " << std::hex << value;
    return text.str();
}

void Put(Bytes& bytes, size_t position, unsigned long long value, size_t width)
{
    for (size_t i = 0; i < width; ++i)
        bytes[position + i] = static_cast<unsigned char>(value >> (8 * i));
}

void DamageEverywhere(const Bytes& original)
{
    Damage damage;
    damage.Try(original, "the undamaged file");
    ASSERT_EQ(1, damage.loaded);
    const size_t body = original.size() - 20;
    for (size_t i = 0; i < body; ++i)
    {
        for (unsigned char mask : {0x01, 0x80, 0xFF})
        {
            Bytes bytes = original;
            bytes[i] ^= mask;
            Reseal(bytes);
            damage.Try(bytes, Name("flip", i, mask));
        }
    }
    // Length fields (and everything else) at extreme values.
    for (size_t i = 0; i + 2 <= body; i += 2)
    {
        for (unsigned long long value : {0x0000ull, 0x0001ull, 0x7FFFull, 0xFFFFull})
        {
            Bytes bytes = original;
            Put(bytes, i, value, 2);
            Reseal(bytes);
            damage.Try(bytes, Name("u16", i, value));
        }
    }
    for (size_t i = 0; i + 4 <= body; i += 4)
    {
        for (unsigned long long value : {0x7FFFFFFFull, 0x80000000ull, 0xFFFFFFFFull, 0xFFFFFFF0ull,
                                         static_cast<unsigned long long>(body), 0x00010000ull})
        {
            Bytes bytes = original;
            Put(bytes, i, value, 4);
            Reseal(bytes);
            damage.Try(bytes, Name("u32", i, value));
        }
    }
    // Cut short, and grown by bytes inserted in the middle and at the end of the payload.
    for (size_t length = 0; length < body; length += 3)
    {
        Bytes bytes(original.begin(), original.begin() + length);
        Append(bytes, Sha1(bytes));
        damage.Try(bytes, Name("truncated", length));
    }
    for (size_t at : {size_t(16), body / 2, body - 1, body})
    {
        for (size_t count : {1, 3, 16, 100})
        {
            Bytes bytes = original;
            bytes.insert(bytes.begin() + static_cast<long>(at), count, static_cast<unsigned char>(count));
            Reseal(bytes);
            damage.Try(bytes, Name("extended", at, count));
        }
    }
    // Without the checksum recomputed, any change is caught before parsing.
    for (size_t i = 0; i < original.size(); i += 5)
    {
        Bytes bytes = original;
        bytes[i] ^= 0x10;
        UBimFile file;
        EXPECT_EQ(L"!Checksum error.", LoadBytes(file, bytes)) << i;
    }
    EXPECT_GT(damage.refused, 0);
}

TEST(UBimFileRobustness, DamagedPlainFiles)
{
    DamageEverywhere(PlainSample());
}

TEST(UBimFileRobustness, DamagedEncryptedFiles)
{
    DamageEverywhere(EncryptedSample());
}

} // namespace
