#include "EntryPrinter.h"

#include <cwchar>

namespace
{

std::string Utf8(const wchar_t* pszText)
{
    const int length = static_cast<int>(std::wcslen(pszText));
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, pszText, length, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<size_t>(bytes > 0 ? bytes : 0), '\0');
    if (bytes > 0)
        WideCharToMultiByte(CP_UTF8, 0, pszText, length, &text[0], bytes, nullptr, nullptr);
    return text;
}

std::string JsonString(const wchar_t* pszText)
{
    std::string out = "\"";
    for (char c : Utf8(pszText))
    {
        switch (c)
        {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20)
            {
                char escaped[8];
                std::snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned char>(c));
                out += escaped;
            }
            else
                out += c;
        }
    }
    return out + "\"";
}

// "2024-03-05T07:08:09.123Z"
std::string IsoTime(const FILETIME& time)
{
    SYSTEMTIME t;
    if (!FileTimeToSystemTime(&time, &t))
        return "0000-00-00T00:00:00.000Z";
    char text[40];
    std::snprintf(text, sizeof(text), "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ", t.wYear, t.wMonth, t.wDay, t.wHour,
                  t.wMinute, t.wSecond, t.wMilliseconds);
    return text;
}

} // namespace

EntryPrinter::EntryPrinter(bool bJson, FILE* pOut, unsigned long ulWanted, HANDLE hDone)
    : m_bJson(bJson), m_pOut(pOut), m_ulWanted(ulWanted), m_hDone(hDone), m_ulCount(0)
{
}

std::string EntryPrinter::Format(const Oskal::Lib::Logging::LOG_SINK_ENTRY& entry, bool bJson)
{
    if (bJson)
        return "{\"pid\":" + std::to_string(entry.ulProcessId) +
               ",\"application\":" + JsonString(entry.pszApplicationName) +
               ",\"class\":" + JsonString(entry.pszClassName) + ",\"level\":" + JsonString(entry.pszLevelName) +
               ",\"time\":\"" + IsoTime(entry.ftTime) + "\",\"text\":" + JsonString(entry.pszText) +
               ",\"lost\":" + std::to_string(entry.ulLost) + "}";
    std::string line = IsoTime(entry.ftTime) + " " + std::to_string(entry.ulProcessId) + " " +
                       Utf8(entry.pszApplicationName) + " [" + Utf8(entry.pszClassName) + "] " +
                       Utf8(entry.pszLevelName) + ": " + Utf8(entry.pszText);
    if (entry.ulLost != 0)
        line += " (" + std::to_string(entry.ulLost) + " lost before)";
    return line;
}

void EntryPrinter::OnLogEntry(const Oskal::Lib::Logging::LOG_SINK_ENTRY& entry)
{
    const std::string line = Format(entry, m_bJson) + "\n";
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_ulWanted != 0 && m_ulCount >= m_ulWanted)
        return;
    std::fwrite(line.data(), 1, line.size(), m_pOut);
    std::fflush(m_pOut);
    if (++m_ulCount == m_ulWanted)
        SetEvent(m_hDone);
}

void EntryPrinter::OnLogSourceChanged(unsigned long ulProcessId, int bConnected)
{
    std::fprintf(stderr, "logsink: process %lu %s\n", ulProcessId, bConnected ? "connected" : "disconnected");
}

unsigned long EntryPrinter::GetCount()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_ulCount;
}
