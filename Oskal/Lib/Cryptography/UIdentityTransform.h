#pragma once

#include <Oskal/Lib/Cryptography/ICryptoTransform.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace Cryptography {

// Passes bytes through unchanged: the "no cipher" case of a stream stack.
class OSKAL_LIB_API UIdentityTransform : public ICryptoTransform
{
public:
    static UIdentityTransform* Create();

    ~UIdentityTransform() override;
    void Release() override;
    int CanReuseTransform() const override;
    int CanTransformMultipleBlocks() const override;
    unsigned long GetInputBlockSize() const override;
    unsigned long GetOutputBlockSize() const override;
    unsigned long GetTransformedSize(unsigned long ulSize) const override;
    // Copies the input to the output; nothing is copied when the output is null or the input.
    unsigned long TransformBlock(const unsigned char* pbyInput, unsigned long ulCount,
                                 unsigned char* pbyOutput) override;
    Collections::UVector<unsigned char> TransformFinalBlock(const unsigned char* pbyInput,
                                                            unsigned long ulCount) override;

protected:
    UIdentityTransform();

private:
    UIdentityTransform(const UIdentityTransform&) = delete;
    UIdentityTransform& operator=(const UIdentityTransform&) = delete;
};

}}} // namespace Oskal::Lib::Cryptography
