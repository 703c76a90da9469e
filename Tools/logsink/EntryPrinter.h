#pragma once

#include <Oskal/Lib/Logging/ULogSink.h>
#include <Oskal/Lib/Win32Api.h>

#include <cstdio>
#include <mutex>
#include <string>

// Prints each entry the server hands over as one line of text or JSON, to standard output or
// appended to a file, and signals an event once the wanted number of entries has arrived.
class EntryPrinter : public Oskal::Lib::Logging::ULogSink
{
public:
    EntryPrinter(bool bJson, FILE* pOut, unsigned long ulWanted, HANDLE hDone);

    void OnLogEntry(const Oskal::Lib::Logging::LOG_SINK_ENTRY& entry) override;
    void OnLogSourceChanged(unsigned long ulProcessId, int bConnected) override;

    unsigned long GetCount();

    // The line printed for one entry (without its line end).
    static std::string Format(const Oskal::Lib::Logging::LOG_SINK_ENTRY& entry, bool bJson);

private:
    bool m_bJson;
    FILE* m_pOut;
    unsigned long m_ulWanted; // 0: no limit
    HANDLE m_hDone;
    std::mutex m_mutex;
    unsigned long m_ulCount;
};
