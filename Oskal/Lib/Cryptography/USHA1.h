#pragma once

#include <Oskal/Lib/Cryptography/USHABase.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace Cryptography {

// SHA-1 (FIPS 180-2): 20-byte digest, 64-byte blocks.
class OSKAL_LIB_API USHA1 : public USHABase
{
public:
    // A new object; the caller releases it with Release().
    static USHA1* Create();

    USHA1();
    USHA1(const USHA1& other);
    USHA1& operator=(const USHA1& other);
    ~USHA1() override;

    void Reset() override;

protected:
    void ProcessMessageBlock(const unsigned char* pbyBlock) override;
    void InitDigest() override;
    void ProcessMessageBlocks(const unsigned char* pbyBlocks, unsigned long ulBlocks, unsigned char* pbyCopy) override;

private:
    unsigned long m_aulState[5];
};

}}} // namespace Oskal::Lib::Cryptography
