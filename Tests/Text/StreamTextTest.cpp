// The stream reader and writer over memory and file streams: line rules, pending surrogate
// halves, whole-text reads across block boundaries, number formats and the closed writer.
#include "Support/TestFiles.h"
#include "TextTestSupport.h"

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

using namespace Oskal::Lib;
using namespace Oskal::Lib::IO;
using namespace TextTests;

namespace
{

// A seekable in-memory stream that counts its read calls.
class MemoryStream : public UStream
{
public:
    explicit MemoryStream(const Bytes& data = Bytes()) : m_data(data), m_position(0), m_reads(0), m_seekable(1) {}

    int CanRead() const override { return 1; }
    int CanWrite() const override { return 1; }
    int CanSeek() const override { return m_seekable; }
    void Close() override {}
    void Flush() override {}
    __int64 GetLength() const override { return static_cast<__int64>(m_data.size()); }
    __int64 GetPosition() const override { return static_cast<__int64>(m_position); }
    int IsDataAvailable() const override { return m_position < m_data.size() ? 1 : 0; }
    long Read(void* pvBuffer, long lCount) override
    {
        ++m_reads;
        // Hands out at most 1000 bytes per call, like a pipe would.
        size_t n = std::min<size_t>({static_cast<size_t>(lCount), m_data.size() - m_position, 1000});
        std::memcpy(pvBuffer, m_data.data() + m_position, n);
        m_position += n;
        return static_cast<long>(n);
    }
    __int64 Seek(__int64 llOffset, USeekOrigin) override
    {
        return static_cast<__int64>(m_position = static_cast<size_t>(llOffset));
    }
    void SetLength(__int64 llLength) override { m_data.resize(static_cast<size_t>(llLength)); }
    void SetPosition(__int64 llPosition) override { m_position = static_cast<size_t>(llPosition); }
    void Write(const void* pvBuffer, long lCount) override
    {
        const unsigned char* p = static_cast<const unsigned char*>(pvBuffer);
        m_data.insert(m_data.end(), p, p + lCount);
        m_writes.push_back(static_cast<size_t>(lCount));
    }

    Bytes m_data;
    size_t m_position;
    int m_reads;
    int m_seekable;
    std::vector<size_t> m_writes;
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

} // namespace

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

// Lines longer than the 512-unit buffer, with the carriage return on both sides of a buffer end.
TEST(StreamText, LongLines)
{
    std::mt19937 random(5);
    for (size_t length : {510u, 511u, 512u, 513u, 1023u, 1024u, 5000u})
    {
        std::wstring first = RandomValidText(random, length);
        for (wchar_t& c : first)
            if (c == L'\n' || c == 0)
                c = L'x'; // a line feed would end the line early; strings end at U+0000
        std::wstring second(length, L'\x20AC');
        MemoryStream stream(WindowsEncode(first + L"\r\n" + second + L"\n\r"));
        UStreamReader reader(&stream);
        UString line;
        EXPECT_EQ(1, reader.ReadLine(line));
        EXPECT_EQ("", Mismatch(first, AsText(line))) << length;
        EXPECT_EQ(1, reader.ReadLine(line));
        EXPECT_EQ("", Mismatch(second, AsText(line))) << length;
        EXPECT_EQ(1, reader.ReadLine(line));
        EXPECT_EQ(L"\r", AsText(line));
    }
}

TEST(StreamText, SurrogateHalvesAndEndOfStream)
{
    MemoryStream stream(ToBytes({0xF0, 0x9F, 0x98, 0x80, 0x41}));
    UStreamReader reader(&stream);
    EXPECT_EQ(0xD83D, reader.Read());
    int reads = stream.m_reads;
    EXPECT_EQ(0, reader.IsEndOfStream());
    EXPECT_EQ(0xDE00, reader.Read());
    EXPECT_EQ(reads, stream.m_reads) << "the low half comes without touching the stream";
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

// Whole-text reads on texts larger than their blocks, where multi-byte sequences straddle every
// block boundary, must equal one conversion of all the bytes.
TEST(StreamText, WholeTextReadsAcrossBlocks)
{
    std::mt19937 random(9);
    std::wstring text = RandomValidText(random, 1100000);
    Bytes bytes = WindowsEncode(text);
    ASSERT_GT(bytes.size(), 2u * 0x80000);

    Ref<Text::UUTF8Encoding> utf8(Text::UUTF8Encoding::Create());
    std::wstring whole = AsText(utf8->GetString(bytes.data(), static_cast<unsigned long>(bytes.size())));
    ASSERT_EQ("", Mismatch(text, whole));

    // Shift the text by 0 to 3 bytes so that the boundaries fall inside sequences of every length.
    for (int shift = 0; shift < 4; ++shift)
    {
        Bytes shifted(bytes.begin(), bytes.end());
        std::wstring expected = whole;
        shifted.insert(shifted.begin(), static_cast<size_t>(shift), 'x');
        expected.insert(0, static_cast<size_t>(shift), L'x');

        MemoryStream stream(shifted);
        stream.m_seekable = shift % 2;
        UStreamReader reader(&stream);
        EXPECT_EQ("", Mismatch(expected, AsText(reader.ReadToEnd()))) << shift;

        // ReadString counts bytes and stops exactly there; the rest stays in the stream.
        MemoryStream partial(shifted);
        UStreamReader partialReader(&partial);
        unsigned long count = static_cast<unsigned long>(shifted.size() - 10);
        std::wstring head = AsText(partialReader.ReadString(count));
        EXPECT_EQ(count, partial.m_position);
        Ref<Text::UUTF8Encoding> other(Text::UUTF8Encoding::Create());
        Ref<Text::UDecoder> decoder(other->CreateDecoder());
        std::wstring expectedHead(count + 2, L'\0');
        expectedHead.resize(decoder->GetChars(shifted.data(), count, &expectedHead[0], count + 2, 0));
        EXPECT_EQ("", Mismatch(expectedHead, head)) << shift;
        std::wstring tail = AsText(partialReader.ReadToEnd());
        EXPECT_EQ("", Mismatch(expected, head + tail)) << "pending bytes carry over, shift " << shift;
    }
}

TEST(StreamText, ReadToEndFromAFile)
{
    OskalTests::TempFile file(L"reader");
    std::mt19937 random(13);
    std::wstring text = RandomValidText(random, 400000);
    Bytes bytes = WindowsEncode(text);
    {
        UFileStream stream;
        stream.Open(file.Path(), eFileOpenMode_CreateAlways, eFileAccessMode_ReadWrite, eFileShareMode_None);
        stream.Write(bytes.data(), static_cast<long>(bytes.size()));
    }
    UFileStream stream;
    stream.Open(file.Path(), eFileOpenMode_OpenExisting, eFileAccessMode_Read, eFileShareMode_Read);
    UStreamReader reader(&stream);
    EXPECT_EQ(L'\0' + text[0], reader.Read());
    EXPECT_EQ("", Mismatch(text.substr(1), AsText(reader.ReadToEnd())));
    EXPECT_EQ(1, reader.IsEndOfStream());
    EXPECT_EQ(L"", AsText(reader.ReadToEnd()));
    EXPECT_EQ(L"", AsText(reader.ReadString(100)));
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

TEST(StreamText, WriterEncodesLongTextInPiecesWithoutBuffering)
{
    std::mt19937 random(17);
    std::wstring text = RandomValidText(random, 20000);
    MemoryStream stream;
    UStreamWriter writer(&stream);
    // Split so that surrogate pairs break across calls.
    writer.Write(text.data(), 7777);
    writer.Write(text.data() + 7777, static_cast<unsigned long>(text.size() - 7777));
    EXPECT_EQ("", Mismatch(WindowsEncode(text), stream.m_data));
    for (size_t piece : stream.m_writes)
        EXPECT_LE(piece, 1000u);

    // A high surrogate at the end of a call waits for its partner; Flush drops it.
    MemoryStream pending;
    UStreamWriter pendingWriter(&pending);
    pendingWriter.Write(L"a\xD83D", 2);
    EXPECT_EQ(Ascii("a"), pending.m_data);
    pendingWriter.Write(L"\xDE00", 1);
    EXPECT_EQ(ToBytes({0x61, 0xF0, 0x9F, 0x98, 0x80}), pending.m_data);
    pendingWriter.Write(L"\xD83D", 1);
    pendingWriter.Flush();
    pendingWriter.Write(L"\xDE00"
                        L"b",
                        2);
    EXPECT_EQ(ToBytes({0x61, 0xF0, 0x9F, 0x98, 0x80, 0x62}), pending.m_data);
}

TEST(StreamText, ClosedWriterOnlyThrows)
{
    MemoryStream stream;
    Ref<Text::UUTF8Encoding> marked(Text::UUTF8Encoding::Create(1));
    UStreamWriter writer(&stream, marked.Get());
    EXPECT_EQ(marked.Get(), writer.GetEncoding());
    writer.Write(L"a");
    writer.Flush();
    writer.Write(L"b");
    // The preamble comes from the encoder, once; a flush in between does not repeat it.
    EXPECT_EQ(ToBytes({0xEF, 0xBB, 0xBF, 0x61, 0x62}), stream.m_data);
    writer.Close();
    writer.Close();
    using Closed = Exceptions::UInvalidOperationException;
    EXPECT_EQ(L"The stream writer is closed.", Thrown<Closed>([&] { writer.Write(L"x"); }));
    EXPECT_EQ(L"The stream writer is closed.", Thrown<Closed>([&] { writer.Write(L"x", 1); }));
    EXPECT_EQ(L"The stream writer is closed.", Thrown<Closed>([&] { writer.Write(5L); }));
    EXPECT_EQ(L"The stream writer is closed.", Thrown<Closed>([&] { writer.WriteNewLine(); }));
    EXPECT_EQ(L"The stream writer is closed.", Thrown<Closed>([&] { writer.WriteCharByCodePoint(0x41); }));
    EXPECT_EQ(L"The stream writer is closed.", Thrown<Closed>([&] { writer.Flush(); }));
    EXPECT_EQ(ToBytes({0xEF, 0xBB, 0xBF, 0x61, 0x62}), stream.m_data);
}

TEST(StreamText, OtherEncodingsAndFallbacks)
{
    Ref<Text::UASCIIEncoding> ascii(Text::UASCIIEncoding::Create());
    MemoryStream stream;
    {
        UStreamWriter writer(&stream, ascii.Get());
        writer.Write(L"caf\xE9");
    }
    EXPECT_EQ(Ascii("caf?"), stream.m_data);
    EXPECT_EQ(1u, ascii->GetRefCount()) << "reader and writer release their reference";
    stream.m_data.push_back(0xE9);
    stream.m_data.push_back('!');
    UStreamReader reader(&stream, ascii.Get());
    EXPECT_EQ(L"caf?!", AsText(reader.ReadToEnd()));
}

// One byte can release several units at once: bytes the decoder held turned into fallback text
// (of any length) and the byte itself. Unit by unit, in pieces and by lines, the reader must give
// exactly the whole decoding, with every line feed ending a line.
TEST(StreamText, ByteAtATimeReadsGiveTheWholeDecoding)
{
    std::mt19937 random(11);
    for (const wchar_t* replacement : {L"?", L"<?>"})
    {
        Ref<Text::UUTF8Encoding> utf8(Text::UUTF8Encoding::Create());
        Ref<Text::UDecoderReplacementFallback> fallback(Text::UDecoderReplacementFallback::Create(replacement));
        utf8->SetDecoderFallback(fallback.Get());
        for (int round = 0; round < 20; ++round)
        {
            Bytes bytes = RandomByteSoup(random, 300);
            bytes.insert(bytes.begin() + random() % bytes.size(), {0xF0, 0x61, 0x62, 0x63, 0xE2, 0x0A, 0x41, 0x0A});
            const std::wstring whole = ModelDecode(bytes, replacement);

            MemoryStream units(bytes);
            UStreamReader byUnit(&units, utf8.Get());
            std::wstring got;
            for (long unit; (unit = byUnit.Read()) != -1;)
                got += static_cast<wchar_t>(unit);
            ASSERT_EQ(whole, got) << Mismatch(whole, got);

            MemoryStream pieces(bytes);
            UStreamReader byPiece(&pieces, utf8.Get());
            got.clear();
            wchar_t buffer[7];
            while (unsigned long n = byPiece.Read(buffer, 1 + random() % 7))
                got.append(buffer, n);
            ASSERT_EQ(whole, got) << Mismatch(whole, got);

            MemoryStream lines(bytes);
            UStreamReader byLine(&lines, utf8.Get());
            got.clear();
            UString line;
            while (byLine.ReadLine(line))
                got += AsText(line) + L"\n";
            // The lines of the whole text: a carriage return before a line feed goes, and a line is
            // appended up to a 0 unit, as UString::Append does (overlong forms can decode to 0).
            std::wstring expected;
            for (size_t start = 0; start < whole.size();)
            {
                size_t end = whole.find(L'\n', start);
                const bool ended = end != std::wstring::npos;
                std::wstring text = whole.substr(start, (ended ? end : whole.size()) - start);
                if (ended && !text.empty() && text.back() == L'\r')
                    text.pop_back();
                expected += text.substr(0, text.find(L'\0')) + L"\n";
                start = ended ? end + 1 : whole.size();
            }
            ASSERT_EQ(expected, got) << Mismatch(expected, got);
        }
    }
}
