#include <Oskal/Lib/Threading/UCriticalSectionAutoLock.h>

namespace Oskal { namespace Lib { namespace Threading {

UCriticalSectionAutoLock::UCriticalSectionAutoLock(UCriticalSection& cs) : m_cs(cs)
{
    m_cs.Enter();
}

UCriticalSectionAutoLock::~UCriticalSectionAutoLock()
{
    m_cs.Leave();
}

}}} // namespace Oskal::Lib::Threading
