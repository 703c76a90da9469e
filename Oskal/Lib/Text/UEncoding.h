#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UDecoderFallback.h>
#include <Oskal/Lib/Text/UEncoderFallback.h>
#include <Oskal/Lib/UReferenceManagement.h>
#include <Oskal/Lib/UString.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

class UDecoder;
class UEncoder;

// Converts between UTF-16 text and bytes. Whole-buffer conversions go through a fresh decoder or
// encoder (flushed at the end, no preamble written); CreateDecoder/CreateEncoder give stateful
// converters for text that arrives in pieces.
class OSKAL_LIB_API UEncoding : public UReferenceManagement
{
public:
    virtual const wchar_t* GetName() const = 0;
    // New objects with a reference count of 1.
    virtual UEncoder* CreateEncoder() = 0;
    virtual UDecoder* CreateDecoder() = 0;
    // Null with a length of 0 when the encoding has no preamble.
    virtual const unsigned char* GetPreamble(unsigned long* pulLength) const;
    virtual unsigned long GetMaxByteCount(unsigned long ulCharCount) const;
    virtual unsigned long GetMaxCharCount(unsigned long ulByteCount) const;
    virtual unsigned long GetByteCount(const wchar_t* pszInput);
    virtual unsigned long GetByteCount(const wchar_t* pwcInput, unsigned long ulInputCount);
    virtual unsigned long GetBytes(const wchar_t* pszInput, unsigned char* pbyOutput, unsigned long ulOutputSize);
    virtual unsigned long GetBytes(const wchar_t* pwcInput, unsigned long ulInputCount, unsigned char* pbyOutput,
                                   unsigned long ulOutputSize);
    virtual unsigned long GetCharCount(const unsigned char* pbyInput, unsigned long ulInputCount);
    virtual unsigned long GetChars(const unsigned char* pbyInput, unsigned long ulInputCount, wchar_t* pwcOutput,
                                   unsigned long ulOutputSize);
    virtual UString GetString(const unsigned char* pbyInput, unsigned long ulInputCount);
    // The fallbacks are returned without an added reference.
    virtual UEncoderFallback* GetEncoderFallback() const;
    virtual void SetEncoderFallback(UEncoderFallback* pFallback);
    virtual UDecoderFallback* GetDecoderFallback() const;
    virtual void SetDecoderFallback(UDecoderFallback* pFallback);

    int GetThrowOnInvalid() const { return m_bThrowOnInvalid; }

protected:
    explicit UEncoding(int bThrowOnInvalid);
    ~UEncoding() override;

    // Results: bytes consumed or written (> 0), 0 when more bytes are needed, -1 for an invalid
    // sequence or a code point that cannot be encoded, -2 when the output is too small.
    virtual long DecodeCodePoint(const unsigned char* pbyInput, unsigned long ulCount,
                                 unsigned long* pulCodePoint) const = 0;
    virtual long EncodeCodePoint(unsigned long ulCodePoint, unsigned char* pbyOutput, unsigned long ulSize) const = 0;
    virtual long GetByteCountFromCodePoint(unsigned long ulCodePoint) const = 0;

    int m_bThrowOnInvalid;
    UEncoderFallback* m_pEncoderFallback;
    UDecoderFallback* m_pDecoderFallback;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
