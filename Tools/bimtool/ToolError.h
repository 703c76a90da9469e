#pragma once

#include <string>

namespace BimTool {

// A usage or input error of the tool itself (not of the library); exit code 1.
struct ToolError
{
    std::wstring message;
};

} // namespace BimTool
