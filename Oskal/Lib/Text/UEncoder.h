#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UEncoderFallback.h>
#include <Oskal/Lib/Text/UEncoderFallbackBuffer.h>
#include <Oskal/Lib/UReferenceManagement.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

class UEncoding;

// Stateful UTF-16-to-bytes conversion. Writes the encoding's preamble once (after creation or
// Reset), holds a high surrogate that ends one call until the next; a flush drops it. Unpaired
// surrogates are dropped (or throw with the throw-on-invalid flag); code points the encoding
// cannot represent go to the fallback.
class OSKAL_LIB_API UEncoder : public UReferenceManagement
{
public:
    // Counts what GetBytes would write; the encoder's state is left unchanged.
    virtual unsigned long GetByteCount(const wchar_t* pwcInput, unsigned long ulInputCount, int bFlush);
    // Throws UArgumentException when the output is too small.
    virtual unsigned long GetBytes(const wchar_t* pwcInput, unsigned long ulInputCount, unsigned char* pbyOutput,
                                   unsigned long ulOutputSize, int bFlush);
    // Converts as much as fits the output; lack of room throws only when not even one value
    // fits. *pbCompleted is 1 when all input was used, nothing is pending and the preamble is
    // written.
    virtual void Convert(const wchar_t* pwcInput, unsigned long ulInputCount, unsigned char* pbyOutput,
                         unsigned long ulOutputSize, int bFlush, unsigned long* pulCharsUsed,
                         unsigned long* pulBytesUsed, int* pbCompleted);
    virtual void Reset();

protected:
    explicit UEncoder(UEncoding* pEncoding);
    ~UEncoder() override;

    // As UEncoding::EncodeCodePoint and UEncoding::GetByteCountFromCodePoint.
    virtual long EncodeCodePoint(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize) = 0;
    virtual long GetByteCountFromCodePoint(unsigned long ulCodePoint) = 0;
    // Optional fast path: encodes a prefix of the input that needs no fallback and ends before any
    // unpaired surrogate, exactly as the code-point loop would, writing at most ulOutputSize bytes
    // (or only counting when pbyOutput is null). Returns the bytes produced; *pulCharsUsed the
    // units used. The base encodes nothing.
    virtual unsigned long EncodeRun(const wchar_t* pwcInput, unsigned long ulInputCount, unsigned char* pbyOutput,
                                    unsigned long ulOutputSize, unsigned long* pulCharsUsed);

private:
    friend class UEncoding;

    enum EMode
    {
        eMode_Count,
        eMode_Write,
        eMode_Convert,
    };

    unsigned long Encode(const wchar_t* pwcInput, unsigned long ulInputCount, unsigned char* pbyOutput,
                         unsigned long ulOutputSize, int bFlush, EMode eMode, unsigned long* pulCharsUsed,
                         int* pbCompleted);
    long EncodeFallback(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize, EMode eMode);
    UEncoderFallbackBuffer* GetFallbackBuffer();

    unsigned char* m_pbyPreamble;
    unsigned long m_ulPreambleLength;
    unsigned long m_ulPreambleOwed;
    int m_bThrowOnInvalid;
    long m_lPendingHighSurrogate;
    UEncoderFallback* m_pFallback;
    UEncoderFallbackBuffer* m_pFallbackBuffer;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
