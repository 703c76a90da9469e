#include "ProgressLine.h"

#include <windows.h>

#include <chrono>
#include <cstdio>
#include <io.h>

namespace BimTool {

bool ProgressLine::OnTerminal()
{
    return _isatty(_fileno(stderr)) != 0;
}

unsigned long long ProgressLine::FileSize(const std::wstring& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data))
        return 0;
    return (static_cast<unsigned long long>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
}

ProgressLine::ProgressLine(const char* pszLabel, unsigned long long totalBytes, const std::wstring& growingFile,
                           bool enabled)
    : m_label(pszLabel), m_totalBytes(totalBytes), m_growingFile(growingFile), m_stop(false)
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
    std::fprintf(stderr, "\r%*s\r", 70, "");
    std::fflush(stderr);
}

void ProgressLine::Run()
{
    const auto start = std::chrono::steady_clock::now();
    const unsigned long long totalMiB = m_totalBytes >> 20;
    while (!m_stop)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (m_growingFile.empty())
            std::fprintf(stderr, "\rbimtool: %s %llu MiB ... %.1f s", m_label.c_str(), totalMiB, seconds);
        else
            std::fprintf(stderr, "\rbimtool: %s %llu of %llu MiB ... %.1f s", m_label.c_str(),
                         FileSize(m_growingFile) >> 20, totalMiB, seconds);
        std::fflush(stderr);
    }
}

} // namespace BimTool
