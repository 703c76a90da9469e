#include <Oskal/Lib/Cryptography/USHABase.h>

#include <Oskal/Lib/Cryptography/UCryptoException.h>
#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/UArgumentException.h>

#include <windows.h>

#include <cstring>

namespace Oskal { namespace Lib { namespace Cryptography {

USHABase::USHABase(unsigned long ulHashSize, unsigned long ulBlockSize)
    : UHashAlgorithm(ulHashSize), m_pbyDigest(nullptr), m_ulBlockSize(ulBlockSize), m_ulLengthLow(0), m_ulLengthHigh(0),
      m_ulBufferCount(0), m_pbyBuffer(nullptr), m_pbyInPlace(nullptr), m_bFinished(0), m_bCorrupted(0)
{
    m_pbyDigest = new unsigned char[ulHashSize]();
    m_pbyBuffer = new unsigned char[ulBlockSize]();
}

USHABase::USHABase(const USHABase& other)
    : UHashAlgorithm(other), m_pbyDigest(nullptr), m_ulBlockSize(other.m_ulBlockSize),
      m_ulLengthLow(other.m_ulLengthLow), m_ulLengthHigh(other.m_ulLengthHigh), m_ulBufferCount(other.m_ulBufferCount),
      m_pbyBuffer(nullptr), m_pbyInPlace(nullptr), m_bFinished(other.m_bFinished), m_bCorrupted(other.m_bCorrupted)
{
    m_pbyDigest = new unsigned char[GetHashSize()];
    std::memcpy(m_pbyDigest, other.m_pbyDigest, GetHashSize());
    m_pbyBuffer = new unsigned char[m_ulBlockSize];
    std::memcpy(m_pbyBuffer, other.m_pbyBuffer, m_ulBlockSize);
}

USHABase& USHABase::operator=(const USHABase& other)
{
    if (this == &other)
        return *this;
    // Same algorithm on both sides, so the buffer sizes already match.
    UHashAlgorithm::operator=(other);
    std::memcpy(m_pbyDigest, other.m_pbyDigest, GetHashSize());
    std::memcpy(m_pbyBuffer, other.m_pbyBuffer, m_ulBlockSize);
    m_ulLengthLow = other.m_ulLengthLow;
    m_ulLengthHigh = other.m_ulLengthHigh;
    m_ulBufferCount = other.m_ulBufferCount;
    m_pbyInPlace = nullptr;
    m_bFinished = other.m_bFinished;
    m_bCorrupted = other.m_bCorrupted;
    return *this;
}

USHABase::~USHABase()
{
    // The buffer holds message bytes; don't leave them on the heap.
    SecureZeroMemory(m_pbyBuffer, m_ulBlockSize);
    SecureZeroMemory(m_pbyDigest, GetHashSize());
    delete[] m_pbyBuffer;
    delete[] m_pbyDigest;
}

const unsigned char* USHABase::GetHash() const
{
    return m_pbyDigest;
}

void USHABase::Reset()
{
    m_ulLengthLow = 0;
    m_ulLengthHigh = 0;
    m_ulBufferCount = 0;
    m_pbyInPlace = nullptr;
    m_bFinished = 0;
    m_bCorrupted = 0;
    std::memset(m_pbyBuffer, 0, m_ulBlockSize);
}

void USHABase::ProcessMessageBlocks(const unsigned char* pbyBlocks, unsigned long ulBlocks, unsigned char* pbyCopy)
{
    for (unsigned long i = 0; i < ulBlocks; ++i)
    {
        if (pbyCopy != nullptr)
            std::memcpy(pbyCopy + i * m_ulBlockSize, pbyBlocks + i * m_ulBlockSize, m_ulBlockSize);
        ProcessMessageBlock(pbyBlocks + i * m_ulBlockSize);
    }
}

void USHABase::AddBits(unsigned long ulLow, unsigned long ulHigh)
{
    const unsigned long low = m_ulLengthLow + ulLow;
    unsigned long high = m_ulLengthHigh + ulHigh;
    const bool carry = low < ulLow;
    bool wrapped = high < ulHigh;
    if (carry)
    {
        ++high;
        wrapped = wrapped || high == 0;
    }
    m_ulLengthLow = low;
    m_ulLengthHigh = high;
    if (wrapped)
    {
        m_bCorrupted = 1;
        throw UCryptoException(L"Message is too long.");
    }
}

void USHABase::Prepare(const void* pvData, long lCount)
{
    Internal::ThrowIfNegative(lCount, L"lCount");
    Internal::ThrowIfNull(pvData, L"pvData");
    if (m_bCorrupted)
        throw UCryptoException(L"Digest is corrupt.");
    if (m_bFinished)
        Reset();
}

void USHABase::HashCore(const void* pvData, long lCount)
{
    if (lCount == 0)
        return;
    Prepare(pvData, lCount);
    HashData(static_cast<const unsigned char*>(pvData), static_cast<unsigned long>(lCount), nullptr);
}

unsigned long USHABase::TransformBlock(const unsigned char* pbyInput, unsigned long ulCount, unsigned char* pbyOutput)
{
    // Nothing to copy, or overlapping buffers: digest first, then move the bytes.
    if (ulCount == 0 || pbyOutput == nullptr || pbyInput == nullptr ||
        (pbyOutput < pbyInput + ulCount && pbyInput < pbyOutput + ulCount))
        return UHashAlgorithm::TransformBlock(pbyInput, ulCount, pbyOutput);
    Prepare(pbyInput, static_cast<long>(ulCount));
    HashData(pbyInput, ulCount, pbyOutput);
    return ulCount;
}

void USHABase::HashData(const unsigned char* pbyData, unsigned long ulCount, unsigned char* pbyCopy)
{
    const unsigned char* data = pbyData;
    unsigned long remaining = ulCount;
    while (remaining != 0)
    {
        if (m_ulBufferCount == 0 && remaining >= m_ulBlockSize)
        {
            const unsigned long blocks = remaining / m_ulBlockSize;
            const unsigned long bytes = blocks * m_ulBlockSize;
            m_pbyInPlace = data;
            ProcessMessageBlocks(data, blocks, pbyCopy);
            m_pbyInPlace = nullptr;
            // bytes * 8 as a 64-bit quantity split into two words.
            AddBits(bytes << 3, bytes >> 29);
            data += bytes;
            remaining -= bytes;
            if (pbyCopy != nullptr)
                pbyCopy += bytes;
        }
        else
        {
            unsigned long take = m_ulBlockSize - m_ulBufferCount;
            if (take > remaining)
                take = remaining;
            std::memcpy(m_pbyBuffer + m_ulBufferCount, data, take);
            if (pbyCopy != nullptr)
            {
                std::memcpy(pbyCopy, data, take);
                pbyCopy += take;
            }
            m_ulBufferCount += take;
            data += take;
            remaining -= take;
            AddBits(take << 3, take >> 29);
            if (m_ulBufferCount == m_ulBlockSize)
            {
                ProcessMessageBlock(m_pbyBuffer);
                m_ulBufferCount = 0;
            }
        }
    }
}

void USHABase::PadMessage()
{
    // The length field is 8 bytes for 64-byte blocks and 16 bytes for 128-byte blocks (FIPS
    // 180-2); of the 16, the upper 8 stay zero.
    const unsigned long lengthField = m_ulBlockSize / 8;
    m_pbyBuffer[m_ulBufferCount++] = 0x80;
    if (m_ulBufferCount > m_ulBlockSize - lengthField)
    {
        std::memset(m_pbyBuffer + m_ulBufferCount, 0, m_ulBlockSize - m_ulBufferCount);
        ProcessMessageBlock(m_pbyBuffer);
        m_ulBufferCount = 0;
    }
    std::memset(m_pbyBuffer + m_ulBufferCount, 0, m_ulBlockSize - m_ulBufferCount);
    unsigned char* length = m_pbyBuffer + m_ulBlockSize - 8;
    for (int i = 0; i < 4; ++i)
    {
        length[i] = static_cast<unsigned char>(m_ulLengthHigh >> (24 - 8 * i));
        length[4 + i] = static_cast<unsigned char>(m_ulLengthLow >> (24 - 8 * i));
    }
    ProcessMessageBlock(m_pbyBuffer);
}

void USHABase::HashFinal()
{
    if (m_bCorrupted)
        throw UCryptoException(L"Digest is corrupt.");
    if (m_bFinished)
        return;
    PadMessage();
    std::memset(m_pbyBuffer, 0, m_ulBlockSize);
    m_ulBufferCount = 0;
    m_ulLengthLow = 0;
    m_ulLengthHigh = 0;
    m_bFinished = 1;
    InitDigest();
}

void USHABase::StoreDigestWords(const unsigned long* pulWords, unsigned long ulCount)
{
    for (unsigned long i = 0; i < ulCount; ++i)
    {
        m_pbyDigest[4 * i] = static_cast<unsigned char>(pulWords[i] >> 24);
        m_pbyDigest[4 * i + 1] = static_cast<unsigned char>(pulWords[i] >> 16);
        m_pbyDigest[4 * i + 2] = static_cast<unsigned char>(pulWords[i] >> 8);
        m_pbyDigest[4 * i + 3] = static_cast<unsigned char>(pulWords[i]);
    }
}

}}} // namespace Oskal::Lib::Cryptography
