#include "DemoWriter.h"

#include <Oskal/Lib/Logging/ULogLevel.h>
#include <Oskal/Lib/Logging/ULogSource.h>
#include <Oskal/Lib/Logging/ULogWriter.h>
#include <Oskal/Lib/Win32Api.h>

#include <cstdio>
#include <string>

using namespace Oskal::Lib::Logging;

int RunDemoWriter(unsigned long ulNumber)
{
    ULogSource* source = ULogSource::GetInstance();
    if (!source->IsConnected())
    {
        std::fprintf(stderr, "logsink: demo writer %lu found no server\n", ulNumber);
        return 1;
    }
    source->SetApplicationName((L"demo writer " + std::to_wstring(ulNumber)).c_str());
    ULogWriter* pump = source->GetWriter(L"Plant.Pump");
    ULogWriter* valve = source->GetWriter(L"Plant.Valve");
    ULogLevelMask mask;
    mask.SetBit(ULogLevel::Note->GetLogLevelId());
    mask.SetBit(ULogLevel::Warning->GetLogLevelId());
    mask.SetBit(ULogLevel::Error->GetLogLevelId());
    pump->SetLogLevelMask(mask);
    valve->SetLogLevelMask(mask);

    // A long entry spreads over several 496-byte blocks.
    std::wstring details;
    for (int i = 0; i < 40; ++i)
        details += L"sensor " + std::to_wstring(i) + L"=" + std::to_wstring(i * 7 % 100) + L"; ";

    pump->Write(ULogLevel::Note, L"pump %lu started", ulNumber);
    valve->Write(ULogLevel::Warning, L"valve %lu slow to open (%d ms)", ulNumber, 350 + 10 * ulNumber);
    pump->Write(ULogLevel::Note, L"pump %lu readings: %s", ulNumber, details.c_str());
    valve->Write(ULogLevel::Note, L"valve %lu open", ulNumber);
    pump->Write(ULogLevel::Error, L"pump %lu pressure %s", ulNumber, L"above limit \u2192 shutting down");
    pump->Write(ULogLevel::Note, L"pump %lu stopped", ulNumber);
    return 0;
}
