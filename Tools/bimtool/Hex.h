#pragma once

#include <string>
#include <vector>

namespace BimTool {

// Parses hexadecimal digits (no prefix, even count) into bytes; throws ToolError on bad text.
std::vector<unsigned char> ParseHexBytes(const std::wstring& text, const wchar_t* pszWhat, size_t expectedBytes);

// Parses "0x" followed by 1 to 8 hexadecimal digits.
unsigned int ParseAddress(const std::wstring& text);

// Lowercase hexadecimal digits of the bytes, two per byte.
std::string FormatHex(const unsigned char* pbyData, size_t count);

} // namespace BimTool
