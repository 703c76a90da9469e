#pragma once

#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib {

// Intrusive, thread-safe reference count. An object starts with a count of 1 owned by its
// creator; every further holder calls AddRef, every holder ends with Release, and the last
// Release deletes the object.
class OSKAL_LIB_API UReferenceManagement
{
protected:
    UReferenceManagement();
    // A copy starts with its own count of 1.
    UReferenceManagement(const UReferenceManagement& other);
    // Counts are never copied.
    UReferenceManagement& operator=(const UReferenceManagement& other);

    virtual ~UReferenceManagement();

public:
    virtual unsigned long AddRef();
    // Deletes the object when the count reaches 0 and returns 0.
    virtual unsigned long Release();
    virtual unsigned long GetRefCount();

private:
    volatile long m_lRefCount;
};

}} // namespace Oskal::Lib
