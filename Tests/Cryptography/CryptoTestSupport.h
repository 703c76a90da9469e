// Shared pieces of the cryptography tests: hex, a memory stream, NIST vector files and the
// switch between the hardware and the portable paths.
#pragma once

#include <Oskal/Lib/Cryptography/ICryptoTransform.h>
#include <Oskal/Lib/Cryptography/UCryptoCpu.h>
#include <Oskal/Lib/Cryptography/USHA1.h>
#include <Oskal/Lib/Cryptography/USHA256.h>
#include <Oskal/Lib/Cryptography/USHA512.h>
#include <Oskal/Lib/IO/UStream.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UException.h>

#include "Support/TestFiles.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace CryptoTests
{

typedef std::vector<unsigned char> Bytes;

inline Bytes FromHex(const std::string& text)
{
    Bytes out;
    for (size_t i = 0; i + 1 < text.size(); i += 2)
        out.push_back(static_cast<unsigned char>(std::stoul(text.substr(i, 2), nullptr, 16)));
    return out;
}

inline std::string ToHex(const unsigned char* p, size_t n)
{
    static const char digits[] = "0123456789abcdef";
    std::string s;
    for (size_t i = 0; i < n; ++i)
    {
        s += digits[p[i] >> 4];
        s += digits[p[i] & 15];
    }
    return s;
}

inline std::string ToHex(const Bytes& b)
{
    return ToHex(b.data(), b.size());
}

inline Bytes RandomBytes(std::mt19937& rng, size_t n)
{
    Bytes b(n);
    for (auto& x : b)
        x = static_cast<unsigned char>(rng());
    return b;
}

inline std::wstring Message(const Oskal::Lib::Exceptions::UException& e)
{
    return e.GetMessageText();
}

inline std::wstring Message(const Oskal::Lib::Exceptions::UArgumentException& e)
{
    return std::wstring(e.GetName()) + L"|" + e.GetMessageText();
}

// The message of the E that f throws ("name|message" for argument exceptions), or "(no exception)".
template <typename E, typename F> std::wstring Thrown(F f)
{
    try
    {
        f();
    }
    catch (const E& e)
    {
        return Message(e);
    }
    return L"(no exception)";
}

struct Releaser
{
    template <typename T> void operator()(T* p) const { p->Release(); }
};
typedef std::unique_ptr<Oskal::Lib::Cryptography::ICryptoTransform, Releaser> TransformPtr;

// The text of a vector file below the test data folder ("nist/sha/SHA1ShortMsg.rsp"); empty when
// the file is missing or empty, which the callers treat as a failure.
inline std::string ReadTestFile(const std::wstring& relative)
{
    std::wstring path = OskalTests::TestDataDirectory() + L"\\" + relative;
    for (auto& c : path)
        if (c == L'/')
            c = L'\\';
    std::string text;
    FILE* f = _wfopen(path.c_str(), L"rb");
    if (f == nullptr)
        return text;
    char buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof(buffer), f)) > 0)
        text.append(buffer, n);
    std::fclose(f);
    return text;
}

// Digest sizes 20, 32 and 64 select SHA-1, SHA-256 and SHA-512.
typedef std::unique_ptr<Oskal::Lib::Cryptography::UHashAlgorithm, Releaser> HashPtr;

inline HashPtr MakeHash(unsigned long ulDigestSize)
{
    switch (ulDigestSize)
    {
    case 20:
        return HashPtr(Oskal::Lib::Cryptography::USHA1::Create());
    case 32:
        return HashPtr(Oskal::Lib::Cryptography::USHA256::Create());
    default:
        return HashPtr(Oskal::Lib::Cryptography::USHA512::Create());
    }
}

inline std::string Digest(Oskal::Lib::Cryptography::UHashAlgorithm& hash)
{
    return ToHex(hash.GetHash(), hash.GetHashSize());
}

inline std::string OneShot(unsigned long ulDigestSize, const Bytes& data)
{
    HashPtr hash = MakeHash(ulDigestSize);
    hash->HashCore(data.data(), static_cast<long>(data.size()));
    hash->HashFinal();
    return Digest(*hash);
}

// "NAME = value" lines and "[SECTION]" lines of a .rsp file, in order; comments and blank lines
// dropped. CRLF and LF both accepted.
struct RspLine
{
    std::string name;
    std::string value;
    bool section;
};

inline std::vector<RspLine> ParseRsp(const std::string& text)
{
    std::vector<RspLine> lines;
    size_t start = 0;
    while (start < text.size())
    {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        std::string line = text.substr(start, end - start);
        start = end + 1;
        while (!line.empty() && (line.back() == '\r' || line.back() == ' '))
            line.pop_back();
        if (line.empty() || line[0] == '#')
            continue;
        if (line[0] == '[')
        {
            lines.push_back({line.substr(1, line.find(']') - 1), std::string(), true});
            continue;
        }
        const size_t eq = line.find('=');
        if (eq == std::string::npos)
            continue;
        std::string name = line.substr(0, eq);
        while (!name.empty() && name.back() == ' ')
            name.pop_back();
        size_t v = eq + 1;
        while (v < line.size() && line[v] == ' ')
            ++v;
        lines.push_back({name, line.substr(v), false});
    }
    return lines;
}

// Runs a test once on the hardware paths (where the processor has them) and once on the
// portable code.
class BothPaths : public ::testing::TestWithParam<int>
{
protected:
    void SetUp() override { Oskal::Lib::Cryptography::SetHardwareAcceleration(GetParam()); }
    void TearDown() override { Oskal::Lib::Cryptography::SetHardwareAcceleration(1); }
};

inline std::string PathName(const ::testing::TestParamInfo<int>& info)
{
    return info.param ? "Hardware" : "Portable";
}

// A growable in-memory stream that records how it is used.
class MemoryStream : public Oskal::Lib::IO::UStream
{
public:
    MemoryStream() : m_position(0), m_maxRead(0), m_flushes(0) {}
    explicit MemoryStream(const Bytes& data) : m_data(data), m_position(0), m_maxRead(0), m_flushes(0) {}

    int CanRead() const override { return 1; }
    int CanWrite() const override { return 1; }
    int CanSeek() const override { return 0; }
    void Close() override {}
    void Flush() override { ++m_flushes; }
    __int64 GetLength() const override { return static_cast<__int64>(m_data.size()); }
    __int64 GetPosition() const override { return static_cast<__int64>(m_position); }
    int IsDataAvailable() const override { return m_position < m_data.size() ? 1 : 0; }
    long Read(void* pvBuffer, long lCount) override
    {
        m_readRequests.push_back(lCount);
        size_t n = m_data.size() - m_position;
        if (static_cast<size_t>(lCount) < n)
            n = static_cast<size_t>(lCount);
        if (m_maxRead != 0 && n > m_maxRead)
            n = m_maxRead;
        std::copy(m_data.begin() + m_position, m_data.begin() + m_position + n, static_cast<unsigned char*>(pvBuffer));
        m_position += n;
        return static_cast<long>(n);
    }
    __int64 Seek(__int64, Oskal::Lib::IO::USeekOrigin) override { return 0; }
    void SetLength(__int64) override {}
    void SetPosition(__int64) override {}
    void Write(const void* pvBuffer, long lCount) override
    {
        m_writes.push_back(lCount);
        const unsigned char* p = static_cast<const unsigned char*>(pvBuffer);
        m_data.insert(m_data.end(), p, p + lCount);
    }

    Bytes m_data;
    size_t m_position;
    // Caps every read (0: no cap), to imitate streams that deliver less than asked.
    size_t m_maxRead;
    int m_flushes;
    std::vector<long> m_writes;
    std::vector<long> m_readRequests;
};

} // namespace CryptoTests
