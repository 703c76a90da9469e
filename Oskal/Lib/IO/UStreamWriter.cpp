#include <Oskal/Lib/IO/UStreamWriter.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/Internal/ReleasePtr.h>
#include <Oskal/Lib/Text/UUTF8Encoding.h>
#include <Oskal/Lib/UInvalidOperationException.h>

#include <cwchar>

namespace Oskal
{
namespace Lib
{
namespace IO
{

namespace
{

// Output areas (bytes) of the conversions, by kind of text.
const unsigned long kNumberArea = 50;
const unsigned long kWideNumberArea = 100;
const unsigned long kTextArea = 1000;

} // namespace

UStreamWriter::UStreamWriter(UStream* pStream)
    : m_bClosed(0), m_pStream(pStream), m_pEncoding(Text::UUTF8Encoding::Create()), m_pEncoder(nullptr),
      m_newLine(L"\r\n")
{
    // A failure here must not keep the encoding: the destructor does not run.
    Internal::ReleasePtr<Text::UEncoding> held(m_pEncoding);
    m_pEncoder = m_pEncoding->CreateEncoder();
    held.Detach();
}

UStreamWriter::UStreamWriter(UStream* pStream, Text::UEncoding* pEncoding)
    : m_bClosed(0), m_pStream(pStream), m_pEncoding(pEncoding), m_pEncoder(nullptr), m_newLine(L"\r\n")
{
    Internal::ThrowIfNull(pEncoding, L"pEncoding");
    m_pEncoding->AddRef();
    Internal::ReleasePtr<Text::UEncoding> held(m_pEncoding);
    m_pEncoder = m_pEncoding->CreateEncoder();
    held.Detach();
}

UStreamWriter::~UStreamWriter()
{
    if (!m_bClosed)
    {
        // A destructor must not throw; a failing stream loses what the encoder still held.
        try
        {
            Flush();
        }
        catch (...)
        {
        }
        m_bClosed = 1;
    }
    m_pEncoder->Release();
    m_pEncoding->Release();
}

Text::UEncoding* UStreamWriter::GetEncoding()
{
    return m_pEncoding;
}

const UString& UStreamWriter::GetNewLine()
{
    return m_newLine;
}

void UStreamWriter::SetNewLine(const UString& newLine)
{
    m_newLine = newLine;
}

void UStreamWriter::Close()
{
    if (m_bClosed)
        return;
    Flush();
    m_bClosed = 1;
}

void UStreamWriter::CheckOpen() const
{
    if (m_bClosed)
        throw Exceptions::UInvalidOperationException(L"The stream writer is closed.");
}

void UStreamWriter::Flush()
{
    CheckOpen();
    unsigned char area[kNumberArea];
    int completed = 0;
    while (!completed)
    {
        unsigned long charsUsed = 0, bytesUsed = 0;
        m_pEncoder->Convert(nullptr, 0, area, sizeof(area), 1, &charsUsed, &bytesUsed, &completed);
        if (bytesUsed != 0)
            m_pStream->Write(area, static_cast<long>(bytesUsed));
    }
}

void UStreamWriter::WriteUnits(const wchar_t* pwcUnits, unsigned long ulCount, unsigned long ulAreaSize)
{
    unsigned char area[kTextArea];
    unsigned long done = 0;
    while (done < ulCount)
    {
        unsigned long charsUsed = 0, bytesUsed = 0;
        int completed = 0;
        m_pEncoder->Convert(pwcUnits + done, ulCount - done, area, ulAreaSize, 0, &charsUsed, &bytesUsed, &completed);
        if (bytesUsed != 0)
            m_pStream->Write(area, static_cast<long>(bytesUsed));
        done += charsUsed;
    }
}

void UStreamWriter::Write(const wchar_t* pwcText, unsigned long ulCount)
{
    CheckOpen();
    if (pwcText == nullptr || ulCount == 0)
        return;
    WriteUnits(pwcText, ulCount, kTextArea);
}

void UStreamWriter::Write(const wchar_t* pszText)
{
    CheckOpen();
    if (pszText == nullptr || *pszText == 0)
        return;
    WriteUnits(pszText, static_cast<unsigned long>(std::wcslen(pszText)), kTextArea);
}

void UStreamWriter::Write(float fValue)
{
    CheckOpen();
    wchar_t text[64];
    int length = std::swprintf(text, 64, L"%f", static_cast<double>(fValue));
    WriteUnits(text, length > 0 ? static_cast<unsigned long>(length) : 0, kWideNumberArea);
}

void UStreamWriter::Write(unsigned __int64 ullValue)
{
    CheckOpen();
    wchar_t text[50];
    int length = std::swprintf(text, 50, L"%llu", ullValue);
    WriteUnits(text, length > 0 ? static_cast<unsigned long>(length) : 0, kWideNumberArea);
}

void UStreamWriter::Write(__int64 llValue)
{
    CheckOpen();
    wchar_t text[50];
    int length = std::swprintf(text, 50, L"%lld", llValue);
    WriteUnits(text, length > 0 ? static_cast<unsigned long>(length) : 0, kWideNumberArea);
}

void UStreamWriter::Write(unsigned long ulValue)
{
    CheckOpen();
    wchar_t text[24];
    int length = std::swprintf(text, 24, L"%lu", ulValue);
    WriteUnits(text, length > 0 ? static_cast<unsigned long>(length) : 0, kNumberArea);
}

void UStreamWriter::Write(long lValue)
{
    CheckOpen();
    wchar_t text[24];
    int length = std::swprintf(text, 24, L"%ld", lValue);
    WriteUnits(text, length > 0 ? static_cast<unsigned long>(length) : 0, kNumberArea);
}

void UStreamWriter::Write(unsigned short usValue)
{
    UStreamWriter::Write(static_cast<unsigned long>(usValue));
}

void UStreamWriter::Write(short sValue)
{
    UStreamWriter::Write(static_cast<long>(sValue));
}

void UStreamWriter::Write(unsigned char ucValue)
{
    CheckOpen();
    wchar_t text[10];
    int length = std::swprintf(text, 10, L"%02x", static_cast<unsigned int>(ucValue));
    WriteUnits(text, length > 0 ? static_cast<unsigned long>(length) : 0, kNumberArea);
}

void UStreamWriter::Write(char cValue)
{
    CheckOpen();
    // Sign extension is the defined widening: bytes from 0x80 up become U+FF80 to U+FFFF.
    wchar_t unit = static_cast<wchar_t>(static_cast<short>(cValue));
    WriteUnits(&unit, 1, kNumberArea);
}

void UStreamWriter::Write(int bValue)
{
    CheckOpen();
    if (bValue)
        WriteUnits(L"true", 4, kNumberArea);
    else
        WriteUnits(L"false", 5, kNumberArea);
}

void UStreamWriter::WriteNewLine()
{
    CheckOpen();
    if (m_newLine.GetLength() != 0)
        WriteUnits(m_newLine.GetBuffer(), m_newLine.GetLength(), kTextArea);
}

void UStreamWriter::WriteCharByCodePoint(unsigned long ulCodePoint)
{
    CheckOpen();
    wchar_t units[2];
    unsigned long count = 1;
    if (ulCodePoint <= 0xFFFF)
        units[0] = static_cast<wchar_t>(ulCodePoint);
    else
    {
        units[0] = static_cast<wchar_t>(0xD7C0 + (ulCodePoint >> 10));
        units[1] = static_cast<wchar_t>(0xDC00 + (ulCodePoint & 0x3FF));
        count = 2;
    }
    WriteUnits(units, count, kWideNumberArea);
}

} // namespace IO
} // namespace Lib
} // namespace Oskal
