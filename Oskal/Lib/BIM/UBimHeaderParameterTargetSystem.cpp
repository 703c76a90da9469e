#include <Oskal/Lib/BIM/UBimHeaderParameterTargetSystem.h>

#include <cstring>

namespace Oskal { namespace Lib { namespace BIM {

UBimHeaderParameterTargetSystem* UBimHeaderParameterTargetSystem::Create()
{
    return new UBimHeaderParameterTargetSystem();
}

UBimHeaderParameterTargetSystem* UBimHeaderParameterTargetSystem::Create(const BIM_TARGETSYSTEM& targetSystem)
{
    return new UBimHeaderParameterTargetSystem(targetSystem);
}

UBimHeaderParameterTargetSystem* UBimHeaderParameterTargetSystem::Create(const BIM_HEADER_TLV& tlv)
{
    return new UBimHeaderParameterTargetSystem(tlv);
}

UBimHeaderParameterTargetSystem::UBimHeaderParameterTargetSystem()
    : UBimHeaderParameterBase(eBimHeaderParameterTag_TargetSystem, 0)
{
}

UBimHeaderParameterTargetSystem::UBimHeaderParameterTargetSystem(const BIM_TARGETSYSTEM& targetSystem)
    : UBimHeaderParameterBase(eBimHeaderParameterTag_TargetSystem, 0)
{
    SetTargetSystem(targetSystem);
}

UBimHeaderParameterTargetSystem::UBimHeaderParameterTargetSystem(const BIM_HEADER_TLV& tlv)
    : UBimHeaderParameterBase(tlv, tlv.wLength == 8)
{
}

UBimHeaderParameterTargetSystem::UBimHeaderParameterTargetSystem(const UBimHeaderParameterTargetSystem& other)
    : UBimHeaderParameterBase(other)
{
}

UBimHeaderParameterTargetSystem& UBimHeaderParameterTargetSystem::operator=(
    const UBimHeaderParameterTargetSystem& other)
{
    UBimHeaderParameterBase::operator=(other);
    return *this;
}

UBimHeaderParameterTargetSystem::~UBimHeaderParameterTargetSystem() {}

UBimHeaderParameterTargetSystem* UBimHeaderParameterTargetSystem::Dupe() const
{
    return new UBimHeaderParameterTargetSystem(*this);
}

BIM_TARGETSYSTEM UBimHeaderParameterTargetSystem::GetTargetSystem() const
{
    BIM_TARGETSYSTEM targetSystem;
    std::memcpy(targetSystem.abyData, GetValue(), sizeof(targetSystem.abyData));
    return targetSystem;
}

void UBimHeaderParameterTargetSystem::SetTargetSystem(const BIM_TARGETSYSTEM& targetSystem)
{
    SetValue(targetSystem.abyData, sizeof(targetSystem.abyData));
}

}}} // namespace Oskal::Lib::BIM
