#include "BimFileTestSupport.h"
#include "MemoryImageTestSupport.h"
#include "Support/ChildProcess.h"

#include <Oskal/Lib/BIM/UBimPayloadContainerFirmware.h>
#include <Oskal/Lib/BIM/UMemoryImage.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <vector>

using namespace Oskal::Lib::BIM;
using namespace OskalTests;

namespace {

// The image's rules done the plain way: every lookup walks the list from its head, and every
// merge sorts the whole list and joins from the start again.
class ReferenceImage
{
public:
    void Reserve(unsigned int uiAddress, unsigned int uiLength)
    {
        for (UMemoryRegion& region : regions)
        {
            if (region.Precedes(uiAddress, uiLength) || region.Succeeds(uiAddress, uiLength) ||
                region.Intersects(uiAddress, uiLength))
            {
                region.Merge(UMemoryRegion(uiAddress, uiLength));
                std::stable_sort(regions.begin(), regions.end());
                for (size_t i = 1; i < regions.size();)
                {
                    if (regions[i - 1].Precedes(regions[i]) || regions[i - 1].Intersects(regions[i]))
                    {
                        regions[i - 1].Merge(regions[i]);
                        regions.erase(regions.begin() + static_cast<long>(i));
                        i = 1;
                    }
                    else
                        ++i;
                }
                return;
            }
        }
        regions.push_back(UMemoryRegion(uiAddress, uiLength));
    }
    UMemoryRegion* Containing(unsigned int uiAddress, unsigned int uiLength)
    {
        for (UMemoryRegion& region : regions)
        {
            if (region.Contains(uiAddress, uiLength))
                return &region;
        }
        return nullptr;
    }
    unsigned char* GetBuffer(unsigned int uiAddress, unsigned int uiLength)
    {
        UMemoryRegion* region = Containing(uiAddress, uiLength);
        return region != nullptr ? region->GetData() + (uiAddress - region->GetAddress()) : nullptr;
    }
    void SetData(unsigned int uiAddress, const unsigned char* pbyData, unsigned int uiLength)
    {
        Reserve(uiAddress, uiLength);
        if (unsigned char* buffer = GetBuffer(uiAddress, uiLength))
            std::memcpy(buffer, pbyData, uiLength);
    }
    // Byte by byte: the first region holding the address, else the fill byte.
    std::string Read(unsigned int uiAddress, unsigned int uiLength)
    {
        std::string bytes;
        for (unsigned int i = 0; i < uiLength; ++i)
        {
            UMemoryRegion* region = Containing(uiAddress + i, 1);
            bytes += region != nullptr ? static_cast<char>(region->GetData()[uiAddress + i - region->GetAddress()])
                                       : '\xFF';
        }
        return bytes;
    }
    std::vector<UMemoryRegion> regions;
};

// Places, lengths, whether the bytes exist, and the bytes, in list order.
std::string Describe(const UMemoryRegion& region)
{
    std::ostringstream text;
    text << std::hex << region.GetAddress() << '+' << region.GetLength() << (region.HasData() ? "d" : "")
         << '/' << static_cast<int>(region.GetFillByte());
    if (region.HasData())
    {
        UMemoryRegion copy(region);
        text << ':' << std::string(reinterpret_cast<const char*>(copy.GetData()), copy.GetLength());
    }
    return text.str();
}

std::string Describe(const UMemoryImage& image)
{
    std::string text;
    for (unsigned long i = 0; const UMemoryRegion* region = image.GetMemoryRegion(i); ++i)
        text += Describe(*region) + ' ';
    return text;
}

std::string Describe(const ReferenceImage& image)
{
    std::string text;
    for (const UMemoryRegion& region : image.regions)
        text += Describe(region) + ' ';
    return text;
}

class Random
{
public:
    explicit Random(unsigned int uiSeed) : seed(uiSeed) {}
    unsigned int operator()(unsigned int uiRange)
    {
        seed = seed * 1103515245u + 12345u;
        return (seed >> 8) % uiRange;
    }

private:
    unsigned int seed;
};

TEST(MemoryImageScale, MatchesThePlainAlgorithmOnRandomSteps)
{
    // Reserves, writes and reads in any order, regions moved and resized through the mutable
    // pointer (so regions may overlap behind the image's back), copies: after every step the
    // list, its order, which regions hold bytes, and the bytes equal the plain algorithm's.
    Random next(777);
    for (int round = 0; round < 60; ++round)
    {
        UMemoryImage image;
        ReferenceImage reference;
        // Wide rounds mostly append apart; narrow ones touch and overlap often. Every fourth round
        // also moves regions from outside.
        const unsigned int space = round % 3 == 0 ? 0x4000 : 0x180;
        for (int step = 0; step < 120; ++step)
        {
            const unsigned int address = 0x100 + next(space);
            const unsigned int length = next(5) == 0 ? 0 : 1 + next(0x28);
            const unsigned int what = next(100);
            std::string bytes;
            for (unsigned int i = 0; i < length; ++i)
                bytes += static_cast<char>('a' + next(26));
            const unsigned char* data = reinterpret_cast<const unsigned char*>(bytes.data());
            if (what < 35)
            {
                image.Reserve(address, length);
                reference.Reserve(address, length);
            }
            else if (what < 60)
            {
                image.SetData(address, data, length);
                reference.SetData(address, data, length);
            }
            else if (what < 75)
            {
                unsigned char* mine = image.GetBuffer(address, length);
                unsigned char* theirs = reference.GetBuffer(address, length);
                ASSERT_EQ(theirs == nullptr, mine == nullptr) << round << "/" << step;
                if (mine != nullptr && length != 0)
                {
                    std::memcpy(mine, data, length);
                    std::memcpy(theirs, data, length);
                }
            }
            else if (what < 80 && round % 4 == 3 && !reference.regions.empty())
            {
                // Moved or resized from outside, as a caller may.
                const unsigned long index = next(static_cast<unsigned int>(reference.regions.size()));
                UMemoryRegion* mine = image.GetMemoryRegion(index);
                ASSERT_NE(nullptr, mine);
                if (next(2) == 0)
                {
                    mine->SetAddress(address);
                    reference.regions[index].SetAddress(address);
                }
                else
                {
                    mine->SetLength(length);
                    reference.regions[index].SetLength(length);
                }
            }
            else if (what < 83)
            {
                UMemoryImage copy(image);
                image = copy;
            }
            else
            {
                const unsigned int at = 0x100 + next(space);
                const unsigned int count = next(0x40);
                // Reads that leave one region are answered by this image's own rule; the
                // reference reads byte by byte, which agrees only within a region or outside all.
                bool outside = true;
                for (const UMemoryRegion& region : reference.regions)
                    outside = outside && !(count != 0 && region.GetLength() != 0 && region.Intersects(at, count));
                if (outside || reference.Containing(at, count) != nullptr)
                {
                    // Reading makes the bytes of the region read, on both sides alike.
                    ASSERT_EQ(reference.Read(at, count), Get(image, at, count)) << round << "/" << step;
                }
            }
            ASSERT_EQ(Describe(reference), Describe(image)) << round << "/" << step;
            ASSERT_EQ(reference.regions.empty() ? 0u : reference.regions.front().GetAddress(),
                      image.GetStartAddress());
        }
    }
}

// Regions that land apart below all others, each followed by one against it: every merge used to
// sort the whole list and build its index again, so that a file of 1 MiB took minutes to load.
TEST(MemoryImageScale, AlternatingAppendsAndMergesLoadQuickly)
{
    OSKAL_RUN_IN_CHILD(60000);
    const unsigned int pairs = 20000;
    std::vector<Region> regions;
    for (unsigned int i = 0; i < pairs; ++i)
    {
        regions.push_back({0x80000000u - 0x100u * i, Counting(16, 1)});
        regions.push_back({0x80000000u - 0x100u * i + 16, Counting(16, 17)});
    }
    UBimFile file;
    ASSERT_EQ(L"", LoadBytes(file, BimFile(Bytes(), PlainContainer(1, FirmwareInner(regions)))));
    const UMemoryImage& image =
        dynamic_cast<const UBimPayloadContainerFirmware*>(file.GetPayload().GetContainer(0))->GetMemoryImage();
    EXPECT_EQ(0x80000000u - 0x100u * (pairs - 1), image.GetStartAddress());
    ASSERT_NE(nullptr, image.GetMemoryRegion(pairs - 1));
    EXPECT_EQ(nullptr, image.GetMemoryRegion(pairs));
    const Bytes joined = Counting(32, 1);
    EXPECT_EQ("80000000+20d/ff:" + std::string(joined.begin(), joined.end()),
              Describe(*image.GetMemoryRegion(pairs - 1)));
}

} // namespace
