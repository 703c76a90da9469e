// logsink: a log sink server that prints what logging processes send.
#include "DemoWriter.h"
#include "EntryPrinter.h"

#include <Oskal/Lib/Logging/ULogSinkServer.h>
#include <Oskal/Lib/UException.h>
#include <Oskal/Lib/Win32Api.h>

#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <cwchar>
#include <exception>
#include <string>

using namespace Oskal::Lib::Logging;

namespace
{

const char kUsage[] = "usage: logsink [--json] [--out FILE] [--count N]\n"
                      "       logsink --demo\n"
                      "       logsink --help\n"
                      "\n"
                      "Runs a log sink server: processes that log through Oskal.Lib's log source find it by its\n"
                      "window and send their entries; logsink prints one line per entry until Ctrl+C, or until N\n"
                      "entries have arrived.\n"
                      "\n"
                      "  --json      one JSON object per line: pid, application, class, level, time (UTC), text, lost\n"
                      "  --out FILE  append the lines to FILE (UTF-8) instead of standard output\n"
                      "  --count N   stop after N entries\n"
                      "  --demo      start a server, run two writer processes of this program that log short and\n"
                      "              multi-block entries, print what arrives and stop\n"
                      "\n"
                      "Exit codes: 0 done, 1 the server could not start or a demo writer failed, 2 bad arguments.\n";

HANDLE g_hStop = nullptr;

BOOL WINAPI OnConsoleControl(DWORD /*dwType*/)
{
    SetEvent(g_hStop);
    return TRUE;
}

struct Options
{
    bool json = false;
    bool demo = false;
    std::wstring out;
    unsigned long count = 0;
};

int Usage(const char* pszProblem)
{
    std::fprintf(stderr, "logsink: %s\n\n%s", pszProblem, kUsage);
    return 2;
}

// Starts this program again with --demo-writer N.
HANDLE StartDemoWriter(unsigned long ulNumber)
{
    wchar_t path[MAX_PATH];
    if (GetModuleFileNameW(nullptr, path, MAX_PATH) == 0)
        return nullptr;
    std::wstring command = L"\"" + std::wstring(path) + L"\" --demo-writer " + std::to_wstring(ulNumber);
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, &command[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
        return nullptr;
    CloseHandle(process.hThread);
    return process.hProcess;
}

int Serve(const Options& options)
{
    FILE* out = stdout;
    if (!options.out.empty())
    {
        out = _wfopen(options.out.c_str(), L"ab");
        if (out == nullptr)
        {
            std::fprintf(stderr, "logsink: cannot open %ls for appending\n", options.out.c_str());
            return 1;
        }
    }
    const unsigned long wanted = options.demo ? 2 * kDemoEntries : options.count;
    EntryPrinter printer(options.json, out, wanted, g_hStop);
    ULogSinkServer* server = ULogSinkServer::Create();
    server->AttachEventReceipient(&printer);
    int result = 0;
    if (!server->Start())
    {
        std::fprintf(stderr, "logsink: the server could not start (is another log sink server running?)\n");
        result = 1;
    }
    else if (options.demo)
    {
        HANDLE writers[2] = {StartDemoWriter(1), StartDemoWriter(2)};
        for (HANDLE writer : writers)
        {
            DWORD code = 1;
            if (writer == nullptr || WaitForSingleObject(writer, 60000) != WAIT_OBJECT_0 ||
                !GetExitCodeProcess(writer, &code) || code != 0)
                result = 1;
            if (writer != nullptr)
                CloseHandle(writer);
        }
        // Everything the writers sent is in their queues: wait until it has been printed.
        if (result == 0 && WaitForSingleObject(g_hStop, 30000) != WAIT_OBJECT_0)
            result = 1;
    }
    else
        WaitForSingleObject(g_hStop, INFINITE);
    server->Stop();
    server->DetachEventReceipient(&printer);
    server->Release();
    if (out != stdout)
        std::fclose(out);
    return result;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i)
    {
        const std::wstring arg = argv[i];
        if (arg == L"--help" || arg == L"-h")
        {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (arg == L"--demo-writer" && i + 1 < argc)
            return RunDemoWriter(std::wcstoul(argv[i + 1], nullptr, 10));
        if (arg == L"--json")
            options.json = true;
        else if (arg == L"--demo")
            options.demo = true;
        else if (arg == L"--out" && i + 1 < argc)
            options.out = argv[++i];
        else if (arg == L"--count" && i + 1 < argc)
        {
            wchar_t* end = nullptr;
            options.count = std::wcstoul(argv[++i], &end, 10);
            if (end == nullptr || *end != 0 || options.count == 0)
                return Usage("--count takes a whole number above 0");
        }
        else
            return Usage("unknown or incomplete argument");
    }
    // UTF-8 lines ending in "\n", whatever reads them.
    _setmode(_fileno(stdout), _O_BINARY);
    g_hStop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(&OnConsoleControl, TRUE);
    try
    {
        return Serve(options);
    }
    catch (const Oskal::Lib::Exceptions::UException& e)
    {
        std::fprintf(stderr, "logsink: %ls\n", e.GetMessageText());
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "logsink: %s\n", e.what());
    }
    return 1;
}
