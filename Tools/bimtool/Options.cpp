#include "Options.h"

#include "Hex.h"
#include "ToolError.h"

namespace BimTool {

namespace {

// Which options each command takes.
bool Allowed(const std::wstring& command, const std::wstring& option)
{
    const bool keyed = option == L"--key" || option == L"--iv";
    if (option == L"--quiet")
        return true;
    if (command == L"info")
        return keyed || option == L"--json";
    if (command == L"verify" || command == L"extract")
        return keyed;
    if (command == L"create")
        return keyed || option == L"--short" || option == L"--long" || option == L"--date" || option == L"--target" ||
               option == L"--region" || option == L"--windows";
    return false;
}

// How many plain arguments each command takes: demo [DIR], extract FILE DIR, the others one file.
void ArgumentRange(const std::wstring& command, size_t& minimum, size_t& maximum)
{
    minimum = command == L"demo" ? 0 : command == L"extract" ? 2 : 1;
    maximum = command == L"extract" ? 2 : 1;
}

} // namespace

Options Options::Parse(int argc, wchar_t** argv)
{
    Options options;
    if (argc < 2)
        throw ToolError{L"No command given; see bimtool --help."};
    options.command = argv[1];
    if (options.command == L"--help" || options.command == L"-h" || options.command == L"help")
    {
        options.command = L"help";
        return options;
    }
    if (options.command != L"info" && options.command != L"verify" && options.command != L"create" &&
        options.command != L"extract" && options.command != L"demo")
        throw ToolError{L"Unknown command '" + options.command + L"'; see bimtool --help."};

    for (int i = 2; i < argc; ++i)
    {
        std::wstring arg = argv[i];
        if (arg.size() < 2 || arg.compare(0, 2, L"--") != 0)
        {
            options.arguments.push_back(arg);
            continue;
        }
        if (arg == L"--help")
        {
            options.command = L"help";
            return options;
        }
        if (!Allowed(options.command, arg))
            throw ToolError{L"Option " + arg + L" is not known to the command " + options.command + L"."};
        if (arg == L"--json" || arg == L"--quiet" || arg == L"--windows")
        {
            (arg == L"--json" ? options.json : arg == L"--quiet" ? options.quiet : options.windows) = true;
            continue;
        }
        if (i + 1 >= argc)
            throw ToolError{L"Option " + arg + L" needs a value."};
        std::wstring value = argv[++i];
        if (arg == L"--key")
            options.key = ParseHexBytes(value, L"The key", 32);
        else if (arg == L"--iv")
            options.iv = ParseHexBytes(value, L"The initialization vector", 16);
        else if (arg == L"--target")
            options.target = ParseHexBytes(value, L"The target system", 8);
        else if (arg == L"--short")
            options.shortDescription = value;
        else if (arg == L"--long")
            options.longDescription = value;
        else if (arg == L"--date")
            options.date = value;
        else if (arg == L"--region")
        {
            size_t equals = value.find(L'=');
            if (equals == std::wstring::npos || equals + 1 == value.size())
                throw ToolError{L"A region is given as ADDR=FILE, e.g. 0x08000000=boot.bin."};
            options.regions.emplace_back(ParseAddress(value.substr(0, equals)), value.substr(equals + 1));
        }
    }

    if (options.key.has_value() != options.iv.has_value())
        throw ToolError{L"--key and --iv go together."};
    size_t minimum = 0;
    size_t maximum = 0;
    ArgumentRange(options.command, minimum, maximum);
    if (options.arguments.size() < minimum || options.arguments.size() > maximum)
        throw ToolError{L"Wrong number of arguments for " + options.command + L"; see bimtool --help."};
    return options;
}

const char* UsageText()
{
    return "Usage: bimtool COMMAND [ARGUMENTS] [OPTIONS]\n"
           "\n"
           "Inspect, verify, create and unpack BIM firmware image files.\n"
           "\n"
           "Commands:\n"
           "  info FILE [--key HEX --iv HEX] [--json]\n"
           "      Header parameters in list order (tag, kind, value), the payload length, and per\n"
           "      container its index, type, encryption, stored and plain size, whether it is held\n"
           "      raw, and for firmware its memory regions (address, length). --json prints one\n"
           "      JSON object instead.\n"
           "  verify FILE [--key HEX --iv HEX]\n"
           "      Exit 0 when the file checksum and every container digest match, 2 when the file\n"
           "      loads but a container stays raw (wrong or missing key, unknown encryption),\n"
           "      1 on an error.\n"
           "  create OUT [--short TEXT] [--long TEXT] [--date YYYY-MM-DDTHH:MM:SS]\n"
           "             [--target HEX16] [--region ADDR=FILE]... [--windows] [--key HEX --iv HEX]\n"
           "      Writes one firmware container made of the regions (ADDR is hexadecimal with 0x,\n"
           "      FILE holds the region's bytes), Rijndael-encrypted when a key and IV are given.\n"
           "      --windows adds an (unencrypted) Windows-image container after it. Header\n"
           "      parameters are written in the order short, long, date, target.\n"
           "  extract FILE DIR [--key HEX --iv HEX]\n"
           "      Writes each firmware region to DIR/c<container index>-<address as 8 lowercase\n"
           "      hex digits>.bin. Container indexes are 0-based positions in the payload.\n"
           "      Exit 2 when a firmware container stays raw (its regions are not written).\n"
           "  demo [DIR]\n"
           "      Makes a sample encrypted firmware image in DIR (a temporary directory by\n"
           "      default), then loads it and shows it as info does.\n"
           "\n"
           "Options:\n"
           "  --key HEX    Rijndael key, 64 hexadecimal digits (256 bits).\n"
           "  --iv HEX     Initialization vector, 32 hexadecimal digits.\n"
           "  --target HEX16  Target system, 16 hexadecimal digits: the 8 bytes in file order.\n"
           "  --quiet      No progress line (shown on a terminal for files over 64 MiB).\n"
           "  --help       This text.\n"
           "\n"
           "Errors are printed as 'bimtool: <message>' on standard error, with exit code 1.\n";
}

} // namespace BimTool
