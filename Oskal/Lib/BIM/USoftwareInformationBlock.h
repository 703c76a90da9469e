#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UReferenceManagement.h>
#include <Oskal/Lib/UVersion.h>

namespace Oskal { namespace Lib { namespace BIM {

class UMemoryImage;

// Product and hardware-revision codes are the firmware's own 32-bit values; the library names none.
enum UProduct : unsigned int
{
};

enum UHardwareRevision : unsigned int
{
};

// The record by which firmware tells what it is: at a known address of target memory, the magic
// 0x3FD09EFA, then product, version (bugfix, feature, general in the three low bytes) and
// hardware revisions, one 32-bit little-endian word each.
class OSKAL_LIB_API USoftwareInformationBlock : public UReferenceManagement
{
public:
    enum : unsigned int
    {
        Magic = 0x3FD09EFA,
        Size = 16
    };

    // A new block (reference count 1) read from the image, or null when the magic isn't at the
    // address. An address too close to the top of memory for the whole block throws
    // UArgumentException.
    static USoftwareInformationBlock* FromMemoryImage(unsigned int uiAddress, UMemoryImage& image);

    unsigned int GetAddress() const;
    // The setters change only this object, never an image.
    UProduct GetProduct() const;
    void SetProduct(UProduct eProduct);
    const UVersion& GetVersion() const;
    void SetVersion(const UVersion& version);
    UHardwareRevision GetHardwareRevisions() const;
    void SetHardwareRevisions(UHardwareRevision eHardwareRevisions);

    USoftwareInformationBlock(const USoftwareInformationBlock&) = delete;
    USoftwareInformationBlock& operator=(const USoftwareInformationBlock&) = delete;

protected:
    USoftwareInformationBlock();
    ~USoftwareInformationBlock() override;

private:
    unsigned int m_uiAddress;
    UProduct m_eProduct;
    UVersion m_version;
    UHardwareRevision m_eHardwareRevisions;
};

}}} // namespace Oskal::Lib::BIM
