#include <Oskal/Lib/BIM/USoftwareInformationBlock.h>

#include <Oskal/Lib/BIM/UMemoryImage.h>
#include <Oskal/Lib/Internal/ByteOrder.h>

namespace Oskal { namespace Lib { namespace BIM {

USoftwareInformationBlock::USoftwareInformationBlock()
    : m_uiAddress(0), m_eProduct(static_cast<UProduct>(0)), m_version(),
      m_eHardwareRevisions(static_cast<UHardwareRevision>(0))
{
}

USoftwareInformationBlock::~USoftwareInformationBlock() {}

USoftwareInformationBlock* USoftwareInformationBlock::FromMemoryImage(unsigned int uiAddress, UMemoryImage& image)
{
    // No block fits where it would run past the end of the address space.
    if (static_cast<unsigned long long>(uiAddress) + Size > 0x100000000ULL)
        return nullptr;
    unsigned char magic[4];
    image.GetData(uiAddress, magic, sizeof(magic));
    if (Internal::LoadLE32(magic) != Magic)
        return nullptr;
    unsigned char bytes[Size];
    image.GetData(uiAddress, bytes, Size);

    USoftwareInformationBlock* block = new USoftwareInformationBlock();
    block->m_uiAddress = uiAddress;
    block->m_eProduct = static_cast<UProduct>(Internal::LoadLE32(bytes + 4));
    // The top byte of the version word is not part of the version.
    block->m_version = UVersion(static_cast<unsigned long>(Internal::LoadLE32(bytes + 8)));
    block->m_eHardwareRevisions = static_cast<UHardwareRevision>(Internal::LoadLE32(bytes + 12));
    return block;
}

unsigned int USoftwareInformationBlock::GetAddress() const
{
    return m_uiAddress;
}

UProduct USoftwareInformationBlock::GetProduct() const
{
    return m_eProduct;
}

void USoftwareInformationBlock::SetProduct(UProduct eProduct)
{
    m_eProduct = eProduct;
}

const UVersion& USoftwareInformationBlock::GetVersion() const
{
    return m_version;
}

void USoftwareInformationBlock::SetVersion(const UVersion& version)
{
    m_version = version;
}

UHardwareRevision USoftwareInformationBlock::GetHardwareRevisions() const
{
    return m_eHardwareRevisions;
}

void USoftwareInformationBlock::SetHardwareRevisions(UHardwareRevision eHardwareRevisions)
{
    m_eHardwareRevisions = eHardwareRevisions;
}

}}} // namespace Oskal::Lib::BIM
