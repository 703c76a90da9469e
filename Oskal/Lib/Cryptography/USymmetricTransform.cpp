#include <Oskal/Lib/Cryptography/USymmetricTransform.h>

#include <Oskal/Lib/Cryptography/UCryptoException.h>
#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UNotSupportedException.h>

#include <windows.h>

#include <cstdlib>
#include <cstring>

namespace Oskal { namespace Lib { namespace Cryptography {

using Collections::UVector;

USymmetricTransform::USymmetricTransform(int bEncrypting, unsigned long ulBlockSize, unsigned long ulFeedbackSize,
                                         UCipherMode eCipherMode, UPaddingMode ePaddingMode, const unsigned char* pbyIV)
    : m_bEncrypting(bEncrypting ? 1 : 0), m_eCipherMode(eCipherMode), m_ePaddingMode(ePaddingMode),
      m_ulBlockSizeBits(ulBlockSize), m_ulBlockSize(ulBlockSize / 8), m_ulFeedbackSizeBits(ulFeedbackSize),
      m_ulFeedbackSize(ulFeedbackSize / 8), m_pbyKeyMaterial(nullptr), m_ulKeyMaterialSize(0), m_ulKeySize(0),
      m_pbyIV(nullptr), m_pbyChain(nullptr), m_pbyScratch(nullptr), m_ulSegments(0)
{
    if (m_ulBlockSize == 0)
        throw Exceptions::UArgumentException(L"ulBlockSize", L"Invalid block size.");
    if (ulFeedbackSize > ulBlockSize)
        throw Exceptions::UArgumentException(L"ulFeedbackSize", L"Feedback size is larger than the block size.");
    m_ulSegments = m_ulFeedbackSize != 0 ? m_ulBlockSize / m_ulFeedbackSize : 0;
    m_pbyIV = new unsigned char[m_ulBlockSize]();
    if (pbyIV != nullptr)
        std::memcpy(m_pbyIV, pbyIV, m_ulBlockSize);
    m_pbyChain = new unsigned char[m_ulBlockSize];
    std::memcpy(m_pbyChain, m_pbyIV, m_ulBlockSize);
    m_pbyScratch = new unsigned char[3 * m_ulBlockSize]();
}

USymmetricTransform::~USymmetricTransform()
{
    if (m_pbyKeyMaterial != nullptr)
        SecureZeroMemory(m_pbyKeyMaterial, m_ulKeyMaterialSize);
    SecureZeroMemory(m_pbyIV, m_ulBlockSize);
    SecureZeroMemory(m_pbyChain, m_ulBlockSize);
    SecureZeroMemory(m_pbyScratch, 3 * m_ulBlockSize);
    delete[] m_pbyKeyMaterial;
    delete[] m_pbyIV;
    delete[] m_pbyChain;
    delete[] m_pbyScratch;
}

void USymmetricTransform::Release()
{
    delete this;
}

int USymmetricTransform::CanReuseTransform() const
{
    return 1;
}

int USymmetricTransform::CanTransformMultipleBlocks() const
{
    return 1;
}

unsigned long USymmetricTransform::GetInputBlockSize() const
{
    return m_ulBlockSize;
}

unsigned long USymmetricTransform::GetOutputBlockSize() const
{
    return m_ulBlockSize;
}

void USymmetricTransform::CheckPaddingMode() const
{
    switch (m_ePaddingMode)
    {
    case ePaddingMode_None:
    case ePaddingMode_Zeros:
    case ePaddingMode_ANSIX923:
    case ePaddingMode_ISO10126:
    case ePaddingMode_PKCS7:
        return;
    }
    throw Exceptions::UNotSupportedException(L"Padding mode is not supported.");
}

unsigned long USymmetricTransform::GetTransformedSize(unsigned long ulSize) const
{
    CheckPaddingMode();
    const unsigned long whole = ulSize / m_ulBlockSize * m_ulBlockSize;
    if (m_ePaddingMode == ePaddingMode_None || m_ePaddingMode == ePaddingMode_Zeros)
        return whole == ulSize ? ulSize : whole + m_ulBlockSize;
    return whole + m_ulBlockSize;
}

unsigned long USymmetricTransform::TransformBlock(const unsigned char* pbyInput, unsigned long ulCount,
                                                  unsigned char* pbyOutput)
{
    if (ulCount == 0)
        return 0;
    Internal::ThrowIfNull(pbyInput, L"pbyInput");
    Internal::ThrowIfNull(pbyOutput, L"pbyOutput");
    for (unsigned long offset = 0; ulCount - offset >= m_ulBlockSize; offset += m_ulBlockSize)
        Transform(pbyInput + offset, pbyOutput + offset);
    return ulCount;
}

void USymmetricTransform::Transform(const unsigned char* pbyInput, unsigned char* pbyOutput)
{
    switch (m_eCipherMode)
    {
    case eCipherMode_CBC:
        CBC(pbyInput, pbyOutput);
        return;
    case eCipherMode_CFB:
        CFB(pbyInput, pbyOutput);
        return;
    case eCipherMode_CTS:
        CTS(pbyInput, pbyOutput);
        return;
    case eCipherMode_ECB:
        ECB(pbyInput, pbyOutput);
        return;
    case eCipherMode_OFB:
        OFB(pbyInput, pbyOutput);
        return;
    }
    throw Exceptions::UNotSupportedException(L"Cipher mode is not supported.");
}

void USymmetricTransform::CBC(const unsigned char* pbyInput, unsigned char* pbyOutput)
{
    if (m_bEncrypting)
    {
        for (unsigned long i = 0; i < m_ulBlockSize; ++i)
            m_pbyChain[i] ^= pbyInput[i];
        ECB(m_pbyChain, pbyOutput);
        std::memcpy(m_pbyChain, pbyOutput, m_ulBlockSize);
    }
    else
    {
        // The input may be the output: keep the cipher text for the chain first.
        unsigned char* kept = m_pbyScratch + m_ulBlockSize;
        std::memcpy(kept, pbyInput, m_ulBlockSize);
        ECB(kept, pbyOutput);
        for (unsigned long i = 0; i < m_ulBlockSize; ++i)
            pbyOutput[i] ^= m_pbyChain[i];
        std::memcpy(m_pbyChain, kept, m_ulBlockSize);
    }
}

void USymmetricTransform::CFB(const unsigned char* pbyInput, unsigned char* pbyOutput)
{
    if (m_ulFeedbackSize == 0)
        throw Exceptions::UNotSupportedException(L"Cipher mode is not supported.");
    unsigned char* cipher = m_pbyScratch;
    unsigned char* input = m_pbyScratch + m_ulBlockSize;
    const unsigned long fb = m_ulFeedbackSize;
    // Work on a copy: segments overlap when the feedback is neither one byte nor the whole block.
    std::memcpy(input, pbyInput, m_ulBlockSize);
    // Overlapping segments don't reach the block's last bytes; those keep the input rather than
    // whatever the output buffer held.
    std::memmove(pbyOutput, input, m_ulBlockSize);
    for (unsigned long s = 0; s < m_ulSegments; ++s)
    {
        // The forward cipher in both directions (ECB knows this from the mode).
        ECB(m_pbyChain, cipher);
        // Kept: the segment starts one byte further on per segment, not one segment further on.
        // With one-byte or whole-block feedback that is standard CFB; other sizes give this
        // library's own results, which existing data depends on (pinned by
        // Rijndael.CfbSegmentsAdvanceOneBytePerSegment)
        const unsigned char* in = input + s;
        unsigned char* out = pbyOutput + s;
        unsigned char* feedback = m_pbyChain + m_ulBlockSize - fb;
        std::memmove(m_pbyChain, m_pbyChain + fb, m_ulBlockSize - fb);
        // s + fb never passes the block's end: segments = block / fb.
        for (unsigned long j = 0; j < fb; ++j)
        {
            const unsigned char c = static_cast<unsigned char>(in[j] ^ cipher[j]);
            out[j] = c;
            feedback[j] = m_bEncrypting ? c : in[j];
        }
    }
}

void USymmetricTransform::OFB(const unsigned char*, unsigned char*)
{
    throw Exceptions::UNotSupportedException(L"Cipher mode 'OFB' is not supported.");
}

void USymmetricTransform::CTS(const unsigned char*, unsigned char*)
{
    throw Exceptions::UNotSupportedException(L"Cipher mode 'CTS' is not supported.");
}

UVector<unsigned char> USymmetricTransform::TransformFinalBlock(const unsigned char* pbyInput, unsigned long ulCount)
{
    if (ulCount != 0)
        Internal::ThrowIfNull(pbyInput, L"pbyInput");
    const unsigned long block = m_ulBlockSize;
    const bool padded = m_ePaddingMode == ePaddingMode_ANSIX923 || m_ePaddingMode == ePaddingMode_ISO10126 ||
                        m_ePaddingMode == ePaddingMode_PKCS7;
    if (m_bEncrypting)
    {
        const unsigned long whole = ulCount / block * block;
        const unsigned long outLength = whole + ((ulCount != whole || padded) ? block : 0);
        if (outLength == 0)
        {
            // The message ends here too: the next one starts from the initialization vector.
            std::memcpy(m_pbyChain, m_pbyIV, block);
            return UVector<unsigned char>();
        }
        CheckPaddingMode();
        UVector<unsigned char> output(outLength);
        const unsigned long direct = outLength - block;
        if (direct != 0)
            TransformBlock(pbyInput, direct, output.GetBuffer());
        const unsigned long rest = ulCount - direct;
        unsigned char* last = m_pbyScratch + 2 * block;
        std::memcpy(last, pbyInput + direct, rest);
        const unsigned char padLength = static_cast<unsigned char>(block - rest);
        switch (m_ePaddingMode)
        {
        case ePaddingMode_None:
        case ePaddingMode_Zeros:
            std::memset(last + rest, 0, block - rest);
            break;
        case ePaddingMode_ANSIX923:
            std::memset(last + rest, 0, block - rest);
            last[block - 1] = padLength;
            break;
        case ePaddingMode_ISO10126:
            // Kept: seeded the same way every time, so the filler repeats; existing files carry it
            // (pinned by Rijndael.PaddingModes)
            std::srand(1);
            for (unsigned long i = rest; i < block; ++i)
                last[i] = static_cast<unsigned char>(std::rand());
            last[block - 1] = padLength;
            break;
        case ePaddingMode_PKCS7:
            std::memset(last + rest, padLength, block - rest);
            break;
        }
        Transform(last, output.GetBuffer() + direct);
        SecureZeroMemory(last, block);
        std::memcpy(m_pbyChain, m_pbyIV, block);
        return output;
    }

    if (ulCount % block != 0)
    {
        // The message is over either way; the next one starts from the initialization vector.
        std::memcpy(m_pbyChain, m_pbyIV, block);
        throw UCryptoException(L"Length of the data to decrypt is invalid.");
    }
    if (ulCount == 0)
    {
        std::memcpy(m_pbyChain, m_pbyIV, block);
        return UVector<unsigned char>();
    }
    // Checked before anything is deciphered, so a refusal leaves the chain alone.
    CheckPaddingMode();
    UVector<unsigned char> output(ulCount);
    TransformBlock(pbyInput, ulCount, output.GetBuffer());
    std::memcpy(m_pbyChain, m_pbyIV, block);
    const unsigned char* last = output.GetBuffer() + ulCount - block;
    unsigned long padLength = 0;
    switch (m_ePaddingMode)
    {
    case ePaddingMode_None:
        break;
    case ePaddingMode_Zeros:
        while (padLength < block && last[block - 1 - padLength] == 0)
            ++padLength;
        break;
    case ePaddingMode_ANSIX923:
    case ePaddingMode_ISO10126:
    case ePaddingMode_PKCS7:
        // The pad bytes themselves are not checked.
        padLength = last[block - 1];
        break;
    }
    if (padLength > ulCount)
        throw UCryptoException(L"Stripping padding bytes failed.");
    if (padLength != 0)
    {
        UVector<unsigned char> stripped(output.GetBuffer(), ulCount - padLength);
        SecureZeroMemory(output.GetBuffer(), ulCount);
        return stripped;
    }
    return output;
}

}}} // namespace Oskal::Lib::Cryptography
