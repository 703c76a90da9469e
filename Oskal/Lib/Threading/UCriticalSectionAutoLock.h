#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Threading/UCriticalSection.h>

namespace Oskal { namespace Lib { namespace Threading {

// Holds a critical section for the lifetime of the guard: entered in the constructor, left in
// the destructor, so that every way out of a scope leaves the lock.
class OSKAL_LIB_API UCriticalSectionAutoLock
{
public:
    explicit UCriticalSectionAutoLock(UCriticalSection& cs);
    ~UCriticalSectionAutoLock();
    UCriticalSectionAutoLock(const UCriticalSectionAutoLock&) = delete;
    UCriticalSectionAutoLock& operator=(const UCriticalSectionAutoLock&) = delete;

private:
    UCriticalSection& m_cs;
};

}}} // namespace Oskal::Lib::Threading
