#pragma once

#include <Oskal/Lib/Cryptography/ICryptoTransform.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace Cryptography {

// A message digest that is also a transform: bytes pass through unchanged and are digested on
// the way, so a hash can sit in a crypto stream.
class OSKAL_LIB_API UHashAlgorithm : public ICryptoTransform
{
public:
    ~UHashAlgorithm() override;

    void Release() override;
    int CanReuseTransform() const override;
    int CanTransformMultipleBlocks() const override;
    unsigned long GetInputBlockSize() const override;
    unsigned long GetOutputBlockSize() const override;
    unsigned long GetTransformedSize(unsigned long ulSize) const override;
    // Hashes the input and copies it to the output (nothing to copy when the output is null or
    // the input itself); returns ulCount.
    unsigned long TransformBlock(const unsigned char* pbyInput, unsigned long ulCount,
                                 unsigned char* pbyOutput) override;
    // Hashes the input, finishes the digest and returns a copy of the input.
    Collections::UVector<unsigned char> TransformFinalBlock(const unsigned char* pbyInput,
                                                            unsigned long ulCount) override;

    // The digest, valid after HashFinal; GetHashSize() bytes.
    virtual const unsigned char* GetHash() const = 0;
    virtual unsigned long GetHashSize() const;
    virtual void HashCore(const void* pvData, long lCount) = 0;
    virtual void HashFinal() = 0;
    virtual void Reset() = 0;

protected:
    explicit UHashAlgorithm(unsigned long ulHashSize);
    UHashAlgorithm(const UHashAlgorithm& other);
    UHashAlgorithm& operator=(const UHashAlgorithm& other);

private:
    unsigned long m_ulHashSize;
};

}}} // namespace Oskal::Lib::Cryptography
