// Shared pieces of the cryptography tests: hex, a memory stream, NIST vector files and the
// switch between the hardware and the portable paths.
#pragma once

#include <Oskal/Lib/Cryptography/ICryptoTransform.h>
#include <Oskal/Lib/Cryptography/UCryptoCpu.h>
#include <Oskal/Lib/Cryptography/USHA1.h>
#include <Oskal/Lib/Cryptography/USHA256.h>
#include <Oskal/Lib/Cryptography/USHA512.h>
#include <Oskal/Lib/IO/UStream.h>
#include <Oskal/Lib/Internal/ReleasePtr.h>

#include "Support/MemoryStream.h"
#include "Support/TestFiles.h"
#include "Support/Thrown.h"

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

typedef Oskal::Lib::Internal::ReleasePtr<Oskal::Lib::Cryptography::ICryptoTransform> TransformPtr;

// The text of a vector file below the test data folder ("nist/sha/SHA1ShortMsg.rsp"); empty when
// the file is missing or empty, which the callers treat as a failure.
inline std::string ReadTestFile(const std::wstring& relative)
{
    std::wstring path = OskalTests::TestDataDirectory() + L"\\" + relative;
    for (auto& c : path)
        if (c == L'/')
            c = L'\\';
    return OskalTests::ReadFileText(path);
}

// Digest sizes 20, 32 and 64 select SHA-1, SHA-256 and SHA-512.
typedef Oskal::Lib::Internal::ReleasePtr<Oskal::Lib::Cryptography::UHashAlgorithm> HashPtr;

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

// Runs a test once on the hardware paths and once on the portable code. The hardware half
// reports itself skipped on a processor without the instructions, rather than running the
// portable code a second time.
class BothPaths : public ::testing::TestWithParam<int>
{
protected:
    // 1 when the processor offers the hardware path the suite tests (hardware paths enabled).
    virtual int HardwareAvailable() const = 0;
    void SetUp() override
    {
        Oskal::Lib::Cryptography::SetHardwareAcceleration(1);
        if (GetParam() && !HardwareAvailable())
            GTEST_SKIP() << "the processor lacks the instructions of the hardware path";
        Oskal::Lib::Cryptography::SetHardwareAcceleration(GetParam());
    }
    void TearDown() override { Oskal::Lib::Cryptography::SetHardwareAcceleration(1); }
};

inline std::string PathName(const ::testing::TestParamInfo<int>& info)
{
    return info.param ? "Hardware" : "Portable";
}

using OskalTests::ExpectArgumentError;
using OskalTests::MemoryStream;
using OskalTests::Thrown;

} // namespace CryptoTests
