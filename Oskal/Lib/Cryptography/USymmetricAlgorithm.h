#pragma once

#include <Oskal/Lib/Collections/UVector.h>
#include <Oskal/Lib/Cryptography/UCipherMode.h>
#include <Oskal/Lib/Cryptography/UEncryptionAlgorithm.h>
#include <Oskal/Lib/Cryptography/UPaddingMode.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace Cryptography {

// Settings of a block cipher: block, key and feedback sizes (bits), key, initialization vector,
// cipher mode and padding mode. A failed setter leaves the algorithm unchanged. The key is wiped
// from memory when the object goes away.
class OSKAL_LIB_API USymmetricAlgorithm : public UEncryptionAlgorithm
{
public:
    virtual unsigned long GetBlockSize() const;
    virtual unsigned long GetFeedbackSize() const;
    virtual const unsigned char* GetInitializationVector() const;
    virtual const unsigned char* GetKey() const;
    virtual unsigned long GetKeySize() const;
    virtual const Collections::UVector<unsigned long>& GetLegalBlockSizes() const;
    virtual const Collections::UVector<unsigned long>& GetLegalKeySizes() const;
    virtual UCipherMode GetCipherMode() const;
    virtual UPaddingMode GetPaddingMode() const;
    virtual void SetBlockSize(unsigned long ulSize);
    virtual void SetFeedbackSize(unsigned long ulFeedbackSize);
    virtual void SetInitializationVector(const unsigned char* pbyIV, unsigned long ulSize);
    virtual void SetKey(const unsigned char* pbyKey, unsigned long ulSize);
    virtual void SetKeySize(unsigned long ulKeySize);
    // Not checked here; a transform made with an unknown mode throws when it runs.
    virtual void SetCipherMode(UCipherMode eCipherMode);
    virtual void SetPaddingMode(UPaddingMode ePaddingMode);

    int IsLegalBlockSize(unsigned long ulSize) const;
    int IsLegalKeySize(unsigned long ulSize) const;
    // Fill the key or the initialization vector from rand_s.
    void GenerateKey();
    void GenerateIV();

protected:
    // Block and feedback size start as the first legal block size, the key size as the first legal
    // key size; CBC, PKCS #7, a random key and a random initialization vector.
    USymmetricAlgorithm(const Collections::UVector<unsigned long>& legalBlockSizes,
                        const Collections::UVector<unsigned long>& legalKeySizes);
    ~USymmetricAlgorithm() override;

    Collections::UVector<unsigned long> m_legalBlockSizes;
    Collections::UVector<unsigned long> m_legalKeySizes;
    unsigned long m_ulBlockSize;
    unsigned long m_ulFeedbackSize;
    UCipherMode m_eCipherMode;
    UPaddingMode m_ePaddingMode;
    unsigned char* m_pbyKey;
    unsigned long m_ulKeySize;
    unsigned char* m_pbyIV;
};

}}} // namespace Oskal::Lib::Cryptography
