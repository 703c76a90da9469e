#pragma once

#include <Oskal/Lib/Cryptography/UHashAlgorithm.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace Cryptography {

// Common part of the SHA family: message length, block buffering, padding and the fresh,
// hashing, finished and corrupted states. Whole blocks are processed straight from the caller's
// memory; only partial blocks are copied.
class OSKAL_LIB_API USHABase : public UHashAlgorithm
{
public:
    ~USHABase() override;

    // Hashes and copies in one pass over the data, so a hash in a stream stack costs little more
    // than the hash alone.
    unsigned long TransformBlock(const unsigned char* pbyInput, unsigned long ulCount,
                                 unsigned char* pbyOutput) override;
    const unsigned char* GetHash() const override;
    void HashCore(const void* pvData, long lCount) override;
    void HashFinal() override;
    // Clears the counters, the buffer and the finished and corrupted flags; derived classes load
    // their initial chaining values on top.
    void Reset() override;

protected:
    USHABase(unsigned long ulHashSize, unsigned long ulBlockSize);
    USHABase(const USHABase& other);
    USHABase& operator=(const USHABase& other);

    // One block into the chaining state.
    virtual void ProcessMessageBlock(const unsigned char* pbyBlock) = 0;
    // Writes the chaining state into the digest buffer as big-endian words.
    virtual void InitDigest() = 0;
    // A run of whole blocks, also copied to pbyCopy unless it is null; the hardware paths override
    // it to keep the state in registers and to copy the blocks they have loaded anyway.
    virtual void ProcessMessageBlocks(const unsigned char* pbyBlocks, unsigned long ulBlocks, unsigned char* pbyCopy);

    // Writes 32-bit chaining words into the digest buffer, most significant byte first.
    void StoreDigestWords(const unsigned long* pulWords, unsigned long ulCount);

    unsigned char* m_pbyDigest;

private:
    void PadMessage();
    // The checks of HashCore and the restart after a finished digest.
    void Prepare(const void* pvData, long lCount);
    // Digests the data and, unless pbyCopy is null, copies it there.
    void HashData(const unsigned char* pbyData, unsigned long ulCount, unsigned char* pbyCopy);
    // Adds to the 64-bit bit count; a wrap marks the digest corrupt and throws.
    void AddBits(unsigned long ulLow, unsigned long ulHigh);

    unsigned long m_ulBlockSize;
    unsigned long m_ulLengthLow;
    unsigned long m_ulLengthHigh;
    unsigned long m_ulBufferCount;
    unsigned char* m_pbyBuffer;
    const unsigned char* m_pbyInPlace;
    int m_bFinished;
    int m_bCorrupted;
};

}}} // namespace Oskal::Lib::Cryptography
