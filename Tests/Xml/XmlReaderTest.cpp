// The XML reader node by node: the node sequences with the kept rules, attributes, navigation,
// content conversion, errors with their positions, reader states and the name table.
#include "XmlTestSupport.h"

#include <Oskal/Lib/UInvalidOperationException.h>
#include <Oskal/Lib/UOverflowException.h>

#include <gtest/gtest.h>

using namespace XmlTests;
using Oskal::Lib::Exceptions::UInvalidOperationException;
using Oskal::Lib::Exceptions::UOverflowException;

namespace
{

// Node lines: "type depth name =value @attribute{namespace}=value".
TEST(XmlReaderTest, NodeSequences)
{
    const std::pair<const char*, std::vector<std::wstring>> cases[] = {
        // An empty element gives its end tag from the same parse step, at the same depth.
        {"<a/>", {L"7 0 a", L"8 0 a"}},
        {"<a>text</a>", {L"7 0 a", L"15 1  =text", L"8 0 a"}},
        // Kept: white-space-only text is dropped.
        {"<a>  \r\n\t</a>", {L"7 0 a", L"8 0 a"}},
        // Kept: text directly before a child element is not delivered.
        {"<a>x<b/>y</a>", {L"7 0 a", L"7 1 b", L"8 1 b", L"15 1  =y", L"8 0 a"}},
        {"<a>\n  <b>1</b>\n  <!--c-->\n  <?p d?>\n</a>",
         {L"7 0 a", L"7 1 b", L"15 2  =1", L"8 1 b", L"3 1  =c", L"13 1 p =d", L"8 0 a"}},
        {"<a>t<!--c-->u</a>", {L"7 0 a", L"15 1  =t", L"3 1  =c", L"15 1  =u", L"8 0 a"}},
        {"<?xml version='1.0' encoding='UTF-8' standalone='no'?><!--c--><a/>",
         {L"17 0 xml =version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"", L"3 0  =c", L"7 0 a", L"8 0 a"}},
        {"<?xml version=\"1.0\"?>\n<a/>", {L"17 0 xml =version=\"1.0\"", L"7 0 a", L"8 0 a"}},
        // Entities, character references and CDATA join the surrounding text.
        {"<!DOCTYPE a [<!ENTITY e 'ntit'>]><a>&lt;&#x41;&e;<![CDATA[<&>]]>&amp;</a>",
         {L"7 0 a", L"15 1  =<Antit<&>&", L"8 0 a"}},
        {"<p:a xmlns:p='urn:p' xmlns='urn:d' p:x='1' y='2' xml:lang='de'><b/></p:a>",
         {L"7 0 p:a @p:x{urn:p}=1 @y{}=2 @xml:lang{http://www.w3.org/XML/1998/namespace}=de", L"7 1 b", L"8 1 b",
          L"8 0 p:a"}},
        {"\xEF\xBB\xBF<a>\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80</a>",
         {L"7 0 a", L"15 1  =\xE9\x20AC\U0001F600", L"8 0 a"}},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(c.second, Nodes(c.first)) << c.first;
    }
}

TEST(XmlReaderTest, NamesAttributesAndScopes)
{
    MemoryStream stream("<r xmlns:p='urn:p' xml:space='preserve' xml:lang='en'>"
                        "<p:e a='1' p:b='2' xml:space='default'/><f/></r>");
    UXmlReader reader(&stream);
    EXPECT_EQ(eXmlReaderState_Initial, reader.GetReaderState());
    EXPECT_EQ(eXmlNodeType_None, reader.GetNodeType());
    ASSERT_TRUE(reader.Read());
    EXPECT_EQ(eXmlSpace_Preserve, reader.GetXmlSpace());
    EXPECT_STREQ(L"en", reader.GetXmlLang().GetBuffer());
    ASSERT_TRUE(reader.Read());
    EXPECT_STREQ(L"p:e", reader.GetName().GetBuffer());
    EXPECT_STREQ(L"urn:p", reader.GetNamespaceURI().GetBuffer());
    EXPECT_EQ(eXmlSpace_Default, reader.GetXmlSpace());
    EXPECT_EQ(3UL, reader.GetAttributeCount());
    EXPECT_STREQ(L"1", reader.GetAttribute(0UL));
    EXPECT_STREQ(L"2", reader.GetAttribute(L"p:b"));
    EXPECT_STREQ(L"2", reader.GetAttribute(L"b", L"urn:p"));
    EXPECT_EQ(nullptr, reader.GetAttribute(L"b"));
    // Names are atomized: the element's namespace and the attribute's are one string object.
    const UString* elementUri = &reader.GetNamespaceURI();
    ASSERT_TRUE(reader.MoveToAttribute(L"b", L"urn:p"));
    EXPECT_EQ(elementUri, &reader.GetNamespaceURI());
    EXPECT_EQ(eXmlNodeType_Attribute, reader.GetNodeType());
    EXPECT_EQ(2UL, reader.GetDepth());
    EXPECT_STREQ(L"2", reader.GetValue().GetBuffer());
    EXPECT_TRUE(reader.MoveToNextAttribute() && reader.MoveToAttribute(L"a") && reader.MoveToElement());
    ASSERT_TRUE(reader.Read()); // the pending end tag
    EXPECT_EQ(eXmlNodeType_EndElement, reader.GetNodeType());
    EXPECT_EQ(eXmlSpace_Preserve, reader.GetXmlSpace());
    ASSERT_TRUE(reader.Read());
    EXPECT_FALSE(reader.MoveToFirstAttribute());
    ASSERT_TRUE(reader.Read() && reader.Read());
    // Kept: at the end the node type is None, and the state stays EndOfFile.
    EXPECT_FALSE(reader.Read());
    EXPECT_EQ(eXmlNodeType_None, reader.GetNodeType());
    EXPECT_EQ(eXmlReaderState_EndOfFile, reader.GetReaderState());
    EXPECT_FALSE(reader.Read());
    reader.Close();
    EXPECT_EQ(eXmlReaderState_Closed, reader.GetReaderState());
    EXPECT_EQ(L"The reader is closed.", MessageOf([&] { reader.Read(); }));
    // Names and scopes stay right when the caller clears or replaces the name table within a
    // document, also for the nodes that were recorded before: the end of an empty element and
    // the end tag behind a text node.
    MemoryStream cleared("<r xml:lang='en'><a/><b>t</b></r>");
    UXmlReader second(&cleared);
    UXmlNameTable& table = second.GetNameTable();
    ASSERT_TRUE(second.Read());
    table.Clear();
    ASSERT_TRUE(second.Read());
    EXPECT_STREQ(L"en", second.GetXmlLang().GetBuffer());
    table.Clear();
    ASSERT_TRUE(second.Read());
    EXPECT_EQ(&table.Add(L"a"), &second.GetName());
    ASSERT_TRUE(second.Read() && second.Read());
    table = UXmlNameTable();
    table.Clear();
    ASSERT_TRUE(second.Read());
    EXPECT_EQ(&table.Add(L"b"), &second.GetName());
    ASSERT_TRUE(second.Read());
    EXPECT_EQ(&table.Add(L"r"), &second.GetName());
}

TEST(XmlReaderTest, Navigation)
{
    const char* document = "<?xml version='1.0'?><!--c--><r xmlns:q='urn:q'><a><b><c/></b></a>"
                           "<q:d>text</q:d><e/><a><x/></a></r>";
    {
        MemoryStream stream(document);
        UXmlReader reader(&stream);
        EXPECT_EQ(eXmlNodeType_Element, reader.MoveToContent());
        EXPECT_STREQ(L"r", reader.GetName().GetBuffer());
        EXPECT_TRUE(reader.ReadToDescendant(L"b"));
        EXPECT_TRUE(reader.ReadToDescendant());
        EXPECT_STREQ(L"c", reader.GetName().GetBuffer());
        EXPECT_FALSE(reader.ReadToDescendant()); // empty element
        EXPECT_TRUE(reader.ReadToFollowing(L"d", L"urn:q"));
        EXPECT_STREQ(L"q:d", reader.GetName().GetBuffer());
        EXPECT_TRUE(reader.ReadToNextSibling(L"a"));
        EXPECT_EQ(1UL, reader.GetDepth());
        EXPECT_FALSE(reader.ReadToNextSibling()); // stops at the parent's end tag
        EXPECT_EQ(eXmlNodeType_EndElement, reader.GetNodeType());
        EXPECT_STREQ(L"r", reader.GetName().GetBuffer());
        EXPECT_FALSE(reader.ReadToFollowing(L"a"));
    }
    {
        MemoryStream stream(document);
        UXmlReader reader(&stream);
        EXPECT_TRUE(reader.ReadToFollowing(L"a"));
        EXPECT_FALSE(reader.ReadToDescendant(L"x")); // gives up at a's end tag
        EXPECT_EQ(eXmlNodeType_EndElement, reader.GetNodeType());
        EXPECT_TRUE(reader.ReadToNextSibling(L"d", L"urn:q"));
        reader.Skip(); // to the end tag at the same depth
        EXPECT_EQ(eXmlNodeType_EndElement, reader.GetNodeType());
        EXPECT_STREQ(L"q:d", reader.GetName().GetBuffer());
        EXPECT_TRUE(reader.ReadToNextSibling());
        EXPECT_STREQ(L"e", reader.GetName().GetBuffer());
    }
}

TEST(XmlReaderTest, Content)
{
    MemoryStream stream("<r><s>a<!--c-->b<?p?>&amp;c</s><t>true</t><f>false</f><n>-2147483648</n>"
                        "<u>0xFFFFFFFF</u><l>-9223372036854775808</l><m>18446744073709551615</m><e/>"
                        "<k><x/></k><z v='12'>tail</z><w>q</w><end>9</end></r>");
    UXmlReader reader(&stream);
    ASSERT_TRUE(reader.Read() && reader.Read());
    EXPECT_STREQ(L"ab&c", reader.ReadElementContentAsString().GetBuffer());
    EXPECT_EQ(1, reader.ReadElementContentAsBoolean());
    EXPECT_EQ(0, reader.ReadElementContentAsBoolean());
    EXPECT_EQ(-2147483647L - 1, reader.ReadElementContentAsSigned32());
    EXPECT_EQ(4294967295UL, reader.ReadElementContentAsUnsigned32());
    EXPECT_EQ(-9223372036854775807LL - 1, reader.ReadElementContentAsSigned64());
    EXPECT_EQ(18446744073709551615ULL, reader.ReadElementContentAsUnsigned64());
    EXPECT_STREQ(L"", reader.ReadElementContentAsString().GetBuffer());
    EXPECT_STREQ(L"k", reader.GetName().GetBuffer());
    EXPECT_EQ(L"Element contains child elements.", MessageOf([&] { reader.ReadElementContentAsString(); }));
    ASSERT_TRUE(reader.ReadToFollowing(L"z"));
    ASSERT_TRUE(reader.MoveToFirstAttribute());
    EXPECT_EQ(12L, reader.ReadContentAsSigned32());
    reader.MoveToElement();
    EXPECT_EQ(L"Current node cannot contain any text.", MessageOf([&] { reader.ReadContentAsString(); }));
    ASSERT_TRUE(reader.Read());
    EXPECT_STREQ(L"tail", reader.ReadContentAsString().GetBuffer());
    EXPECT_EQ(eXmlNodeType_EndElement, reader.GetNodeType());
    reader.ReadEndElement();
    EXPECT_EQ(L"Node is not an element end tag.", MessageOf([&] { reader.ReadEndElement(); }));
    EXPECT_STREQ(L"q", reader.ReadString().GetBuffer());
    EXPECT_EQ(eXmlNodeType_EndElement, reader.GetNodeType());
    ASSERT_TRUE(reader.Read());
    EXPECT_EQ(9UL, reader.ReadElementContentAsUnsigned64());
    EXPECT_EQ(L"Reader is not positioned on an element.", MessageOf([&] { reader.ReadElementContentAsString(); }));
}

// Conversion faults; each element is read past before its text is converted.
TEST(XmlReaderTest, ConversionFaults)
{
    MemoryStream stream("<r><a>True</a><a>2147483648</a><a>-1</a><a>1 </a></r>");
    UXmlReader reader(&stream);
    reader.Read(), reader.Read();
    EXPECT_EQ(L"Value is neither 'true' nor 'false'.", MessageOf([&] { reader.ReadElementContentAsBoolean(); }));
    EXPECT_EQ(L"Parsed integer is out of bounds.", MessageOf([&] { reader.ReadElementContentAsSigned32(); }));
    EXPECT_EQ(L"Invalid integer format.", MessageOf([&] { reader.ReadElementContentAsUnsigned32(); }));
    EXPECT_EQ(L"Invalid integer format.", MessageOf([&] { reader.ReadElementContentAsSigned64(); }));
}

// Parse errors carry expat's line and column and leave the reader in the Error state.
TEST(XmlReaderTest, ErrorsWithPosition)
{
    struct Case
    {
        const char* document;
        int goodNodes;
        const wchar_t* message;
    };
    const Case cases[] = {
        {"<a>", 1, L"Parsing XML failed (error in [1,3])."},
        {"<a>\n<b></a>", 2, L"Parsing XML failed (error in [2,5])."},
        {"", 0, L"Parsing XML failed (error in [1,0])."},
        {"<a/><b/>", 2, L"Parsing XML failed (error in [1,4])."},
        {"<a>\n <b xml:space='keep'/></a>", 1, L"Invalid xml:space attribute value (error in [2,1])."},
        {"<a x='1' x='2'/>", 0, L"Parsing XML failed (error in [1,9])."},
    };
    for (const Case& c : cases)
    {
        MemoryStream stream(c.document);
        UXmlReader reader(&stream);
        for (int i = 0; i < c.goodNodes; ++i)
            ASSERT_TRUE(reader.Read()) << c.document;
        EXPECT_EQ(c.message, MessageOf([&] { reader.Read(); })) << c.document;
        EXPECT_EQ(eXmlReaderState_Error, reader.GetReaderState());
        EXPECT_EQ(L"The reader is in the error state.", MessageOf([&] { reader.Read(); }));
    }
}

TEST(XmlNameTableTest, AtomizesAndTellsCollisionsApart)
{
    UXmlNameTable table;
    const UString& a = table.Add(L"name");
    EXPECT_EQ(&a, &table.Add(L"name"));
    EXPECT_EQ(&a, &table.Add(L"names", 4));
    EXPECT_EQ(&a, &table.Add(L"name\0x", 6));
    EXPECT_EQ(UXmlNameTable::Hash(L"cl", 2), UXmlNameTable::Hash(L"ej", 2));
    EXPECT_NE(&table.Add(L"cl"), &table.Add(L"ej"));

    const unsigned long count = 20000;
    std::vector<const UString*> stored; // all with one hash
    for (unsigned long i = 0; i < count; ++i)
        stored.push_back(&table.Add(CollidingName(i).c_str()));
    for (unsigned long i = 0; i < count; ++i)
    {
        const std::wstring name = CollidingName(i);
        ASSERT_EQ(UXmlNameTable::Hash(L"clclclclcl", 10), UXmlNameTable::Hash(name.c_str(), 10));
        ASSERT_EQ(stored[i], &table.Add(name.c_str())) << i;
    }
    UXmlNameTable copy(table);
    EXPECT_STREQ(L"name", copy.Add(L"name").GetBuffer());
    EXPECT_NE(&a, &copy.Add(L"name"));
    table.Clear();
    EXPECT_STREQ(L"cl", table.Add(L"cl").GetBuffer());
}

} // namespace
