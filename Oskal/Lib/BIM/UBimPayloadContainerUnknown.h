#pragma once

#include <Oskal/Lib/BIM/UBimPayloadContainerBase.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace BIM {

// A container of a type this library gives no meaning to: its plain inner bytes are kept as an
// opaque buffer and written back in plain form with the digest from the file.
class OSKAL_LIB_API UBimPayloadContainerUnknown : public UBimPayloadContainerBase
{
public:
    // A new, empty container of the type with a reference count of 1.
    static UBimPayloadContainerUnknown* Create(UBimPayloadContainerType eType);

    UBimPayloadContainerUnknown(const UBimPayloadContainerUnknown& other);
    UBimPayloadContainerUnknown& operator=(const UBimPayloadContainerUnknown& other);

    // The buffer's size.
    unsigned int GetUnencryptedInnerContainerSize() const override;
    // Reads uiPlainSize bytes into a new buffer, dropping the old one.
    void ReadInnerContainer(IO::UStream& stream, unsigned int uiPlainSize) override;
    // A raw container is written as every raw one is. Otherwise: the header, the buffer with no
    // transform and no hashing, zeros up to the stored size (for a cipher's whole blocks) and on
    // to a multiple of 4, and the digest kept from the file.
    void Write(IO::UStream& stream) const override;
    // Writes the buffer, if any.
    void WriteInnerContainer(IO::UStream& stream) const override;

    // The plain inner bytes, null when there are none.
    const unsigned char* GetData() const;

protected:
    explicit UBimPayloadContainerUnknown(UBimPayloadContainerType eType);
    ~UBimPayloadContainerUnknown() override;

private:
    unsigned char* m_pbyData;
    unsigned int m_uiSize;
};

}}} // namespace Oskal::Lib::BIM
