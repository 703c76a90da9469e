#pragma once

#include <Oskal/Lib/Cryptography/USHABase.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace Cryptography {

// SHA-256 (FIPS 180-2): 32-byte digest, 64-byte blocks.
class OSKAL_LIB_API USHA256 : public USHABase
{
public:
    // A new object; the caller releases it with Release().
    static USHA256* Create();

    USHA256();
    USHA256(const USHA256& other);
    USHA256& operator=(const USHA256& other);
    ~USHA256() override;

    void Reset() override;

protected:
    void ProcessMessageBlock(const unsigned char* pbyBlock) override;
    void InitDigest() override;
    void ProcessMessageBlocks(const unsigned char* pbyBlocks, unsigned long ulBlocks, unsigned char* pbyCopy) override;

private:
    unsigned long m_aulState[8];
};

}}} // namespace Oskal::Lib::Cryptography
