#pragma once

// Builds BIM files byte by byte from the layout of the format, independent of the library's
// writer, and loads them through the library.

#include <Oskal/Lib/BIM/UBimException.h>
#include <Oskal/Lib/BIM/UBimFile.h>
#include <Oskal/Lib/BIM/UBimReadFileCallback.h>
#include <Oskal/Lib/Cryptography/ICryptoTransform.h>
#include <Oskal/Lib/Cryptography/URijndael.h>
#include <Oskal/Lib/Cryptography/USHA1.h>
#include <Oskal/Lib/UException.h>

#include "Support/TestFiles.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace OskalTests
{

typedef std::vector<unsigned char> Bytes;

inline Bytes B(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

inline void Put16(Bytes& out, unsigned int value)
{
    out.push_back(static_cast<unsigned char>(value));
    out.push_back(static_cast<unsigned char>(value >> 8));
}

inline void Put32(Bytes& out, unsigned int value)
{
    Put16(out, value & 0xFFFF);
    Put16(out, value >> 16);
}

// count bytes first, first + step, first + 2 * step, ...
inline Bytes Counting(size_t count, unsigned char first, unsigned char step = 1)
{
    Bytes bytes(count);
    for (size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<unsigned char>(first + step * i);
    return bytes;
}

inline void Append(Bytes& out, const Bytes& more)
{
    out.insert(out.end(), more.begin(), more.end());
}

inline void PadTo4(Bytes& out, size_t count)
{
    while (count % 4 != 0)
    {
        out.push_back(0);
        ++count;
    }
}

inline Bytes Sha1(const unsigned char* data, size_t size)
{
    Oskal::Lib::Cryptography::USHA1* hash = Oskal::Lib::Cryptography::USHA1::Create();
    hash->Reset();
    if (size != 0)
        hash->HashCore(data, static_cast<long>(size));
    hash->HashFinal();
    Bytes digest(hash->GetHash(), hash->GetHash() + 20);
    hash->Release();
    return digest;
}

inline Bytes Sha1(const Bytes& data)
{
    return Sha1(data.data(), data.size());
}

// One header record: tag, length, value, zeros up to a multiple of 4.
inline Bytes Tlv(unsigned int tag, const Bytes& value)
{
    Bytes out;
    Put16(out, tag);
    Put16(out, static_cast<unsigned int>(value.size()));
    Append(out, value);
    PadTo4(out, value.size());
    return out;
}

// A firmware inner container: per region address, length, bytes, zeros up to a multiple of 4.
struct Region
{
    unsigned int address;
    Bytes data;
};

inline Bytes FirmwareInner(const std::vector<Region>& regions)
{
    Bytes out;
    for (const Region& region : regions)
    {
        Put32(out, region.address);
        Put32(out, static_cast<unsigned int>(region.data.size()));
        Append(out, region.data);
        PadTo4(out, region.data.size());
    }
    return out;
}

inline const unsigned char* TestKey()
{
    static const unsigned char key[32] = {0x60, 0x3d, 0xeb, 0x10, 0x15, 0xca, 0x71, 0xbe, 0x2b, 0x73, 0xae,
                                          0xf0, 0x85, 0x7d, 0x77, 0x81, 0x1f, 0x35, 0x2c, 0x07, 0x3b, 0x61,
                                          0x08, 0xd7, 0x2d, 0x98, 0x10, 0xa3, 0x09, 0x14, 0xdf, 0xf4};
    return key;
}

inline const unsigned char* TestIV()
{
    static const unsigned char iv[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    return iv;
}

// AES-256-CBC of the plain bytes filled with zeros to whole blocks.
inline Bytes Encrypt(const Bytes& plain, const unsigned char* key = TestKey(), const unsigned char* iv = TestIV())
{
    using namespace Oskal::Lib::Cryptography;
    URijndael* algorithm = URijndael::Create();
    algorithm->SetCipherMode(eCipherMode_CBC);
    algorithm->SetPaddingMode(ePaddingMode_None);
    algorithm->SetKey(key, 32);
    algorithm->SetInitializationVector(iv, 16);
    ICryptoTransform* encryptor = algorithm->CreateEncryptor();
    Bytes filled(plain);
    while (filled.size() % 16 != 0)
        filled.push_back(0);
    Bytes out(filled.size());
    if (!filled.empty())
        encryptor->TransformBlock(filled.data(), static_cast<unsigned long>(filled.size()), out.data());
    encryptor->Release();
    algorithm->Release();
    return out;
}

// A whole container as the file holds it. The digest is taken over the first plainSize bytes of
// plainForDigest; stored are the bytes as they stand in the file.
inline Bytes Container(unsigned int type, unsigned int encryption, const Bytes& stored, unsigned int plainSize,
                       const Bytes& digest)
{
    Bytes out;
    out.push_back(static_cast<unsigned char>(type));
    out.push_back(static_cast<unsigned char>(encryption));
    out.push_back(0);
    out.push_back(0);
    Put32(out, static_cast<unsigned int>(stored.size()));
    Put32(out, plainSize);
    Append(out, stored);
    PadTo4(out, stored.size());
    Append(out, digest);
    return out;
}

inline Bytes PlainContainer(unsigned int type, const Bytes& inner)
{
    return Container(type, 1, inner, static_cast<unsigned int>(inner.size()), Sha1(inner));
}

inline Bytes EncryptedContainer(unsigned int type, const Bytes& inner)
{
    return Container(type, 2, Encrypt(inner), static_cast<unsigned int>(inner.size()), Sha1(inner));
}

// Marker, the records, tag 2, terminator, payload and checksum.
inline Bytes BimFile(const Bytes& records, const Bytes& payload)
{
    Bytes out = B("BIMF");
    Append(out, records);
    Put16(out, 2);
    Put16(out, 4);
    Put32(out, static_cast<unsigned int>(payload.size()));
    Put16(out, 0xFFFF);
    Put16(out, 0);
    Append(out, payload);
    Append(out, Sha1(out));
    return out;
}

// Replaces the last 20 bytes with the checksum of the rest.
inline void Reseal(Bytes& file)
{
    if (file.size() < 20)
        return;
    Bytes digest = Sha1(file.data(), file.size() - 20);
    std::copy(digest.begin(), digest.end(), file.end() - 20);
}

inline void WriteFile(const wchar_t* path, const Bytes& bytes)
{
    ASSERT_TRUE(WriteFileText(path, std::string(bytes.begin(), bytes.end())));
}

inline Bytes ReadFile(const wchar_t* path)
{
    const std::string text = ReadFileText(path);
    return Bytes(text.begin(), text.end());
}

// Sets a key and IV on every algorithm; counts the calls.
class KeyCallback : public Oskal::Lib::BIM::UBimReadFileCallback
{
public:
    explicit KeyCallback(const unsigned char* key = TestKey(), const unsigned char* iv = TestIV())
        : key(key), iv(iv), algorithmCalls(0), headerCalls(0), goOn(1)
    {
    }
    int ProcessBimHeader(const Oskal::Lib::BIM::UBimHeader*) override
    {
        ++headerCalls;
        return goOn;
    }
    int ProcessEncryptionAlgorithm(Oskal::Lib::BIM::UBimPayloadContainerEncryption,
                                   Oskal::Lib::Cryptography::UEncryptionAlgorithm* pAlgorithm) override
    {
        ++algorithmCalls;
        auto* symmetric = dynamic_cast<Oskal::Lib::Cryptography::USymmetricAlgorithm*>(pAlgorithm);
        if (symmetric != nullptr)
        {
            symmetric->SetKey(key, 32);
            symmetric->SetInitializationVector(iv, 16);
        }
        return 0;
    }
    const unsigned char* key;
    const unsigned char* iv;
    int algorithmCalls;
    int headerCalls;
    int goOn;
};

// Loads the bytes from a temporary file; returns the message of a library exception, or "" when
// the load succeeds.
inline std::wstring LoadBytes(Oskal::Lib::BIM::UBimFile& file, const Bytes& bytes,
                              Oskal::Lib::BIM::UBimReadFileCallback& callback)
{
    TempFile path(L"bim");
    WriteFile(path.Path(), bytes);
    try
    {
        file.Load(path.Path(), callback);
    }
    catch (const Oskal::Lib::Exceptions::UException& e)
    {
        return std::wstring(L"!") + e.GetMessageText();
    }
    return std::wstring();
}

inline std::wstring LoadBytes(Oskal::Lib::BIM::UBimFile& file, const Bytes& bytes)
{
    KeyCallback callback;
    return LoadBytes(file, bytes, callback);
}

inline Bytes SaveBytes(Oskal::Lib::BIM::UBimFile& file)
{
    TempFile path(L"bim");
    file.Save(path.Path());
    return ReadFile(path.Path());
}

} // namespace OskalTests
