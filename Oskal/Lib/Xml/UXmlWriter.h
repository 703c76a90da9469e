#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/UStream.h>
#include <Oskal/Lib/IO/UStreamWriter.h>
#include <Oskal/Lib/Text/UEncoding.h>
#include <Oskal/Lib/UString.h>
#include <Oskal/Lib/UStringBuilder.h>
#include <Oskal/Lib/Xml/UXmlSpace.h>
#include <Oskal/Lib/Xml/UXmlWriterState.h>

#include <cstddef> // __int64 comes with the run-time headers

namespace Oskal
{
namespace Lib
{
namespace Xml
{

// Forward-only producer of well-formed XML text on top of a stream writer. A start tag and its
// attributes are held back until the first child node or the end tag decides between
// "<a ...>" and "<a ... />"; nested start tags, comments and the end tags of elements with child
// elements go on their own indented lines, text is never indented. A failure that may have left
// broken output moves the writer to the Error state, from which only Close leads out. Output
// reaches the stream in chunks and at the latest by Flush or Close. The stream stays with its
// owner: Close flushes the encoder but neither flushes nor closes the stream.
class OSKAL_LIB_API UXmlWriter : private IO::UStreamWriter
{
public:
    // UTF-8 that writes its byte-order mark first and throws on text it cannot encode.
    explicit UXmlWriter(IO::UStream* pStream);
    UXmlWriter(IO::UStream* pStream, Text::UEncoding* pEncoding);
    ~UXmlWriter() override;

    using IO::UStreamWriter::GetEncoding;
    using IO::UStreamWriter::GetNewLine;

    void SetNewLine(const UString& newLine) override;
    // Ends every open element (unless closed or in error), then flushes the encoder once.
    void Close() override;
    void Flush() override;

    virtual void WriteAttributeString(const wchar_t* pszPrefix, const wchar_t* pszLocalName,
                                      const wchar_t* pszNamespace, const wchar_t* pszValue);
    virtual void WriteAttributeString(const wchar_t* pszLocalName, const wchar_t* pszNamespace,
                                      const wchar_t* pszValue);
    virtual void WriteAttributeString(const wchar_t* pszLocalName, const wchar_t* pszValue);
    virtual void WriteBase64(const unsigned char* pbyBuffer, unsigned long ulCount);
    virtual void WriteBinHex(const unsigned char* pbyBuffer, unsigned long ulCount);
    virtual void WriteCData(const wchar_t* pszText);
    // "&#x<hex>;"
    virtual void WriteCharEntity(wchar_t wcChar);
    virtual void WriteChars(const wchar_t* pwcBuffer, unsigned long ulCount);
    virtual void WriteComment(const wchar_t* pszText);
    // Only in the prolog, that is after a declaration or processing instruction.
    virtual void WriteDocType(const wchar_t* pszName, const wchar_t* pszPublicId, const wchar_t* pszSystemId,
                              const wchar_t* pszSubset);
    virtual void WriteElementString(const wchar_t* pszPrefix, const wchar_t* pszLocalName, const wchar_t* pszNamespace,
                                    const wchar_t* pszValue);
    virtual void WriteElementString(const wchar_t* pszLocalName, const wchar_t* pszNamespace, const wchar_t* pszValue);
    virtual void WriteElementString(const wchar_t* pszLocalName, const wchar_t* pszValue);
    virtual void WriteEndAttribute();
    virtual void WriteEndDocument();
    // "<a />" for an element without content, else "</a>".
    virtual void WriteEndElement();
    virtual void WriteEntityRef(const wchar_t* pszName);
    // Always "</a>", even for an element without content.
    virtual void WriteFullEndElement();
    // The name "xml" writes the XML declaration.
    virtual void WriteProcessingInstruction(const wchar_t* pszName, const wchar_t* pszText);
    // prefix:localName, the prefix being the one bound to pszNamespace in scope.
    virtual void WriteQualifiedName(const wchar_t* pszLocalName, const wchar_t* pszNamespace);
    virtual void WriteStartAttribute(const wchar_t* pszPrefix, const wchar_t* pszLocalName,
                                     const wchar_t* pszNamespace);
    virtual void WriteStartAttribute(const wchar_t* pszLocalName, const wchar_t* pszNamespace);
    virtual void WriteStartAttribute(const wchar_t* pszLocalName);
    virtual void WriteStartDocument(int bStandalone);
    virtual void WriteStartDocument();
    virtual void WriteStartElement(const wchar_t* pszPrefix, const wchar_t* pszLocalName, const wchar_t* pszNamespace);
    virtual void WriteStartElement(const wchar_t* pszLocalName, const wchar_t* pszNamespace);
    virtual void WriteStartElement(const wchar_t* pszLocalName);
    // Escaped text: content, or the value of the open attribute.
    virtual void WriteString(const wchar_t* pszText);
    virtual void WriteValueBool(int bValue);
    virtual void WriteValueU32(unsigned long ulValue);
    virtual void WriteValueI32(long lValue);
    virtual void WriteValueU64(unsigned __int64 ullValue);
    // Takes the bits unsigned and writes them as a signed number.
    virtual void WriteValueI64(unsigned __int64 ullValue);

    UXmlWriterState GetWriteState() const;
    UXmlSpace GetXmlSpace() const;
    const UString& GetXmlLang() const;
    const UString& GetIndentChars() const;
    void SetIndentChars(const wchar_t* pszIndentChars);
    wchar_t GetQuoteChar() const;
    // Only the double quote and the single quote.
    void SetQuoteChar(wchar_t wcQuoteChar);

    // Blanks, tabs, carriage returns and line feeds, written unchanged.
    void WriteWhitespace(const wchar_t* pszText);
    void WriteName(const wchar_t* pszName);
    void WriteNmToken(const wchar_t* pszNmToken);

protected:
    // Escapes ulLength units (0xFFFFFFFF: up to the terminator) into the attribute value, or to
    // the stream outside an attribute.
    void WriteStringInternal(const wchar_t* pszText, unsigned long ulLength);
    // Writes the held-back name and attributes of the innermost element after its "<".
    void WriteCurrentElementAndAttributes();
    void CloseElementStartTag();
    // The state step before entity references, character references and encoded bytes.
    void PrepareWritingText();
    void Indent(unsigned long ulLevels);
    // The prefix bound to the namespace in scope, or null.
    const wchar_t* LookupPrefix(const wchar_t* pszNamespace) const;
    UString GeneratePrefix() const;

private:
    class ElementStack;

    void Init();
    // "Writer has been closed." / "Writer is in the error state."
    void CheckUsable() const
    {
        if (m_state == eXmlWriterState_Closed || m_state == eXmlWriterState_Error)
            ThrowUnusable();
    }
    [[noreturn]] void ThrowUnusable() const;
    // Moves to the Error state, then throws.
    [[noreturn]] void Fail(const wchar_t* pszMessage);
    [[noreturn]] void FailArgument(const wchar_t* pszName, const wchar_t* pszMessage);
    // NULL, empty and invalid names, with the pszName messages.
    static void CheckNameArgument(const wchar_t* pszName);
    void WriteDeclaration(const wchar_t* pszStandalone);
    void StartElement(const wchar_t* pszPrefix, const wchar_t* pszLocalName, const wchar_t* pszNamespace,
                      bool bNamespaceGiven);
    void StartAttribute(const wchar_t* pszPrefix, const wchar_t* pszLocalName, const wchar_t* pszNamespace);
    // The state step of WriteString and the value writers, then the escaped text.
    void WriteText(const wchar_t* pwcText, unsigned long ulCount);
    // A new line and the indentation for ulLevels, onto the text being assembled.
    void AppendNewLineAndIndent(unsigned long ulLevels);
    // Hands the collected output to the stream writer once it has reached a chunk.
    void FlushIfFull();
    // Output goes to the stream in chunks, at the latest by Flush and Close; a failing stream
    // leaves the writer in the Error state.
    void Emit(const wchar_t* pwcText, unsigned long ulCount);
    void WriteOutput();
    void Emit(const UString& text);
    // Unescaped: into the attribute value while an attribute is open, else to the stream.
    void EmitRaw(const wchar_t* pwcText, unsigned long ulCount);

    UXmlWriterState m_state;
    int m_bRootWritten;
    int m_bRootElementWritten;
    int m_bClosing;
    UString m_indentChars;
    wchar_t m_wcQuoteChar;
    ElementStack* m_pElements;
};

} // namespace Xml
} // namespace Lib
} // namespace Oskal
