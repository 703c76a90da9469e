#include "MemoryImageTestSupport.h"

#include <Oskal/Lib/BIM/UIntegrityCheckRegionBlock.h>
#include <Oskal/Lib/BIM/USoftwareInformationBlock.h>

#include <gtest/gtest.h>

#include <string>

using Oskal::Lib::UVersion;
using Oskal::Lib::BIM::UHardwareRevision;
using Oskal::Lib::BIM::UIntegrityCheckRegionBlock;
using Oskal::Lib::BIM::UMemoryImage;
using Oskal::Lib::BIM::UProduct;
using Oskal::Lib::BIM::USoftwareInformationBlock;
using namespace OskalTests;

namespace {

void PutWord(std::string& bytes, unsigned int uiValue)
{
    for (int i = 0; i < 4; ++i)
        bytes += static_cast<char>(uiValue >> (8 * i));
}

// A 92-byte integrity block: mask, entry i = (start + step * i, limit + i), then the digest (by
// default bytes 0, 1, ... 19).
std::string IntegrityBlock(unsigned int uiMask, unsigned int uiStart = 0, unsigned int uiStep = 0x1000,
                           unsigned int uiLimit = 0x100, std::string hash = std::string())
{
    std::string bytes = "QERB";
    PutWord(bytes, uiMask);
    for (unsigned int i = 0; i < 8; ++i)
    {
        PutWord(bytes, uiStart + uiStep * i);
        PutWord(bytes, uiLimit + i);
    }
    for (int i = 0; hash.size() < 20; ++i)
        hash += static_cast<char>(i);
    return bytes + hash;
}

TEST(UIntegrityCheckRegionBlock, ReadsTheBlockAtItsAddress)
{
    UMemoryImage image;
    Set(image, 0x8000, "xxxx" + IntegrityBlock(0x05) + "yyyy");
    EXPECT_EQ(nullptr, UIntegrityCheckRegionBlock::FromMemoryImage(0x8000, image));
    EXPECT_EQ(nullptr, UIntegrityCheckRegionBlock::FromMemoryImage(0x9000, image));
    UIntegrityCheckRegionBlock* block = UIntegrityCheckRegionBlock::FromMemoryImage(0x8004, image);
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(1ul, block->GetRefCount());
    EXPECT_EQ(0x8004u, block->GetAddress());
    for (unsigned long i = 0; i < 8; ++i)
    {
        EXPECT_EQ(i == 0 || i == 2, block->IsEntryEnabled(i) != 0) << i;
        EXPECT_EQ(0x1000 * i, block->GetEntryStart(i));
        EXPECT_EQ(0x100 + i, block->GetEntryLimit(i));
    }
    EXPECT_EQ(IntegrityBlock(0).substr(72), std::string(reinterpret_cast<const char*>(block->GetHash()), 20));
    ExpectArgumentError([&] { block->IsEntryEnabled(8); }, L"ulIndex", L"Index is out of range.");
    ExpectArgumentError([&] { block->SetEntry(8, 1, 0, 0); }, L"ulIndex", L"Index is out of range.");
    block->Release();
}

TEST(USoftwareInformationBlock, ReadsProductVersionAndRevisions)
{
    UMemoryImage image;
    std::string bytes;
    PutWord(bytes, 0x3FD09EFA);
    PutWord(bytes, 0x12345678);
    PutWord(bytes, 0xAA030201);
    PutWord(bytes, 0x0000BEEF);
    Set(image, 0x400, bytes);
    EXPECT_EQ(nullptr, USoftwareInformationBlock::FromMemoryImage(0x404, image));
    USoftwareInformationBlock* block = USoftwareInformationBlock::FromMemoryImage(0x400, image);
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(1ul, block->GetRefCount());
    EXPECT_EQ(0x400u, block->GetAddress());
    EXPECT_EQ(0x12345678u, static_cast<unsigned int>(block->GetProduct()));
    EXPECT_EQ(3, block->GetVersion().GetGeneral());
    EXPECT_EQ(2, block->GetVersion().GetFeature());
    EXPECT_EQ(1, block->GetVersion().GetBugfix());
    EXPECT_EQ(0x030201ul, block->GetVersion().GetPacked()) << "the top byte is not part of the version";
    EXPECT_EQ(0xBEEFu, static_cast<unsigned int>(block->GetHardwareRevisions()));
    // The setters change the object only.
    block->SetProduct(static_cast<UProduct>(7));
    block->SetVersion(UVersion(9, 8, 7));
    block->SetHardwareRevisions(static_cast<UHardwareRevision>(5));
    EXPECT_EQ(7u, static_cast<unsigned int>(block->GetProduct()));
    EXPECT_EQ(0x090807ul, block->GetVersion().GetPacked());
    EXPECT_EQ(5u, static_cast<unsigned int>(block->GetHardwareRevisions()));
    EXPECT_EQ(bytes, Get(image, 0x400, 16));
    block->Release();
}

} // namespace
