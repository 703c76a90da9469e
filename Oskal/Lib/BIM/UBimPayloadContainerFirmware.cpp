#include <Oskal/Lib/BIM/UBimPayloadContainerFirmware.h>

#include <Oskal/Lib/BIM/UBimException.h>
#include <Oskal/Lib/Internal/ByteOrder.h>
#include <Oskal/Lib/Internal/StreamRead.h>

namespace Oskal { namespace Lib { namespace BIM {

namespace {

// Largest piece handed to a single write: counts are 32-bit signed.
const unsigned int kPiece = 0x100000;

} // namespace

UBimPayloadContainerFirmware* UBimPayloadContainerFirmware::Create()
{
    return new UBimPayloadContainerFirmware();
}

UBimPayloadContainerFirmware::UBimPayloadContainerFirmware()
    : UBimPayloadContainerBase(eBimPayloadContainerType_Firmware), m_pImage(new UMemoryImage())
{
}

UBimPayloadContainerFirmware::UBimPayloadContainerFirmware(const UBimPayloadContainerFirmware& other)
    : UBimPayloadContainerBase(other), m_pImage(new UMemoryImage(*other.m_pImage))
{
}

UBimPayloadContainerFirmware& UBimPayloadContainerFirmware::operator=(const UBimPayloadContainerFirmware& other)
{
    if (this != &other)
    {
        *m_pImage = *other.m_pImage;
        UBimPayloadContainerBase::operator=(other);
    }
    return *this;
}

UBimPayloadContainerFirmware::~UBimPayloadContainerFirmware()
{
    delete m_pImage;
}

unsigned int UBimPayloadContainerFirmware::GetUnencryptedInnerContainerSize() const
{
    // Through the const view: handing out mutable regions would cost the image its index.
    const UMemoryImage& image = *m_pImage;
    unsigned int size = 0;
    for (unsigned long i = 0; const UMemoryRegion* region = image.GetMemoryRegion(i); ++i)
        size += 8 + ((region->GetLength() + 3) & ~3u);
    return size;
}

void UBimPayloadContainerFirmware::ReadInnerContainer(IO::UStream& stream, unsigned int uiPlainSize)
{
    // The count as the format defines it: padding is never taken off.
    long long count = uiPlainSize;
    // The plain bytes really left; reading never goes past them, whatever the count says.
    unsigned int left = uiPlainSize;
    while (count > 0)
    {
        // What the count still holds is padding it never lost: the regions are all read.
        if (left < 8)
            break;
        unsigned char head[8];
        if (Internal::ReadFully(stream, head, 8) < 8)
            break;
        left -= 8;
        const unsigned int address = Internal::LoadLE32(head);
        const unsigned int length = Internal::LoadLE32(head + 4);
        // Checked before anything is reserved, so a damaged length never allocates.
        if (length > left)
            throw UBimException(L"Unexpected end of stream.");
        // The image would refuse it with an argument error; from a file it is a format error.
        if (static_cast<unsigned long long>(address) + length > 0x100000000ULL)
            throw UBimException(L"Memory region runs past the end of the 32-bit address space.");
        m_pImage->Reserve(address, length);
        if (length != 0)
        {
            unsigned char* buffer = m_pImage->GetBuffer(address, length);
            if (buffer != nullptr)
                Internal::ReadFully(stream, buffer, length);
        }
        left -= length;
        // Kept: the padding bytes are not taken off the count, so a container reads back cleanly
        // only when its region lengths are multiples of 4 (pinned by
        // UBimFileRead.RegionLengthsNoMultipleOfFour)
        count -= 8 + static_cast<long long>(length);
        if (length % 4 != 0)
        {
            for (unsigned int i = 4 - length % 4; i != 0 && left != 0; --i, --left)
                stream.ReadByte();
        }
    }
}

void UBimPayloadContainerFirmware::WriteInnerContainer(IO::UStream& stream) const
{
    // Regions are taken through the const view, so the image keeps its index; writing only makes
    // a region's bytes, it never moves or resizes one.
    const UMemoryImage& image = *m_pImage;
    for (unsigned long i = 0; const UMemoryRegion* constRegion = image.GetMemoryRegion(i); ++i)
    {
        UMemoryRegion* region = const_cast<UMemoryRegion*>(constRegion);
        unsigned char head[8];
        const unsigned int length = region->GetLength();
        Internal::StoreLE32(head, region->GetAddress());
        Internal::StoreLE32(head + 4, length);
        stream.Write(head, 8);
        // GetData gives a region without data its buffer of fill bytes.
        const unsigned char* data = length != 0 ? region->GetData() : nullptr;
        for (unsigned int done = 0; done < length;)
        {
            const unsigned int piece = length - done < kPiece ? length - done : kPiece;
            stream.Write(data + done, static_cast<long>(piece));
            done += piece;
        }
        for (unsigned int pad = (4 - length % 4) % 4; pad != 0; --pad)
            stream.WriteByte(0);
    }
}

UMemoryImage& UBimPayloadContainerFirmware::GetMemoryImage()
{
    return *m_pImage;
}

const UMemoryImage& UBimPayloadContainerFirmware::GetMemoryImage() const
{
    return *m_pImage;
}

}}} // namespace Oskal::Lib::BIM
