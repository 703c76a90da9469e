#include <Oskal/Lib/Ipc/USharedMemory.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/UWin32Exception.h>

namespace Oskal
{
namespace Lib
{
namespace Ipc
{

using Exceptions::UWin32Exception;

USharedMemory::USharedMemory() : m_bInited(0), m_hMapping(nullptr), m_ulBufferSize(0), m_pvBuffer(nullptr) {}

USharedMemory::~USharedMemory()
{
    Close();
}

void USharedMemory::Create(const wchar_t* pszName, unsigned long ulSize)
{
    Close();
    m_ulBufferSize = ulSize;
    m_hMapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, ulSize, pszName);
    if (m_hMapping == nullptr)
    {
        const DWORD error = GetLastError();
        m_ulBufferSize = 0;
        throw UWin32Exception(L"Creating file mapping failed.", error);
    }
    if (GetLastError() == ERROR_ALREADY_EXISTS)
    {
        CloseHandle(m_hMapping);
        m_hMapping = nullptr;
        m_ulBufferSize = 0;
        throw UWin32Exception(L"Shared memory region with the specified name exists already.", ERROR_ALREADY_EXISTS);
    }
    m_pvBuffer = MapViewOfFile(m_hMapping, FILE_MAP_ALL_ACCESS, 0, 0, ulSize);
    if (m_pvBuffer == nullptr)
    {
        const DWORD error = GetLastError();
        CloseHandle(m_hMapping);
        m_hMapping = nullptr;
        m_ulBufferSize = 0;
        throw UWin32Exception(L"Mapping view of file failed.", error);
    }
    m_bInited = 1;
}

void USharedMemory::Open(const wchar_t* pszName)
{
    Internal::ThrowIfNull(pszName, L"pszName");
    Close();
    m_hMapping = OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, pszName);
    if (m_hMapping == nullptr)
        throw UWin32Exception(L"Opening file mapping failed.", GetLastError());
    m_pvBuffer = MapViewOfFile(m_hMapping, FILE_MAP_ALL_ACCESS, 0, 0, 0);
    if (m_pvBuffer == nullptr)
    {
        const DWORD error = GetLastError();
        CloseHandle(m_hMapping);
        m_hMapping = nullptr;
        throw UWin32Exception(L"Mapping view of file failed.", error);
    }
    // The opener cannot learn the creator's size, only the extent of the mapped pages. Pages a
    // creator only reserved (SEC_RESERVE) fault when read: only committed ones count.
    MEMORY_BASIC_INFORMATION info = {};
    m_ulBufferSize = VirtualQuery(m_pvBuffer, &info, sizeof(info)) != 0 && info.State == MEM_COMMIT
                         ? static_cast<unsigned long>(info.RegionSize)
                         : 0;
    m_bInited = 1;
}

void USharedMemory::Close()
{
    if (!m_bInited)
        return;
    UnmapViewOfFile(m_pvBuffer);
    CloseHandle(m_hMapping);
    m_bInited = 0;
    m_hMapping = nullptr;
    m_ulBufferSize = 0;
    m_pvBuffer = nullptr;
}

} // namespace Ipc
} // namespace Lib
} // namespace Oskal
