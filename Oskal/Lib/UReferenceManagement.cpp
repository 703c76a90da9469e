#include <Oskal/Lib/UReferenceManagement.h>

#include <Oskal/Lib/Internal/InterlockedRead.h>

namespace Oskal { namespace Lib {

UReferenceManagement::UReferenceManagement() : m_lRefCount(0)
{
    InterlockedExchange(&m_lRefCount, 1);
}

UReferenceManagement::UReferenceManagement(const UReferenceManagement&) : m_lRefCount(0)
{
    InterlockedExchange(&m_lRefCount, 1);
}

UReferenceManagement& UReferenceManagement::operator=(const UReferenceManagement&)
{
    return *this;
}

UReferenceManagement::~UReferenceManagement() {}

unsigned long UReferenceManagement::AddRef()
{
    return static_cast<unsigned long>(InterlockedIncrement(&m_lRefCount));
}

unsigned long UReferenceManagement::Release()
{
    const long count = InterlockedDecrement(&m_lRefCount);
    if (count == 0)
    {
        delete this;
        return 0;
    }
    return static_cast<unsigned long>(count);
}

unsigned long UReferenceManagement::GetRefCount()
{
    return static_cast<unsigned long>(Internal::InterlockedRead(m_lRefCount));
}

}} // namespace Oskal::Lib
