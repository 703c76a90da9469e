#include "Hex.h"

#include "ToolError.h"

namespace BimTool {

namespace {

int HexDigit(wchar_t wc)
{
    if (wc >= L'0' && wc <= L'9')
        return wc - L'0';
    if (wc >= L'a' && wc <= L'f')
        return wc - L'a' + 10;
    if (wc >= L'A' && wc <= L'F')
        return wc - L'A' + 10;
    return -1;
}

} // namespace

std::vector<unsigned char> ParseHexBytes(const std::wstring& text, const wchar_t* pszWhat, size_t expectedBytes)
{
    if (text.size() != expectedBytes * 2)
        throw ToolError{std::wstring(pszWhat) + L" must be " + std::to_wstring(expectedBytes * 2) +
                        L" hexadecimal digits."};
    std::vector<unsigned char> bytes(expectedBytes);
    for (size_t i = 0; i < expectedBytes; ++i)
    {
        int high = HexDigit(text[2 * i]);
        int low = HexDigit(text[2 * i + 1]);
        if (high < 0 || low < 0)
            throw ToolError{std::wstring(pszWhat) + L" must be " + std::to_wstring(expectedBytes * 2) +
                            L" hexadecimal digits."};
        bytes[i] = static_cast<unsigned char>(high * 16 + low);
    }
    return bytes;
}

unsigned int ParseAddress(const std::wstring& text)
{
    if (text.size() < 3 || text.size() > 10 || text[0] != L'0' || (text[1] != L'x' && text[1] != L'X'))
        throw ToolError{L"Address '" + text + L"' must be 0x followed by 1 to 8 hexadecimal digits."};
    unsigned int value = 0;
    for (size_t i = 2; i < text.size(); ++i)
    {
        int digit = HexDigit(text[i]);
        if (digit < 0)
            throw ToolError{L"Address '" + text + L"' must be 0x followed by 1 to 8 hexadecimal digits."};
        value = value * 16 + static_cast<unsigned int>(digit);
    }
    return value;
}

std::string FormatHex(const unsigned char* pbyData, size_t count)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(count * 2);
    for (size_t i = 0; i < count; ++i)
    {
        text += digits[pbyData[i] >> 4];
        text += digits[pbyData[i] & 15];
    }
    return text;
}

} // namespace BimTool
