#pragma once

#include <Oskal/Lib/BIM/UBimPayloadContainerBase.h>
#include <Oskal/Lib/BIM/UMemoryImage.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace BIM {

// Type 1: a memory image, stored as its regions in list order, each as start address (u32),
// length (u32) and its bytes, padded with zeros to a multiple of 4.
class OSKAL_LIB_API UBimPayloadContainerFirmware : public UBimPayloadContainerBase
{
public:
    // A new container with an empty image and a reference count of 1.
    static UBimPayloadContainerFirmware* Create();

    UBimPayloadContainerFirmware(const UBimPayloadContainerFirmware& other);
    UBimPayloadContainerFirmware& operator=(const UBimPayloadContainerFirmware& other);

    // Sum over the regions of 8 + the length rounded up to a multiple of 4.
    unsigned int GetUnencryptedInnerContainerSize() const override;
    // Reads regions into the image while the count of bytes still to read is above 0. The count
    // drops by 8 + length per region, not by the padding after a length that is no multiple of 4,
    // so such containers read back cleanly only because reading also stops where the plain bytes
    // end. A region longer than the bytes left fails with UBimException.
    void ReadInnerContainer(IO::UStream& stream, unsigned int uiPlainSize) override;
    // A region without data is given a buffer of its fill byte first.
    void WriteInnerContainer(IO::UStream& stream) const override;

    UMemoryImage& GetMemoryImage();
    const UMemoryImage& GetMemoryImage() const;

protected:
    UBimPayloadContainerFirmware();
    ~UBimPayloadContainerFirmware() override;

private:
    UMemoryImage* m_pImage;
};

}}} // namespace Oskal::Lib::BIM
