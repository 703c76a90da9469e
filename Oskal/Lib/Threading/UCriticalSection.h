#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Win32Api.h>

namespace Oskal { namespace Lib { namespace Threading {

// A re-entrant in-process lock: one Win32 critical section and nothing else.
class OSKAL_LIB_API UCriticalSection
{
public:
    UCriticalSection();
    ~UCriticalSection();
    UCriticalSection(const UCriticalSection&) = delete;
    UCriticalSection& operator=(const UCriticalSection&) = delete;

    void Enter();
    void Leave();

private:
    CRITICAL_SECTION m_cs;
};

}}} // namespace Oskal::Lib::Threading
