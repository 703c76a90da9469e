#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UReferenceManagement.h>

namespace Oskal { namespace Lib { namespace BIM {

class UMemoryImage;

// The record by which firmware names the address ranges that its integrity check covers, and
// their SHA-1 digest. It lives in target memory at a known address: magic "QERB", a mask of
// enabled entries, eight entries (start and a second value: the end or the length of the range,
// whichever the firmware uses; carried as it stands) and the 20-byte digest, 92 bytes in all.
// The block only carries the digest; computing it is up to the caller.
class OSKAL_LIB_API UIntegrityCheckRegionBlock : public UReferenceManagement
{
public:
    enum : unsigned int
    {
        Magic = 0x42524551,
        Size = 92,
        EntryCount = 8,
        HashSize = 20
    };

    // A new block (reference count 1) read from the image, or null when the magic isn't at the
    // address. An address too close to the top of memory for the whole block throws
    // UArgumentException.
    static UIntegrityCheckRegionBlock* FromMemoryImage(unsigned int uiAddress, UMemoryImage& image);

    // Writes mask, entries and digest back at the block's address; 0 (and nothing written)
    // when the magic isn't there.
    int UpdateMemoryImage(UMemoryImage& image) const;

    unsigned int GetAddress() const;
    const unsigned char* GetHash() const;
    // Copies HashSize bytes.
    void SetHash(const unsigned char* pbyHash);

    // Entries 0 to 7; any other index throws UArgumentException.
    int IsEntryEnabled(unsigned long ulIndex) const;
    unsigned int GetEntryStart(unsigned long ulIndex) const;
    unsigned int GetEntryLimit(unsigned long ulIndex) const;
    void SetEntry(unsigned long ulIndex, int bEnabled, unsigned int uiStart, unsigned int uiLimit);

    UIntegrityCheckRegionBlock(const UIntegrityCheckRegionBlock&) = delete;
    UIntegrityCheckRegionBlock& operator=(const UIntegrityCheckRegionBlock&) = delete;

protected:
    UIntegrityCheckRegionBlock();
    ~UIntegrityCheckRegionBlock() override;

private:
    struct Entry
    {
        int bEnabled;
        unsigned int uiStart;
        unsigned int uiLimit;
    };

    unsigned int m_uiAddress;
    Entry m_entries[EntryCount];
    unsigned char m_abyHash[HashSize];
};

}}} // namespace Oskal::Lib::BIM
