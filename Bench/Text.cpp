// UTF-8 conversions against Windows' own, the stream reader's whole-text read against a plain
// conversion of the same bytes, and string builder appends against std::wstring.
#include "BenchReport.h"

#include <Oskal/Lib/IO/UFileStream.h>
#include <Oskal/Lib/IO/UStreamReader.h>
#include <Oskal/Lib/Text/UUTF8Encoding.h>
#include <Oskal/Lib/UStringBuilder.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

using namespace Oskal::Lib;
using OskalBench::BestOf;
using OskalBench::Report;

namespace
{

const size_t kTextBytes = 64u << 20;
const int kRuns = 3;

void AppendUtf8(std::vector<unsigned char>& bytes, unsigned long cp)
{
    if (cp < 0x80)
        bytes.push_back(static_cast<unsigned char>(cp));
    else if (cp < 0x800)
    {
        bytes.push_back(static_cast<unsigned char>(0xC0 | (cp >> 6)));
        bytes.push_back(static_cast<unsigned char>(0x80 | (cp & 0x3F)));
    }
    else if (cp < 0x10000)
    {
        bytes.push_back(static_cast<unsigned char>(0xE0 | (cp >> 12)));
        bytes.push_back(static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F)));
        bytes.push_back(static_cast<unsigned char>(0x80 | (cp & 0x3F)));
    }
    else
    {
        bytes.push_back(static_cast<unsigned char>(0xF0 | (cp >> 18)));
        bytes.push_back(static_cast<unsigned char>(0x80 | ((cp >> 12) & 0x3F)));
        bytes.push_back(static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F)));
        bytes.push_back(static_cast<unsigned char>(0x80 | (cp & 0x3F)));
    }
}

// Printable ASCII words and punctuation, like source text or markup.
std::vector<unsigned char> AsciiText()
{
    std::mt19937 random(1);
    std::vector<unsigned char> bytes;
    bytes.reserve(kTextBytes + 8);
    while (bytes.size() < kTextBytes)
        bytes.push_back(static_cast<unsigned char>(random() % 16 == 0 ? ' ' : 0x21 + random() % 0x5E));
    bytes.resize(kTextBytes);
    return bytes;
}

// Short ASCII runs between characters of two, three and four bytes, roughly a third of the
// bytes each in ASCII, two-byte and three-byte forms, the rest four-byte.
std::vector<unsigned char> MixedText()
{
    std::mt19937 random(2);
    std::vector<unsigned char> bytes;
    bytes.reserve(kTextBytes + 8);
    while (bytes.size() < kTextBytes - 4)
    {
        unsigned kind = random() % 10;
        if (kind < 4)
        {
            for (unsigned n = 1 + random() % 6; n > 0; --n)
                bytes.push_back(static_cast<unsigned char>(0x20 + random() % 0x5F));
        }
        else if (kind < 7)
            AppendUtf8(bytes, 0x80 + random() % (0x800 - 0x80));
        else if (kind < 9)
        {
            unsigned long cp;
            do
                cp = 0x800 + random() % (0x10000 - 0x800);
            while ((cp >= 0xD800 && cp <= 0xDFFF) || cp == 0xFEFF);
            AppendUtf8(bytes, cp);
        }
        else
            AppendUtf8(bytes, 0x10000 + random() % 0x100000);
    }
    while (bytes.size() < kTextBytes)
        bytes.push_back('x');
    return bytes;
}

double MBps(size_t bytes, double seconds)
{
    return static_cast<double>(bytes) / (1024.0 * 1024.0) / seconds;
}

void BenchConversions(const char* label, const std::vector<unsigned char>& bytes, Text::UEncoding* utf8)
{
    const int byteCount = static_cast<int>(bytes.size());
    const char* input = reinterpret_cast<const char*>(bytes.data());
    std::vector<wchar_t> wide(bytes.size() + 1);
    int units = MultiByteToWideChar(CP_UTF8, 0, input, byteCount, wide.data(), static_cast<int>(wide.size()));

    unsigned long ours = 0;
    int theirs = 0;
    double osDecode = BestOf(kRuns, [&] {
        theirs = MultiByteToWideChar(CP_UTF8, 0, input, byteCount, wide.data(), static_cast<int>(wide.size()));
    });
    double libDecode = BestOf(kRuns, [&] {
        ours = utf8->GetChars(bytes.data(), static_cast<unsigned long>(bytes.size()), wide.data(),
                              static_cast<unsigned long>(wide.size()));
    });
    if (static_cast<int>(ours) != theirs)
        std::printf("# decode mismatch: %lu vs %d units\n", ours, theirs);
    std::string name = std::string("utf8.decode.") + label;
    Report(name.c_str(), MBps(bytes.size(), libDecode), "MB/s", "MultiByteToWideChar", MBps(bytes.size(), osDecode));

    std::vector<unsigned char> out(bytes.size() + 16);
    double osEncode = BestOf(kRuns, [&] {
        theirs = WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, reinterpret_cast<char*>(out.data()),
                                     static_cast<int>(out.size()), nullptr, nullptr);
    });
    double libEncode = BestOf(kRuns, [&] {
        ours = utf8->GetBytes(wide.data(), static_cast<unsigned long>(units), out.data(),
                              static_cast<unsigned long>(out.size()));
    });
    if (static_cast<int>(ours) != theirs)
        std::printf("# encode mismatch: %lu vs %d bytes\n", ours, theirs);
    name = std::string("utf8.encode.") + label;
    Report(name.c_str(), MBps(bytes.size(), libEncode), "MB/s", "WideCharToMultiByte", MBps(bytes.size(), osEncode));
}

void BenchReader(const char* name, const std::vector<unsigned char>& bytes, Text::UEncoding* utf8)
{
    wchar_t directory[MAX_PATH], path[MAX_PATH];
    GetTempPathW(MAX_PATH, directory);
    GetTempFileNameW(directory, L"obt", 0, path);
    {
        IO::UFileStream file;
        file.Open(path, IO::eFileOpenMode_CreateAlways, IO::eFileAccessMode_ReadWrite, IO::eFileShareMode_None);
        file.Write(bytes.data(), static_cast<long>(bytes.size()));
    }
    unsigned long lengthRead = 0, lengthString = 0;
    double whole = BestOf(kRuns, [&] {
        IO::UFileStream file;
        file.Open(path, IO::eFileOpenMode_OpenExisting, IO::eFileAccessMode_Read, IO::eFileShareMode_Read);
        IO::UStreamReader reader(&file, utf8);
        lengthRead = reader.ReadToEnd().GetLength();
    });
    double plain = BestOf(kRuns, [&] {
        lengthString = utf8->GetString(bytes.data(), static_cast<unsigned long>(bytes.size())).GetLength();
    });
    DeleteFileW(path);
    if (lengthRead != lengthString)
        std::printf("# reader mismatch: %lu vs %lu units\n", lengthRead, lengthString);
    Report(name, MBps(bytes.size(), whole), "MB/s", "GetString", MBps(bytes.size(), plain));
}

// The builder grows by a fixed step (128 units), so the total copying grows with the square of
// the text; one million appends would take minutes. The figure is taken at a size that runs in
// well under a second, and a second size shows how the cost per append grows.
double BuilderSeconds(const std::vector<std::wstring>& pieces, const std::vector<int>& order, int appends,
                      unsigned long* pulLength)
{
    return BestOf(kRuns, [&] {
        UStringBuilder text;
        for (int i = 0; i < appends; ++i)
            text.Append(pieces[order[i]].c_str(), static_cast<unsigned long>(pieces[order[i]].size()));
        *pulLength = text.GetLength();
    });
}

void BenchBuilder()
{
    const int kAppends = 1000000;
    std::mt19937 random(3);
    std::vector<std::wstring> pieces;
    for (int i = 0; i < 64; ++i)
        pieces.push_back(std::wstring(1 + random() % 12, static_cast<wchar_t>(L'a' + i % 26)));
    std::vector<int> order(kAppends);
    for (int& index : order)
        index = static_cast<int>(random() % pieces.size());

    unsigned long ours = 0;
    size_t theirs = 0;
    double half = BuilderSeconds(pieces, order, kAppends / 2, &ours);
    double builder = BuilderSeconds(pieces, order, kAppends, &ours);
    double standard = BestOf(kRuns, [&] {
        std::wstring text;
        for (int index : order)
            text.append(pieces[index]);
        theirs = text.size();
    });
    std::printf("# builder.append: %d appends %.1f ns each, %d appends %.1f ns each\n", kAppends / 2,
                half * 2e9 / kAppends, kAppends, builder * 1e9 / kAppends);
    if (ours != theirs)
        std::printf("# builder mismatch: %lu vs %u units\n", ours, static_cast<unsigned>(theirs));
    std::printf("# std::wstring::append: %.1f ns each\n", standard * 1e9 / kAppends);
    Report("builder.append", kAppends / builder, "appends/s", "std::wstring::append", kAppends / standard);
}

} // namespace

int main()
{
    Text::UUTF8Encoding* utf8 = Text::UUTF8Encoding::Create();
    {
        std::vector<unsigned char> ascii = AsciiText();
        BenchConversions("ascii", ascii, utf8);
    }
    {
        std::vector<unsigned char> mixed = MixedText();
        BenchConversions("mixed", mixed, utf8);
        BenchReader("reader.readtoend", mixed, utf8);
    }
    {
        std::vector<unsigned char> ascii = AsciiText();
        BenchReader("reader.readtoend.ascii", ascii, utf8);
    }
    BenchBuilder();
    utf8->Release();
    return 0;
}
