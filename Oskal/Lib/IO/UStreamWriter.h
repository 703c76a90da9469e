#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/UStream.h>
#include <Oskal/Lib/Text/UEncoder.h>
#include <Oskal/Lib/Text/UEncoding.h>
#include <Oskal/Lib/UString.h>

#include <cstddef> // __int64 comes with the run-time headers

namespace Oskal
{
namespace Lib
{
namespace IO
{

// Writes text to a byte stream through an encoding (UTF-8 unless another is given). Nothing is
// buffered: each call encodes its text and writes the bytes before it returns. The stream is not
// owned and never flushed or closed by the writer. After Close every write throws
// UInvalidOperationException.
class OSKAL_LIB_API UStreamWriter
{
public:
    explicit UStreamWriter(UStream* pStream);
    UStreamWriter(UStream* pStream, Text::UEncoding* pEncoding);
    virtual ~UStreamWriter();

    UStreamWriter(const UStreamWriter&) = delete;
    UStreamWriter& operator=(const UStreamWriter&) = delete;

    virtual Text::UEncoding* GetEncoding();
    virtual const UString& GetNewLine();
    virtual void SetNewLine(const UString& newLine);
    virtual void Close();
    // Writes what the encoder still holds; the stream's own Flush is not called.
    virtual void Flush();
    virtual void Write(const wchar_t* pwcText, unsigned long ulCount);
    virtual void Write(const wchar_t* pszText);
    // "%f"
    virtual void Write(float fValue);
    virtual void Write(unsigned __int64 ullValue);
    virtual void Write(__int64 llValue);
    virtual void Write(unsigned long ulValue);
    virtual void Write(long lValue);
    virtual void Write(unsigned short usValue);
    virtual void Write(short sValue);
    // Two lowercase hexadecimal digits.
    virtual void Write(unsigned char ucValue);
    // One code unit, sign-extended: 0xE9 becomes U+FFE9.
    virtual void Write(char cValue);
    // A boolean: "true" or "false".
    virtual void Write(int bValue);
    virtual void WriteNewLine();
    virtual void WriteCharByCodePoint(unsigned long ulCodePoint);

private:
    void CheckOpen() const;
    void WriteUnits(const wchar_t* pwcUnits, unsigned long ulCount, unsigned long ulAreaSize);

    int m_bClosed;
    UStream* m_pStream;
    Text::UEncoding* m_pEncoding;
    Text::UEncoder* m_pEncoder;
    UString m_newLine;
};

} // namespace IO
} // namespace Lib
} // namespace Oskal
