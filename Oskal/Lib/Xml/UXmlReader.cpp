#include <Oskal/Lib/Xml/UXmlReader.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/Internal/WideBuffer.h>
#include <Oskal/Lib/Math/UIntegerI32.h>
#include <Oskal/Lib/Math/UIntegerI64.h>
#include <Oskal/Lib/Math/UIntegerU32.h>
#include <Oskal/Lib/Math/UIntegerU64.h>
#include <Oskal/Lib/UFormatException.h>
#include <Oskal/Lib/UInvalidOperationException.h>
#include <Oskal/Lib/UStringBuilder.h>
#include <Oskal/Lib/Xml/UXmlException.h>

// The library target defines XML_UNICODE_WCHAR_T, XML_UNICODE and XML_STATIC: expat's
// characters are wchar_t, as UString's are.
#include <expat.h>

#include <cwchar>
#include <exception>
#include <new>
#include <vector>

namespace Oskal
{
namespace Lib
{
namespace Xml
{

using Exceptions::UInvalidOperationException;
using Internal::WideBuffer;

namespace
{

// The parser gets the stream in pieces of this size, so a huge document never sits in memory.
const int kBufferSize = 512;
// Separates namespace URI, local name and prefix in the names expat reports.
const XML_Char kTripletSeparator = 0x0C;

// The atomized parts of an element or attribute name.
struct Names
{
    const UString* prefix;
    const UString* localName;
    const UString* uri;
    const UString* name;
};

const Names kNoNames = {&UString::Empty, &UString::Empty, &UString::Empty, &UString::Empty};

// A string builder that the reader refills for every node. Pieces that fit into its capacity are
// copied inline: expat hands text over a few units at a time, and the builder's out-of-line
// members with the run-time's memmove would cost more than the copying.
class NodeText : public UStringBuilder
{
public:
    unsigned long Length() const { return m_ulLength; }
    void Reset()
    {
        m_ulLength = 0;
        m_pszBuffer[0] = 0;
    }
    void Add(const wchar_t* pwc, unsigned long ulCount)
    {
        if (ulCount >= m_ulCapacity - m_ulLength)
        {
            Append(pwc, ulCount);
            return;
        }
        wchar_t* out = m_pszBuffer + m_ulLength;
        for (unsigned long i = 0; i < ulCount; ++i)
            out[i] = pwc[i];
        m_ulLength += ulCount;
        m_pszBuffer[m_ulLength] = 0;
    }
    // Up to the terminator.
    void Add(const wchar_t* psz)
    {
        unsigned long length = m_ulLength;
        const unsigned long room = m_ulCapacity - 1;
        while (length < room && *psz != 0)
            m_pszBuffer[length++] = *psz++;
        m_ulLength = length;
        m_pszBuffer[length] = 0;
        if (*psz != 0)
            Append(psz);
    }
};

struct AttributeRecord
{
    Names names = kNoNames;
    // The value's place in the element's value units; the string is made on demand.
    size_t offset = 0;
    size_t length = 0;
    bool bValueReady = false;
    UStringBuilder value;
};

// A name as expat reported it, remembered with its atomized parts: documents repeat few names
// many times, and a hit saves splitting and looking up every part again.
struct CachedName
{
    WideBuffer raw;
    unsigned long hash = 0;
    bool bUsed = false;
    Names names = kNoNames;
};

const size_t kNameCacheSize = 64;

// One open element: its names, so that the end tag needs no lookup, and its xml:space and
// xml:lang. The language lives in the reader's own table, so that deep nesting shares one copy
// instead of copying it into every scope.
struct Scope
{
    Names names;
    UXmlSpace space;
    const UString* lang;
};

bool Equals(const UString& text, const wchar_t* psz)
{
    return std::wcscmp(text.GetBuffer(), psz) == 0;
}

[[noreturn]] void ThrowAt(const wchar_t* pszFormat, unsigned long ulLine, unsigned long ulColumn)
{
    wchar_t message[128];
    std::swprintf(message, 128, pszFormat, ulLine, ulColumn);
    throw UXmlException(message);
}

} // namespace

class UXmlReader::Parser
{
public:
    explicit Parser(IO::UStream* pStream);
    ~Parser();

    int Read();
    bool OnAttribute() const { return currentAttribute >= 0; }
    bool HasText() const { return text.Length() != 0; }
    UXmlNodeType NodeType() const
    {
        if (HasText())
            return eXmlNodeType_Text;
        if (OnAttribute())
            return eXmlNodeType_Attribute;
        return nodeType;
    }
    const Names& CurrentNames() const
    {
        return HasText() ? kNoNames : OnAttribute() ? attributes[static_cast<size_t>(currentAttribute)].names : names;
    }
    const wchar_t* AttributeValue(size_t index) const { return attributeUnits.data() + attributes[index].offset; }
    const UString& AttributeString(size_t index);
    const UString& Value()
    {
        if (HasText())
            return text;
        if (OnAttribute())
            return AttributeString(static_cast<size_t>(currentAttribute));
        return value;
    }
    // The index of the matching attribute, or -1.
    long Find(const wchar_t* pszName) const;
    long Find(const wchar_t* pszLocalName, const wchar_t* pszNamespaceURI) const;
    bool IsEmptyElement() const { return nodeType == eXmlNodeType_Element && pendingEnd && !HasText(); }

    IO::UStream* stream;
    XML_Parser parser;
    UXmlReaderState state;
    UXmlNodeType nodeType;
    unsigned long depth;
    // Character data; dropped when it is white space only.
    NodeText text;
    bool bTextWhite;
    // The value of a comment, processing instruction or declaration.
    NodeText value;
    UStringBuilder content;
    Names names;
    std::vector<AttributeRecord> attributes;
    WideBuffer attributeUnits;
    unsigned long attributeCount;
    long currentAttribute;
    std::vector<Scope> scopes;
    int nodeReady;
    int pendingEnd;
    int suspended;
    int finalFed;
    UXmlNameTable nameTable;

private:
    // Runs the parser until a callback produced a node (true) or the input ended (false).
    bool Advance();
    void Suspend();
    // Drops buffered text that is white space only.
    void ProcessBufferedText()
    {
        if (bTextWhite)
            ClearText();
    }
    void ClearText()
    {
        text.Reset();
        bTextWhite = true;
    }
    void SetValue(const wchar_t* psz)
    {
        value.Reset();
        value.Add(psz);
    }
    // After the caller cleared or replaced the name table: the names the reader holds go into it
    // again, before the table lets their old strings go.
    void CheckNameTable();
    void AddAgain(Names& names);
    void AddSpecialNames();
    const UString& Atomize(const wchar_t* pwc, unsigned long ulCount);
    // Splits "uri<sep>local<sep>prefix" (parts absent when empty) into atomized names.
    const Names& ParseTriplet(const XML_Char* pszTriplet);
    Names SplitTriplet(const XML_Char* pszTriplet);
    void ParseAttributes(const XML_Char** ppszAttributes);

    void OnStartElement(const XML_Char* pszName, const XML_Char** ppszAttributes);
    void OnEndElement(const XML_Char* pszName);
    // The most frequent callback, kept inline: expat hands text over a few units at a time. No
    // suspension: consecutive pieces join into one text node.
    void OnCharacterData(const XML_Char* pwc, int iLength)
    {
        if (iLength <= 0)
            return;
        for (int i = 0; bTextWhite && i < iLength; ++i)
            bTextWhite = pwc[i] == L' ' || pwc[i] == L'\t' || pwc[i] == L'\r' || pwc[i] == L'\n';
        text.Add(pwc, static_cast<unsigned long>(iLength));
    }
    void OnProcessingInstruction(const XML_Char* pszTarget, const XML_Char* pszData);
    void OnComment(const XML_Char* pszText);
    void OnXmlDeclaration(const XML_Char* pszVersion, const XML_Char* pszEncoding, int iStandalone);

    // Exceptions must not unwind through expat's C frames: each callback catches everything,
    // records it and stops the parser; Read throws it once expat has returned.
    template <typename F> static void Guarded(void* pvParser, F body)
    {
        Parser* self = static_cast<Parser*>(XML_GetUserData(static_cast<XML_Parser>(pvParser)));
        if (self->failure)
            return;
        try
        {
            body(*self);
        }
        catch (...)
        {
            self->failure = std::current_exception();
            XML_StopParser(self->parser, XML_FALSE);
        }
    }
    static void XMLCALL StartElementHandler(void* pv, const XML_Char* pszName, const XML_Char** ppszAttributes)
    {
        Guarded(pv, [&](Parser& self) { self.OnStartElement(pszName, ppszAttributes); });
    }
    static void XMLCALL EndElementHandler(void* pv, const XML_Char* pszName)
    {
        Guarded(pv, [&](Parser& self) { self.OnEndElement(pszName); });
    }
    static void XMLCALL CharacterDataHandler(void* pv, const XML_Char* pwc, int iLength)
    {
        Guarded(pv, [&](Parser& self) { self.OnCharacterData(pwc, iLength); });
    }
    static void XMLCALL ProcessingInstructionHandler(void* pv, const XML_Char* pszTarget, const XML_Char* pszData)
    {
        Guarded(pv, [&](Parser& self) { self.OnProcessingInstruction(pszTarget, pszData); });
    }
    static void XMLCALL CommentHandler(void* pv, const XML_Char* pszText)
    {
        Guarded(pv, [&](Parser& self) { self.OnComment(pszText); });
    }
    static void XMLCALL XmlDeclarationHandler(void* pv, const XML_Char* pszVersion, const XML_Char* pszEncoding,
                                              int iStandalone)
    {
        Guarded(pv, [&](Parser& self) { self.OnXmlDeclaration(pszVersion, pszEncoding, iStandalone); });
    }

    std::exception_ptr failure;
    UStringBuilder scratch;
    CachedName nameCache[kNameCacheSize];
    unsigned long nameTableGeneration;
    const UString* xmlSpaceName;
    const UString* xmlLangName;
    // The xml:lang values of the open elements; the caller never clears this table.
    UXmlNameTable languages;
};

UXmlReader::Parser::Parser(IO::UStream* pStream)
    : stream(pStream), parser(nullptr), state(eXmlReaderState_Initial), nodeType(eXmlNodeType_None), depth(0),
      bTextWhite(true), names(kNoNames), attributeCount(0), currentAttribute(-1), nodeReady(0), pendingEnd(0),
      suspended(0), finalFed(0), nameTableGeneration(0), xmlSpaceName(nullptr), xmlLangName(nullptr)
{
    // Before the parser exists: a failure here must not leave it behind.
    nameTable.KeepClearedNames();
    nameTableGeneration = nameTable.GetGeneration();
    AddSpecialNames();
    parser = XML_ParserCreateNS(nullptr, kTripletSeparator);
    if (parser == nullptr)
        throw std::bad_alloc();
    XML_SetReturnNSTriplet(parser, 1);
    XML_SetUserData(parser, this);
    XML_UseParserAsHandlerArg(parser);
    XML_SetElementHandler(parser, StartElementHandler, EndElementHandler);
    XML_SetCharacterDataHandler(parser, CharacterDataHandler);
    XML_SetProcessingInstructionHandler(parser, ProcessingInstructionHandler);
    XML_SetCommentHandler(parser, CommentHandler);
    XML_SetXmlDeclHandler(parser, XmlDeclarationHandler);
}

UXmlReader::Parser::~Parser()
{
    XML_ParserFree(parser);
}

int UXmlReader::Parser::Read()
{
    switch (state)
    {
    case eXmlReaderState_Closed:
        throw UInvalidOperationException(L"The reader is closed.");
    case eXmlReaderState_Error:
        throw UInvalidOperationException(L"The reader is in the error state.");
    case eXmlReaderState_EndOfFile:
        return 0;
    default:
        break;
    }
    state = eXmlReaderState_Interactive;
    nodeReady = 0;
    currentAttribute = -1;
    try
    {
        // Before any path: the nodes delivered without parsing carry names recorded earlier.
        CheckNameTable();
    }
    catch (...)
    {
        state = eXmlReaderState_Error;
        throw;
    }
    if (pendingEnd)
    {
        // The end tag of an empty element arrived with its start tag.
        pendingEnd = 0;
        ProcessBufferedText();
        if (!scopes.empty())
            scopes.pop_back();
        nodeType = eXmlNodeType_EndElement;
        attributeCount = 0;
        return 1;
    }
    if (HasText())
    {
        // The text node is consumed; the node that ended it is current now.
        ClearText();
        return 1;
    }
    if (nodeType == eXmlNodeType_Element)
        ++depth;
    attributeCount = 0;
    try
    {
        if (Advance())
            return 1;
    }
    catch (...)
    {
        state = eXmlReaderState_Error;
        throw;
    }
    // Kept: the node type is None at the end of the document (pinned by
    // XmlReaderTest.NamesAttributesAndScopes).
    state = eXmlReaderState_EndOfFile;
    scopes.clear();
    nodeType = eXmlNodeType_None;
    depth = 0;
    ClearText();
    value.Reset();
    names = kNoNames;
    return 0;
}

bool UXmlReader::Parser::Advance()
{
    for (;;)
    {
        XML_Status status;
        if (suspended)
        {
            suspended = 0;
            status = XML_ResumeParser(parser);
        }
        else if (finalFed)
            return false; // never ask expat for a buffer after the final one
        else
        {
            void* buffer = XML_GetBuffer(parser, kBufferSize);
            if (buffer == nullptr)
                throw UXmlException(L"Parsing XML failed (the parser has no buffer).");
            const long got = stream->Read(buffer, kBufferSize);
            if (got < 0 || got > kBufferSize)
                throw UXmlException(L"Parsing XML failed (the stream returned an invalid count).");
            finalFed = got == 0;
            status = XML_ParseBuffer(parser, static_cast<int>(got), finalFed);
        }
        if (failure)
        {
            std::exception_ptr recorded = failure;
            failure = nullptr;
            std::rethrow_exception(recorded);
        }
        if (status == XML_STATUS_ERROR)
            ThrowAt(L"Parsing XML failed (error in [%lu,%lu]).", XML_GetCurrentLineNumber(parser),
                    XML_GetCurrentColumnNumber(parser));
        if (status == XML_STATUS_SUSPENDED)
        {
            suspended = 1;
            return true;
        }
        if (nodeReady)
            return true;
    }
}

void UXmlReader::Parser::Suspend()
{
    // One node per parse step: once a callback suspended the parser, the step's node is made.
    if (!nodeReady)
        XML_StopParser(parser, XML_TRUE);
    nodeReady = 1;
}

void UXmlReader::Parser::CheckNameTable()
{
    const unsigned long generation = nameTable.GetGeneration();
    if (generation == nameTableGeneration)
        return;
    // The caller cleared or replaced the table. Its old strings are still alive: the names the
    // reader holds (the current node, the open elements, the attributes) are added to the table
    // as it is now, and only then are the old strings let go. Done again after a failure.
    for (CachedName& cached : nameCache)
        cached.bUsed = false;
    AddAgain(names);
    for (Scope& scope : scopes)
        AddAgain(scope.names);
    for (unsigned long i = 0; i < attributeCount; ++i)
        AddAgain(attributes[i].names);
    AddSpecialNames();
    nameTable.ReleaseClearedNames();
    nameTableGeneration = generation;
}

void UXmlReader::Parser::AddAgain(Names& parts)
{
    for (const UString** part : {&parts.prefix, &parts.localName, &parts.uri, &parts.name})
        *part = &Atomize((*part)->GetBuffer(), (*part)->GetLength());
}

void UXmlReader::Parser::AddSpecialNames()
{
    xmlSpaceName = &nameTable.Add(L"xml:space");
    xmlLangName = &nameTable.Add(L"xml:lang");
}

const UString& UXmlReader::Parser::Atomize(const wchar_t* pwc, unsigned long ulCount)
{
    return ulCount == 0 ? UString::Empty : nameTable.Add(pwc, ulCount);
}

const Names& UXmlReader::Parser::ParseTriplet(const XML_Char* pszTriplet)
{
    size_t length = 0;
    unsigned long hash = 0;
    for (; pszTriplet[length] != 0; ++length)
        hash = (hash << 5) + hash + pszTriplet[length];
    CachedName& cached = nameCache[(hash ^ (hash >> 7)) % kNameCacheSize];
    if (cached.bUsed && cached.hash == hash && cached.raw.size() == length)
    {
        const wchar_t* raw = cached.raw.data();
        size_t i = 0;
        while (i < length && raw[i] == pszTriplet[i])
            ++i;
        if (i == length)
            return cached.names;
    }
    const Names parts = SplitTriplet(pszTriplet);
    cached.bUsed = false; // stays free if copying the name fails
    cached.raw.assign(pszTriplet, length);
    cached.hash = hash;
    cached.names = parts;
    cached.bUsed = true;
    return cached.names;
}

Names UXmlReader::Parser::SplitTriplet(const XML_Char* pszTriplet)
{
    const wchar_t* parts[3] = {nullptr, nullptr, nullptr};
    unsigned long lengths[3] = {0, 0, 0};
    unsigned long count = 0;
    const wchar_t* start = pszTriplet;
    for (const wchar_t* p = pszTriplet;; ++p)
    {
        if (*p != kTripletSeparator && *p != 0)
            continue;
        if (count < 3)
        {
            parts[count] = start;
            lengths[count] = static_cast<unsigned long>(p - start);
            ++count;
        }
        if (*p == 0)
            break;
        start = p + 1;
    }
    Names result = kNoNames;
    if (count == 1)
        result.localName = &Atomize(parts[0], lengths[0]);
    else
    {
        result.uri = &Atomize(parts[0], lengths[0]);
        result.localName = &Atomize(parts[1], lengths[1]);
        if (count > 2)
            result.prefix = &Atomize(parts[2], lengths[2]);
    }
    if (result.prefix->IsEmpty())
    {
        result.name = result.localName;
        return result;
    }
    scratch.Clear(0);
    scratch.Append(result.prefix->GetBuffer(), result.prefix->GetLength());
    scratch.Append(L':');
    scratch.Append(result.localName->GetBuffer(), result.localName->GetLength());
    result.name = &nameTable.Add(scratch.GetBuffer(), scratch.GetLength());
    return result;
}

void UXmlReader::Parser::ParseAttributes(const XML_Char** ppszAttributes)
{
    attributeCount = 0;
    attributeUnits.clear();
    for (const XML_Char** pp = ppszAttributes; pp[0] != nullptr; pp += 2)
    {
        if (attributeCount == attributes.size())
            attributes.emplace_back();
        AttributeRecord& attribute = attributes[attributeCount];
        attribute.names = ParseTriplet(pp[0]);
        attribute.offset = attributeUnits.size();
        attribute.length = 0;
        while (pp[1][attribute.length] != 0)
            ++attribute.length;
        attribute.bValueReady = false;
        // Each value keeps its terminator, so that GetAttribute can point into the units.
        attributeUnits.append(pp[1], attribute.length + 1);
        ++attributeCount;
        // Only xml:space and xml:lang mean something to the reader; names are atomized, so that
        // the address tells.
        const wchar_t* attributeValue = pp[1];
        if (attribute.names.name == xmlSpaceName)
        {
            if (std::wcscmp(attributeValue, L"default") == 0)
                scopes.back().space = eXmlSpace_Default;
            else if (std::wcscmp(attributeValue, L"preserve") == 0)
                scopes.back().space = eXmlSpace_Preserve;
            else
                ThrowAt(L"Invalid xml:space attribute value (error in [%lu,%lu]).", XML_GetCurrentLineNumber(parser),
                        XML_GetCurrentColumnNumber(parser));
        }
        else if (attribute.names.name == xmlLangName)
            scopes.back().lang = attribute.length == 0
                                     ? &UString::Empty
                                     : &languages.Add(attributeValue, static_cast<unsigned long>(attribute.length));
    }
}

const UString& UXmlReader::Parser::AttributeString(size_t index)
{
    AttributeRecord& attribute = attributes[index];
    if (!attribute.bValueReady)
    {
        attribute.value.Assign(AttributeValue(index), static_cast<unsigned long>(attribute.length));
        attribute.bValueReady = true;
    }
    return attribute.value;
}

void UXmlReader::Parser::OnStartElement(const XML_Char* pszName, const XML_Char** ppszAttributes)
{
    Suspend();
    nodeType = eXmlNodeType_Element;
    // Kept: text directly before a child element's start tag is not delivered (pinned by
    // XmlReaderTest.NodeSequences).
    ClearText();
    value.Reset();
    names = ParseTriplet(pszName);
    Scope scope{names, eXmlSpace_None, &UString::Empty};
    if (!scopes.empty())
    {
        scope.space = scopes.back().space;
        scope.lang = scopes.back().lang;
    }
    scopes.push_back(scope);
    ParseAttributes(ppszAttributes);
}

void UXmlReader::Parser::OnEndElement(const XML_Char* pszName)
{
    if (nodeReady)
    {
        // The start tag of this empty element is the node of this step.
        pendingEnd = 1;
        return;
    }
    Suspend();
    // Kept: white-space-only text is dropped; other text is delivered before the end tag
    // (pinned by XmlReaderTest.NodeSequences).
    ProcessBufferedText();
    // expat has matched the end tag with its start tag: the names are the scope's.
    if (!scopes.empty())
    {
        names = scopes.back().names;
        scopes.pop_back();
    }
    else
        names = ParseTriplet(pszName);
    if (depth > 0)
        --depth;
    nodeType = eXmlNodeType_EndElement;
    value.Reset();
    attributeCount = 0;
}

void UXmlReader::Parser::OnProcessingInstruction(const XML_Char* pszTarget, const XML_Char* pszData)
{
    Suspend();
    ProcessBufferedText();
    nodeType = eXmlNodeType_ProcessingInstruction;
    names = kNoNames;
    names.localName = names.name = &Atomize(pszTarget, static_cast<unsigned long>(std::wcslen(pszTarget)));
    SetValue(pszData);
}

void UXmlReader::Parser::OnComment(const XML_Char* pszText)
{
    Suspend();
    ProcessBufferedText();
    nodeType = eXmlNodeType_Comment;
    names = kNoNames;
    SetValue(pszText);
}

void UXmlReader::Parser::OnXmlDeclaration(const XML_Char* pszVersion, const XML_Char* pszEncoding, int iStandalone)
{
    Suspend();
    nodeType = eXmlNodeType_XmlDeclaration;
    names = kNoNames;
    names.localName = names.name = &nameTable.Add(L"xml");
    value.Reset();
    value.Append(L"version=\"");
    value.Append(pszVersion != nullptr ? pszVersion : L"");
    value.Append(L'"');
    if (pszEncoding != nullptr)
    {
        value.Append(L" encoding=\"");
        value.Append(pszEncoding);
        value.Append(L'"');
    }
    if (iStandalone != -1)
    {
        value.Append(L" standalone=\"");
        value.Append(iStandalone ? L"yes" : L"no");
        value.Append(L'"');
    }
}

long UXmlReader::Parser::Find(const wchar_t* pszName) const
{
    if (pszName == nullptr)
        return -1;
    for (unsigned long i = 0; i < attributeCount; ++i)
        if (Equals(*attributes[i].names.name, pszName))
            return static_cast<long>(i);
    return -1;
}

long UXmlReader::Parser::Find(const wchar_t* pszLocalName, const wchar_t* pszNamespaceURI) const
{
    if (pszLocalName == nullptr)
        return -1;
    const wchar_t* uriText = pszNamespaceURI != nullptr ? pszNamespaceURI : L"";
    for (unsigned long i = 0; i < attributeCount; ++i)
        if (Equals(*attributes[i].names.localName, pszLocalName) && Equals(*attributes[i].names.uri, uriText))
            return static_cast<long>(i);
    return -1;
}

// ---- UXmlReader ----

UXmlReader::UXmlReader(IO::UStream* pStream) : m_pParser(nullptr)
{
    Internal::ThrowIfNull(pStream, L"pStream");
    m_pParser = new Parser(pStream);
}

UXmlReader::~UXmlReader()
{
    delete m_pParser;
}

int UXmlReader::Read()
{
    return m_pParser->Read();
}

void UXmlReader::Close()
{
    m_pParser->state = eXmlReaderState_Closed;
}

UXmlReaderState UXmlReader::GetReaderState() const
{
    return m_pParser->state;
}

UXmlNodeType UXmlReader::GetNodeType() const
{
    return m_pParser->NodeType();
}

unsigned long UXmlReader::GetDepth() const
{
    const Parser& p = *m_pParser;
    // Text ended by an end tag lies one level deeper than that end tag; an attribute one level
    // deeper than its element.
    if ((p.HasText() && p.nodeType == eXmlNodeType_EndElement) || p.OnAttribute())
        return p.depth + 1;
    return p.depth;
}

unsigned long UXmlReader::GetLineNumber() const
{
    return XML_GetCurrentLineNumber(m_pParser->parser);
}

unsigned long UXmlReader::GetLinePosition() const
{
    return XML_GetCurrentColumnNumber(m_pParser->parser);
}

int UXmlReader::HasValue() const
{
    switch (GetNodeType())
    {
    case eXmlNodeType_Attribute:
    case eXmlNodeType_CDATA:
    case eXmlNodeType_Comment:
    case eXmlNodeType_DocumentType:
    case eXmlNodeType_ProcessingInstruction:
    case eXmlNodeType_SignificantWhitespace:
    case eXmlNodeType_Text:
    case eXmlNodeType_Whitespace:
    case eXmlNodeType_XmlDeclaration:
        return 1;
    default:
        return 0;
    }
}

const UString& UXmlReader::GetPrefix() const
{
    return *m_pParser->CurrentNames().prefix;
}

const UString& UXmlReader::GetNamespaceURI() const
{
    return *m_pParser->CurrentNames().uri;
}

const UString& UXmlReader::GetLocalName() const
{
    return *m_pParser->CurrentNames().localName;
}

const UString& UXmlReader::GetName() const
{
    return *m_pParser->CurrentNames().name;
}

const UString& UXmlReader::GetValue() const
{
    return m_pParser->Value();
}

UXmlSpace UXmlReader::GetXmlSpace() const
{
    return m_pParser->scopes.empty() ? eXmlSpace_None : m_pParser->scopes.back().space;
}

const UString& UXmlReader::GetXmlLang() const
{
    return m_pParser->scopes.empty() ? UString::Empty : *m_pParser->scopes.back().lang;
}

UXmlNameTable& UXmlReader::GetNameTable()
{
    return m_pParser->nameTable;
}

// ---- Attributes ----

int UXmlReader::HasAttributes() const
{
    return m_pParser->attributeCount != 0 && !m_pParser->HasText() ? 1 : 0;
}

unsigned long UXmlReader::GetAttributeCount() const
{
    return m_pParser->HasText() ? 0 : m_pParser->attributeCount;
}

const wchar_t* UXmlReader::GetAttribute(unsigned long ulIndex) const
{
    return ulIndex < GetAttributeCount() ? m_pParser->AttributeValue(ulIndex) : nullptr;
}

const wchar_t* UXmlReader::GetAttribute(const wchar_t* pszName) const
{
    const long index = m_pParser->HasText() ? -1 : m_pParser->Find(pszName);
    return index < 0 ? nullptr : m_pParser->AttributeValue(static_cast<size_t>(index));
}

const wchar_t* UXmlReader::GetAttribute(const wchar_t* pszLocalName, const wchar_t* pszNamespaceURI) const
{
    const long index = m_pParser->HasText() ? -1 : m_pParser->Find(pszLocalName, pszNamespaceURI);
    return index < 0 ? nullptr : m_pParser->AttributeValue(static_cast<size_t>(index));
}

int UXmlReader::MoveToAttribute(unsigned long ulIndex)
{
    if (ulIndex >= GetAttributeCount())
        return 0;
    m_pParser->currentAttribute = static_cast<long>(ulIndex);
    return 1;
}

int UXmlReader::MoveToAttribute(const wchar_t* pszName)
{
    const long index = m_pParser->HasText() ? -1 : m_pParser->Find(pszName);
    if (index < 0)
        return 0;
    m_pParser->currentAttribute = index;
    return 1;
}

int UXmlReader::MoveToAttribute(const wchar_t* pszLocalName, const wchar_t* pszNamespaceURI)
{
    const long index = m_pParser->HasText() ? -1 : m_pParser->Find(pszLocalName, pszNamespaceURI);
    if (index < 0)
        return 0;
    m_pParser->currentAttribute = index;
    return 1;
}

int UXmlReader::MoveToFirstAttribute()
{
    return MoveToAttribute(0UL);
}

int UXmlReader::MoveToNextAttribute()
{
    if (!m_pParser->OnAttribute())
        return MoveToFirstAttribute();
    return MoveToAttribute(static_cast<unsigned long>(m_pParser->currentAttribute) + 1);
}

int UXmlReader::MoveToElement()
{
    if (!m_pParser->OnAttribute())
        return 0;
    m_pParser->currentAttribute = -1;
    return 1;
}

// ---- Navigation ----

UXmlNodeType UXmlReader::MoveToContent()
{
    if (MoveToElement())
        return GetNodeType();
    for (;;)
    {
        const UXmlNodeType type = GetNodeType();
        switch (type)
        {
        case eXmlNodeType_CDATA:
        case eXmlNodeType_Element:
        case eXmlNodeType_EndElement:
        case eXmlNodeType_EndEntity:
        case eXmlNodeType_EntityReference:
        case eXmlNodeType_Text:
            return type;
        default:
            if (!Read())
                return eXmlNodeType_None;
        }
    }
}

void UXmlReader::Skip()
{
    MoveToElement();
    const unsigned long start = GetDepth();
    do
    {
        if (!Read())
            return;
    } while (GetDepth() != start);
}

namespace
{

bool Matches(const UXmlReader& reader, const wchar_t* pszName, const wchar_t* pszLocalName, const wchar_t* pszUri)
{
    if (reader.GetNodeType() != eXmlNodeType_Element)
        return false;
    if (pszName != nullptr)
        return Equals(reader.GetName(), pszName);
    if (pszLocalName != nullptr)
        return Equals(reader.GetLocalName(), pszLocalName) && Equals(reader.GetNamespaceURI(), pszUri);
    return true;
}

} // namespace

// The three searches share one walk: pszName for the qualified-name forms, pszLocalName and
// pszUri for the namespace forms, neither for "any element".
static int ReadToDescendantImpl(UXmlReader& reader, const wchar_t* pszName, const wchar_t* pszLocalName,
                                const wchar_t* pszUri, bool bEmptyElement)
{
    reader.MoveToElement();
    if (reader.GetReaderState() == eXmlReaderState_Initial)
    {
        if (!reader.Read())
            return 0;
        if (Matches(reader, pszName, pszLocalName, pszUri))
            return 1;
        bEmptyElement = false;
    }
    else if (reader.GetNodeType() != eXmlNodeType_Element || bEmptyElement)
        return 0;
    const bool document = reader.GetNodeType() != eXmlNodeType_Element;
    const unsigned long start = reader.GetDepth();
    while (reader.Read())
    {
        if (reader.GetNodeType() == eXmlNodeType_EndElement && reader.GetDepth() <= start && !document)
            return 0;
        if (Matches(reader, pszName, pszLocalName, pszUri))
            return 1;
    }
    return 0;
}

static int ReadToFollowingImpl(UXmlReader& reader, const wchar_t* pszName, const wchar_t* pszLocalName,
                               const wchar_t* pszUri)
{
    reader.MoveToElement();
    while (reader.Read())
        if (Matches(reader, pszName, pszLocalName, pszUri))
            return 1;
    return 0;
}

static int ReadToNextSiblingImpl(UXmlReader& reader, const wchar_t* pszName, const wchar_t* pszLocalName,
                                 const wchar_t* pszUri)
{
    reader.MoveToElement();
    if (reader.GetNodeType() == eXmlNodeType_None)
        return 0;
    const unsigned long start = reader.GetDepth();
    while (reader.Read())
    {
        const unsigned long depth = reader.GetDepth();
        if (reader.GetNodeType() == eXmlNodeType_EndElement && depth < start)
            return 0;
        if (depth == start && Matches(reader, pszName, pszLocalName, pszUri))
            return 1;
    }
    return 0;
}

int UXmlReader::ReadToDescendant()
{
    return ReadToDescendantImpl(*this, nullptr, nullptr, nullptr, m_pParser->IsEmptyElement());
}

int UXmlReader::ReadToDescendant(const wchar_t* pszName)
{
    Internal::ThrowIfNull(pszName, L"pszName");
    return ReadToDescendantImpl(*this, pszName, nullptr, nullptr, m_pParser->IsEmptyElement());
}

int UXmlReader::ReadToDescendant(const wchar_t* pszLocalName, const wchar_t* pszNamespaceURI)
{
    Internal::ThrowIfNull(pszLocalName, L"pszLocalName");
    return ReadToDescendantImpl(*this, nullptr, pszLocalName, pszNamespaceURI != nullptr ? pszNamespaceURI : L"",
                                m_pParser->IsEmptyElement());
}

int UXmlReader::ReadToFollowing(const wchar_t* pszName)
{
    Internal::ThrowIfNull(pszName, L"pszName");
    return ReadToFollowingImpl(*this, pszName, nullptr, nullptr);
}

int UXmlReader::ReadToFollowing(const wchar_t* pszLocalName, const wchar_t* pszNamespaceURI)
{
    Internal::ThrowIfNull(pszLocalName, L"pszLocalName");
    return ReadToFollowingImpl(*this, nullptr, pszLocalName, pszNamespaceURI != nullptr ? pszNamespaceURI : L"");
}

int UXmlReader::ReadToNextSibling()
{
    return ReadToNextSiblingImpl(*this, nullptr, nullptr, nullptr);
}

int UXmlReader::ReadToNextSibling(const wchar_t* pszName)
{
    Internal::ThrowIfNull(pszName, L"pszName");
    return ReadToNextSiblingImpl(*this, pszName, nullptr, nullptr);
}

int UXmlReader::ReadToNextSibling(const wchar_t* pszLocalName, const wchar_t* pszNamespaceURI)
{
    Internal::ThrowIfNull(pszLocalName, L"pszLocalName");
    return ReadToNextSiblingImpl(*this, nullptr, pszLocalName, pszNamespaceURI != nullptr ? pszNamespaceURI : L"");
}

// ---- Content ----

UString UXmlReader::ReadString()
{
    UStringBuilder& content = m_pParser->content;
    content.Clear(0);
    MoveToElement();
    for (;;)
    {
        switch (GetNodeType())
        {
        case eXmlNodeType_CDATA:
        case eXmlNodeType_SignificantWhitespace:
        case eXmlNodeType_Text:
        case eXmlNodeType_Whitespace:
            content.Append(GetValue().GetBuffer(), GetValue().GetLength());
            break;
        case eXmlNodeType_Element:
            break;
        case eXmlNodeType_EndElement:
            return content;
        default:
            Read();
            return content;
        }
        if (!Read())
            return content;
    }
}

void UXmlReader::ReadEndElement()
{
    const Parser& p = *m_pParser;
    if (p.HasText() || p.OnAttribute() || p.nodeType != eXmlNodeType_EndElement)
        throw UXmlException(L"Node is not an element end tag.");
    Read();
}

namespace
{

// Collects text from the current node on; bInElement: inside ReadElementContent, where a child
// element is an error rather than the end of the text.
void CollectContent(UXmlReader& reader, UStringBuilder& content, bool bInElement)
{
    bool first = !bInElement;
    for (;;)
    {
        const UXmlNodeType type = reader.GetNodeType();
        switch (type)
        {
        case eXmlNodeType_CDATA:
        case eXmlNodeType_EndEntity:
        case eXmlNodeType_EntityReference:
        case eXmlNodeType_SignificantWhitespace:
        case eXmlNodeType_Text:
        case eXmlNodeType_Whitespace:
            content.Append(reader.GetValue().GetBuffer(), reader.GetValue().GetLength());
            break;
        case eXmlNodeType_Comment:
        case eXmlNodeType_ProcessingInstruction:
            break;
        case eXmlNodeType_Element:
            if (bInElement)
                throw UInvalidOperationException(L"Element contains child elements.");
            if (first)
                throw UInvalidOperationException(L"Current node cannot contain any text.");
            return;
        case eXmlNodeType_EndElement:
            return;
        default:
            if (first || bInElement)
                throw UInvalidOperationException(L"Current node cannot contain any text.");
            return;
        }
        first = false;
        if (!reader.Read())
        {
            if (bInElement)
                throw UInvalidOperationException(L"Current node cannot contain any text.");
            return;
        }
    }
}

int ToBoolean(const UString& text)
{
    if (Equals(text, L"true"))
        return 1;
    if (Equals(text, L"false"))
        return 0;
    throw Exceptions::UFormatException(L"Value is neither 'true' nor 'false'.");
}

} // namespace

UString UXmlReader::ReadContentAsString()
{
    UStringBuilder& content = m_pParser->content;
    content.Clear(0);
    if (m_pParser->OnAttribute())
    {
        const UString& attributeValue = m_pParser->Value();
        content.Append(attributeValue.GetBuffer(), attributeValue.GetLength());
        return content;
    }
    CollectContent(*this, content, false);
    return content;
}

int UXmlReader::ReadContentAsBoolean()
{
    return ToBoolean(ReadContentAsString());
}

long UXmlReader::ReadContentAsSigned32()
{
    return Math::UIntegerI32::Parse(ReadContentAsString().GetBuffer());
}

unsigned long UXmlReader::ReadContentAsUnsigned32()
{
    return Math::UIntegerU32::Parse(ReadContentAsString().GetBuffer());
}

__int64 UXmlReader::ReadContentAsSigned64()
{
    return Math::UIntegerI64::Parse(ReadContentAsString().GetBuffer());
}

unsigned __int64 UXmlReader::ReadContentAsUnsigned64()
{
    return Math::UIntegerU64::Parse(ReadContentAsString().GetBuffer());
}

UString UXmlReader::ReadElementContentAsString()
{
    MoveToElement();
    if (GetNodeType() != eXmlNodeType_Element)
        throw UInvalidOperationException(L"Reader is not positioned on an element.");
    UStringBuilder& content = m_pParser->content;
    content.Clear(0);
    if (!Read())
        throw UInvalidOperationException(L"Current node cannot contain any text.");
    CollectContent(*this, content, true);
    // Past the end tag, so that the next element's content can be read at once.
    UString result(content);
    Read();
    return result;
}

int UXmlReader::ReadElementContentAsBoolean()
{
    return ToBoolean(ReadElementContentAsString());
}

long UXmlReader::ReadElementContentAsSigned32()
{
    return Math::UIntegerI32::Parse(ReadElementContentAsString().GetBuffer());
}

unsigned long UXmlReader::ReadElementContentAsUnsigned32()
{
    return Math::UIntegerU32::Parse(ReadElementContentAsString().GetBuffer());
}

__int64 UXmlReader::ReadElementContentAsSigned64()
{
    return Math::UIntegerI64::Parse(ReadElementContentAsString().GetBuffer());
}

unsigned __int64 UXmlReader::ReadElementContentAsUnsigned64()
{
    return Math::UIntegerU64::Parse(ReadElementContentAsString().GetBuffer());
}

} // namespace Xml
} // namespace Lib
} // namespace Oskal
