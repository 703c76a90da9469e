#pragma once

#include <Oskal/Lib/Ipc/USharedMemoryQueue.h>
#include <Oskal/Lib/Win32Api.h>

#include <string>
#include <utility>
#include <vector>

namespace QueueTests
{

using Oskal::Lib::Ipc::USharedMemoryQueue;
typedef USharedMemoryQueue::UQueueBlock Block;
// Entries as read: the first byte and the lost count.
typedef std::vector<std::pair<int, unsigned long>> Entries;
const unsigned long kNone = 0xFFFFFFFF;

// A name that no other queue of this test run uses.
inline std::wstring UniqueName()
{
    static int n = 0;
    return L"OskalQueueTest " + std::to_wstring(GetCurrentProcessId()) + L"." + std::to_wstring(++n);
}

// The shared header, 64 bytes before the user-specific data, and a block's header.
inline USharedMemoryQueue::UQueueHeader* HeaderOf(USharedMemoryQueue& queue)
{
    return reinterpret_cast<USharedMemoryQueue::UQueueHeader*>(
        static_cast<unsigned char*>(queue.GetUserSpecificDataBuffer()) - 64);
}

inline Block* BlockOf(USharedMemoryQueue& queue, unsigned long ulIndex)
{
    return reinterpret_cast<Block*>(static_cast<unsigned char*>(queue.GetUserSpecificDataBuffer()) +
                                    ((queue.GetUserSpecificDataSize() + 63) & ~63ul) +
                                    ulIndex * queue.GetRealBlockSize());
}

// Writes a one-block entry whose first byte is byValue; false when no block could be had.
inline bool Put(USharedMemoryQueue& queue, unsigned char byValue, int bProtected = 0)
{
    unsigned char* pbyBlock = static_cast<unsigned char*>(queue.BeginWriting(nullptr, 0));
    if (pbyBlock != nullptr)
        *pbyBlock = byValue, queue.EndWriting(pbyBlock, 1, bProtected);
    return pbyBlock != nullptr;
}

// Reads and frees one block: its first byte, or -1 when none came within ulTimeout.
inline int Take(USharedMemoryQueue& queue, unsigned long* pulLost = nullptr, unsigned long ulTimeout = 0)
{
    unsigned char* pbyBlock = static_cast<unsigned char*>(queue.BeginReading(nullptr, pulLost, ulTimeout));
    const int value = pbyBlock != nullptr ? *pbyBlock : -1;
    queue.EndReading(pbyBlock);
    return value;
}

// Reads until no block is counted.
inline Entries Drain(USharedMemoryQueue& queue)
{
    Entries entries;
    unsigned long ulLost = 0;
    for (int value = Take(queue, &ulLost); value != -1; value = Take(queue, &ulLost))
        entries.emplace_back(value, ulLost);
    return entries;
}

} // namespace QueueTests
