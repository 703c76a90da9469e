#pragma once

#include <Oskal/Lib/Ipc/USharedMemoryQueue.h>
#include <Oskal/Lib/Win32Api.h>

#include <string>

namespace QueueTests
{

using Oskal::Lib::Ipc::USharedMemoryQueue;
typedef USharedMemoryQueue::UQueueHeader Header;

const unsigned long kNone = 0xFFFFFFFF;

// A name that no other queue of this test run uses.
inline std::wstring UniqueName()
{
    static int n = 0;
    return L"OskalQueueTest " + std::to_wstring(GetCurrentProcessId()) + L"." + std::to_wstring(++n);
}

// The shared header, which starts 64 bytes before the user-specific data.
inline Header* HeaderOf(USharedMemoryQueue& queue)
{
    return reinterpret_cast<Header*>(static_cast<unsigned char*>(queue.GetUserSpecificDataBuffer()) - 64);
}

inline USharedMemoryQueue::UQueueBlock* BlockOf(USharedMemoryQueue& queue, unsigned long ulIndex)
{
    return reinterpret_cast<USharedMemoryQueue::UQueueBlock*>(reinterpret_cast<unsigned char*>(HeaderOf(queue)) + 64 +
                                                              ((queue.GetUserSpecificDataSize() + 63) & ~63ul) +
                                                              ulIndex * queue.GetRealBlockSize());
}

// Writes a one-block entry whose first byte is byValue; false when no block could be had.
inline bool Put(USharedMemoryQueue& queue, unsigned char byValue, int bProtected = 0)
{
    unsigned char* pbyBlock = static_cast<unsigned char*>(queue.BeginWriting(nullptr, 0));
    if (pbyBlock == nullptr)
        return false;
    *pbyBlock = byValue;
    queue.EndWriting(pbyBlock, 1, bProtected);
    return true;
}

// Reads and frees one block: its first byte, or -1 when none came within ulTimeout.
inline int Take(USharedMemoryQueue& queue, unsigned long* pulLost = nullptr, unsigned long ulTimeout = 0)
{
    unsigned long ulSize = 0;
    unsigned char* pbyBlock = static_cast<unsigned char*>(queue.BeginReading(&ulSize, pulLost, ulTimeout));
    if (pbyBlock == nullptr)
        return -1;
    const int value = *pbyBlock;
    queue.EndReading(pbyBlock);
    return value;
}

} // namespace QueueTests
