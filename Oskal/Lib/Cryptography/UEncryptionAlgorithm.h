#pragma once

#include <Oskal/Lib/Cryptography/ICryptoTransform.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UReferenceManagement.h>

namespace Oskal { namespace Lib { namespace Cryptography {

// An algorithm object: holds settings and makes transforms from them.
class OSKAL_LIB_API UEncryptionAlgorithm : public UReferenceManagement
{
public:
    // Each returns a new transform that the caller releases.
    virtual ICryptoTransform* CreateEncryptor() const = 0;
    virtual ICryptoTransform* CreateDecryptor() const = 0;

protected:
    UEncryptionAlgorithm();
    ~UEncryptionAlgorithm() override;

private:
    UEncryptionAlgorithm(const UEncryptionAlgorithm&) = delete;
    UEncryptionAlgorithm& operator=(const UEncryptionAlgorithm&) = delete;
};

}}} // namespace Oskal::Lib::Cryptography
