#define _CRT_RAND_S
#include <Oskal/Lib/Cryptography/USymmetricAlgorithm.h>
#include <Oskal/Lib/Internal/ArgumentChecks.h>

#include <Oskal/Lib/Cryptography/UCryptoException.h>
#include <Oskal/Lib/UArgumentException.h>

#include <windows.h>

#include <cstring>
#include <stdlib.h>

namespace Oskal { namespace Lib { namespace Cryptography {

using Collections::UVector;

namespace
{

void FillRandom(unsigned char* pbyBuffer, unsigned long ulSize)
{
    // One rand_s call per byte, keeping the low byte of each value.
    for (unsigned long i = 0; i < ulSize; ++i)
    {
        unsigned int value = 0;
        if (rand_s(&value) != 0)
            throw UCryptoException(L"Generating random value failed.");
        pbyBuffer[i] = static_cast<unsigned char>(value);
    }
}

void Discard(unsigned char* pbyBuffer, unsigned long ulSize)
{
    if (pbyBuffer == nullptr)
        return;
    SecureZeroMemory(pbyBuffer, ulSize);
    delete[] pbyBuffer;
}

} // namespace

USymmetricAlgorithm::USymmetricAlgorithm(const UVector<unsigned long>& legalBlockSizes,
                                         const UVector<unsigned long>& legalKeySizes)
    : m_legalBlockSizes(legalBlockSizes), m_legalKeySizes(legalKeySizes), m_ulBlockSize(0), m_ulFeedbackSize(0),
      m_eCipherMode(eCipherMode_CBC), m_ePaddingMode(ePaddingMode_PKCS7), m_pbyKey(nullptr), m_ulKeySize(0),
      m_pbyIV(nullptr)
{
    if (legalBlockSizes.GetLength() != 0)
        m_ulBlockSize = m_ulFeedbackSize = legalBlockSizes[0];
    if (legalKeySizes.GetLength() != 0)
        m_ulKeySize = legalKeySizes[0];
    m_pbyKey = new unsigned char[m_ulKeySize / 8 + 1]();
    m_pbyIV = new unsigned char[m_ulBlockSize / 8 + 1]();
    try
    {
        GenerateKey();
        GenerateIV();
    }
    catch (...)
    {
        Discard(m_pbyKey, m_ulKeySize / 8);
        Discard(m_pbyIV, m_ulBlockSize / 8);
        throw;
    }
}

USymmetricAlgorithm::~USymmetricAlgorithm()
{
    Discard(m_pbyKey, m_ulKeySize / 8);
    Discard(m_pbyIV, m_ulBlockSize / 8);
}

unsigned long USymmetricAlgorithm::GetBlockSize() const
{
    return m_ulBlockSize;
}

unsigned long USymmetricAlgorithm::GetFeedbackSize() const
{
    return m_ulFeedbackSize;
}

const unsigned char* USymmetricAlgorithm::GetInitializationVector() const
{
    return m_pbyIV;
}

const unsigned char* USymmetricAlgorithm::GetKey() const
{
    return m_pbyKey;
}

unsigned long USymmetricAlgorithm::GetKeySize() const
{
    return m_ulKeySize;
}

const UVector<unsigned long>& USymmetricAlgorithm::GetLegalBlockSizes() const
{
    return m_legalBlockSizes;
}

const UVector<unsigned long>& USymmetricAlgorithm::GetLegalKeySizes() const
{
    return m_legalKeySizes;
}

UCipherMode USymmetricAlgorithm::GetCipherMode() const
{
    return m_eCipherMode;
}

UPaddingMode USymmetricAlgorithm::GetPaddingMode() const
{
    return m_ePaddingMode;
}

int USymmetricAlgorithm::IsLegalBlockSize(unsigned long ulSize) const
{
    for (unsigned long i = 0; i < m_legalBlockSizes.GetLength(); ++i)
        if (m_legalBlockSizes[i] == ulSize)
            return 1;
    return 0;
}

int USymmetricAlgorithm::IsLegalKeySize(unsigned long ulSize) const
{
    for (unsigned long i = 0; i < m_legalKeySizes.GetLength(); ++i)
        if (m_legalKeySizes[i] == ulSize)
            return 1;
    return 0;
}

void USymmetricAlgorithm::GenerateKey()
{
    FillRandom(m_pbyKey, m_ulKeySize / 8);
}

void USymmetricAlgorithm::GenerateIV()
{
    FillRandom(m_pbyIV, m_ulBlockSize / 8);
}

void USymmetricAlgorithm::SetBlockSize(unsigned long ulSize)
{
    if (!IsLegalBlockSize(ulSize))
        throw Exceptions::UArgumentException(L"ulSize", L"Invalid block size.");
    if (ulSize != m_ulBlockSize)
    {
        unsigned char* iv = new unsigned char[ulSize / 8 + 1]();
        try
        {
            FillRandom(iv, ulSize / 8);
        }
        catch (...)
        {
            delete[] iv;
            throw;
        }
        Discard(m_pbyIV, m_ulBlockSize / 8);
        m_pbyIV = iv;
        m_ulBlockSize = ulSize;
    }
    m_ulFeedbackSize = ulSize;
}

void USymmetricAlgorithm::SetFeedbackSize(unsigned long ulFeedbackSize)
{
    if (ulFeedbackSize > m_ulBlockSize)
        throw Exceptions::UArgumentException(L"ulFeedbackSize", L"Feedback size is larger than the block size.");
    m_ulFeedbackSize = ulFeedbackSize;
}

void USymmetricAlgorithm::SetInitializationVector(const unsigned char* pbyIV, unsigned long ulSize)
{
    if (ulSize * 8 != m_ulBlockSize)
        throw Exceptions::UArgumentException(L"ulSize",
                                             L"Length of the initialization vector must match the block size.");
    Internal::ThrowIfNull(pbyIV, L"pbyIV");
    std::memmove(m_pbyIV, pbyIV, ulSize);
}

void USymmetricAlgorithm::SetKey(const unsigned char* pbyKey, unsigned long ulSize)
{
    if (!IsLegalKeySize(ulSize * 8))
        throw Exceptions::UArgumentException(L"ulSize", L"Key size is not supported by the algorithm.");
    Internal::ThrowIfNull(pbyKey, L"pbyKey");
    unsigned char* key = new unsigned char[ulSize + 1]();
    std::memcpy(key, pbyKey, ulSize);
    Discard(m_pbyKey, m_ulKeySize / 8);
    m_pbyKey = key;
    m_ulKeySize = ulSize * 8;
}

void USymmetricAlgorithm::SetKeySize(unsigned long ulKeySize)
{
    if (!IsLegalKeySize(ulKeySize))
        throw Exceptions::UArgumentException(L"ulKeySize", L"Key size is not supported by the algorithm.");
    if (ulKeySize / 8 != m_ulKeySize / 8)
    {
        unsigned char* key = new unsigned char[ulKeySize / 8 + 1]();
        try
        {
            FillRandom(key, ulKeySize / 8);
        }
        catch (...)
        {
            delete[] key;
            throw;
        }
        Discard(m_pbyKey, m_ulKeySize / 8);
        m_pbyKey = key;
    }
    m_ulKeySize = ulKeySize;
}

void USymmetricAlgorithm::SetCipherMode(UCipherMode eCipherMode)
{
    m_eCipherMode = eCipherMode;
}

void USymmetricAlgorithm::SetPaddingMode(UPaddingMode ePaddingMode)
{
    m_ePaddingMode = ePaddingMode;
}

}}} // namespace Oskal::Lib::Cryptography
