#pragma once

#include <Oskal/Lib/IO/UStream.h>
#include <Oskal/Lib/Messaging/USerializationException.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace MessageTests
{

typedef std::vector<unsigned char> Bytes;

// An in-memory stream. Unseekable, it cannot say how much it holds, as a pipe; it may also hand
// out fewer bytes per read than asked.
class MemoryStream : public Oskal::Lib::IO::UStream
{
public:
    explicit MemoryStream(const Bytes& data = Bytes(), int bSeekable = 1, size_t maxRead = 0x7FFFFFFF)
        : m_data(data), m_position(0), m_seekable(bSeekable), m_maxRead(maxRead)
    {
    }

    int CanRead() const override { return 1; }
    int CanWrite() const override { return 1; }
    int CanSeek() const override { return m_seekable; }
    void Close() override {}
    void Flush() override {}
    long long GetLength() const override { return static_cast<long long>(m_data.size()); }
    long long GetPosition() const override { return static_cast<long long>(m_position); }
    int IsDataAvailable() const override { return m_position < m_data.size() ? 1 : 0; }
    long Read(void* pvBuffer, long lCount) override
    {
        size_t n = std::min({static_cast<size_t>(lCount), m_data.size() - m_position, m_maxRead});
        std::memcpy(pvBuffer, m_data.data() + m_position, n);
        m_position += n;
        return static_cast<long>(n);
    }
    long long Seek(long long llOffset, Oskal::Lib::IO::USeekOrigin) override
    {
        return static_cast<long long>(m_position = static_cast<size_t>(llOffset));
    }
    void SetLength(long long llLength) override { m_data.resize(static_cast<size_t>(llLength)); }
    void SetPosition(long long llPosition) override { m_position = static_cast<size_t>(llPosition); }
    void Write(const void* pvBuffer, long lCount) override
    {
        const unsigned char* p = static_cast<const unsigned char*>(pvBuffer);
        m_data.insert(m_data.end(), p, p + lCount);
    }

    size_t Left() const { return m_data.size() - m_position; }

    Bytes m_data;
    size_t m_position;
    int m_seekable;
    size_t m_maxRead;
};

// The message of a USerializationException thrown by the call, or "" when none was thrown.
template <typename F> std::wstring SerializationFailure(F call)
{
    try
    {
        call();
    }
    catch (const Oskal::Lib::Messaging::Serialization::USerializationException& e)
    {
        return e.GetMessageText();
    }
    return L"";
}

} // namespace MessageTests
