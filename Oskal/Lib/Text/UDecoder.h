#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UDecoderFallback.h>
#include <Oskal/Lib/Text/UDecoderFallbackBuffer.h>
#include <Oskal/Lib/UReferenceManagement.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

class UEncoding;

// Stateful bytes-to-UTF-16 conversion. Keeps an incomplete sequence and the "drop a leading
// U+FEFF" flag between calls; a flush drops the incomplete sequence, Reset restores the state
// after creation. Invalid bytes are skipped (or throw with the throw-on-invalid flag); values
// that are not characters (surrogates, beyond U+10FFFF) go to the fallback.
class OSKAL_LIB_API UDecoder : public UReferenceManagement
{
public:
    // Counts what GetChars would write; the decoder's state is left unchanged.
    virtual unsigned long GetCharCount(const unsigned char* pbyInput, unsigned long ulInputCount, int bFlush);
    // Throws UArgumentException when the output is too small.
    virtual unsigned long GetChars(const unsigned char* pbyInput, unsigned long ulInputCount, wchar_t* pwcOutput,
                                   unsigned long ulOutputSize, int bFlush);
    // Converts as much as fits the output; lack of room throws only when not even one value
    // fits. *pbCompleted is 1 when all input was used and nothing is left pending.
    virtual void Convert(const unsigned char* pbyInput, unsigned long ulInputCount, wchar_t* pwcOutput,
                         unsigned long ulOutputSize, int bFlush, unsigned long* pulBytesUsed,
                         unsigned long* pulCharsUsed, int* pbCompleted);
    virtual void Reset();

    // The fallback taken from the encoding when the decoder was made; the encoding's own may
    // have been replaced since.
    UDecoderFallback* GetFallback() const { return m_pFallback; }

protected:
    explicit UDecoder(UEncoding* pEncoding);
    ~UDecoder() override;

    // As UEncoding::DecodeCodePoint.
    virtual long DecodeCodePoint(const unsigned char* pbyInput, unsigned long ulCount, unsigned long* pulCodePoint) = 0;
    // Optional fast path: decodes a prefix of complete, valid sequences whose values need no
    // fallback, exactly as the code-point loop would, writing at most ulOutputSize units (or only
    // counting when pwcOutput is null). Returns the units produced; *pulBytesUsed the bytes used.
    // The base decodes nothing.
    virtual unsigned long DecodeRun(const unsigned char* pbyInput, unsigned long ulInputCount, wchar_t* pwcOutput,
                                    unsigned long ulOutputSize, unsigned long* pulBytesUsed);

private:
    friend class UEncoding;

    enum EMode
    {
        eMode_Count,   // no output, state unchanged
        eMode_Write,   // lack of room throws
        eMode_Convert, // lack of room stops
    };

    unsigned long Decode(const unsigned char* pbyInput, unsigned long ulInputCount, wchar_t* pwcOutput,
                         unsigned long ulOutputSize, int bFlush, EMode eMode, const wchar_t* pszInvalidMessage,
                         unsigned long* pulBytesUsed, int* pbCompleted);
    UDecoderFallbackBuffer* GetFallbackBuffer();

    UDecoderFallback* m_pFallback;
    UDecoderFallbackBuffer* m_pFallbackBuffer;
    int m_bThrowOnInvalid;
    int m_bActive;
    int m_bSkipIdentifier;
    unsigned long m_ulCodePoint;
    unsigned char m_abyPending[20];
    unsigned long m_ulPendingCount;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
