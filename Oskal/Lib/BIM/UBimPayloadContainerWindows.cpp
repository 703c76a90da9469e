#include <Oskal/Lib/BIM/UBimPayloadContainerWindows.h>

namespace Oskal { namespace Lib { namespace BIM {

UBimPayloadContainerWindows* UBimPayloadContainerWindows::Create()
{
    return new UBimPayloadContainerWindows();
}

UBimPayloadContainerWindows::UBimPayloadContainerWindows() : UBimPayloadContainerBase(eBimPayloadContainerType_Windows)
{
}

UBimPayloadContainerWindows::UBimPayloadContainerWindows(const UBimPayloadContainerWindows& other)
    : UBimPayloadContainerBase(other)
{
}

UBimPayloadContainerWindows& UBimPayloadContainerWindows::operator=(const UBimPayloadContainerWindows& other)
{
    UBimPayloadContainerBase::operator=(other);
    return *this;
}

UBimPayloadContainerWindows::~UBimPayloadContainerWindows() {}

unsigned int UBimPayloadContainerWindows::GetUnencryptedInnerContainerSize() const
{
    return 0;
}

void UBimPayloadContainerWindows::ReadInnerContainer(IO::UStream&, unsigned int) {}

void UBimPayloadContainerWindows::WriteInnerContainer(IO::UStream&) const {}

}}} // namespace Oskal::Lib::BIM
