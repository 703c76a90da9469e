// State kept between calls, the deliberate differences from strict UTF-8, fallbacks and messages.
#include "TextTestSupport.h"

#include <Oskal/Lib/Text/UASCIIEncoding.h>
#include <Oskal/Lib/Text/UDecoder.h>
#include <Oskal/Lib/Text/UDecoderExceptionFallback.h>
#include <Oskal/Lib/Text/UDecoderFallbackException.h>
#include <Oskal/Lib/Text/UDecoderReplacementFallback.h>
#include <Oskal/Lib/Text/UEncoder.h>
#include <Oskal/Lib/Text/UEncoderExceptionFallback.h>
#include <Oskal/Lib/Text/UEncoderFallbackException.h>
#include <Oskal/Lib/Text/UEncoderReplacementFallback.h>
#include <Oskal/Lib/Text/UUTF8Encoding.h>
#include <Oskal/Lib/UArgumentException.h>

#include <gtest/gtest.h>

using namespace Oskal::Lib::Text;
using namespace TextTests;
using Oskal::Lib::Exceptions::UArgumentException;

namespace
{

std::wstring Decode(UDecoder* decoder, const Bytes& bytes, int flush)
{
    wchar_t out[256];
    unsigned long n = decoder->GetChars(bytes.data(), static_cast<unsigned long>(bytes.size()), out, 256, flush);
    return std::wstring(out, n);
}

std::wstring DecodeAll(UEncoding* encoding, const Bytes& bytes)
{
    Ref<UDecoder> decoder(encoding->CreateDecoder());
    return Decode(decoder.Get(), bytes, 1);
}

Bytes Encode(UEncoder* encoder, const std::wstring& text, int flush)
{
    unsigned char out[256];
    unsigned long n = encoder->GetBytes(text.data(), static_cast<unsigned long>(text.size()), out, 256, flush);
    return Bytes(out, out + n);
}

// Feeds the input to Convert in pieces of at most piece units with room units of output per call,
// until the conversion reports completion on the last piece.
template <typename Output, typename Converter, typename Input>
Output ConvertAll(Converter* converter, const Input& input, size_t piece, unsigned long room)
{
    Output output;
    size_t at = 0;
    int completed = 0;
    for (int calls = 0; !completed && calls < 10000; ++calls)
    {
        const size_t count = std::min(input.size() - at, piece);
        std::vector<typename Output::value_type> out(room);
        unsigned long used = 0, written = 0;
        converter->Convert(input.data() + at, static_cast<unsigned long>(count), out.data(), room,
                           at + count == input.size(), &used, &written, &completed);
        output.insert(output.end(), out.begin(), out.begin() + written);
        at += used;
        completed = completed && at == input.size();
    }
    return output;
}

Bytes Slice(const Bytes& bytes, size_t from, size_t to)
{
    return Bytes(bytes.begin() + from, bytes.begin() + to);
}

} // namespace

TEST(EncodingBehaviour, SplitAtEveryPositionDecodesAsOneCall)
{
    Ref<UUTF8Encoding> utf8(UUTF8Encoding::Create());
    // One-, two-, three- and four-byte forms, an invalid byte and an encoded surrogate.
    const Bytes bytes = ToBytes({0x41, 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0x98, 0x80, 0xFF,
                                 0xED, 0xA0, 0x80, 0xE2, 0x41, 0xF4, 0x8F, 0xBF, 0xBF, 0x42});
    const std::wstring whole = DecodeAll(utf8.Get(), bytes);
    ASSERT_EQ(std::wstring(L"A\xE9\x20AC\xD83D\xDE00?A\xDBFF\xDFFF") + L"B", whole);

    for (size_t i = 0; i <= bytes.size(); ++i)
        for (size_t j = i; j <= bytes.size(); ++j)
        {
            Ref<UDecoder> decoder(utf8->CreateDecoder());
            std::wstring text = Decode(decoder.Get(), Slice(bytes, 0, i), 0);
            text += Decode(decoder.Get(), Slice(bytes, i, j), 0);
            text += Decode(decoder.Get(), Slice(bytes, j, bytes.size()), 1);
            ASSERT_EQ(whole, text) << "split at " << i << " and " << j;
        }

    // A flush ends the pieces: each decodes as if it were alone, except that the leading
    // U+FEFF rule is not re-armed.
    for (size_t i = 0; i <= bytes.size(); ++i)
    {
        Ref<UDecoder> decoder(utf8->CreateDecoder());
        std::wstring text = Decode(decoder.Get(), Slice(bytes, 0, i), 1);
        text += Decode(decoder.Get(), Slice(bytes, i, bytes.size()), 1);
        ASSERT_EQ(ModelDecode(Slice(bytes, 0, i)) + ModelDecode(Slice(bytes, i, bytes.size())), text) << i;
    }
}

TEST(EncodingBehaviour, EuroSignSplitWithAndWithoutFlush)
{
    Ref<UUTF8Encoding> utf8(UUTF8Encoding::Create());
    Ref<UDecoder> decoder(utf8->CreateDecoder());
    EXPECT_EQ(L"", Decode(decoder.Get(), ToBytes({0xE2, 0x82}), 0));
    EXPECT_EQ(1u, decoder->GetCharCount(ToBytes({0xAC}).data(), 1, 0)) << "counting sees the pending bytes";
    EXPECT_EQ(L"\x20AC", Decode(decoder.Get(), ToBytes({0xAC}), 0));

    EXPECT_EQ(L"", Decode(decoder.Get(), ToBytes({0xE2, 0x82}), 1));
    EXPECT_EQ(L"", Decode(decoder.Get(), ToBytes({0xAC}), 1)) << "flushed bytes are gone; a lone AC is the "
                                                                 "incomplete lead of a two-byte form";
    EXPECT_EQ(L"", Decode(decoder.Get(), ToBytes({0xE2, 0x82}), 0));
    decoder->Reset();
    EXPECT_EQ(L"A", Decode(decoder.Get(), ToBytes({0x41}), 1));
}

TEST(EncodingBehaviour, SurrogatePairSplitAcrossEncoderCalls)
{
    Ref<UUTF8Encoding> utf8(UUTF8Encoding::Create());
    Ref<UEncoder> encoder(utf8->CreateEncoder());
    EXPECT_EQ(Bytes(), Encode(encoder.Get(), L"\xD83D", 0));
    EXPECT_EQ(ToBytes({0xF0, 0x9F, 0x98, 0x80, 0x41}), Encode(encoder.Get(), std::wstring(L"\xDE00") + L"A", 0));

    EXPECT_EQ(ToBytes({0x41}), Encode(encoder.Get(), L"A\xD83D", 1));
    EXPECT_EQ(Bytes(), Encode(encoder.Get(), L"\xDE00", 1)) << "the high half was dropped by the flush";

    // Every split position of a text with pairs gives the one-call bytes.
    const std::wstring text = L"a\xD83D\xDE00\xE9\xDBFF\xDFFF\x20AC";
    const Bytes whole = Encode(encoder.Get(), text, 1);
    for (size_t i = 0; i <= text.size(); ++i)
    {
        Ref<UEncoder> split(utf8->CreateEncoder());
        Bytes bytes = Encode(split.Get(), text.substr(0, i), 0);
        Bytes rest = Encode(split.Get(), text.substr(i), 1);
        bytes.insert(bytes.end(), rest.begin(), rest.end());
        EXPECT_EQ(whole, bytes) << i;
    }
}

// Kept on purpose: the decoder reads forms, not strict UTF-8. Overlong forms decode, stray
// continuation bytes and C0/C1 lead two-byte forms, leads F5-F7 give values beyond U+10FFFF
// (fallback), encoded surrogates go to the fallback.
TEST(EncodingBehaviour, LenientFormsArePinned)
{
    Ref<UUTF8Encoding> utf8(UUTF8Encoding::Create());
    EXPECT_EQ(std::wstring(L"\0", 1), DecodeAll(utf8.Get(), ToBytes({0xC0, 0x80})));
    EXPECT_EQ(std::wstring(L"\0", 1), DecodeAll(utf8.Get(), ToBytes({0xE0, 0x80, 0x80})));
    EXPECT_EQ(L"A", DecodeAll(utf8.Get(), ToBytes({0xC1, 0x81})));
    EXPECT_EQ(L"\x7FF", DecodeAll(utf8.Get(), ToBytes({0xF0, 0x80, 0x9F, 0xBF})));
    EXPECT_EQ(L"\x41", DecodeAll(utf8.Get(), ToBytes({0x81, 0x81})));
    EXPECT_EQ(L"?", DecodeAll(utf8.Get(), ToBytes({0xED, 0xA0, 0x80})));
    EXPECT_EQ(L"?", DecodeAll(utf8.Get(), ToBytes({0xF0, 0x8D, 0xA0, 0x80}))) << "overlong surrogate";
    EXPECT_EQ(L"?", DecodeAll(utf8.Get(), ToBytes({0xF4, 0x90, 0x80, 0x80})));
    EXPECT_EQ(L"?", DecodeAll(utf8.Get(), ToBytes({0xF5, 0x80, 0x80, 0x80})));
    EXPECT_EQ(L"?", DecodeAll(utf8.Get(), ToBytes({0xF7, 0xBF, 0xBF, 0xBF})));
    EXPECT_EQ(L"AB", DecodeAll(utf8.Get(), ToBytes({0x41, 0xF8, 0xFF, 0x42})));
    EXPECT_EQ(L"AB", DecodeAll(utf8.Get(), ToBytes({0x41, 0xFF, 0x42})));
    EXPECT_EQ(L"AB", DecodeAll(utf8.Get(), ToBytes({0xE2, 0x41, 0x42})));
    EXPECT_EQ(L"\xD83D\xDE00", DecodeAll(utf8.Get(), ToBytes({0xF0, 0x9F, 0x98, 0x80})));
    // An incomplete form at the end swallows what follows its lead (fewer bytes than it needs).
    EXPECT_EQ(L"A", DecodeAll(utf8.Get(), ToBytes({0x41, 0xE2, 0x41})));
}

TEST(EncodingBehaviour, LeadingByteOrderMarkIsDroppedOnce)
{
    Ref<UUTF8Encoding> plain(UUTF8Encoding::Create());
    Ref<UUTF8Encoding> marked(UUTF8Encoding::Create(1));
    const Bytes twoMarks = ToBytes({0xEF, 0xBB, 0xBF, 0xEF, 0xBB, 0xBF, 0x41});
    for (UEncoding* encoding : {static_cast<UEncoding*>(plain.Get()), static_cast<UEncoding*>(marked.Get())})
    {
        Ref<UDecoder> decoder(encoding->CreateDecoder());
        EXPECT_EQ(std::wstring(L"\xFEFF") + L"A", Decode(decoder.Get(), twoMarks, 1));
        EXPECT_EQ(L"\xFEFF", Decode(decoder.Get(), ToBytes({0xEF, 0xBB, 0xBF}), 1)) << "a flush does not re-arm";
        decoder->Reset();
        EXPECT_EQ(L"A", Decode(decoder.Get(), ToBytes({0xEF, 0xBB, 0xBF, 0x41}), 1));
        EXPECT_EQ(std::wstring(L"\xFEFF") + L"A", std::wstring(encoding->GetString(twoMarks.data(), 7).GetBuffer()));
    }
    // Only the first decoded code point is looked at.
    EXPECT_EQ(L"A\xFEFF", DecodeAll(plain.Get(), ToBytes({0x41, 0xEF, 0xBB, 0xBF})));
}

TEST(EncodingBehaviour, PreambleIsWrittenOnceUntilReset)
{
    Ref<UUTF8Encoding> marked(UUTF8Encoding::Create(1));
    unsigned long length = 0;
    const unsigned char* preamble = marked->GetPreamble(&length);
    ASSERT_EQ(3u, length);
    EXPECT_EQ(ToBytes({0xEF, 0xBB, 0xBF}), Bytes(preamble, preamble + 3));
    Ref<UUTF8Encoding> plain(UUTF8Encoding::Create());
    EXPECT_EQ(nullptr, plain->GetPreamble(&length));
    EXPECT_EQ(0u, length);

    Ref<UEncoder> encoder(marked->CreateEncoder());
    EXPECT_EQ(5u, encoder->GetByteCount(L"ab", 2, 1));
    EXPECT_EQ(ToBytes({0xEF, 0xBB, 0xBF, 0x61}), Encode(encoder.Get(), L"a", 1));
    EXPECT_EQ(ToBytes({0x62}), Encode(encoder.Get(), L"b", 1)) << "a flush does not owe the preamble again";
    encoder->Reset();
    EXPECT_EQ(ToBytes({0xEF, 0xBB, 0xBF, 0x63}), Encode(encoder.Get(), L"c", 0));

    // Whole-buffer conversions never write it.
    unsigned char out[8];
    EXPECT_EQ(1u, marked->GetBytes(L"a", out, 8));
    EXPECT_EQ(1u, marked->GetByteCount(L"a"));

    Ref<UEncoder> fresh(marked->CreateEncoder());
    EXPECT_EQ(L"ulOutputSize|Buffer is too small.", Thrown([&] { fresh->GetBytes(L"a", 1, out, 2, 1); }));
}

TEST(EncodingBehaviour, InvalidBytesWithTheThrowFlag)
{
    Ref<UUTF8Encoding> strict(UUTF8Encoding::Create(0, 1));
    const Bytes bytes = ToBytes({0x41, 0xFF, 0x42});
    Ref<UDecoder> decoder(strict->CreateDecoder());
    EXPECT_EQ(L"pbyInput|Invalid sequence of bytes.", Thrown([&] { Decode(decoder.Get(), bytes, 1); }));
    wchar_t out[8];
    EXPECT_EQ(L"pbyInput|Detected an invalid sequence of bytes.",
              Thrown([&] { strict->GetChars(bytes.data(), 3, out, 8); }));
    EXPECT_EQ(L"pbyInput|Detected an invalid sequence of bytes.", Thrown([&] { strict->GetString(bytes.data(), 3); }));
    // Values that are not characters still go to the fallback.
    EXPECT_EQ(L"?", DecodeAll(strict.Get(), ToBytes({0xED, 0xA0, 0x80})));

    EXPECT_EQ(L"pbyInput|Argument 'pbyInput' must not be NULL.", Thrown([&] { strict->GetChars(nullptr, 1, out, 8); }));
    EXPECT_EQ(L"pwcOutput|Argument 'pwcOutput' must not be NULL.",
              Thrown([&] { strict->GetChars(bytes.data(), 1, nullptr, 8); }));
}

TEST(EncodingBehaviour, UnpairedSurrogatesInTheEncoder)
{
    Ref<UUTF8Encoding> lenient(UUTF8Encoding::Create());
    Ref<UEncoder> encoder(lenient->CreateEncoder());
    // Dropped: a high surrogate without its low half, and (the same treatment) a lone low one.
    EXPECT_EQ(ToBytes({0x41, 0x42}), Encode(encoder.Get(), std::wstring(L"\xD83D") + L"A\xDE00" + L"B", 1));
    EXPECT_EQ(ToBytes({0x41}), Encode(encoder.Get(), L"A\xD83D", 1));

    Ref<UUTF8Encoding> strict(UUTF8Encoding::Create(0, 1));
    Ref<UEncoder> strictEncoder(strict->CreateEncoder());
    EXPECT_EQ(L"pwcInput|Invalid character sequence detected.",
              Thrown([&] { Encode(strictEncoder.Get(), std::wstring(L"\xD83D") + L"A", 1); }));
    strictEncoder->Reset();
    EXPECT_EQ(L"pwcInput|Invalid character sequence detected.",
              Thrown([&] { Encode(strictEncoder.Get(), L"\xDE00", 1); }));
}

TEST(EncodingBehaviour, ReplacementAndExceptionFallbacks)
{
    Ref<UASCIIEncoding> ascii(UASCIIEncoding::Create());
    EXPECT_STREQ(L"ASCII", ascii->GetName());
    unsigned char out[16];
    ASSERT_EQ(3u, ascii->GetBytes((std::wstring(L"a\xE9") + L"b").c_str(), out, 16));
    EXPECT_EQ(ToBytes({0x61, 0x3F, 0x62}), Bytes(out, out + 3));
    EXPECT_EQ(L"a?b", DecodeAll(ascii.Get(), ToBytes({0x61, 0x3F, 0x62})));
    EXPECT_EQ(L"ab", DecodeAll(ascii.Get(), ToBytes({0x61, 0xE9, 0x62}))) << "invalid bytes are skipped";
    EXPECT_EQ(1u, ascii->GetBytes(L"\xD83D\xDE00", out, 16)) << "one code point, one replacement";

    Ref<UEncoderExceptionFallback> encoderThrows(UEncoderExceptionFallback::Create());
    ascii->SetEncoderFallback(encoderThrows.Get());
    EXPECT_EQ(L"|Encoder Exception Fallback", Thrown([&] { ascii->GetBytes(L"\xE9", out, 16); }));
    EXPECT_THROW(ascii->GetByteCount(L"\xE9"), UEncoderFallbackException);
    EXPECT_EQ(10u, ascii->GetMaxByteCount(10));

    Ref<UUTF8Encoding> utf8(UUTF8Encoding::Create());
    EXPECT_STREQ(L"UTF-8", utf8->GetName());
    EXPECT_EQ(33u, utf8->GetMaxByteCount(10));
    EXPECT_EQ(10u, utf8->GetMaxCharCount(10));
    Ref<UDecoderExceptionFallback> decoderThrows(UDecoderExceptionFallback::Create());
    utf8->SetDecoderFallback(decoderThrows.Get());
    EXPECT_EQ(L"|Decoder Exception Fallback", Thrown([&] { DecodeAll(utf8.Get(), ToBytes({0xED, 0xA0, 0x80})); }));
    EXPECT_THROW(DecodeAll(utf8.Get(), ToBytes({0xF4, 0x90, 0x80, 0x80})), UDecoderFallbackException);

    // A longer replacement scales the bounds; an empty one drops the value.
    Ref<UDecoderReplacementFallback> longer(UDecoderReplacementFallback::Create(L"[bad]"));
    utf8->SetDecoderFallback(longer.Get());
    EXPECT_EQ(50u, utf8->GetMaxCharCount(10));
    EXPECT_EQ(L"x[bad]y", DecodeAll(utf8.Get(), ToBytes({0x78, 0xED, 0xA0, 0x80, 0x79})));
    Ref<UDecoderReplacementFallback> empty(UDecoderReplacementFallback::Create(L""));
    utf8->SetDecoderFallback(empty.Get());
    EXPECT_EQ(L"xy", DecodeAll(utf8.Get(), ToBytes({0x78, 0xED, 0xA0, 0x80, 0x79})));
    Ref<UEncoderReplacementFallback> wide(UEncoderReplacementFallback::Create(L"<\xD83D\xDE00>"));
    Ref<UUTF8Encoding> other(UUTF8Encoding::Create());
    other->SetEncoderFallback(wide.Get());
    EXPECT_EQ(4u * 3 + 3, other->GetMaxByteCount(1));
}

TEST(EncodingBehaviour, MalformedReplacementsAndMessages)
{
    Ref<UUTF8Encoding> utf8(UUTF8Encoding::Create());
    Ref<UDecoderReplacementFallback> loneHigh(UDecoderReplacementFallback::Create(L"\xD800"));
    utf8->SetDecoderFallback(loneHigh.Get());
    EXPECT_EQ(L"|Invalid character sequence in encoding fallback.", Thrown([&] {
                  DecodeAll(utf8.Get(), ToBytes({0xED, 0xA0, 0x80}));
              }));

    Ref<UASCIIEncoding> ascii(UASCIIEncoding::Create());
    unsigned char out[16];
    Ref<UEncoderReplacementFallback> loneLow(UEncoderReplacementFallback::Create(L"\xDC00"));
    ascii->SetEncoderFallback(loneLow.Get());
    EXPECT_EQ(L"|Invalid character sequence in fallback string detected.",
              Thrown([&] { ascii->GetBytes(L"\xE9", out, 16); }));
    Ref<UEncoderReplacementFallback> notAscii(UEncoderReplacementFallback::Create(L"\xFC"));
    ascii->SetEncoderFallback(notAscii.Get());
    EXPECT_EQ(L"|Encoding fallback string failed.", Thrown([&] { ascii->GetBytes(L"\xE9", out, 16); }));

    // The two null-fallback messages differ by the full stop; both are kept as they are.
    EXPECT_EQ(L"pFallback|Argument 'pFallback' must not be NULL", Thrown([&] { ascii->SetEncoderFallback(nullptr); }));
    EXPECT_EQ(L"pFallback|Argument 'pFallback' must not be NULL.", Thrown([&] { ascii->SetDecoderFallback(nullptr); }));

    wchar_t chars[2];
    Ref<UDecoder> decoder(utf8->CreateDecoder());
    EXPECT_EQ(L"ulOutputSize|Output buffer is too small.",
              Thrown([&] { decoder->GetChars(ToBytes({0x41}).data(), 1, nullptr, 0, 1); }));
    Ref<UEncoder> encoder(utf8->CreateEncoder());
    EXPECT_EQ(L"ulOutputSize|Buffer is too small.", Thrown([&] { encoder->GetBytes(L"A", 1, nullptr, 0, 1); }));
    EXPECT_EQ(L"ulOutputSize|Output buffer is too small.", Thrown([&] {
                  utf8->GetChars(ToBytes({0xF0, 0x9F, 0x98, 0x80}).data(), 4, chars, 1);
              }));
    EXPECT_EQ(L"ulOutputSize|Buffer is too small.", Thrown([&] { utf8->GetBytes(L"\xE9", out, 1); }));
    EXPECT_EQ(1u, loneLow->GetRefCount() + 0 * ascii->GetRefCount()) << "the encoding released the old fallback";
}

TEST(EncodingBehaviour, ReplacementBufferReadsOutItsText)
{
    Ref<UEncoderReplacementFallback> fallback(UEncoderReplacementFallback::Create(L"xyz"));
    EXPECT_EQ(L"xyz", std::wstring(fallback->GetDefaultString().GetBuffer()));
    Ref<UEncoderFallbackBuffer> buffer(fallback->CreateFallbackBuffer());
    EXPECT_EQ(0u, buffer->GetRemaining());
    EXPECT_EQ(1, buffer->Fallback(0xE9));
    EXPECT_EQ(L'x', buffer->GetNextChar());
    unsigned long length = 0;
    EXPECT_EQ(L"yz", std::wstring(buffer->GetBuffer(&length)));
    EXPECT_EQ(2u, length);
    EXPECT_EQ(1, buffer->MovePrevious());
    EXPECT_EQ(3u, buffer->GetRemaining());
    EXPECT_EQ(0, buffer->MovePrevious());
    buffer->Reset();
    EXPECT_EQ(0u, buffer->GetRemaining());
    EXPECT_EQ(L'\0', buffer->GetNextChar());

    Ref<UDecoderFallback> copy(UDecoderReplacementFallback::Create(L"ab")->Clone());
    EXPECT_EQ(2u, copy->GetMaxCharCount());
    Ref<UDecoderReplacementFallback> blank(UDecoderReplacementFallback::Create(L""));
    Ref<UDecoderFallbackBuffer> blankBuffer(blank->CreateFallbackBuffer());
    EXPECT_EQ(0, blankBuffer->Fallback(0xD800));
}

// Convert fills what it can and keeps the rest for the next call; the pieces add up to the
// one-call result.
TEST(EncodingBehaviour, ConvertWorksThroughSmallOutputs)
{
    Ref<UUTF8Encoding> utf8(UUTF8Encoding::Create());
    std::mt19937 random(11);
    const std::wstring text = RandomValidText(random, 400);
    Bytes bytes(utf8->GetMaxByteCount(static_cast<unsigned long>(text.size())));
    bytes.resize(utf8->GetBytes(text.data(), static_cast<unsigned long>(text.size()), bytes.data(),
                                static_cast<unsigned long>(bytes.size())));

    for (unsigned long room : {2ul, 3ul, 7ul, 64ul})
    {
        Ref<UDecoder> decoder(utf8->CreateDecoder());
        EXPECT_EQ("", Mismatch(text, ConvertAll<std::wstring>(decoder.Get(), bytes, 5, room))) << "room " << room;
        Ref<UEncoder> encoder(utf8->CreateEncoder());
        EXPECT_EQ("", Mismatch(bytes, ConvertAll<Bytes>(encoder.Get(), text, 3, room + 3))) << "room " << room;
    }

    // Incomplete input is used up but leaves the conversion incomplete.
    Ref<UDecoder> decoder(utf8->CreateDecoder());
    wchar_t out[4];
    unsigned long used = 0, written = 0;
    int completed = 1;
    decoder->Convert(ToBytes({0x41, 0xE2, 0x82}).data(), 3, out, 4, 0, &used, &written, &completed);
    EXPECT_EQ(3u, used);
    EXPECT_EQ(1u, written);
    EXPECT_EQ(0, completed);
    decoder->Convert(nullptr, 0, out, 4, 1, &used, &written, &completed);
    EXPECT_EQ(0u, written);
    EXPECT_EQ(1, completed);
    EXPECT_EQ(L"ulOutputSize|Output buffer is too small.", Thrown([&] {
                  decoder->Convert(ToBytes({0xF0, 0x9F, 0x98, 0x80}).data(), 4, out, 1, 1, &used, &written, &completed);
              }));
    decoder->Convert(ToBytes({0x41, 0xF0, 0x9F, 0x98, 0x80}).data(), 5, out, 2, 1, &used, &written, &completed);
    EXPECT_EQ(1u, used);
    EXPECT_EQ(1u, written);
    EXPECT_EQ(0, completed);

    Ref<UEncoder> encoder(utf8->CreateEncoder());
    unsigned char bytesOut[8];
    encoder->Convert(L"\xD83D", 1, bytesOut, 8, 0, &used, &written, &completed);
    EXPECT_EQ(1u, used);
    EXPECT_EQ(0, completed) << "a high surrogate is pending";
    EXPECT_EQ(L"ulOutputSize|Buffer is too small.",
              Thrown([&] { encoder->Convert(L"\xDE00", 1, bytesOut, 3, 0, &used, &written, &completed); }))
        << "no progress at all is possible";
    encoder->Convert(L"\xDE00", 1, bytesOut, 4, 0, &used, &written, &completed);
    EXPECT_EQ(4u, written);
    EXPECT_EQ(1, completed);
}
