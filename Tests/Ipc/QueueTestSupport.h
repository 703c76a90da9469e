#pragma once

#include <Oskal/Lib/Ipc/USharedMemoryQueue.h>
#include <Oskal/Lib/UException.h>

#include "Support/Thrown.h"

#include <string>
#include <utility>
#include <vector>

namespace QueueTests
{

using Oskal::Lib::Ipc::USharedMemoryQueue;
typedef std::vector<std::pair<int, unsigned long>> Entries; // first byte and lost count of each entry read
const unsigned long kNone = 0xFFFFFFFF;

inline std::wstring UniqueName()
{
    static int n = 0;
    return L"OskalQueueTest " + std::to_wstring(GetCurrentProcessId()) + L"." + std::to_wstring(++n);
}

// The region's 32-bit words (the header is 64 bytes before the user-specific data) and block i's header.
inline unsigned long* WordsOf(USharedMemoryQueue& queue)
{
    return reinterpret_cast<unsigned long*>(static_cast<unsigned char*>(queue.GetUserSpecificDataBuffer()) - 64);
}

inline unsigned long* BlockOf(USharedMemoryQueue& queue, unsigned long i)
{
    return WordsOf(queue) + (64 + ((queue.GetUserSpecificDataSize() + 63) & ~63ul) + i * queue.GetRealBlockSize()) / 4;
}

// Writes a one-block entry whose first byte is byValue; false when no block could be had.
inline bool Put(USharedMemoryQueue& queue, unsigned char byValue, int bProtected = 0)
{
    unsigned char* pbyBlock = static_cast<unsigned char*>(queue.BeginWriting(nullptr, 0));
    if (pbyBlock != nullptr)
        *pbyBlock = byValue, queue.EndWriting(pbyBlock, 1, bProtected);
    return pbyBlock != nullptr;
}

// Reads and frees one block: its first byte, or -1 when none is counted.
inline int Take(USharedMemoryQueue& queue, unsigned long* pulLost = nullptr)
{
    unsigned char* pbyBlock = static_cast<unsigned char*>(queue.BeginReading(nullptr, pulLost, 0));
    const int value = pbyBlock != nullptr ? *pbyBlock : -1;
    return queue.EndReading(pbyBlock), value;
}

inline Entries Drain(USharedMemoryQueue& queue)
{
    Entries entries;
    unsigned long ulLost = 0;
    for (int value = Take(queue, &ulLost); value != -1; value = Take(queue, &ulLost))
        entries.emplace_back(value, ulLost);
    return entries;
}

using OskalTests::Thrown;

} // namespace QueueTests
