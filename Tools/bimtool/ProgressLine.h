#pragma once

#include <atomic>
#include <string>
#include <thread>

namespace BimTool {

// A progress line on standard error for long work: the library's load and save run as one call,
// so the line shows how many bytes the process has read and written so far. Shown only when
// enabled (a terminal, a large file, no --quiet); cleared when the object goes away.
class ProgressLine
{
public:
    ProgressLine(const char* pszLabel, bool enabled);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    // Files larger than this get a progress line.
    static const unsigned long long Threshold = 64ull << 20;
    // True when standard error is a terminal.
    static bool OnTerminal();

private:
    void Run();

    std::string m_label;
    std::atomic<bool> m_stop;
    std::thread m_thread;
};

} // namespace BimTool
