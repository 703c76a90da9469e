// The XML writer: exact output for every operation and state, the checks with their messages and
// the states they leave, and the deliberate forms that the writer keeps.
#include "XmlTestSupport.h"

#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UInvalidOperationException.h>

#include <gtest/gtest.h>

using namespace XmlTests;
using Oskal::Lib::Exceptions::UArgumentException;
using Oskal::Lib::Exceptions::UInvalidOperationException;

namespace
{

using Body = std::function<void(UXmlWriter&)>;
#define STEPS(...) [](UXmlWriter& w) { __VA_ARGS__; }

// Each case names its steps on the writer w and the exact output.
TEST(XmlWriterTest, ExactOutput)
{
    static const unsigned char bytes[] = {0x00, 0xFF, 0x10, 0xFB, 0xEF};
    const std::pair<Body, const char*> cases[] = {
        {STEPS(w.WriteStartElement(L"a")), "<a />"},
        {STEPS(w.WriteElementString(L"a", L"text")), "<a>text</a>"},
        {STEPS(w.WriteStartElement(L"a"), w.WriteFullEndElement()), "<a></a>"},
        {STEPS(w.WriteStartElement(L"a"), w.WriteStartElement(L"b"), w.WriteElementString(L"c", L"1"),
               w.WriteEndElement(), w.WriteElementString(L"d", L"")),
         "<a>\r\n  <b>\r\n    <c>1</c>\r\n  </b>\r\n  <d></d>\r\n</a>"},
        {STEPS(w.WriteStartDocument(), w.WriteStartElement(L"a")),
         "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<a />"},
        {STEPS(w.SetQuoteChar(L'\''), w.WriteStartDocument(1), w.WriteStartElement(L"a"),
               w.WriteAttributeString(L"x", L"'\"")),
         "<?xml version='1.0' encoding='UTF-8' standalone='yes'?>\r\n<a x='&apos;&quot;' />"},
        {STEPS(w.WriteStartDocument(0)), "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"?>"},
        {STEPS(w.WriteProcessingInstruction(L"xml", L"version=\"1.0\""), w.WriteProcessingInstruction(L"pi", L"data"),
               w.WriteDocType(L"a", L"pub", L"sys", L"<!ENTITY e 'x'>"), w.WriteStartElement(L"a")),
         "<?xml version=\"1.0\"?>\r\n<?pi data?>\r\n<!DOCTYPE a PUBLIC \"pub\" \"sys\" [<!ENTITY e 'x'>]>\r\n<a />"},
        // A system doctype keeps double quotes.
        {STEPS(w.SetQuoteChar(L'\''), w.WriteStartDocument(), w.WriteDocType(L"a", nullptr, L"a.dtd", nullptr)),
         "<?xml version='1.0' encoding='UTF-8'?>\r\n<!DOCTYPE a SYSTEM \"a.dtd\">"},
        {STEPS(w.WriteStartElement(L"a"), w.WriteAttributeString(L"x", L"1"),
               w.WriteAttributeString(L"p", L"y", L"urnz", L"2"), w.WriteStartAttribute(L"z"), w.WriteString(L"3"),
               w.WriteValueI32(-4), w.WriteEndAttribute()),
         "<a xmlns:p=\"urnz\" x=\"1\" p:y=\"2\" z=\"3-4\" />"},
        // Namespaces: prefixed, default, inherited, generated.
        {STEPS(w.WriteStartElement(L"p", L"a", L"urnp"), w.WriteStartElement(L"p", L"b", L"urnp"),
               w.WriteStartElement(L"c", L"urnd"), w.WriteAttributeString(L"x", L"urnq", L"1"),
               w.WriteAttributeString(L"y", L"urnp", L"2"), w.WriteAttributeString(L"xml", L"lang", nullptr, L"de")),
         "<p:a xmlns:p=\"urnp\">\r\n  <p:b>\r\n    <c xmlns=\"urnd\" xmlns:d3p1=\"urnq\" d3p1:x=\"1\" p:y=\"2\" "
         "xml:lang=\"de\" />\r\n  </p:b>\r\n</p:a>"},
        // Control characters in the kept form.
        {STEPS(w.WriteElementString(L"a", L"a&b<c>d\"e'f\x01g\th\r\ni\x1Fj\U0001F600")),
         "<a>a&amp;b&lt;c&gt;d\"e'f&#0x01g\th\r\ni&#0x1Fj\xF0\x9F\x98\x80</a>"},
        {STEPS(w.WriteStartElement(L"a"), w.WriteAttributeString(L"v", L"<&>\"'\x02"), w.WriteStartAttribute(L"w"),
               w.WriteWhitespace(L" "), w.WriteEndAttribute()),
         "<a v=\"&lt;&amp;&gt;&quot;&apos;&#0x02\" w=\" \" />"},
        {STEPS(w.WriteStartElement(L"a"), w.WriteComment(L" c "), w.WriteCData(L"<x>&"), w.WriteCharEntity(L'\xE9'),
               w.WriteEntityRef(L"amp"), w.WriteChars(L"x<yz", 3), w.WriteWhitespace(L" \t"), w.WriteName(L"n.1"),
               w.WriteNmToken(L"-1")),
         "<a>\r\n  <!-- c --><![CDATA[<x>&]]>&#xE9;&amp;x&lt;y \tn.1-1</a>"},
        {STEPS(w.WriteComment(L"first"), w.WriteStartElement(L"a"), w.WriteEndElement(), w.WriteComment(L"last")),
         "\r\n<!--first-->\r\n<a />\r\n<!--last-->"},
        {STEPS(w.WriteStartElement(L"a"), w.WriteValueBool(1), w.WriteValueBool(0), w.WriteValueU32(4294967295UL),
               w.WriteValueI32(-2147483647L - 1), w.WriteValueU64(18446744073709551615ULL),
               w.WriteValueI64(0x8000000000000000ULL)),
         "<a>truefalse4294967295-214748364818446744073709551615-9223372036854775808</a>"},
        {STEPS(w.WriteStartElement(L"a"), w.WriteStartAttribute(L"b"), w.WriteBinHex(bytes, 5), w.WriteEndAttribute(),
               w.WriteBase64(bytes, 5), w.WriteBase64(bytes, 4), w.WriteBase64(bytes, 3)),
         "<a b=\"00FF10FBEF\">AP8Q++8=AP8Q+w==AP8Q</a>"},
        // Qualified names, with the colon after a default namespace's empty prefix.
        {STEPS(w.WriteStartElement(L"p", L"a", L"urnp"), w.WriteStartAttribute(L"t"),
               w.WriteQualifiedName(L"n", L"urnp"), w.WriteEndAttribute(), w.WriteStartElement(L"b", L"urnd"),
               w.WriteQualifiedName(L"m", L"urnd")),
         "<p:a xmlns:p=\"urnp\" t=\"p:n\">\r\n  <b xmlns=\"urnd\">:m</b>\r\n</p:a>"},
        // Kept: a second root element is refused only after a declaration; a comment before
        // the root does not make the root itself unwritable.
        {STEPS(w.WriteStartElement(L"a"), w.WriteEndElement(), w.WriteStartElement(L"b")), "<a />\r\n<b />"},
        {STEPS(w.WriteStartDocument(), w.WriteComment(L"c"), w.WriteStartElement(L"a")),
         "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<!--c-->\r\n<a />"},
        // Kept: starting an attribute while another is open leaves the earlier one empty.
        {STEPS(w.WriteStartElement(L"a"), w.WriteStartAttribute(L"x"), w.WriteString(L"1"),
               w.WriteStartAttribute(L"y"), w.WriteString(L"2"), w.WriteEndAttribute()),
         "<a x=\"\" y=\"2\" />"},
        {STEPS(w.SetIndentChars(L"\t"), w.SetNewLine(UString(L"\n")), w.WriteStartElement(L"a"),
               w.WriteStartElement(L"b")),
         "<a>\n\t<b />\n</a>"},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(c.second, Written(c.first)) << "case " << &c - cases;
    }
}

TEST(XmlWriterTest, DefaultEncodingWritesByteOrderMark)
{
    MemoryStream stream;
    UXmlWriter writer(&stream);
    writer.WriteElementString(L"a", L"\xE9"), writer.Close();
    EXPECT_EQ("\xEF\xBB\xBF<a>\xC3\xA9</a>", stream.Data());
}

struct ErrorCase
{
    Body body;
    bool argument; // UArgumentException, else UInvalidOperationException
    const wchar_t* message;
    UXmlWriterState after;
};

void ExpectError(const ErrorCase& c, const std::string& what)
{
    MemoryStream stream;
    UXmlWriter writer(&stream);
    try
    {
        c.body(writer);
        ADD_FAILURE() << what << ": no exception";
    }
    catch (const UArgumentException& e)
    {
        EXPECT_TRUE(c.argument) << what;
        EXPECT_STREQ(c.message, e.GetMessageText()) << what;
    }
    catch (const UInvalidOperationException& e)
    {
        EXPECT_FALSE(c.argument) << what;
        EXPECT_STREQ(c.message, e.GetMessageText()) << what;
    }
    EXPECT_EQ(c.after, writer.GetWriteState()) << what;
}

TEST(XmlWriterTest, Checks)
{
    const auto Elem = eXmlWriterState_Element;
    const auto Content = eXmlWriterState_Content;
    const auto Error = eXmlWriterState_Error;
    const auto Start = eXmlWriterState_Start;
    const auto Prolog = eXmlWriterState_Prolog;
    const auto Closed = eXmlWriterState_Closed;
    const bool Arg = true, Op = false; // UArgumentException, UInvalidOperationException
    const wchar_t* const NotProper = L"Writer is not in the proper state for this operation.";
    const wchar_t* const BadState = L"Invalid writer state for this operation.";
    const wchar_t* const NotWriting = L"Not writing attribute, element or content at the moment.";
    const wchar_t* const BadChars = L"String contains invalid characters.";
    const ErrorCase cases[] = {
        {STEPS(w.WriteStartElement(nullptr)), Arg, L"Argument 'pszLocalName' must not be NULL.", Start},
        {STEPS(w.WriteStartElement(L"")), Arg, L"Argument 'pszLocalName' must not be an empty string.", Start},
        {STEPS(w.WriteStartElement(L"a", nullptr)), Arg, L"Argument 'pszNamespace' must not be NULL.", Start},
        {STEPS(w.WriteStartElement(L"p:q", L"a", L"u")), Arg, L"Invalid prefix name.", Start},
        {STEPS(w.WriteStartElement(L"1a")), Arg, L"Invalid element name.", Start},
        {STEPS(w.WriteStartDocument(), w.WriteStartDocument()), Op,
         L"This method must be called before any other write method since it starts a XML document.", Prolog},
        {STEPS(w.WriteProcessingInstruction(L"xml", L""), w.WriteProcessingInstruction(L"xml", L"")), Arg,
         L"An XML declaration was written already.", Prolog},
        {STEPS(w.WriteStartElement(L"a"), w.WriteProcessingInstruction(L"xml", L"")), Arg,
         L"XML declaration is not the first node in the document.", Elem},
        {STEPS(w.WriteStartElement(L"a"), w.WriteProcessingInstruction(L"p", L"")), Op, NotProper, Elem},
        {STEPS(w.WriteStartAttribute(L"a")), Op, L"Cannot write an attribute when not within an element.", Error},
        {STEPS(w.WriteStartAttribute(L"a:", L"b", nullptr)), Arg,
         L"Argument 'pszPrefix' is not a valid namespace name.", Start},
        {STEPS(w.WriteStartAttribute(L"a b")), Arg, L"Attribute name is not a valid XML name.", Start},
        {STEPS(w.WriteStartElement(L"a"), w.WriteEndAttribute()), Op,
         L"State of the writer is not eXmlWriterState_Attribute.", Elem},
        {STEPS(w.WriteStartElement(L"a"), w.WriteAttributeString(L"xml:space", L"keep")), Arg,
         L"Invalid value for attribute 'xml:space'.", Error},
        {STEPS(w.WriteString(L"x")), Op, NotProper, Start},
        {STEPS(w.WriteStartDocument(), w.WriteValueU32(1)), Op, NotProper, Prolog},
        {STEPS(w.WriteChars(nullptr, 1)), Arg, L"Argument 'pwcBuffer' must not be NULL.", Start},
        {STEPS(w.WriteStartElement(L"a"), w.WriteString(L"\xDC00")), Arg,
         L"Detected malformed UTF-16 string.", Content},
        {STEPS(w.WriteCData(L"x")), Op, BadState, Error},
        {STEPS(w.WriteStartElement(L"a"), w.WriteCData(L"a]]>b")), Arg,
         L"String contains ']]>' (end of CDATA sequence).", Error},
        {STEPS(w.WriteStartElement(L"a"), w.WriteCData(L"\x01")), Arg, BadChars, Error},
        {STEPS(w.WriteComment(L"\x01")), Arg, BadChars, Start},
        {STEPS(w.WriteComment(L"a--b")), Arg, L"String contains '--' (end of comment).", Error},
        {STEPS(w.WriteComment(L"a-")), Arg, L"String ends with '-' (end of comment).", Error},
        {STEPS(w.WriteCharEntity(L'\xD800')), Arg,
         L"Surrogate pair characters (0xd800 - 0xdfff) are not allowed.", Start},
        {STEPS(w.WriteEntityRef(L"amp")), Op, BadState, Error},
        {STEPS(w.WriteEntityRef(L"a;")), Arg, L"Argument 'pszName' is not a valid XML name.", Start},
        {STEPS(w.WriteDocType(L"a", L"", nullptr, nullptr)), Arg,
         L"You must specify pszPublic or pszSystem (or both).", Start},
        {STEPS(w.WriteDocType(L"a", L"p", nullptr, nullptr)), Op,
         L"A DOCTYPE declaration must be written in the prolog only (invalid writer state).", Start},
        {STEPS(w.WriteWhitespace(L" x")), Arg, L"String contains non-white space characters.", Start},
        {STEPS(w.WriteNmToken(L"a b")), Arg, L"Argument 'pszNmToken' is not a valid NmToken.", Start},
        {STEPS(w.WriteQualifiedName(L"a b", L"u")), Arg, L"Argument 'pszLocalName' is not a valid xml name.", Start},
        {STEPS(w.WriteStartElement(L"a"), w.WriteQualifiedName(L"n", L"u")), Arg, L"Namespace is not defined.", Elem},
        {STEPS(w.SetQuoteChar(L'`')), Arg, L"Quote character is neither a single quote nor a double quote.", Start},
        {STEPS(w.WriteStartDocument(), w.WriteEndElement()), Op, NotWriting, Prolog},
        // WriteEndElement pops nothing when the stack is empty.
        {STEPS(w.WriteElementString(L"a", L""), w.WriteEndElement()), Op, NotWriting, Content},
        {STEPS(w.WriteStartDocument(), w.WriteElementString(L"a", L""), w.WriteStartElement(L"b")), Op,
         L"Writing another root element would violate well-formedness.", Content},
        // Once closed or in error, those messages come before any other state message.
        {STEPS(w.Close(), w.WriteStartDocument()), Op, L"Writer has been closed.", Closed},
        {[](UXmlWriter& w) {
             EXPECT_THROW(w.WriteComment(L"--"), UArgumentException);
             w.WriteStartAttribute(L"x");
         },
         Op, L"Writer is in the error state.", Error},
    };
    for (const ErrorCase& c : cases)
    {
        ExpectError(c, Utf8(c.message) + " (case " + std::to_string(&c - cases) + ")");
    }
}

// Kept: namespace URIs pass the same check as prefixes, so a URI with a colon or slash is refused.
TEST(XmlWriterTest, NamespaceUriFollowsThePrefixRule)
{
    ExpectError({STEPS(w.WriteStartElement(L"p", L"a", L"http://x")), true, L"Invalid namespace name.",
                 eXmlWriterState_Start},
                "http URI");
    EXPECT_EQ("<p:a xmlns:p=\"urn-x.y\" />",
              Written(STEPS(w.WriteStartElement(L"p", L"a", L"urn-x.y"))));
}

TEST(XmlWriterTest, ScopeAndClose)
{
    MemoryStream stream;
    UXmlWriter writer(&stream);
    writer.WriteStartElement(L"a"), writer.WriteAttributeString(L"xml:space", L"preserve");
    writer.WriteAttributeString(L"xml", L"lang", nullptr, L"en"), writer.WriteStartElement(L"b");
    EXPECT_EQ(eXmlWriterState_Element, writer.GetWriteState());
    EXPECT_EQ(eXmlSpace_Preserve, writer.GetXmlSpace());
    EXPECT_STREQ(L"en", writer.GetXmlLang().GetBuffer());
    writer.WriteStartAttribute(L"xml:space"), writer.WriteString(L"default");
    EXPECT_EQ(eXmlWriterState_Attribute, writer.GetWriteState());
    writer.WriteEndAttribute();
    EXPECT_EQ(eXmlSpace_Default, writer.GetXmlSpace());
    writer.Close(); // ends both elements
    EXPECT_EQ(eXmlSpace_None, writer.GetXmlSpace());
    EXPECT_EQ("\xEF\xBB\xBF<a xml:space=\"preserve\" xml:lang=\"en\">\r\n  <b xml:space=\"default\" />\r\n</a>",
              stream.Data());
    writer.Close();
    EXPECT_EQ(eXmlWriterState_Closed, writer.GetWriteState());
}

// Everything the writer produces reads back as the same nodes (the reader drops namespace
// declarations, white-space-only text and text before a child element).
TEST(XmlWriterTest, OutputReadsBack)
{
    const std::string document = Written([](UXmlWriter& w) {
        w.WriteStartDocument(1), w.WriteProcessingInstruction(L"style", L"href=\"x\"");
        w.WriteStartElement(L"p", L"root", L"urnp"), w.WriteAttributeString(L"id", L"a<&>\"'");
        w.WriteAttributeString(L"q", L"urnq", L"v"), w.WriteComment(L" note ");
        w.WriteElementString(L"leaf", L"x < y & \xE9\U0001F600");
        w.WriteStartElement(L"p", L"mid", L"urnp"), w.WriteCData(L"<raw>"), w.WriteString(L" &\tmore");
        w.WriteEndElement(), w.WriteStartElement(L"list", L"urnd");
        w.WriteValueI64(static_cast<unsigned long long>(-5LL)), w.WriteFullEndElement(), w.WriteStartElement(L"empty");
    });
    const std::vector<std::wstring> expected = {
        L"17 0 xml =version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"", L"13 0 style =href=\"x\"",
        L"7 0 p:root @id{}=a<&>\"' @d1p1:q{urnq}=v", L"3 1  = note ", L"7 1 leaf", L"15 2  =x < y & \xE9\U0001F600",
        L"8 1 leaf", L"7 1 p:mid", L"15 2  =<raw> &\tmore", L"8 1 p:mid", L"7 1 list", L"15 2  =-5", L"8 1 list",
        L"7 1 empty", L"8 1 empty", L"8 0 p:root"};
    EXPECT_EQ(expected, Nodes(document));
}

} // namespace
