// The reader on published conformance documents, on documents cut at every buffer position, on
// hostile input, and from skewed stacks (expat calls back into the reader).
#include "Support/SkewedStack.h"
#include "Support/TestFiles.h"
#include "XmlTestSupport.h"

#include <Oskal/Lib/Xml/UXmlException.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <stdexcept>

using namespace XmlTests;

namespace
{

std::string LoadFile(const std::wstring& path, bool* pbFound)
{
    std::string bytes;
    FILE* file = _wfopen(path.c_str(), L"rb");
    *pbFound = file != nullptr;
    for (char chunk[4096]; file != nullptr && !std::feof(file);)
        bytes.append(chunk, std::fread(chunk, 1, sizeof(chunk), file));
    if (file != nullptr)
        std::fclose(file);
    return bytes;
}

// Reads to the end; "" on success, else the exception's message.
std::wstring ReadAll(IO::UStream& stream)
{
    return MessageOf([&] {
        for (UXmlReader reader(&stream); reader.Read();)
        {
        }
    });
}

// The XMLTEST documents that need no external entities: every not-well-formed one fails with
// a library exception, every valid one reads to the end. The catalogue itself is read with the
// reader.
TEST(XmlConformanceTest, XmlTestDocuments)
{
    OSKAL_REQUIRE_TESTDATA();
    const std::wstring folder = OskalTests::TestDataDirectory() + L"\\xmlconf\\xmltest\\";
    bool found = false;
    MemoryStream catalogue(LoadFile(folder + L"xmltest.xml", &found));
    ASSERT_TRUE(found) << "xmltest.xml is missing";
    UXmlReader reader(&catalogue);
    int notWellFormed = 0, valid = 0;
    while (reader.ReadToFollowing(L"TEST"))
    {
        const std::wstring type = reader.GetAttribute(L"TYPE");
        const std::wstring uri = reader.GetAttribute(L"URI");
        // The reader processes namespaces: valid documents that break the namespace rules are left out.
        const wchar_t* namespaces = reader.GetAttribute(L"NAMESPACE");
        const bool namespaceValid = namespaces == nullptr || std::wstring(namespaces) != L"no";
        if (std::wstring(reader.GetAttribute(L"ENTITIES")) != L"none" || (type != L"not-wf" && type != L"valid") ||
            (type == L"valid" && !namespaceValid))
            continue;
        std::wstring path = folder + uri;
        std::replace(path.begin(), path.end(), L'/', L'\\');
        MemoryStream stream(LoadFile(path, &found));
        ASSERT_TRUE(found) << Utf8(uri);
        const std::wstring result = ReadAll(stream);
        ++(type == L"valid" ? valid : notWellFormed);
        EXPECT_EQ(type == L"valid", result.empty()) << Utf8(uri) << ": " << Utf8(result);
    }
    EXPECT_GT(notWellFormed, 150);
    EXPECT_GT(valid, 100);
}

// Multi-byte characters cut by the 512-byte feed at each of their byte positions read the same.
TEST(XmlConformanceTest, BufferBoundaryInsideCharacters)
{
    const std::wstring text = L"\xE9\x20AC\U0001F600x\x7FF\xFFFD\U0010FFFF";
    for (int padding = 0; padding < 24; ++padding)
    {
        // The text starts a little before the first 512-byte boundary and then crosses it.
        MemoryStream stream("<a b='" + std::string(490 + padding, 'p') + "'><c d='" + Utf8(text) + "'/>" +
                            Utf8(text + text) + "</a>");
        UXmlReader reader(&stream);
        ASSERT_TRUE(reader.Read() && reader.Read());
        EXPECT_EQ(text, reader.GetAttribute(L"d")) << padding;
        ASSERT_TRUE(reader.Read() && reader.Read());
        EXPECT_EQ(text + text, reader.GetValue().GetBuffer()) << padding;
    }
}

// Every reading of a document reaches the stream through one 512-byte buffer at a time; the
// callbacks run on whatever stack alignment the caller had.
TEST(XmlConformanceTest, CallbacksOnSkewedStacks)
{
    const std::string document = "<?xml version='1.0'?><!--c--><r xml:lang='x'><?p d?><a b='1'>t&amp;</a><e/></r>";
    const std::vector<std::wstring> expected = Nodes(document);
    OskalTests::RunOnSkewedStacks("UXmlReader callbacks", [&] {
        if (Nodes(document) != expected)
            throw std::runtime_error("node sequence differs");
        MemoryStream bad("<a xml:space='x'/>");
        if (ReadAll(bad) != L"Invalid xml:space attribute value (error in [1,0]).")
            throw std::runtime_error("callback failure not reported");
    });
}

TEST(XmlHostileInputTest, DeepNesting)
{
    const size_t levels = 100000;
    for (const std::string root : {"<a>", "<a xml:lang='a-long-language-tag-that-every-scope-would-copy'>"})
    {
        std::string document = root;
        for (size_t i = 1; i < levels; ++i)
            document += "<a>";
        for (size_t i = 0; i < levels; ++i)
            document += "</a>";
        MemoryStream stream(document);
        UXmlReader reader(&stream);
        unsigned long maxDepth = 0, nodes = 0;
        while (reader.Read())
        {
            ++nodes;
            maxDepth = std::max(maxDepth, reader.GetDepth());
        }
        EXPECT_EQ(2 * levels, nodes);
        EXPECT_EQ(levels - 1, maxDepth);
        // Left unclosed, the same nesting fails cleanly at the end.
        MemoryStream unclosed(document.substr(0, document.size() - 4 * levels));
        EXPECT_EQ(L"Parsing XML failed", ReadAll(unclosed).substr(0, 18));
    }
}

// Each ends in an exception of the library or reads to the end, in bounded time and memory; what
// reads to the end is summed up as its nodes, distinct element name objects and attributes.
TEST(XmlHostileInputTest, Documents)
{
    std::string attributes = "<a", laughs = "<!DOCTYPE l [<!ENTITY l0 'ha'>", colliding = "<r>";
    for (int i = 0; i < 100000; ++i)
        attributes += " n" + std::to_string(i) + "='" + std::to_string(i) + "'";
    for (int i = 1; i <= 9; ++i)
    {
        laughs += "<!ENTITY l" + std::to_string(i) + " '";
        for (int j = 0; j < 10; ++j)
            laughs += "&l" + std::to_string(i - 1) + ";";
        laughs += "'>";
    }
    // Element names that all share one hash in the name table.
    for (unsigned long i = 0; i < 30000; ++i)
        colliding += "<" + Utf8(CollidingName(i)) + "/>";
    const std::pair<std::string, std::wstring> cases[] = {
        {attributes + "/>", L"2 nodes, 1 names, 100000 attributes, last 99999"},
        {laughs + "]><l>&l9;</l>", L"Parsing XML failed (error in [1,"},
        {"<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f '&e;'>]><a>&e;</a>", L"Parsing XML failed (error in [1,"},
        {colliding + "</r>", L"60002 nodes, 30001 names, 0 attributes, last "}};
    for (const auto& c : cases)
    {
        MemoryStream stream(c.first);
        size_t nodes = 0, attributeCount = 0;
        std::set<const UString*> names;
        std::wstring last;
        std::wstring result = MessageOf([&] {
            for (UXmlReader reader(&stream); reader.Read(); ++nodes)
                if (reader.GetNodeType() == eXmlNodeType_Element)
                {
                    names.insert(&reader.GetName());
                    attributeCount += reader.GetAttributeCount();
                    last = reader.HasAttributes() ? reader.GetAttribute(reader.GetAttributeCount() - 1) : L"";
                }
        });
        if (result.empty())
            result = std::to_wstring(nodes) + L" nodes, " + std::to_wstring(names.size()) + L" names, " +
                     std::to_wstring(attributeCount) + L" attributes, last " + last;
        EXPECT_EQ(c.second, result.substr(0, c.second.size())) << c.first.substr(0, 40);
    }
}

// One 50 MB token fed in 512-byte buffers: the patched expat parses it in linear time.
TEST(XmlHostileInputTest, HugeSingleToken)
{
    const size_t size = 50u * 1024 * 1024;
    MemoryStream stream("<a><!--" + std::string(size, 'x') + "--></a>");
    UXmlReader reader(&stream);
    ASSERT_TRUE(reader.Read() && reader.Read());
    EXPECT_EQ(eXmlNodeType_Comment, reader.GetNodeType());
    EXPECT_EQ(size, reader.GetValue().GetLength());
    EXPECT_TRUE(reader.Read() && !reader.Read());
}

} // namespace
