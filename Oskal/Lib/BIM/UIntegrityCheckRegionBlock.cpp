#include <Oskal/Lib/BIM/UIntegrityCheckRegionBlock.h>

#include <Oskal/Lib/BIM/UMemoryImage.h>
#include <Oskal/Lib/Internal/ByteOrder.h>
#include <Oskal/Lib/UArgumentException.h>

#include <cstring>

using Oskal::Lib::Exceptions::UArgumentException;

namespace Oskal { namespace Lib { namespace BIM {

namespace {

// The magic's presence is the block's only sign of life; it is read before anything else. No
// block fits where it would run past the end of the address space.
int HasMagic(unsigned int uiAddress, UMemoryImage& image)
{
    if (static_cast<unsigned long long>(uiAddress) + UIntegrityCheckRegionBlock::Size > 0x100000000ULL)
        return 0;
    unsigned char magic[4];
    image.GetData(uiAddress, magic, sizeof(magic));
    return Internal::LoadLE32(magic) == UIntegrityCheckRegionBlock::Magic ? 1 : 0;
}

void CheckIndex(unsigned long ulIndex)
{
    if (ulIndex >= UIntegrityCheckRegionBlock::EntryCount)
        throw UArgumentException(L"ulIndex", L"Index is out of range.");
}

} // namespace

UIntegrityCheckRegionBlock::UIntegrityCheckRegionBlock() : m_uiAddress(0)
{
    std::memset(m_entries, 0, sizeof(m_entries));
    std::memset(m_abyHash, 0, sizeof(m_abyHash));
}

UIntegrityCheckRegionBlock::~UIntegrityCheckRegionBlock() {}

UIntegrityCheckRegionBlock* UIntegrityCheckRegionBlock::FromMemoryImage(unsigned int uiAddress, UMemoryImage& image)
{
    if (!HasMagic(uiAddress, image))
        return nullptr;
    unsigned char bytes[Size];
    image.GetData(uiAddress, bytes, Size);

    UIntegrityCheckRegionBlock* block = new UIntegrityCheckRegionBlock();
    block->m_uiAddress = uiAddress;
    const unsigned int mask = Internal::LoadLE32(bytes + 4);
    for (unsigned int i = 0; i < EntryCount; ++i)
    {
        block->m_entries[i].bEnabled = (mask >> i) & 1;
        block->m_entries[i].uiStart = Internal::LoadLE32(bytes + 8 + 8 * i);
        block->m_entries[i].uiLimit = Internal::LoadLE32(bytes + 12 + 8 * i);
    }
    std::memcpy(block->m_abyHash, bytes + 72, HashSize);
    return block;
}

int UIntegrityCheckRegionBlock::UpdateMemoryImage(UMemoryImage& image) const
{
    if (!HasMagic(m_uiAddress, image))
        return 0;
    // Everything after the magic, in one write.
    unsigned char bytes[Size - 4];
    unsigned int mask = 0;
    for (unsigned int i = 0; i < EntryCount; ++i)
    {
        if (m_entries[i].bEnabled)
            mask |= 1u << i;
        Internal::StoreLE32(bytes + 4 + 8 * i, m_entries[i].uiStart);
        Internal::StoreLE32(bytes + 8 + 8 * i, m_entries[i].uiLimit);
    }
    Internal::StoreLE32(bytes, mask);
    std::memcpy(bytes + 68, m_abyHash, HashSize);
    image.SetData(m_uiAddress + 4, bytes, sizeof(bytes));
    return 1;
}

unsigned int UIntegrityCheckRegionBlock::GetAddress() const
{
    return m_uiAddress;
}

const unsigned char* UIntegrityCheckRegionBlock::GetHash() const
{
    return m_abyHash;
}

void UIntegrityCheckRegionBlock::SetHash(const unsigned char* pbyHash)
{
    if (pbyHash == nullptr)
        throw UArgumentException(L"pbyHash", L"Value cannot be null.");
    std::memcpy(m_abyHash, pbyHash, HashSize);
}

int UIntegrityCheckRegionBlock::IsEntryEnabled(unsigned long ulIndex) const
{
    CheckIndex(ulIndex);
    return m_entries[ulIndex].bEnabled;
}

unsigned int UIntegrityCheckRegionBlock::GetEntryStart(unsigned long ulIndex) const
{
    CheckIndex(ulIndex);
    return m_entries[ulIndex].uiStart;
}

unsigned int UIntegrityCheckRegionBlock::GetEntryLimit(unsigned long ulIndex) const
{
    CheckIndex(ulIndex);
    return m_entries[ulIndex].uiLimit;
}

void UIntegrityCheckRegionBlock::SetEntry(unsigned long ulIndex, int bEnabled, unsigned int uiStart,
                                          unsigned int uiLimit)
{
    CheckIndex(ulIndex);
    m_entries[ulIndex].bEnabled = bEnabled ? 1 : 0;
    m_entries[ulIndex].uiStart = uiStart;
    m_entries[ulIndex].uiLimit = uiLimit;
}

}}} // namespace Oskal::Lib::BIM
