// XML reading node by node against raw expat parsing the same bytes in one call, and XML
// writing against the stream writer writing the same text unstructured.
#include "BenchReport.h"

#include <Oskal/Lib/IO/UStream.h>
#include <Oskal/Lib/IO/UStreamWriter.h>
#include <Oskal/Lib/Xml/UXmlReader.h>
#include <Oskal/Lib/Xml/UXmlWriter.h>

#include <expat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

using namespace Oskal::Lib;
using OskalBench::BestOf;
using OskalBench::Report;

namespace
{

const size_t kDocumentBytes = 32u << 20;
const int kRuns = 5;

// Best times of f and of g, run alternately, so that a change in the machine's load while one
// of them runs does not tilt their ratio.
template <typename F, typename G> std::pair<double, double> BestOfAlternating(int runs, F f, G g)
{
    double bestF = 1e30, bestG = 1e30;
    for (int i = 0; i < runs; ++i)
    {
        bestF = std::min(bestF, BestOf(1, f));
        bestG = std::min(bestG, BestOf(1, g));
    }
    return {bestF, bestG};
}

class MemoryStream : public IO::UStream
{
public:
    MemoryStream(const char* pData, size_t size) : m_pData(pData), m_size(size) {}

    int CanRead() const override { return 1; }
    int CanWrite() const override { return 0; }
    int CanSeek() const override { return 0; }
    void Close() override {}
    void Flush() override {}
    long long GetLength() const override { return static_cast<long long>(m_size); }
    long long GetPosition() const override { return static_cast<long long>(m_position); }
    int IsDataAvailable() const override { return m_position < m_size ? 1 : 0; }
    long Read(void* pvBuffer, long lCount) override
    {
        size_t n = m_size - m_position;
        if (n > static_cast<size_t>(lCount))
            n = static_cast<size_t>(lCount);
        std::memcpy(pvBuffer, m_pData + m_position, n);
        m_position += n;
        return static_cast<long>(n);
    }
    long long Seek(long long, IO::USeekOrigin) override { return 0; }
    void SetLength(long long) override {}
    void SetPosition(long long) override {}
    void Write(const void*, long) override {}

private:
    const char* m_pData;
    size_t m_size;
    size_t m_position = 0;
};

// Swallows and counts what is written.
class CountingStream : public IO::UStream
{
public:
    int CanRead() const override { return 0; }
    int CanWrite() const override { return 1; }
    int CanSeek() const override { return 0; }
    void Close() override {}
    void Flush() override {}
    long long GetLength() const override { return m_count; }
    long long GetPosition() const override { return m_count; }
    int IsDataAvailable() const override { return 0; }
    long Read(void*, long) override { return 0; }
    long long Seek(long long, IO::USeekOrigin) override { return 0; }
    void SetLength(long long) override {}
    void SetPosition(long long) override {}
    void Write(const void*, long lCount) override { m_count += lCount; }

    long long m_count = 0;
};

// A record-style document: elements with attributes and text, nested two levels.
std::string MakeDocument()
{
    std::string document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<catalog>\r\n";
    char record[512];
    for (unsigned long i = 0; document.size() < kDocumentBytes - 512; ++i)
    {
        std::snprintf(record, sizeof(record),
                      "  <item id=\"%lu\" kind=\"k%lu\">\r\n    <name>Item number %lu &amp; more</name>\r\n"
                      "    <price>%lu.%02lu</price>\r\n    <!-- note %lu -->\r\n  </item>\r\n",
                      i, i % 7, i, i % 1000, i % 100, i);
        document += record;
    }
    document += "</catalog>";
    return document;
}

void XMLCALL NoStart(void*, const XML_Char*, const XML_Char**) {}
void XMLCALL NoEnd(void*, const XML_Char*) {}
void XMLCALL NoText(void*, const XML_Char*, int) {}

struct SuspendingParser
{
    XML_Parser parser;
    static void Suspend(void* pv)
    {
        XML_ParsingStatus status;
        XML_GetParsingStatus(static_cast<SuspendingParser*>(pv)->parser, &status);
        if (status.parsing == XML_PARSING)
            XML_StopParser(static_cast<SuspendingParser*>(pv)->parser, XML_TRUE);
    }
    static void XMLCALL Start(void* pv, const XML_Char*, const XML_Char**) { Suspend(pv); }
    static void XMLCALL End(void* pv, const XML_Char*) { Suspend(pv); }
    static void XMLCALL Comment(void* pv, const XML_Char*) { Suspend(pv); }
};

// Raw expat fed 512 bytes at a time, optionally suspended after every node (element start and
// end tags, comments) as the reader does: the cost of the reader's driving scheme without the
// reader.
double ExpatInPieces(const std::string& document, bool bSuspend)
{
    return BestOf(3, [&] {
        SuspendingParser self;
        self.parser = XML_ParserCreateNS(nullptr, 0x0C);
        XML_SetReturnNSTriplet(self.parser, 1);
        XML_SetUserData(self.parser, &self);
        if (bSuspend)
        {
            XML_SetElementHandler(self.parser, SuspendingParser::Start, SuspendingParser::End);
            XML_SetCommentHandler(self.parser, SuspendingParser::Comment);
        }
        else
            XML_SetElementHandler(self.parser, NoStart, NoEnd);
        XML_SetCharacterDataHandler(self.parser, NoText);
        size_t position = 0;
        for (;;)
        {
            void* buffer = XML_GetBuffer(self.parser, 512);
            const size_t n = document.size() - position < 512 ? document.size() - position : 512;
            std::memcpy(buffer, document.data() + position, n);
            position += n;
            XML_Status status = XML_ParseBuffer(self.parser, static_cast<int>(n), n == 0);
            while (status == XML_STATUS_SUSPENDED)
                status = XML_ResumeParser(self.parser);
            if (status == XML_STATUS_ERROR)
            {
                std::printf("expat failed\n");
                break;
            }
            if (n == 0)
                break;
        }
        XML_ParserFree(self.parser);
    });
}

// Raw expat in one call on a buffer that was allocated and filled before the clock starts: the
// reference without the allocation of a buffer for the whole document, which the reader never
// makes.
double ExpatPrefilled(const std::string& document)
{
    double best = 1e30;
    for (int i = 0; i < 3; ++i)
    {
        XML_Parser parser = XML_ParserCreateNS(nullptr, 0x0C);
        XML_SetReturnNSTriplet(parser, 1);
        XML_SetElementHandler(parser, NoStart, NoEnd);
        XML_SetCharacterDataHandler(parser, NoText);
        void* buffer = XML_GetBuffer(parser, static_cast<int>(document.size()));
        std::memcpy(buffer, document.data(), document.size());
        best = std::min(best, BestOf(1, [&] {
                            if (XML_ParseBuffer(parser, static_cast<int>(document.size()), 1) != XML_STATUS_OK)
                                std::printf("expat failed\n");
                        }));
        XML_ParserFree(parser);
    }
    return best;
}

void BenchRead(bool bDetail)
{
    const std::string document = MakeDocument();
    const double mb = static_cast<double>(document.size()) / 1e6;

    unsigned long long check = 0;
    const auto times = BestOfAlternating(
        kRuns,
        [&] {
            MemoryStream stream(document.data(), document.size());
            Xml::UXmlReader reader(&stream);
            while (reader.Read())
                check += reader.GetName().GetLength() + reader.GetValue().GetLength() + reader.GetAttributeCount();
        },
        [&] {
            XML_Parser parser = XML_ParserCreateNS(nullptr, 0x0C);
            XML_SetReturnNSTriplet(parser, 1);
            XML_SetElementHandler(parser, NoStart, NoEnd);
            XML_SetCharacterDataHandler(parser, NoText);
            if (XML_Parse(parser, document.data(), static_cast<int>(document.size()), 1) != XML_STATUS_OK)
                std::printf("expat failed\n");
            XML_ParserFree(parser);
        });
    const double readerTime = times.first, expatTime = times.second;
    if (check == 0)
        std::printf("reader saw nothing\n");
    Report("xml.read", mb / readerTime, "MB/s", "expat.parse", mb / expatTime);
    if (bDetail)
    {
        std::printf("  expat in 512-byte pieces: %.2f MB/s\n", mb / ExpatInPieces(document, false));
        std::printf("  expat in 512-byte pieces, suspended per node: %.2f MB/s\n", mb / ExpatInPieces(document, true));
        std::printf("  expat in one call on a buffer filled beforehand: %.2f MB/s\n", mb / ExpatPrefilled(document));
    }
}

void BenchWrite()
{
    // The reference writes the same text that the XML writer produces, one piece per line.
    const unsigned long records = 300000;
    std::vector<std::wstring> lines;
    lines.push_back(L"<catalog>");
    wchar_t line[256];
    for (unsigned long i = 0; i < records; ++i)
    {
        std::swprintf(line, 256, L"  <item id=\"%lu\" kind=\"k%lu\">", i, i % 7);
        lines.push_back(line);
        std::swprintf(line, 256, L"    <name>Item number %lu &amp; more</name>", i);
        lines.push_back(line);
        std::swprintf(line, 256, L"    <price>%lu</price>", i % 1000);
        lines.push_back(line);
        lines.push_back(L"  </item>");
    }
    lines.push_back(L"</catalog>");
    // The XML writer gets the same preformatted values.
    std::vector<std::wstring> ids, kinds, names;
    for (unsigned long i = 0; i < records; ++i)
    {
        ids.push_back(std::to_wstring(i));
        kinds.push_back(L"k" + std::to_wstring(i % 7));
        names.push_back(L"Item number " + std::to_wstring(i) + L" & more");
    }

    long long xmlBytes = 0, plainBytes = 0;
    const auto times = BestOfAlternating(
        kRuns,
        [&] {
            CountingStream stream;
            Xml::UXmlWriter writer(&stream);
            writer.WriteStartElement(L"catalog");
            for (unsigned long i = 0; i < records; ++i)
            {
                writer.WriteStartElement(L"item");
                writer.WriteAttributeString(L"id", ids[i].c_str());
                writer.WriteAttributeString(L"kind", kinds[i].c_str());
                writer.WriteElementString(L"name", names[i].c_str());
                writer.WriteStartElement(L"price");
                writer.WriteValueU32(i % 1000);
                writer.WriteEndElement();
                writer.WriteEndElement();
            }
            writer.Close();
            xmlBytes = stream.m_count;
        },
        [&] {
            CountingStream stream;
            IO::UStreamWriter writer(&stream);
            for (size_t i = 0; i < lines.size(); ++i)
            {
                if (i != 0)
                    writer.WriteNewLine();
                writer.Write(lines[i].c_str(), static_cast<unsigned long>(lines[i].size()));
            }
            writer.Close();
            plainBytes = stream.m_count;
        });
    const double writerTime = times.first, plainTime = times.second;
    if (xmlBytes != plainBytes + 3) // the XML writer's UTF-8 starts with a byte-order mark
        std::printf("xml.write: %lld bytes, reference %lld bytes\n", xmlBytes, plainBytes);
    Report("xml.write", static_cast<double>(xmlBytes) / 1e6 / writerTime, "MB/s", "streamwriter.write",
           static_cast<double>(plainBytes) / 1e6 / plainTime);
}

// Nanoseconds per call of single writer steps, to see where the writer's time goes.
void WriterDetail()
{
    const unsigned long n = 200000;
    auto time = [&](const char* what, const std::function<void(Xml::UXmlWriter&)>& step) {
        const double seconds = BestOf(kRuns, [&] {
            CountingStream stream;
            Xml::UXmlWriter writer(&stream);
            writer.WriteStartElement(L"catalog");
            for (unsigned long i = 0; i < n; ++i)
                step(writer);
            writer.Close();
        });
        std::printf("  %-40s %.0f ns\n", what, seconds / n * 1e9);
    };
    time("start + end element", [](Xml::UXmlWriter& w) { w.WriteStartElement(L"item"), w.WriteEndElement(); });
    time("start + attribute + end", [](Xml::UXmlWriter& w) {
        w.WriteStartElement(L"item"), w.WriteAttributeString(L"id", L"12345"), w.WriteEndElement();
    });
    time("element string", [](Xml::UXmlWriter& w) { w.WriteElementString(L"name", L"Item number 1 & more"); });
    time("string", [](Xml::UXmlWriter& w) { w.WriteString(L"Item number 1 & more"); });
    time("value", [](Xml::UXmlWriter& w) { w.WriteValueU32(123456); });
    time("empty string", [](Xml::UXmlWriter& w) { w.WriteString(L""); });
    time("plain string", [](Xml::UXmlWriter& w) { w.WriteString(L"Item number 1 and more"); });
    time("nothing", [](Xml::UXmlWriter&) {});
    auto plain = BestOf(kRuns, [&] {
        CountingStream stream;
        IO::UStreamWriter writer(&stream);
        for (unsigned long i = 0; i < n; ++i)
            writer.Write(L"    <name>Item number 1 &amp; more</name>", 41);
        writer.Close();
    });
    std::printf("  %-40s %.0f ns\n", "stream writer, one line", plain / n * 1e9);
}

} // namespace

// --detail also prints how the reader's time splits between feeding, suspending and the reader.
int main(int argc, char** argv)
{
    BenchRead(argc > 1 && std::strcmp(argv[1], "--detail") == 0);
    BenchWrite();
    if (argc > 1 && std::strcmp(argv[1], "--detail") == 0)
        WriterDetail();
    return 0;
}
