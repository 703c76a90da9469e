#include "ProgressLine.h"

#include <windows.h>

#include <chrono>
#include <cstdio>
#include <io.h>

namespace BimTool {

namespace {

unsigned long long TransferredBytes()
{
    IO_COUNTERS counters = {};
    GetProcessIoCounters(GetCurrentProcess(), &counters);
    return counters.ReadTransferCount + counters.WriteTransferCount;
}

} // namespace

bool ProgressLine::OnTerminal()
{
    return _isatty(_fileno(stderr)) != 0;
}

ProgressLine::ProgressLine(const char* pszLabel, bool enabled) : m_label(pszLabel), m_stop(false)
{
    if (enabled)
        m_thread = std::thread([this] { Run(); });
}

ProgressLine::~ProgressLine()
{
    if (!m_thread.joinable())
        return;
    m_stop = true;
    m_thread.join();
    std::fprintf(stderr, "\r%*s\r", 60, "");
    std::fflush(stderr);
}

void ProgressLine::Run()
{
    const unsigned long long start = TransferredBytes();
    while (!m_stop)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        unsigned long long moved = (TransferredBytes() - start) >> 20;
        std::fprintf(stderr, "\rbimtool: %s: %llu MiB", m_label.c_str(), moved);
        std::fflush(stderr);
    }
}

} // namespace BimTool
