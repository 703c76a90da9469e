// bimtool: inspect, verify, create and unpack BIM firmware image files.
#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "ToolError.h"

#include <Oskal/Lib/IO/UFileIoException.h>
#include <Oskal/Lib/UArgumentException.h>

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cstring>
#include <exception>
#include <new>
#include <string>

namespace {

using namespace Oskal::Lib;

int Fail(const std::wstring& message)
{
    BimTool::PrintError("bimtool: " + BimTool::ToUtf8(message) + "\n");
    return 1;
}

// The system's text for a file error's code, followed by the code.
std::wstring FileErrorText(long code)
{
    wchar_t* text = nullptr;
    Exceptions::UException::HResultToString(code, &text);
    std::wstring message = text != nullptr ? text : L"Unknown error.";
    LocalFree(text);
    return message + L" (" + std::to_wstring(code) + L")";
}

int Run(const BimTool::Options& options)
{
    if (options.command == L"help")
    {
        BimTool::Print(BimTool::UsageText());
        return 0;
    }
    if (options.command == L"info")
        return BimTool::Info(options);
    if (options.command == L"verify")
        return BimTool::Verify(options);
    if (options.command == L"create")
        return BimTool::Create(options);
    if (options.command == L"extract")
        return BimTool::Extract(options);
    return BimTool::Demo(options);
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    // Output is UTF-8 and keeps its line ends as written.
    _setmode(_fileno(stdout), _O_BINARY);
    try
    {
        return Run(BimTool::Options::Parse(argc, argv));
    }
    catch (const BimTool::ToolError& e)
    {
        return Fail(e.message);
    }
    catch (const IO::UFileIoException& e)
    {
        return Fail(FileErrorText(e.GetErrorCode()));
    }
    catch (const Exceptions::UArgumentException& e)
    {
        std::wstring message = e.GetMessageText();
        return Fail(message.empty() ? std::wstring(L"Invalid argument '") + e.GetName() + L"'." : message);
    }
    catch (const Exceptions::UException& e)
    {
        std::wstring message = e.GetMessageText();
        return Fail(message.empty() ? L"The operation failed." : message);
    }
    catch (const std::bad_alloc&)
    {
        return Fail(L"Out of memory.");
    }
    catch (const std::exception& e)
    {
        const char* what = e.what();
        return Fail(std::wstring(what, what + std::strlen(what)));
    }
}
