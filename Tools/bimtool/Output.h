#pragma once

#include <string>

namespace BimTool {

// UTF-8 form of wide text, for standard output and JSON.
std::string ToUtf8(const std::wstring& text);

// Text as a JSON string literal, quotes included.
std::string JsonString(const std::string& utf8);

// Writes UTF-8 text to standard output / standard error as it stands (no newline conversion).
void Print(const std::string& utf8);
void PrintError(const std::string& utf8);

} // namespace BimTool
