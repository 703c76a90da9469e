#include <Oskal/Lib/Cryptography/UIdentityTransform.h>

#include <cstring>

namespace Oskal { namespace Lib { namespace Cryptography {

UIdentityTransform* UIdentityTransform::Create()
{
    return new UIdentityTransform();
}

UIdentityTransform::UIdentityTransform() {}

UIdentityTransform::~UIdentityTransform() {}

void UIdentityTransform::Release()
{
    delete this;
}

int UIdentityTransform::CanReuseTransform() const
{
    return 1;
}

int UIdentityTransform::CanTransformMultipleBlocks() const
{
    return 1;
}

unsigned long UIdentityTransform::GetInputBlockSize() const
{
    return 1;
}

unsigned long UIdentityTransform::GetOutputBlockSize() const
{
    return 1;
}

unsigned long UIdentityTransform::GetTransformedSize(unsigned long ulSize) const
{
    return ulSize;
}

unsigned long UIdentityTransform::TransformBlock(const unsigned char* pbyInput, unsigned long ulCount,
                                                 unsigned char* pbyOutput)
{
    if (pbyOutput != nullptr && pbyOutput != pbyInput && ulCount != 0)
        std::memmove(pbyOutput, pbyInput, ulCount);
    return ulCount;
}

Collections::UVector<unsigned char> UIdentityTransform::TransformFinalBlock(const unsigned char* pbyInput,
                                                                            unsigned long ulCount)
{
    if (pbyInput == nullptr)
        return Collections::UVector<unsigned char>();
    return Collections::UVector<unsigned char>(pbyInput, ulCount);
}

}}} // namespace Oskal::Lib::Cryptography
