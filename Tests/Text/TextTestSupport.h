// Helpers shared by the text tests: reference holders, random texts, and an independent model of
// the byte-by-byte decoding loop that the fast paths must reproduce.
#pragma once

#include <Oskal/Lib/Internal/ReleasePtr.h>
#include <Oskal/Lib/UReferenceManagement.h>

#include "Support/Thrown.h"

#include <windows.h>

#include <random>
#include <string>
#include <vector>

namespace TextTests
{

template <typename T> using Ref = Oskal::Lib::Internal::ReleasePtr<T>;

typedef std::vector<unsigned char> Bytes;

// Windows' own UTF-8 encoding, the reference the library is held to.
inline Bytes WindowsEncode(const std::wstring& text)
{
    const int length = static_cast<int>(text.size());
    Bytes bytes(WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr));
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, reinterpret_cast<char*>(bytes.data()),
                        static_cast<int>(bytes.size()), nullptr, nullptr);
    return bytes;
}

using OskalTests::Thrown;

inline Bytes ToBytes(std::initializer_list<int> values)
{
    Bytes bytes;
    for (int v : values)
        bytes.push_back(static_cast<unsigned char>(v));
    return bytes;
}

inline void AppendCodePoint(std::wstring& text, unsigned long cp)
{
    if (cp < 0x10000)
        text += static_cast<wchar_t>(cp);
    else
    {
        text += static_cast<wchar_t>(0xD7C0 + (cp >> 10));
        text += static_cast<wchar_t>(0xDC00 + (cp & 0x3FF));
    }
}

// Valid text from all planes: ASCII runs of random length (so runs start and end at every
// alignment) between characters of two, three and four bytes. Never starts with U+FEFF.
inline std::wstring RandomValidText(std::mt19937& random, size_t codePoints)
{
    std::wstring text;
    while (codePoints > 0)
    {
        unsigned long cp;
        switch (random() % 8)
        {
        case 0:
        case 1: {
            size_t run = random() % 40;
            for (size_t i = 0; i < run && codePoints > 0; ++i, --codePoints)
                text += static_cast<wchar_t>(random() % 0x80);
            continue;
        }
        case 2:
            cp = 0x80 + random() % (0x800 - 0x80);
            break;
        case 3:
        case 4:
            do
                cp = 0x800 + random() % (0x10000 - 0x800);
            while (cp >= 0xD800 && cp <= 0xDFFF);
            break;
        case 5:
            cp = 0x10000 + random() % (0x110000 - 0x10000);
            break;
        default:
            cp = random() % 0x80;
            break;
        }
        if (text.empty() && cp == 0xFEFF)
            continue;
        AppendCodePoint(text, cp);
        --codePoints;
    }
    return text;
}

// Bytes that are mostly UTF-8-like but with every kind of damage: stray continuation bytes,
// truncated forms, overlong forms, encoded surrogates, leads F5 to FF.
inline Bytes RandomByteSoup(std::mt19937& random, size_t count)
{
    Bytes bytes;
    while (bytes.size() < count)
    {
        switch (random() % 6)
        {
        case 0:
            bytes.push_back(static_cast<unsigned char>(random() % 0x80));
            break;
        case 1:
            bytes.push_back(static_cast<unsigned char>(0x80 + random() % 0x40));
            break;
        case 2:
            bytes.push_back(static_cast<unsigned char>(0xC0 + random() % 0x40));
            break;
        case 3:
            bytes.push_back(static_cast<unsigned char>(random() % 0x100));
            break;
        default: {
            // A complete form with a random lead class, sometimes with a surrogate value.
            unsigned lead = 0xC0 + random() % 0x38;
            int trails = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
            if (random() % 4 == 0)
                lead = 0xED, trails = 2;
            bytes.push_back(static_cast<unsigned char>(lead));
            for (int i = 0; i < trails; ++i)
                bytes.push_back(static_cast<unsigned char>(0x80 + random() % 0x40));
            break;
        }
        }
    }
    return bytes;
}

// The decoding loop written out byte by byte for one flushed call on a fresh decoder: invalid
// bytes are skipped, an incomplete tail is dropped, a leading U+FEFF is dropped, and values that
// are not characters become the replacement text.
inline std::wstring ModelDecode(const Bytes& bytes, const std::wstring& replacement = L"?")
{
    std::wstring out;
    bool skipIdentifier = true;
    size_t i = 0;
    while (i < bytes.size())
    {
        unsigned lead = bytes[i];
        size_t length;
        unsigned long value;
        if (lead < 0x80)
            length = 1, value = lead;
        else if (lead < 0xE0)
            length = 2, value = (lead & 0x1F) << 6;
        else if (lead < 0xF0)
            length = 3, value = (lead & 0x0F) << 12;
        else if (lead < 0xF8)
            length = 4, value = (lead & 0x07) << 18;
        else
        {
            ++i;
            continue;
        }
        if (bytes.size() - i < length)
            break;
        bool valid = true;
        for (size_t k = 1; k < length; ++k)
        {
            unsigned trail = bytes[i + k];
            if (trail < 0x80 || trail > 0xBF)
                valid = false;
            value |= static_cast<unsigned long>(trail & 0x3F) << (6 * (length - 1 - k));
        }
        if (!valid)
        {
            ++i;
            continue;
        }
        i += length;
        bool first = skipIdentifier;
        skipIdentifier = false;
        if (first && value == 0xFEFF)
            continue;
        if (value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
            out += replacement;
        else
            AppendCodePoint(out, value);
    }
    return out;
}

// "" when equal, else where and how the two sequences first differ (keeps failures readable).
template <typename S> std::string Mismatch(const S& expected, const S& actual)
{
    if (expected == actual)
        return "";
    size_t i = 0;
    while (i < expected.size() && i < actual.size() && expected[i] == actual[i])
        ++i;
    std::string text = "sizes " + std::to_string(expected.size()) + "/" + std::to_string(actual.size()) +
                       ", first difference at " + std::to_string(i) + ":";
    for (size_t k = i; k < i + 6; ++k)
        text += " " +
                (k < expected.size() ? std::to_string(static_cast<unsigned long>(expected[k])) : std::string("-")) +
                "/" + (k < actual.size() ? std::to_string(static_cast<unsigned long>(actual[k])) : std::string("-"));
    return text;
}

} // namespace TextTests
