#include <Oskal/Lib/Cryptography/UHashAlgorithm.h>

#include <cstring>

namespace Oskal { namespace Lib { namespace Cryptography {

UHashAlgorithm::UHashAlgorithm(unsigned long ulHashSize) : m_ulHashSize(ulHashSize) {}

UHashAlgorithm::UHashAlgorithm(const UHashAlgorithm& other) : ICryptoTransform(other), m_ulHashSize(other.m_ulHashSize)
{
}

UHashAlgorithm& UHashAlgorithm::operator=(const UHashAlgorithm& other)
{
    m_ulHashSize = other.m_ulHashSize;
    return *this;
}

UHashAlgorithm::~UHashAlgorithm() {}

void UHashAlgorithm::Release()
{
    delete this;
}

int UHashAlgorithm::CanReuseTransform() const
{
    return 1;
}

int UHashAlgorithm::CanTransformMultipleBlocks() const
{
    return 1;
}

unsigned long UHashAlgorithm::GetInputBlockSize() const
{
    return 1;
}

unsigned long UHashAlgorithm::GetOutputBlockSize() const
{
    return 1;
}

unsigned long UHashAlgorithm::GetTransformedSize(unsigned long ulSize) const
{
    return ulSize;
}

unsigned long UHashAlgorithm::GetHashSize() const
{
    return m_ulHashSize;
}

unsigned long UHashAlgorithm::TransformBlock(const unsigned char* pbyInput, unsigned long ulCount,
                                             unsigned char* pbyOutput)
{
    HashCore(pbyInput, static_cast<long>(ulCount));
    // A stream stack writes the output buffer on: every byte has to arrive unchanged.
    if (pbyOutput != nullptr && pbyOutput != pbyInput && ulCount != 0)
        std::memmove(pbyOutput, pbyInput, ulCount);
    return ulCount;
}

Collections::UVector<unsigned char> UHashAlgorithm::TransformFinalBlock(const unsigned char* pbyInput,
                                                                        unsigned long ulCount)
{
    HashCore(pbyInput, static_cast<long>(ulCount));
    HashFinal();
    if (ulCount == 0)
        return Collections::UVector<unsigned char>();
    return Collections::UVector<unsigned char>(pbyInput, ulCount);
}

}}} // namespace Oskal::Lib::Cryptography
