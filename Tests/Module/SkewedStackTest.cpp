// Fast paths entered from stacks that are only 4-byte aligned, as Windows callers leave them. Each
// path runs from skewed stacks on the calling thread and on a CreateThread thread and must give
// what the portable code gives on an aligned stack; a fault ends the run with the path's name.
#include "Support/SkewedStack.h"
#include "BIM/BimFileTestSupport.h"
#include "Support/TestFiles.h"

#include <Oskal/Lib/BIM/UBimFile.h>
#include <Oskal/Lib/BIM/UBimPayload.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerFirmware.h>
#include <Oskal/Lib/BIM/UMemoryImage.h>
#include <Oskal/Lib/Cryptography/UCryptoCpu.h>
#include <Oskal/Lib/Cryptography/URijndaelTransform.h>
#include <Oskal/Lib/Cryptography/USHA1.h>
#include <Oskal/Lib/Cryptography/USHA256.h>
#include <Oskal/Lib/Cryptography/USHA512.h>
#include <Oskal/Lib/IO/UFileStream.h>
#include <Oskal/Lib/IO/UStreamReader.h>
#include <Oskal/Lib/Internal/ReleasePtr.h>
#include <Oskal/Lib/Text/UUTF8Encoding.h>

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace Oskal::Lib;
using namespace Oskal::Lib::Cryptography;
using Internal::ReleasePtr;
using OskalTests::Bytes;

Bytes RandomBytes(size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    Bytes bytes(count);
    for (unsigned char& b : bytes)
        b = static_cast<unsigned char>(random());
    return bytes;
}

template <typename T> Bytes AsBytes(const T* p, size_t count)
{
    const unsigned char* first = reinterpret_cast<const unsigned char*>(p);
    return Bytes(first, first + count * sizeof(T));
}

// A partial block first, then the rest: both the buffered and the in-place block paths run.
template <typename THash> Bytes Hash(const Bytes& data)
{
    ReleasePtr<THash> hash(THash::Create());
    hash->HashCore(data.data(), 77);
    hash->HashCore(data.data() + 77, static_cast<long>(data.size() - 77));
    hash->HashFinal();
    return Bytes(hash->GetHash(), hash->GetHash() + hash->GetHashSize());
}

Bytes Cipher(int bEncrypt, UCipherMode eMode, const Bytes& input)
{
    ReleasePtr<URijndaelTransform> transform(URijndaelTransform::Create(
        bEncrypt, 128, 128, eMode, ePaddingMode_None, OskalTests::TestKey(), 256, OskalTests::TestIV()));
    Bytes output(input.size());
    transform->TransformBlock(input.data(), static_cast<unsigned long>(input.size()), output.data());
    return output;
}

// Long ASCII runs for the vector loops, broken by two- and three-byte characters and surrogate
// pairs at every offset.
std::wstring MixedText()
{
    static const wchar_t* const pieces[] = {L"\u00e9", L"\u20ac", L"\U0001D11E", L"\n"};
    std::mt19937 random(8);
    std::wstring text;
    while (text.size() < 200000)
    {
        text.append(random() % 300, static_cast<wchar_t>(L'a' + random() % 26));
        text.append(pieces[random() % 4]);
    }
    return text;
}

Bytes Encode(const std::wstring& text)
{
    ReleasePtr<Text::UUTF8Encoding> utf8(Text::UUTF8Encoding::Create());
    Bytes bytes(utf8->GetMaxByteCount(static_cast<unsigned long>(text.size())));
    bytes.resize(utf8->GetBytes(text.data(), static_cast<unsigned long>(text.size()), bytes.data(),
                                static_cast<unsigned long>(bytes.size())));
    return bytes;
}

Bytes Decode(const Bytes& bytes)
{
    ReleasePtr<Text::UUTF8Encoding> utf8(Text::UUTF8Encoding::Create());
    std::wstring text(utf8->GetMaxCharCount(static_cast<unsigned long>(bytes.size())), L'\0');
    text.resize(utf8->GetChars(bytes.data(), static_cast<unsigned long>(bytes.size()), &text[0],
                               static_cast<unsigned long>(text.size())));
    return AsBytes(text.data(), text.size());
}

Bytes ReadToEnd(const wchar_t* pszPath)
{
    IO::UFileStream stream;
    stream.Open(pszPath, IO::eFileOpenMode_OpenExisting, IO::eFileAccessMode_Read, IO::eFileShareMode_Read);
    IO::UStreamReader reader(&stream);
    const UString text = reader.ReadToEnd();
    return AsBytes(text.GetBuffer(), text.GetLength());
}

// An encrypted firmware container: file checksum, AES-CBC and the container digest.
Bytes LoadFirmware(const Bytes& file, const Bytes& region)
{
    BIM::UBimFile bim;
    if (!OskalTests::LoadBytes(bim, file).empty())
        throw std::runtime_error("the BIM file did not load");
    auto* firmware = dynamic_cast<BIM::UBimPayloadContainerFirmware*>(bim.GetPayload().GetContainer(0));
    if (firmware == nullptr)
        throw std::runtime_error("no firmware container");
    Bytes loaded(region.size());
    firmware->GetMemoryImage().GetData(0x10000, loaded.data(), static_cast<unsigned int>(loaded.size()));
    return loaded;
}

struct FastPath
{
    const char* pszPath;
    int bHardware;
    std::function<Bytes()> fnRun;
};

TEST(SkewedStack, EveryFastPathGivesThePortableResult)
{
    const Bytes data = RandomBytes(10007, 1);
    const Bytes blocks = RandomBytes(4096, 2);
    const std::wstring text = MixedText();
    const Bytes utf8 = Encode(text);
    OskalTests::TempFile textFile(L"skew");
    OskalTests::WriteFile(textFile.Path(), utf8);
    const Bytes region = RandomBytes(65536, 3);
    const Bytes bim =
        OskalTests::BimFile(OskalTests::Tlv(3, OskalTests::B("skew")),
                            OskalTests::EncryptedContainer(1, OskalTests::FirmwareInner({{0x10000, region}})));

    const FastPath paths[] = {
        {"SHA-1 hardware", 1, [&] { return Hash<USHA1>(data); }},
        {"SHA-1 portable", 0, [&] { return Hash<USHA1>(data); }},
        {"SHA-256 hardware", 1, [&] { return Hash<USHA256>(data); }},
        {"SHA-256 portable", 0, [&] { return Hash<USHA256>(data); }},
        {"SHA-512 vector", 1, [&] { return Hash<USHA512>(data); }},
        {"SHA-512 portable", 0, [&] { return Hash<USHA512>(data); }},
        {"AES CBC encrypt", 1, [&] { return Cipher(1, eCipherMode_CBC, blocks); }},
        {"AES CBC decrypt", 1, [&] { return Cipher(0, eCipherMode_CBC, blocks); }},
        {"AES ECB encrypt", 1, [&] { return Cipher(1, eCipherMode_ECB, blocks); }},
        {"AES ECB decrypt", 1, [&] { return Cipher(0, eCipherMode_ECB, blocks); }},
        {"AES CFB encrypt", 1, [&] { return Cipher(1, eCipherMode_CFB, blocks); }},
        {"AES CFB decrypt", 1, [&] { return Cipher(0, eCipherMode_CFB, blocks); }},
        {"UTF-8 encode", 1, [&] { return Encode(text); }},
        {"UTF-8 decode", 1, [&] { return Decode(utf8); }},
        {"UStreamReader ReadToEnd", 1, [&] { return ReadToEnd(textFile.Path()); }},
        {"BIM load", 1, [&] { return LoadFirmware(bim, region); }},
    };
    EXPECT_EQ(AsBytes(text.data(), text.size()), Decode(utf8));
    for (const FastPath& path : paths)
    {
        SetHardwareAcceleration(0);
        const Bytes expected = path.fnRun();
        SetHardwareAcceleration(path.bHardware);
        std::vector<Bytes> results;
        try
        {
            OskalTests::RunOnSkewedStacks(path.pszPath, [&] { results.push_back(path.fnRun()); });
        }
        catch (const std::exception& e)
        {
            ADD_FAILURE() << path.pszPath << ": " << e.what();
        }
        SetHardwareAcceleration(1);
        // Skews 0, 4, 8 and 12 on the calling thread, then the same on the CreateThread thread.
        ASSERT_EQ(8u, results.size()) << path.pszPath;
        for (size_t i = 0; i < results.size(); ++i)
            EXPECT_TRUE(results[i] == expected) << path.pszPath << ", stack skewed by " << 4 * (i % 4) << " on the "
                                                << (i < 4 ? "calling" : "CreateThread") << " thread";
    }
}

} // namespace
