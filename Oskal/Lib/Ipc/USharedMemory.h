#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Win32Api.h>

namespace Oskal
{
namespace Lib
{
namespace Ipc
{

// A named region of memory backed by the paging file: one process creates it, others open it by
// name. The creator sees the size it asked for; an opener sees the size rounded up to whole pages.
class OSKAL_LIB_API USharedMemory
{
public:
    USharedMemory();
    virtual ~USharedMemory();
    USharedMemory(const USharedMemory&) = delete;
    USharedMemory& operator=(const USharedMemory&) = delete;

    // Creates a new region of ulSize bytes; never attaches to a region that exists already.
    void Create(const wchar_t* pszName, unsigned long ulSize);
    // Opens an existing region and maps all of it.
    void Open(const wchar_t* pszName);
    // Unmaps and closes; does nothing when nothing is open.
    void Close();

    void* GetBuffer() { return m_pvBuffer; }
    const void* GetBuffer() const { return m_pvBuffer; }
    unsigned long GetBufferSize() const { return m_ulBufferSize; }
    int IsInited() const { return m_bInited; }

private:
    int m_bInited;
    HANDLE m_hMapping;
    unsigned long m_ulBufferSize;
    void* m_pvBuffer;
};

} // namespace Ipc
} // namespace Lib
} // namespace Oskal
