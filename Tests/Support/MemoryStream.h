#pragma once

#include <Oskal/Lib/IO/UStream.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace OskalTests {

// The tests' in-memory stream: seekable (unless m_seekable is cleared), growing at the end on
// every write, and recording how it is used. m_maxRead caps every read (0: no cap), to imitate
// streams such as pipes that deliver less than asked.
class MemoryStream : public Oskal::Lib::IO::UStream
{
public:
    typedef std::vector<unsigned char> Bytes;
    explicit MemoryStream(const Bytes& data = Bytes()) : m_data(data) {}
    int CanRead() const override { return 1; }
    int CanWrite() const override { return 1; }
    int CanSeek() const override { return m_seekable; }
    void Close() override {}
    void Flush() override { ++m_flushes; }
    __int64 GetLength() const override { return static_cast<__int64>(m_data.size()); }
    __int64 GetPosition() const override { return static_cast<__int64>(m_position); }
    int IsDataAvailable() const override { return m_position < m_data.size() ? 1 : 0; }
    long Read(void* pvBuffer, long lCount) override
    {
        m_readRequests.push_back(lCount);
        size_t n = std::min(static_cast<size_t>(lCount), m_data.size() - m_position);
        if (m_maxRead != 0)
            n = std::min(n, m_maxRead);
        std::memcpy(pvBuffer, m_data.data() + m_position, n);
        m_position += n;
        return static_cast<long>(n);
    }
    __int64 Seek(__int64 llOffset, Oskal::Lib::IO::USeekOrigin) override
    {
        return static_cast<__int64>(m_position = static_cast<size_t>(llOffset));
    }
    void SetLength(__int64 llLength) override { m_data.resize(static_cast<size_t>(llLength)); }
    void SetPosition(__int64 llPosition) override { m_position = static_cast<size_t>(llPosition); }
    void Write(const void* pvBuffer, long lCount) override
    {
        m_writes.push_back(lCount);
        const unsigned char* p = static_cast<const unsigned char*>(pvBuffer);
        m_data.insert(m_data.end(), p, p + lCount);
    }
    Bytes m_data;
    size_t m_position = 0;
    size_t m_maxRead = 0;
    int m_seekable = 1;
    int m_flushes = 0;
    std::vector<long> m_writes;
    std::vector<long> m_readRequests;
};

} // namespace OskalTests
