// UTF-8 conversions against Windows' own (CP_UTF8) on valid text, and against the byte-by-byte
// model on damaged input: the fast paths must give exactly what the code-point loop gives.
#include "TextTestSupport.h"

#include <Oskal/Lib/Text/UDecoder.h>
#include <Oskal/Lib/Text/UDecoderReplacementFallback.h>
#include <Oskal/Lib/Text/UEncoder.h>
#include <Oskal/Lib/Text/UUTF8Encoding.h>
#include <Oskal/Lib/UArgumentException.h>

#include <gtest/gtest.h>
#include <windows.h>

using namespace Oskal::Lib::Text;
using namespace TextTests;

namespace
{

std::wstring WindowsDecode(const Bytes& bytes)
{
    int size = MultiByteToWideChar(CP_UTF8, 0, reinterpret_cast<const char*>(bytes.data()),
                                   static_cast<int>(bytes.size()), nullptr, 0);
    std::wstring text(size, L'\0');
    MultiByteToWideChar(CP_UTF8, 0, reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()),
                        &text[0], size);
    return text;
}

Bytes LibraryEncode(UEncoding* encoding, const std::wstring& text)
{
    Bytes bytes(encoding->GetMaxByteCount(static_cast<unsigned long>(text.size())));
    unsigned long n = encoding->GetBytes(text.data(), static_cast<unsigned long>(text.size()), bytes.data(),
                                         static_cast<unsigned long>(bytes.size()));
    EXPECT_EQ(n, encoding->GetByteCount(text.data(), static_cast<unsigned long>(text.size())));
    bytes.resize(n);
    return bytes;
}

std::wstring LibraryDecode(UEncoding* encoding, const Bytes& bytes)
{
    std::wstring text(encoding->GetMaxCharCount(static_cast<unsigned long>(bytes.size())) + 1, L'\0');
    unsigned long n = encoding->GetChars(bytes.data(), static_cast<unsigned long>(bytes.size()), &text[0],
                                         static_cast<unsigned long>(text.size()));
    EXPECT_EQ(n, encoding->GetCharCount(bytes.data(), static_cast<unsigned long>(bytes.size())));
    text.resize(n);
    return text;
}

// Decodes in pieces of random size without flush, then flushes with an empty call.
std::wstring DecodeInPieces(UEncoding* encoding, const Bytes& bytes, std::mt19937& random)
{
    Ref<UDecoder> decoder(encoding->CreateDecoder());
    std::wstring text;
    size_t at = 0;
    while (at < bytes.size())
    {
        size_t piece = 1 + random() % 9;
        if (random() % 8 == 0)
            piece = 1 + random() % 200;
        if (piece > bytes.size() - at)
            piece = bytes.size() - at;
        std::wstring out(piece * 2 + 2, L'\0');
        unsigned long n = decoder->GetChars(bytes.data() + at, static_cast<unsigned long>(piece), &out[0],
                                            static_cast<unsigned long>(out.size()), 0);
        text.append(out.data(), n);
        at += piece;
    }
    wchar_t none[1];
    EXPECT_EQ(0u, decoder->GetChars(bytes.data(), 0, none, 1, 1));
    return text;
}

} // namespace

TEST(Utf8Agreement, RandomValidTextMatchesWindowsBothWays)
{
    Ref<UUTF8Encoding> utf8(UUTF8Encoding::Create());
    std::mt19937 random(20261123);
    for (int round = 0; round < 4; ++round)
    {
        std::wstring text = RandomValidText(random, round == 0 ? 1000000 : 20000 + random() % 5000);
        Bytes expected = WindowsEncode(text);
        ASSERT_EQ("", Mismatch(expected, LibraryEncode(utf8.Get(), text)));
        ASSERT_EQ("", Mismatch(WindowsDecode(expected), LibraryDecode(utf8.Get(), expected)));
        ASSERT_EQ("", Mismatch(text, LibraryDecode(utf8.Get(), expected)));
        Oskal::Lib::UString decoded = utf8->GetString(expected.data(), static_cast<unsigned long>(expected.size()));
        ASSERT_EQ("", Mismatch(text, std::wstring(decoded.GetBuffer(), decoded.GetLength())));
    }
}

// Damaged input goes through both the fast run and the code-point loop; whatever the split into
// calls, the result must be the one the byte-by-byte model gives.
TEST(Utf8Agreement, DamagedInputMatchesTheByteByByteModel)
{
    Ref<UUTF8Encoding> utf8(UUTF8Encoding::Create());
    std::mt19937 random(42);
    for (int round = 0; round < 200; ++round)
    {
        Bytes bytes = RandomByteSoup(random, 1 + random() % 300);
        if (round % 3 == 0)
        {
            // Long clean stretches in between, so the fast run starts and stops inside the damage.
            std::wstring clean = RandomValidText(random, 50);
            Bytes encoded = WindowsEncode(clean);
            bytes.insert(bytes.begin() + random() % bytes.size(), encoded.begin(), encoded.end());
        }
        std::wstring expected = ModelDecode(bytes);
        ASSERT_EQ("", Mismatch(expected, LibraryDecode(utf8.Get(), bytes))) << "round " << round;
        ASSERT_EQ("", Mismatch(expected, DecodeInPieces(utf8.Get(), bytes, random))) << "round " << round;
    }
}

// UTF-16 with unpaired surrogates: the encoder drops them (kept behaviour), whatever the split
// into calls, and encodes everything else as Windows does.
TEST(Utf8Agreement, DamagedUtf16MatchesWindowsWithoutTheUnpairedHalves)
{
    Ref<UUTF8Encoding> utf8(UUTF8Encoding::Create());
    std::mt19937 random(99);
    for (int round = 0; round < 200; ++round)
    {
        std::wstring text = RandomValidText(random, 1 + random() % 200);
        for (int k = random() % 4; k > 0; --k)
            text.insert(text.begin() + random() % (text.size() + 1),
                        static_cast<wchar_t>(random() % 2 ? 0xD800 + random() % 0x400 : 0xDC00 + random() % 0x400));
        // The same text with unpaired halves removed is what Windows must agree with.
        std::wstring clean;
        for (size_t i = 0; i < text.size(); ++i)
        {
            wchar_t u = text[i];
            bool high = u >= 0xD800 && u <= 0xDBFF, low = u >= 0xDC00 && u <= 0xDFFF;
            if (high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF)
            {
                clean += u;
                clean += text[++i];
            }
            else if (!high && !low)
                clean += u;
        }
        Bytes expected = WindowsEncode(clean);
        ASSERT_EQ("", Mismatch(expected, LibraryEncode(utf8.Get(), text))) << round;
        Ref<UEncoder> encoder(utf8->CreateEncoder());
        Bytes pieces;
        for (size_t at = 0; at < text.size();)
        {
            size_t piece = std::min<size_t>(1 + random() % 40, text.size() - at);
            unsigned char out[200];
            unsigned long n = encoder->GetBytes(text.data() + at, static_cast<unsigned long>(piece), out, 200,
                                                at + piece == text.size());
            pieces.insert(pieces.end(), out, out + n);
            at += piece;
        }
        ASSERT_EQ("", Mismatch(expected, pieces)) << round;
    }
}

// The machines all have SSE2, so the portable loops run in a second copy of this program with
// OSKAL_PORTABLE=1, which the library reads when it loads.
TEST(Utf8Agreement, PortableLoopsPassTheSameTests)
{
    char flag[4] = {};
    if (GetEnvironmentVariableA("OSKAL_PORTABLE", flag, sizeof(flag)) != 0)
        GTEST_SKIP() << "this is the portable run";
    wchar_t path[MAX_PATH];
    ASSERT_NE(0u, GetModuleFileNameW(nullptr, path, MAX_PATH));
    std::wstring command =
        std::wstring(L"\"") + path +
        L"\" --gtest_brief=1 --gtest_filter=Utf8Agreement.*:EncodingBehaviour.*:StreamText.*-*Portable*";
    SetEnvironmentVariableW(L"OSKAL_PORTABLE", L"1");
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    BOOL started =
        CreateProcessW(nullptr, &command[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process);
    SetEnvironmentVariableW(L"OSKAL_PORTABLE", nullptr);
    ASSERT_TRUE(started);
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD exitCode = 1;
    GetExitCodeProcess(process.hProcess, &exitCode);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    EXPECT_EQ(0u, exitCode) << "the portable run failed; run it with OSKAL_PORTABLE=1 to see why";
}
