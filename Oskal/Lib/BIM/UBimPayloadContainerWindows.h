#pragma once

#include <Oskal/Lib/BIM/UBimPayloadContainerBase.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace BIM {

// Type 2: a Windows-image container. Its inner container is empty: whatever a file holds in it
// is checked against the digest and dropped, and nothing is written.
class OSKAL_LIB_API UBimPayloadContainerWindows : public UBimPayloadContainerBase
{
public:
    // A new container with a reference count of 1.
    static UBimPayloadContainerWindows* Create();

    UBimPayloadContainerWindows(const UBimPayloadContainerWindows& other);
    UBimPayloadContainerWindows& operator=(const UBimPayloadContainerWindows& other);

    // 0.
    unsigned int GetUnencryptedInnerContainerSize() const override;
    // Reads nothing.
    void ReadInnerContainer(IO::UStream& stream, unsigned int uiPlainSize) override;
    // Writes nothing.
    void WriteInnerContainer(IO::UStream& stream) const override;

protected:
    UBimPayloadContainerWindows();
    ~UBimPayloadContainerWindows() override;
};

}}} // namespace Oskal::Lib::BIM
