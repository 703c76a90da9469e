#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace BimTool {

// The parsed command line: bimtool COMMAND [ARGS] [OPTIONS].
struct Options
{
    std::wstring command;
    std::vector<std::wstring> arguments;
    std::optional<std::vector<unsigned char>> key; // 32 bytes
    std::optional<std::vector<unsigned char>> iv;  // 16 bytes
    bool json = false;
    bool quiet = false;
    bool windows = false;
    std::optional<std::wstring> shortDescription;
    std::optional<std::wstring> longDescription;
    std::optional<std::wstring> date; // YYYY-MM-DDTHH:MM:SS
    std::optional<std::vector<unsigned char>> target; // 8 bytes, file order
    std::vector<std::pair<unsigned int, std::wstring>> regions;

    // Throws ToolError on an unknown option, a missing value or a bad key, IV, target or address.
    static Options Parse(int argc, wchar_t** argv);
};

// The text of `bimtool --help`.
const char* UsageText();

} // namespace BimTool
