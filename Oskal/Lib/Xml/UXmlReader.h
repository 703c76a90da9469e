#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/UStream.h>
#include <Oskal/Lib/UString.h>
#include <Oskal/Lib/Xml/UXmlNameTable.h>
#include <Oskal/Lib/Xml/UXmlNodeType.h>
#include <Oskal/Lib/Xml/UXmlReaderState.h>
#include <Oskal/Lib/Xml/UXmlSpace.h>

#include <cstddef> // __int64 comes with the run-time headers

namespace Oskal
{
namespace Lib
{
namespace Xml
{

// Forward-only pull reader: each Read advances to the next node. The stream is read in 512-byte
// pieces, only when the parser has used up the previous one, and parsing stops after every node.
// Character data between two other nodes forms one text node; text that consists of white space
// only is dropped, and so is text that stands directly before a child element's start tag
// (element-only documents such as configuration files lose nothing by that). Names come from
// the reader's name table, so equal names are the same string object. Parse errors throw
// UXmlException with the line and column and leave the reader in the Error state.
class OSKAL_LIB_API UXmlReader
{
public:
    // The stream is not owned.
    explicit UXmlReader(IO::UStream* pStream);
    virtual ~UXmlReader();

    UXmlReader(const UXmlReader&) = delete;
    UXmlReader& operator=(const UXmlReader&) = delete;

    // Non-zero while a node is available, zero at the end of the document.
    int Read();
    // Only marks the reader closed: every later Read throws.
    void Close();
    UXmlReaderState GetReaderState() const;

    UXmlNodeType GetNodeType() const;
    unsigned long GetDepth() const;
    unsigned long GetLineNumber() const;
    unsigned long GetLinePosition() const;
    int HasValue() const;
    const UString& GetPrefix() const;
    const UString& GetNamespaceURI() const;
    const UString& GetLocalName() const;
    // The qualified name: prefix:localName, or the local name alone.
    const UString& GetName() const;
    const UString& GetValue() const;
    UXmlSpace GetXmlSpace() const;
    const UString& GetXmlLang() const;
    UXmlNameTable& GetNameTable();

    int HasAttributes() const;
    unsigned long GetAttributeCount() const;
    // The value, or NULL when there is no such attribute.
    const wchar_t* GetAttribute(unsigned long ulIndex) const;
    const wchar_t* GetAttribute(const wchar_t* pszName) const;
    const wchar_t* GetAttribute(const wchar_t* pszLocalName, const wchar_t* pszNamespaceURI) const;
    int MoveToAttribute(unsigned long ulIndex);
    int MoveToAttribute(const wchar_t* pszName);
    int MoveToAttribute(const wchar_t* pszLocalName, const wchar_t* pszNamespaceURI);
    int MoveToFirstAttribute();
    int MoveToNextAttribute();
    // Back from an attribute to its element; non-zero when the reader was on an attribute.
    int MoveToElement();

    // Stops on CDATA, Element, EndElement, EndEntity, EntityReference or Text; None at the end.
    UXmlNodeType MoveToContent();
    // Reads until the depth is the one it started from again (or the input ends).
    void Skip();
    // Each returns non-zero when it stops on such an element. The descendant forms give up at the
    // current element's end tag, the sibling forms at the parent's end tag.
    int ReadToDescendant();
    int ReadToDescendant(const wchar_t* pszName);
    int ReadToDescendant(const wchar_t* pszLocalName, const wchar_t* pszNamespaceURI);
    int ReadToFollowing(const wchar_t* pszName);
    int ReadToFollowing(const wchar_t* pszLocalName, const wchar_t* pszNamespaceURI);
    int ReadToNextSibling();
    int ReadToNextSibling(const wchar_t* pszName);
    int ReadToNextSibling(const wchar_t* pszLocalName, const wchar_t* pszNamespaceURI);

    UString ReadString();
    // Throws UXmlException "Node is not an element end tag." unless on an end tag, then reads on.
    void ReadEndElement();
    // The text from the current node up to the next element or end tag; comments and
    // processing instructions are skipped.
    UString ReadContentAsString();
    int ReadContentAsBoolean();
    long ReadContentAsSigned32();
    unsigned long ReadContentAsUnsigned32();
    __int64 ReadContentAsSigned64();
    unsigned __int64 ReadContentAsUnsigned64();
    // The text of the current element, which must hold no child element; the reader ends up on
    // the node after the element's end tag.
    UString ReadElementContentAsString();
    int ReadElementContentAsBoolean();
    long ReadElementContentAsSigned32();
    unsigned long ReadElementContentAsUnsigned32();
    __int64 ReadElementContentAsSigned64();
    unsigned __int64 ReadElementContentAsUnsigned64();

private:
    class Parser;

    Parser* m_pParser;
};

} // namespace Xml
} // namespace Lib
} // namespace Oskal
