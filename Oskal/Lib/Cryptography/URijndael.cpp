#include <Oskal/Lib/Cryptography/URijndael.h>

#include <Oskal/Lib/Cryptography/URijndaelTransform.h>

namespace Oskal { namespace Lib { namespace Cryptography {

using Collections::UVector;

namespace
{

const unsigned long kBlockSizes[] = {128};
const unsigned long kKeySizes[] = {128, 192, 256};

int Contains(const unsigned long* pulSizes, unsigned long ulCount, unsigned long ulSize)
{
    for (unsigned long i = 0; i < ulCount; ++i)
        if (pulSizes[i] == ulSize)
            return 1;
    return 0;
}

} // namespace

URijndael* URijndael::Create()
{
    return new URijndael();
}

int URijndael::SupportsBlockSize(unsigned long ulSize)
{
    return Contains(kBlockSizes, 1, ulSize);
}

int URijndael::SupportsKeySize(unsigned long ulSize)
{
    return Contains(kKeySizes, 3, ulSize);
}

URijndael::URijndael()
    : USymmetricAlgorithm(UVector<unsigned long>(kBlockSizes, 1), UVector<unsigned long>(kKeySizes, 3))
{
    SetKeySize(256);
    SetBlockSize(128);
    SetFeedbackSize(128);
}

URijndael::~URijndael() {}

ICryptoTransform* URijndael::CreateEncryptor() const
{
    return URijndaelTransform::Create(1, m_ulBlockSize, m_ulFeedbackSize, m_eCipherMode, m_ePaddingMode, m_pbyKey,
                                      m_ulKeySize, m_pbyIV);
}

ICryptoTransform* URijndael::CreateDecryptor() const
{
    return URijndaelTransform::Create(0, m_ulBlockSize, m_ulFeedbackSize, m_eCipherMode, m_ePaddingMode, m_pbyKey,
                                      m_ulKeySize, m_pbyIV);
}

}}} // namespace Oskal::Lib::Cryptography
