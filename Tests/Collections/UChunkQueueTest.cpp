#include "Support/Thrown.h"

#include <Oskal/Lib/Collections/UChunkQueue.h>
#include <Oskal/Lib/UShuttingDownException.h>
#include <Oskal/Lib/UTimeoutException.h>

#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <cstring>
#include <deque>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

using Oskal::Lib::Collections::UChunkQueue;
using Oskal::Lib::Exceptions::UShuttingDownException;
using Oskal::Lib::Exceptions::UTimeoutException;

namespace
{

const unsigned long kNoLimit = 0xFFFFFFFF;

// Manual-reset shutdown event owned by the test, as a queue's owner would hold it.
class ShutdownEvent
{
public:
    ShutdownEvent() : m_h(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~ShutdownEvent() { CloseHandle(m_h); }
    ShutdownEvent(const ShutdownEvent&) = delete;
    ShutdownEvent& operator=(const ShutdownEvent&) = delete;
    HANDLE Get() const { return m_h; }
    void Signal() { SetEvent(m_h); }

private:
    HANDLE m_h;
};

bool IsSignalled(void* hEvent)
{
    return WaitForSingleObject(hEvent, 0) == WAIT_OBJECT_0;
}

std::vector<unsigned char> Pattern(unsigned long ulLength, unsigned char bySeed)
{
    std::vector<unsigned char> data(ulLength);
    for (unsigned long i = 0; i < ulLength; ++i)
        data[i] = static_cast<unsigned char>(bySeed + i * 7);
    return data;
}

void Enqueue(UChunkQueue& queue, const std::vector<unsigned char>& data, unsigned long ulTimeout,
             int iIgnoreShutdown = 0)
{
    queue.Enqueue(const_cast<unsigned char*>(data.data()), static_cast<unsigned long>(data.size()), ulTimeout,
                  iIgnoreShutdown);
}

std::vector<unsigned char> Dequeue(UChunkQueue& queue, unsigned long ulTimeout, int iIgnoreShutdown = 0)
{
    std::vector<unsigned char> buffer(1024);
    unsigned long ulLength = queue.Dequeue(buffer.data(), 1024, ulTimeout, iIgnoreShutdown);
    buffer.resize(ulLength);
    return buffer;
}

// Bytes a chunk takes in the ring: header, data, padding to 4.
unsigned long Footprint(unsigned long ulLength)
{
    return 4 + ((ulLength + 3) & ~3UL);
}

} // namespace

// Bad arguments change nothing: a ring size that would take a header across the ring's end,
// null pointers, a buffer too small for the next chunk.
TEST(UChunkQueue, BadArgumentsLeaveTheChunksQueued)
{
    using OskalTests::ExpectArgumentError;
    ShutdownEvent shutdown;
    for (unsigned long ulSize : {0UL, 4UL, 6UL, 10UL, 30UL})
        ExpectArgumentError([&] { UChunkQueue bad(ulSize, shutdown.Get()); }, L"ulBufferSize",
                            L"Buffer size must be a multiple of 4 and at least 8.");
    UChunkQueue queue(64, shutdown.Get());
    ExpectArgumentError([&] { queue.Enqueue(nullptr, 4, 0, 0); }, L"pvData", L"Argument 'pvData' must not be NULL.");
    Enqueue(queue, Pattern(10, 9), 0);
    Enqueue(queue, Pattern(3, 10), 0);
    unsigned char buffer[16];
    ExpectArgumentError([&] { queue.Dequeue(nullptr, 9, 0, 0); }, L"pbyBuffer",
                        L"Argument 'pbyBuffer' must not be NULL.");
    ExpectArgumentError([&] { queue.Dequeue(buffer, 9, 0, 0); }, L"ulBufferSize",
                        L"Buffer is too small to hold the chunk.");
    EXPECT_EQ((Footprint(10) + Footprint(3)) * 1000 / 64, queue.GetFillingLevel());
    ASSERT_EQ(10u, queue.Dequeue(buffer, 10, 0, 0));
    EXPECT_EQ(0, std::memcmp(Pattern(10, 9).data(), buffer, 10));
    EXPECT_EQ(Pattern(3, 10), Dequeue(queue, 0));
}

TEST(UChunkQueue, TimeoutsAndShutdownWhenNotWaiting)
{
    ShutdownEvent shutdown;
    UChunkQueue queue(32, shutdown.Get());
    EXPECT_THROW(Dequeue(queue, 20), UTimeoutException);
    Enqueue(queue, Pattern(4, 1), 0);
    shutdown.Signal();
    // Shutdown wins over data and room that are there...
    EXPECT_THROW(Dequeue(queue, 0), UShuttingDownException);
    EXPECT_THROW(Enqueue(queue, Pattern(4, 2), 0), UShuttingDownException);
    // ...unless the caller ignores it.
    Enqueue(queue, Pattern(4, 3), 0, 1);
    EXPECT_EQ(Pattern(4, 1), Dequeue(queue, 0, 1));
    EXPECT_EQ(Pattern(4, 3), Dequeue(queue, 0, 1));
    EXPECT_THROW(Dequeue(queue, 20, 1), UTimeoutException);
    Enqueue(queue, Pattern(20, 4), 0, 1);
    EXPECT_THROW(Enqueue(queue, Pattern(8, 5), 20, 1), UTimeoutException);
}

// A producer that gives up on a chunk too large for the free room must not keep the next,
// smaller chunk waiting for a dequeue that never comes.
TEST(UChunkQueue, GivingUpHandsTheRoomCheckOn)
{
    ShutdownEvent shutdown;
    UChunkQueue queue(32, shutdown.Get());
    Enqueue(queue, Pattern(8, 1), 0);
    EXPECT_THROW(Enqueue(queue, Pattern(20, 2), 20), UTimeoutException);
    Enqueue(queue, Pattern(4, 3), 0);
    EXPECT_EQ(Pattern(8, 1), Dequeue(queue, 0));
    EXPECT_EQ(Pattern(4, 3), Dequeue(queue, 0));
}

// Random single-threaded traffic against a model of the ring: every chunk that fits is accepted
// without waiting, every one that doesn't is refused, data that wraps at the ring's end comes back
// intact, and the filling level and both events follow the occupied bytes.
TEST(UChunkQueue, MatchesRingModelAcrossWrapAround)
{
    ShutdownEvent shutdown;
    const unsigned long ulRingSize = 40;
    UChunkQueue queue(ulRingSize, shutdown.Get());
    std::deque<std::vector<unsigned char>> model;
    unsigned long ulUsed = 0;
    std::mt19937 random(1234);
    for (int i = 0; i < 3000; ++i)
    {
        if (model.empty() || random() % 2 == 0)
        {
            unsigned long ulLength = 1 + random() % (ulRingSize - 4);
            std::vector<unsigned char> chunk = Pattern(ulLength, static_cast<unsigned char>(i));
            if (ulUsed + Footprint(ulLength) <= ulRingSize)
            {
                ASSERT_NO_THROW(Enqueue(queue, chunk, 0)) << "step " << i;
                model.push_back(chunk);
                ulUsed += Footprint(ulLength);
            }
            else
            {
                ASSERT_THROW(Enqueue(queue, chunk, 0), UTimeoutException) << "step " << i;
            }
        }
        else
        {
            ASSERT_EQ(model.front(), Dequeue(queue, 0)) << "step " << i;
            ulUsed -= Footprint(static_cast<unsigned long>(model.front().size()));
            model.pop_front();
        }
        ASSERT_EQ(ulUsed * 1000 / ulRingSize, queue.GetFillingLevel()) << "step " << i;
        ASSERT_EQ(!model.empty(), IsSignalled(queue.GetDataAvailableEvent())) << "step " << i;
        ASSERT_EQ(ulUsed < ulRingSize, IsSignalled(queue.GetSpaceAvailableEvent())) << "step " << i;
    }
}

TEST(UChunkQueue, ShutdownReleasesBlockedProducersAndConsumers)
{
    ShutdownEvent shutdown;
    UChunkQueue empty(16, shutdown.Get());
    UChunkQueue full(16, shutdown.Get());
    Enqueue(full, Pattern(12, 1), 0);
    // Three consumers wait for data; one producer waits for room, the others for the producer
    // turn behind it. Each counts itself in just before the call and out when the call returns.
    std::atomic<int> entered(0), returned(0), released(0);
    auto waiter = [&](bool bProducer) {
        ++entered;
        try
        {
            if (bProducer)
                Enqueue(full, Pattern(4, 2), kNoLimit);
            else
                Dequeue(empty, kNoLimit);
        }
        catch (const UShuttingDownException&)
        {
            ++released;
        }
        catch (...)
        {
        }
        ++returned;
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 6; ++i)
        threads.emplace_back(waiter, i % 2 == 1);
    while (entered.load() < 6)
        Sleep(1);
    // Every waiter is inside its call; none may come back before the shutdown, however long
    // this waits: they are blocked, not returning early.
    for (int i = 0; i < 50 && returned.load() == 0; ++i)
        Sleep(4);
    EXPECT_EQ(0, returned.load()) << "a waiter returned before the shutdown";
    shutdown.Signal();
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(6, released.load());
    // The queued chunk is still there for a caller that ignores the shutdown.
    EXPECT_EQ(Pattern(12, 1), Dequeue(full, 0, 1));
}

// Copying shares the handles and the ring; the copy must never be destroyed as well, so it is
// deliberately leaked.
TEST(UChunkQueue, AssignmentSharesTheResources)
{
    ShutdownEvent shutdown;
    UChunkQueue queue(32, shutdown.Get());
    Enqueue(queue, Pattern(6, 1), 0);
    UChunkQueue* copy = new UChunkQueue(8, nullptr);
    *copy = queue;
    EXPECT_EQ(queue.GetDataAvailableEvent(), copy->GetDataAvailableEvent());
    EXPECT_EQ(queue.GetSpaceAvailableEvent(), copy->GetSpaceAvailableEvent());
    EXPECT_EQ(queue.GetFillingLevel(), copy->GetFillingLevel());
    EXPECT_EQ(Pattern(6, 1), Dequeue(*copy, 0));
}

namespace
{

// Chunk number ulSequence of producer byProducer: byte 0 is the producer, bytes 1 to 4 the sequence
// number (as far as the chunk is long enough), the rest a pattern of both.
std::string MakeChunk(unsigned char byProducer, unsigned long ulSequence, unsigned long ulLength)
{
    std::string chunk(ulLength, '\0');
    chunk[0] = static_cast<char>(byProducer);
    for (unsigned long i = 1; i < ulLength; ++i)
        chunk[i] = static_cast<char>(i < 5 ? ulSequence >> (8 * (i - 1)) : byProducer * 31 + ulSequence * 7 + i);
    return chunk;
}

void RunContention(unsigned long ulRingSize, int iProducers, int iConsumers, unsigned long ulChunksEach)
{
    ShutdownEvent shutdown;
    UChunkQueue queue(ulRingSize, shutdown.Get());
    const unsigned long ulMaxLength = ulRingSize - 4;
    const unsigned long ulTotal = iProducers * ulChunksEach;
    const DWORD dwDeadline = GetTickCount() + 40000;
    std::vector<std::multiset<std::string>> sent(iProducers);
    std::vector<std::vector<std::string>> received(iConsumers);
    std::atomic<unsigned long> ulReceived(0);
    std::atomic<int> failures(0);
    std::vector<std::thread> threads;
    for (int p = 0; p < iProducers; ++p)
    {
        threads.emplace_back([&, p] {
            std::mt19937 random(p + 1);
            try
            {
                for (unsigned long seq = 0; seq < ulChunksEach; ++seq)
                {
                    std::string chunk = MakeChunk(static_cast<unsigned char>(p), seq, 1 + random() % ulMaxLength);
                    // A generous limit, so that a lost wake-up fails instead of hanging.
                    queue.Enqueue(&chunk[0], static_cast<unsigned long>(chunk.size()), 20000, 0);
                    sent[p].insert(chunk);
                }
            }
            catch (...)
            {
                ++failures;
            }
        });
    }
    for (int c = 0; c < iConsumers; ++c)
    {
        threads.emplace_back([&, c] {
            std::vector<unsigned char> buffer(ulMaxLength);
            while (ulReceived.load() < ulTotal && static_cast<long>(GetTickCount() - dwDeadline) < 0)
            {
                try
                {
                    unsigned long ulLength = queue.Dequeue(buffer.data(), ulMaxLength, 50, 0);
                    if (ulLength == 0)
                        continue; // another consumer was faster
                    received[c].emplace_back(reinterpret_cast<char*>(buffer.data()), ulLength);
                    ++ulReceived;
                }
                catch (const UTimeoutException&)
                {
                }
                catch (...)
                {
                    ++failures;
                    return;
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    ASSERT_EQ(0, failures.load());
    ASSERT_EQ(ulTotal, ulReceived.load());
    EXPECT_EQ(0u, queue.GetFillingLevel());
    // Exactly once and intact: the received chunks are the sent ones.
    std::multiset<std::string> all, expected;
    for (const std::multiset<std::string>& chunks : sent)
        expected.insert(chunks.begin(), chunks.end());
    for (int c = 0; c < iConsumers; ++c)
    {
        all.insert(received[c].begin(), received[c].end());
        // In order per producer: each consumer sees every producer's sequence numbers rise.
        std::vector<long> last(iProducers, -1);
        for (const std::string& chunk : received[c])
        {
            if (chunk.size() < 5)
                continue; // too short to carry the whole sequence number
            int p = static_cast<unsigned char>(chunk[0]);
            long seq = 0;
            std::memcpy(&seq, chunk.data() + 1, 4);
            ASSERT_LT(p, iProducers);
            ASSERT_GT(seq, last[p]) << "consumer " << c << " producer " << p;
            last[p] = seq;
        }
    }
    EXPECT_TRUE(all == expected);
}

} // namespace

TEST(UChunkQueue, ProducersAndConsumersExchangeEveryChunkOnceInOrder)
{
    RunContention(64, 3, 3, 2000);
    RunContention(256, 4, 2, 2000);
}
