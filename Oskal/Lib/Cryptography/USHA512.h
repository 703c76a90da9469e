#pragma once

#include <Oskal/Lib/Cryptography/USHABase.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace Cryptography {

// SHA-512 (FIPS 180-2): 64-byte digest, 128-byte blocks.
class OSKAL_LIB_API USHA512 : public USHABase
{
public:
    // A new object; the caller releases it with Release().
    static USHA512* Create();

    USHA512();
    USHA512(const USHA512& other);
    USHA512& operator=(const USHA512& other);
    ~USHA512() override;

    void Reset() override;

protected:
    void ProcessMessageBlock(const unsigned char* pbyBlock) override;
    void ProcessMessageBlocks(const unsigned char* pbyBlocks, unsigned long ulBlocks, unsigned char* pbyCopy) override;
    void InitDigest() override;

private:
    unsigned long long m_aullState[8];
};

}}} // namespace Oskal::Lib::Cryptography
