#include "Output.h"

#include <windows.h>

#include <cstdio>

namespace BimTool {

std::string ToUtf8(const std::wstring& text)
{
    if (text.empty())
        return std::string();
    int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), &utf8[0], size, nullptr, nullptr);
    return utf8;
}

std::string JsonString(const std::string& utf8)
{
    std::string out = "\"";
    for (unsigned char c : utf8)
    {
        switch (c)
        {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (c < 0x20)
            {
                char escape[8];
                std::snprintf(escape, sizeof(escape), "\\u%04x", c);
                out += escape;
            }
            else
            {
                out += static_cast<char>(c);
            }
        }
    }
    return out + "\"";
}

void Print(const std::string& utf8)
{
    std::fwrite(utf8.data(), 1, utf8.size(), stdout);
}

void PrintError(const std::string& utf8)
{
    std::fflush(stdout);
    std::fwrite(utf8.data(), 1, utf8.size(), stderr);
    std::fflush(stderr);
}

} // namespace BimTool
