#pragma once

#include <Oskal/Lib/Cryptography/USymmetricAlgorithm.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace Cryptography {

// Rijndael with a 128-bit block (AES) and 128-, 192- or 256-bit keys. A new object has a random
// 256-bit key, a random initialization vector, CBC and PKCS #7.
class OSKAL_LIB_API URijndael : public USymmetricAlgorithm
{
public:
    // A new object with a reference count of 1; the caller releases it.
    static URijndael* Create();
    static int SupportsBlockSize(unsigned long ulSize);
    static int SupportsKeySize(unsigned long ulSize);

    // Transforms (URijndaelTransform) with a copy of the current settings.
    ICryptoTransform* CreateEncryptor() const override;
    ICryptoTransform* CreateDecryptor() const override;

protected:
    URijndael();
    ~URijndael() override;
};

}}} // namespace Oskal::Lib::Cryptography
