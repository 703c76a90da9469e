#include <Oskal/Lib/IO/UFileStream.h>
#include <Oskal/Lib/IO/UNullStream.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

using namespace Oskal::Lib;
using namespace Oskal::Lib::IO;

namespace {

// Slot of a virtual function, counting the destructor as one slot. GCC's vtables hold two
// destructor entries and encode a virtual member pointer as 1 + byte offset.
template <typename M>
int SlotOf(M member)
{
    struct
    {
        std::uintptr_t ptr;
        std::ptrdiff_t adj;
    } raw;
    static_assert(sizeof raw == sizeof member, "unexpected member pointer layout");
    std::memcpy(&raw, &member, sizeof raw);
    return static_cast<int>((raw.ptr - 1) / sizeof(void*)) - 1;
}

} // namespace

// Streams built against the published layout call through these slots.
TEST(UStream, VirtualFunctionsKeepTheirSlots)
{
    EXPECT_EQ(1, SlotOf(&UStream::CanRead));
    EXPECT_EQ(2, SlotOf(&UStream::CanWrite));
    EXPECT_EQ(3, SlotOf(&UStream::CanSeek));
    EXPECT_EQ(4, SlotOf(&UStream::CanTimeout));
    EXPECT_EQ(5, SlotOf(&UStream::GetReadTimeout));
    EXPECT_EQ(6, SlotOf(&UStream::GetWriteTimeout));
    EXPECT_EQ(7, SlotOf(&UStream::SetReadTimeout));
    EXPECT_EQ(8, SlotOf(&UStream::SetWriteTimeout));
    EXPECT_EQ(9, SlotOf(&UStream::Close));
    EXPECT_EQ(10, SlotOf(&UStream::Flush));
    EXPECT_EQ(11, SlotOf(&UStream::GetLength));
    EXPECT_EQ(12, SlotOf(&UStream::GetPosition));
    EXPECT_EQ(13, SlotOf(&UStream::IsDataAvailable));
    EXPECT_EQ(14, SlotOf(&UStream::Read));
    EXPECT_EQ(15, SlotOf(&UStream::ReadByte));
    EXPECT_EQ(16, SlotOf(&UStream::ResetView));
    EXPECT_EQ(17, SlotOf(&UStream::Seek));
    EXPECT_EQ(18, SlotOf(&UStream::SetLength));
    EXPECT_EQ(19, SlotOf(&UStream::SetPosition));
    EXPECT_EQ(20, SlotOf(&UStream::SetView));
    EXPECT_EQ(21, SlotOf(&UStream::Write));
    EXPECT_EQ(22, SlotOf(&UStream::WriteByte));
    EXPECT_EQ(23, SlotOf(&UFileStream::Open));
    EXPECT_EQ(24, SlotOf(&UFileStream::IsOpen));
}
