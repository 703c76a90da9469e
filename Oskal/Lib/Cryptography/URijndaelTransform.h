#pragma once

#include <Oskal/Lib/Cryptography/USymmetricTransform.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace Cryptography {

// Rijndael with a 128-bit block (AES, FIPS 197) as a transform. Runs of ECB and CBC blocks go
// through AES-NI, several blocks at a time, when the processor has it.
class OSKAL_LIB_API URijndaelTransform : public USymmetricTransform
{
public:
    // Sizes in bits; the key is ulKeySize / 8 bytes, the initialization vector one block.
    static URijndaelTransform* Create(int bEncrypting, unsigned long ulBlockSize, unsigned long ulFeedbackSize,
                                      UCipherMode eCipherMode, UPaddingMode ePaddingMode, const unsigned char* pbyKey,
                                      unsigned long ulKeySize, const unsigned char* pbyIV);

    ~URijndaelTransform() override;

    unsigned long TransformBlock(const unsigned char* pbyInput, unsigned long ulCount,
                                 unsigned char* pbyOutput) override;
    // Forward when enciphering, inverse when deciphering; CFB always needs the forward cipher.
    void ECB(const unsigned char* pbyInput, unsigned char* pbyOutput) override;

protected:
    URijndaelTransform(int bEncrypting, unsigned long ulBlockSize, unsigned long ulFeedbackSize,
                       UCipherMode eCipherMode, UPaddingMode ePaddingMode, const unsigned char* pbyKey,
                       unsigned long ulKeySize, const unsigned char* pbyIV);

private:
    void ExpandKey(const unsigned char* pbyKey);

    int m_iRounds;
    // 16-byte aligned views into the key material: forward and inverse round keys.
    unsigned char* m_pbyEncryptKeys;
    unsigned char* m_pbyDecryptKeys;
};

}}} // namespace Oskal::Lib::Cryptography
