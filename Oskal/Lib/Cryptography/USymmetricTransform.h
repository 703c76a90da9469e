#pragma once

#include <Oskal/Lib/Cryptography/ICryptoTransform.h>
#include <Oskal/Lib/Cryptography/UCipherMode.h>
#include <Oskal/Lib/Cryptography/UPaddingMode.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace Cryptography {

// A block cipher as a transform: chains blocks with the cipher mode and applies or strips the
// padding on the final block. Derived classes supply the cipher itself (ECB) and its key schedule.
class OSKAL_LIB_API USymmetricTransform : public ICryptoTransform
{
public:
    ~USymmetricTransform() override;

    void Release() override;
    int CanReuseTransform() const override;
    int CanTransformMultipleBlocks() const override;
    unsigned long GetInputBlockSize() const override;
    unsigned long GetOutputBlockSize() const override;
    unsigned long GetTransformedSize(unsigned long ulSize) const override;
    // One Transform per whole block of the input; returns ulCount.
    unsigned long TransformBlock(const unsigned char* pbyInput, unsigned long ulCount,
                                 unsigned char* pbyOutput) override;
    // Enciphering pads the last block; deciphering strips the padding. Either way the chaining
    // value goes back to the initialization vector afterwards, so the transform can be reused.
    Collections::UVector<unsigned char> TransformFinalBlock(const unsigned char* pbyInput,
                                                            unsigned long ulCount) override;

    // One block through the cipher mode.
    virtual void Transform(const unsigned char* pbyInput, unsigned char* pbyOutput);
    virtual void ECB(const unsigned char* pbyInput, unsigned char* pbyOutput) = 0;
    virtual void CBC(const unsigned char* pbyInput, unsigned char* pbyOutput);
    virtual void CFB(const unsigned char* pbyInput, unsigned char* pbyOutput);
    virtual void OFB(const unsigned char* pbyInput, unsigned char* pbyOutput);
    virtual void CTS(const unsigned char* pbyInput, unsigned char* pbyOutput);

protected:
    // Sizes in bits. A null initialization vector counts as all zeros.
    USymmetricTransform(int bEncrypting, unsigned long ulBlockSize, unsigned long ulFeedbackSize,
                        UCipherMode eCipherMode, UPaddingMode ePaddingMode, const unsigned char* pbyIV);

    // Throws for padding modes the transform doesn't know.
    void CheckPaddingMode() const;

    int m_bEncrypting;
    UCipherMode m_eCipherMode;
    UPaddingMode m_ePaddingMode;
    unsigned long m_ulBlockSizeBits;
    unsigned long m_ulBlockSize;
    unsigned long m_ulFeedbackSizeBits;
    unsigned long m_ulFeedbackSize;
    // Expanded key, owned and wiped on destruction; derived classes fill it.
    unsigned char* m_pbyKeyMaterial;
    unsigned long m_ulKeyMaterialSize;
    unsigned long m_ulKeySize;
    unsigned char* m_pbyIV;
    unsigned char* m_pbyChain;
    // Three blocks: cipher output, a copy of the input, the final block being built.
    unsigned char* m_pbyScratch;
    unsigned long m_ulSegments;

private:
    USymmetricTransform(const USymmetricTransform&) = delete;
    USymmetricTransform& operator=(const USymmetricTransform&) = delete;
};

}}} // namespace Oskal::Lib::Cryptography
