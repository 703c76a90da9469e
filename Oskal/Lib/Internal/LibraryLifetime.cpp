#include <Oskal/Lib/Internal/LibraryLifetime.h>

#include <Oskal/Lib/Logging/ULogLevel.h>
#include <Oskal/Lib/Logging/ULogSource.h>
#include <Oskal/Lib/Win32Api.h>

namespace Oskal
{
namespace Lib
{
namespace Internal
{

void LibraryLifetime::Attach()
{
    Logging::ULogSource::InitialStartup();
    Logging::ULogLevel::InitialStartup();
}

void LibraryLifetime::Detach()
{
    // The source goes first: it still names levels while it disconnects.
    Logging::ULogSource::FinalShutdown();
    Logging::ULogLevel::FinalShutdown();
}

} // namespace Internal
} // namespace Lib
} // namespace Oskal

extern "C" BOOL WINAPI DllMain(HINSTANCE /*hModule*/, DWORD dwReason, LPVOID lpReserved)
{
    if (dwReason == DLL_PROCESS_ATTACH)
        Oskal::Lib::Internal::LibraryLifetime::Attach();
    // At process exit (lpReserved set) other threads were stopped wherever they were, perhaps
    // holding the logging lock: the process's memory goes away anyway.
    else if (dwReason == DLL_PROCESS_DETACH && lpReserved == nullptr)
        Oskal::Lib::Internal::LibraryLifetime::Detach();
    return TRUE;
}
