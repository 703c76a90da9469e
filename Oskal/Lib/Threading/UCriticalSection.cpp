#include <Oskal/Lib/Threading/UCriticalSection.h>

namespace Oskal { namespace Lib { namespace Threading {

UCriticalSection::UCriticalSection()
{
    InitializeCriticalSection(&m_cs);
}

UCriticalSection::~UCriticalSection()
{
    DeleteCriticalSection(&m_cs);
}

void UCriticalSection::Enter()
{
    EnterCriticalSection(&m_cs);
}

void UCriticalSection::Leave()
{
    LeaveCriticalSection(&m_cs);
}

}}} // namespace Oskal::Lib::Threading
