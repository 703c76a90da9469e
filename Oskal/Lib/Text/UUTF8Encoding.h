#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UEncoding.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

// UTF-8. Kept: the decoder is lenient at the sequence level (overlong forms, leads F5-F7, stray
// continuation bytes read as two-byte leads); surrogate values and values beyond U+10FFFF are left
// to the fallback (pinned by EncodingBehaviour.LenientFormsArePinned)
class OSKAL_LIB_API UUTF8Encoding : public UEncoding
{
public:
    // Identifier (byte-order mark) off, throw-on-invalid off.
    static UUTF8Encoding* Create();
    static UUTF8Encoding* Create(int bEmitIdentifier);
    static UUTF8Encoding* Create(int bEmitIdentifier, int bThrowOnInvalid);

    // "UTF-8"
    const wchar_t* GetName() const override;
    UEncoder* CreateEncoder() override;
    UDecoder* CreateDecoder() override;
    // EF BB BF when the identifier flag is set, else null with a length of 0.
    const unsigned char* GetPreamble(unsigned long* pulLength) const override;
    // The base value times 3, plus 3.
    unsigned long GetMaxByteCount(unsigned long ulCharCount) const override;

protected:
    UUTF8Encoding(int bEmitIdentifier, int bThrowOnInvalid);
    ~UUTF8Encoding() override;

    long DecodeCodePoint(const unsigned char* pbyInput, unsigned long ulCount,
                         unsigned long* pulCodePoint) const override;
    long EncodeCodePoint(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize) const override;
    long GetByteCountFromCodePoint(unsigned long ulCodePoint) const override;

private:
    friend class UUTF8Decoder;
    friend class UUTF8Encoder;

    // The code-point operations, shared with the encoder and decoder.
    static long Decode(const unsigned char* pbyInput, unsigned long ulCount, unsigned long* pulCodePoint);
    static long Encode(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize);
    static long ByteCount(unsigned long ulCodePoint);

    int m_bEmitIdentifier;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
