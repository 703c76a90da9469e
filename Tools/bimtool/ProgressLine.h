#pragma once

#include <atomic>
#include <string>
#include <thread>

namespace BimTool {

// A progress line on standard error for long work. The library's load and save run as one call,
// so the line shows what can be seen from outside: how far the file being written has grown, or
// for a load the file's size and the time so far. Shown only when enabled (a terminal, a large
// file, no --quiet); cleared when the object goes away.
class ProgressLine
{
public:
    // growingFile: the file being written (its size is shown against totalBytes), or empty.
    ProgressLine(const char* pszLabel, unsigned long long totalBytes, const std::wstring& growingFile, bool enabled);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    // Files larger than this get a progress line.
    static const unsigned long long Threshold = 64ull << 20;
    // True when standard error is a terminal.
    static bool OnTerminal();
    // The size of a file, 0 when it cannot be read.
    static unsigned long long FileSize(const std::wstring& path);

private:
    void Run();

    std::string m_label;
    unsigned long long m_totalBytes;
    std::wstring m_growingFile;
    std::atomic<bool> m_stop;
    std::thread m_thread;
};

} // namespace BimTool
