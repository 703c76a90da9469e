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

TEST(EncodingBehaviour, ReplacementAndExceptionFallbacks)
{
    Ref<UASCIIEncoding> ascii(UASCIIEncoding::Create());
    EXPECT_STREQ(L"ASCII", ascii->GetName());
    unsigned char out[16];
    // U+007F is the last unit the fast run copies; U+0080 already goes to the fallback.
    ASSERT_EQ(5u, ascii->GetBytes((std::wstring(L"a\xE9") + L"b\x7F\x80").c_str(), out, 16));
    EXPECT_EQ(ToBytes({0x61, 0x3F, 0x62, 0x7F, 0x3F}), Bytes(out, out + 5));
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
    EXPECT_EQ(L"pbyInput|Argument 'pbyInput' must not be NULL.",
              Thrown([&] { decoder->GetChars(nullptr, 1, chars, 2, 1); }));
    Ref<UEncoder> encoder(utf8->CreateEncoder());
    EXPECT_EQ(L"ulOutputSize|Buffer is too small.", Thrown([&] { encoder->GetBytes(L"A", 1, nullptr, 0, 1); }));
    EXPECT_EQ(L"ulOutputSize|Output buffer is too small.", Thrown([&] {
                  utf8->GetChars(ToBytes({0xF0, 0x9F, 0x98, 0x80}).data(), 4, chars, 1);
              }));
    EXPECT_EQ(L"ulOutputSize|Buffer is too small.", Thrown([&] { utf8->GetBytes(L"\xE9", out, 1); }));
    EXPECT_EQ(1u, loneLow->GetRefCount() + 0 * ascii->GetRefCount()) << "the encoding released the old fallback";
}
