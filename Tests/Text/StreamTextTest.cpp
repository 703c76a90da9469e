// The stream reader and writer over memory and file streams: line rules, pending surrogate
// halves, whole-text reads across block boundaries, number formats and the closed writer.
#include "Support/TestFiles.h"
#include "TextTestSupport.h"

#include "Support/MemoryStream.h"
#include "Support/Thrown.h"

#include <Oskal/Lib/IO/UFileStream.h>
#include <Oskal/Lib/IO/UStreamReader.h>
#include <Oskal/Lib/IO/UStreamWriter.h>
#include <Oskal/Lib/Text/UASCIIEncoding.h>
#include <Oskal/Lib/Text/UDecoderReplacementFallback.h>
#include <Oskal/Lib/Text/UUTF8Encoding.h>
#include <Oskal/Lib/UInvalidOperationException.h>

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <new>

using namespace Oskal::Lib;
using namespace Oskal::Lib::IO;
using namespace TextTests;

namespace
{

// Hands out at most 1000 bytes per read, like a pipe.
struct MemoryStream : OskalTests::MemoryStream
{
    explicit MemoryStream(const Bytes& data = Bytes()) : OskalTests::MemoryStream(data) { m_maxRead = 1000; }
};

std::wstring AsText(const UString& s)
{
    return std::wstring(s.GetBuffer(), s.GetLength());
}

Bytes Written(void (*write)(UStreamWriter&))
{
    MemoryStream stream;
    UStreamWriter writer(&stream);
    write(writer);
    return stream.m_data;
}

Bytes Ascii(const char* text)
{
    return Bytes(text, text + std::strlen(text));
}

// An encoding whose encoders and decoders cannot be made, as when memory runs out.
struct FailingEncoding : Text::UEncoding
{
    FailingEncoding() : Text::UEncoding(0) {}
    const wchar_t* GetName() const override { return L"failing"; }
    Text::UEncoder* CreateEncoder() override { throw std::bad_alloc(); }
    Text::UDecoder* CreateDecoder() override { throw std::bad_alloc(); }
    long DecodeCodePoint(const unsigned char*, unsigned long, unsigned long*) const override { return -1; }
    long EncodeCodePoint(unsigned long, unsigned char*, unsigned long) const override { return -1; }
    long GetByteCountFromCodePoint(unsigned long) const override { return -1; }
};

} // namespace

// Null arguments are refused; a reader or writer that cannot be made keeps no encoding reference.
TEST(StreamText, BadArgumentsAndFailedConstruction)
{
    MemoryStream stream;
    const wchar_t* kNull = L"pEncoding|Argument 'pEncoding' must not be NULL.";
    EXPECT_EQ(kNull, OskalTests::Thrown([&] { UStreamReader reader(&stream, nullptr); }));
    EXPECT_EQ(kNull, OskalTests::Thrown([&] { UStreamWriter writer(&stream, nullptr); }));
    UStreamReader reader(&stream);
    EXPECT_EQ(L"pwcBuffer|Argument 'pwcBuffer' must not be NULL.",
              OskalTests::Thrown([&] { reader.Read(nullptr, 1); }));
    FailingEncoding* encoding = new FailingEncoding();
    EXPECT_THROW(UStreamReader(&stream, encoding), std::bad_alloc);
    EXPECT_THROW(UStreamWriter(&stream, encoding), std::bad_alloc);
    EXPECT_EQ(1u, encoding->GetRefCount());
    encoding->Release();
}

// The decoder keeps the fallback it was made with, so its room must not follow a shorter one
// that the encoding was given later.
TEST(StreamText, RoomFollowsTheDecodersOwnFallback)
{
    Text::UUTF8Encoding* encoding = Text::UUTF8Encoding::Create();
    Text::UDecoderFallback* fallbacks[] = {Text::UDecoderReplacementFallback::Create(L"[surrogate]"),
                                           Text::UDecoderReplacementFallback::Create(L"?")};
    encoding->SetDecoderFallback(fallbacks[0]);
    MemoryStream bytes(ToBytes({0xED, 0xA0, 0x80})), block(ToBytes({0xED, 0xA0, 0x80}));
    UStreamReader byteReader(&bytes, encoding), blockReader(&block, encoding);
    encoding->SetDecoderFallback(fallbacks[1]);
    EXPECT_EQ(L'[', byteReader.Read());
    EXPECT_EQ(L"[surrogate]", AsText(blockReader.ReadToEnd()));
    encoding->Release();
    fallbacks[0]->Release();
    fallbacks[1]->Release();
}

TEST(StreamText, ReadLineRules)
{
    MemoryStream stream(Ascii("a\r\nb"));
    UStreamReader reader(&stream);
    UString line(L"junk");
    EXPECT_EQ(1, reader.ReadLine(line));
    EXPECT_EQ(L"a", AsText(line));
    EXPECT_EQ(1, reader.ReadLine(line));
    EXPECT_EQ(L"b", AsText(line));
    EXPECT_EQ(0, reader.ReadLine(line));
    EXPECT_EQ(L"", AsText(line));
    MemoryStream lone(Ascii("a\rb\n\n\r\n"));
    UStreamReader loneReader(&lone);
    EXPECT_EQ(1, loneReader.ReadLine(line));
    EXPECT_EQ(L"a\rb", AsText(line)) << "only a line feed ends a line";
    EXPECT_EQ(1, loneReader.ReadLine(line));
    EXPECT_EQ(L"", AsText(line));
    EXPECT_EQ(1, loneReader.ReadLine(line));
    EXPECT_EQ(L"", AsText(line));
    EXPECT_EQ(0, loneReader.ReadLine(line));
}

TEST(StreamText, SurrogateHalvesAndEndOfStream)
{
    MemoryStream stream(ToBytes({0xF0, 0x9F, 0x98, 0x80, 0x41}));
    UStreamReader reader(&stream);
    EXPECT_EQ(0xD83D, reader.Read());
    size_t reads = stream.m_readRequests.size();
    EXPECT_EQ(0, reader.IsEndOfStream());
    EXPECT_EQ(0xDE00, reader.Read());
    EXPECT_EQ(reads, stream.m_readRequests.size()) << "the low half comes without touching the stream";
    EXPECT_EQ(4u, stream.m_position) << "one byte per stream call, nothing read ahead";
    EXPECT_EQ(0x41, reader.Read());
    EXPECT_EQ(1, reader.IsEndOfStream());
    EXPECT_EQ(-1, reader.Read());
    // A pair that does not fit the buffer leaves its second half pending for the next read.
    MemoryStream again(ToBytes({0x61, 0xF0, 0x9F, 0x98, 0x80, 0x62}));
    UStreamReader bufferReader(&again);
    wchar_t buffer[4] = {};
    EXPECT_EQ(2u, bufferReader.Read(buffer, 2));
    EXPECT_EQ(L'a', buffer[0]);
    EXPECT_EQ(0xD83D, buffer[1]);
    EXPECT_EQ(2u, bufferReader.Read(buffer, 4));
    EXPECT_EQ(0xDE00, buffer[0]);
    EXPECT_EQ(L'b', buffer[1]);
    EXPECT_EQ(0u, bufferReader.Read(buffer, 4));
    // The pending half starts the next line and the next whole-text read.
    MemoryStream lines(ToBytes({0xF0, 0x9F, 0x98, 0x80, 0x0A, 0xF0, 0x9F, 0x98, 0x80, 0x7A}));
    UStreamReader lineReader(&lines);
    EXPECT_EQ(0xD83D, lineReader.Read());
    UString line;
    EXPECT_EQ(1, lineReader.ReadLine(line));
    EXPECT_EQ(L"\xDE00", AsText(line));
    EXPECT_EQ(0xD83D, lineReader.Read());
    EXPECT_EQ(L"\xDE00z", AsText(lineReader.ReadToEnd()));
    reader.Close();
    EXPECT_EQ(-1, reader.Read()) << "closing changes nothing for reading";
}

TEST(StreamText, WriterFormats)
{
    EXPECT_EQ(Ascii("true"), Written([](UStreamWriter& w) { w.Write(1); }));
    EXPECT_EQ(Ascii("false"), Written([](UStreamWriter& w) { w.Write(0); }));
    EXPECT_EQ(Ascii("0a"), Written([](UStreamWriter& w) { w.Write(static_cast<unsigned char>(10)); }));
    EXPECT_EQ(Ascii("ff"), Written([](UStreamWriter& w) { w.Write(static_cast<unsigned char>(255)); }));
    EXPECT_EQ(Ascii("-5"), Written([](UStreamWriter& w) { w.Write(static_cast<__int64>(-5)); }));
    EXPECT_EQ(Ascii("-9223372036854775808"),
              Written([](UStreamWriter& w) { w.Write(static_cast<__int64>(-9223372036854775807LL - 1)); }));
    EXPECT_EQ(Ascii("18446744073709551615"), Written([](UStreamWriter& w) { w.Write(~0ULL); }));
    EXPECT_EQ(Ascii("1.500000"), Written([](UStreamWriter& w) { w.Write(1.5f); }));
    EXPECT_EQ(Ascii("-2147483648"), Written([](UStreamWriter& w) { w.Write(static_cast<long>(-2147483647L - 1)); }));
    EXPECT_EQ(Ascii("4294967295"), Written([](UStreamWriter& w) { w.Write(4294967295UL); }));
    EXPECT_EQ(Ascii("-32768"), Written([](UStreamWriter& w) { w.Write(static_cast<short>(-32768)); }));
    EXPECT_EQ(Ascii("65535"), Written([](UStreamWriter& w) { w.Write(static_cast<unsigned short>(65535)); }));
    EXPECT_EQ(Ascii("A"), Written([](UStreamWriter& w) { w.Write('A'); }));
    // The char is widened with its sign: 0xE9 becomes U+FFE9.
    EXPECT_EQ(ToBytes({0xEF, 0xBF, 0xA9}), Written([](UStreamWriter& w) { w.Write(static_cast<char>(0xE9)); }));
    EXPECT_EQ(ToBytes({0xF0, 0x9F, 0x98, 0x80}), Written([](UStreamWriter& w) { w.WriteCharByCodePoint(0x1F600); }));
    EXPECT_EQ(ToBytes({0xE2, 0x82, 0xAC}), Written([](UStreamWriter& w) { w.WriteCharByCodePoint(0x20AC); }));
    EXPECT_EQ(Ascii("ab\r\nc|"), Written([](UStreamWriter& w) {
                  w.Write(L"ab");
                  w.WriteNewLine();
                  w.Write(L"c|d", 2);
                  w.Write(L"", 0);
                  w.Write(L"");
              }));
    EXPECT_EQ(Ascii("x\ny"), Written([](UStreamWriter& w) {
                  w.SetNewLine(UString(L"\n"));
                  EXPECT_EQ(L"\n", AsText(w.GetNewLine()));
                  w.Write(L"x");
                  w.WriteNewLine();
                  w.Write(L"y");
              }));
}
