#include <Oskal/Lib/Xml/UXmlReader.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
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
#include <string>
#include <vector>

namespace Oskal
{
namespace Lib
{
namespace Xml
{

using Exceptions::UInvalidOperationException;

namespace
{

// The parser gets the stream in pieces of this size, so a huge document never sits in memory.
const int kBufferSize = 512;
// Separates namespace URI, local name and prefix in the names expat reports.
const XML_Char kTripletSeparator = 0x0C;

struct AttributeRecord
{
    const UString* prefix = &UString::Empty;
    const UString* localName = &UString::Empty;
    const UString* uri = &UString::Empty;
    const UString* name = &UString::Empty;
    UStringBuilder value;
};

// A name as expat reported it, remembered with its atomized parts: documents repeat few names
// many times, and a hit saves splitting and looking up every part again.
struct CachedName
{
    std::wstring raw;
    unsigned long generation = 0;
    const UString* prefix = nullptr;
    const UString* localName = nullptr;
    const UString* uri = nullptr;
    const UString* name = nullptr;
};

const size_t kNameCacheSize = 64;

// xml:space and xml:lang of one open element; the language is a name-table string, so that deep
// nesting shares one copy instead of copying it into every scope.
struct Scope
{
    UXmlSpace space;
    const UString* lang;
};

bool IsWhite(wchar_t wc)
{
    return wc == L' ' || wc == L'\t' || wc == L'\r' || wc == L'\n';
}

bool SameUnits(const wchar_t* pwcLeft, const wchar_t* pwcRight, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        if (pwcLeft[i] != pwcRight[i])
            return false;
    return true;
}

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
    bool HasText() const { return !text.IsEmpty(); }
    UXmlNodeType NodeType() const
    {
        if (HasText())
            return eXmlNodeType_Text;
        if (OnAttribute())
            return eXmlNodeType_Attribute;
        return nodeType;
    }
    const AttributeRecord& Current() const { return attributes[static_cast<size_t>(currentAttribute)]; }
    // The index of the matching attribute, or -1.
    long Find(const wchar_t* pszName) const;
    long Find(const wchar_t* pszLocalName, const wchar_t* pszNamespaceURI) const;
    bool IsEmptyElement() const { return nodeType == eXmlNodeType_Element && pendingEnd && !HasText(); }

    IO::UStream* stream;
    XML_Parser parser;
    UXmlReaderState state;
    UXmlNodeType nodeType;
    unsigned long depth;
    UStringBuilder text;
    UStringBuilder value;
    UStringBuilder content;
    const UString* prefix;
    const UString* localName;
    const UString* uri;
    const UString* name;
    std::vector<AttributeRecord> attributes;
    unsigned long attributeCount;
    long currentAttribute;
    std::vector<Scope> scopes;
    int nodeReady;
    int pendingEnd;
    int suspended;
    int finalFed;
    UXmlNameTable names;

private:
    // Runs the parser until a callback produced a node (true) or the input ended (false).
    bool Advance();
    void Suspend();
    // Drops buffered text that is white space only.
    void ProcessBufferedText();
    const UString& Atomize(const wchar_t* pwc, unsigned long ulCount);
    // Splits "uri<sep>local<sep>prefix" (parts absent when empty) into atomized names.
    void ParseTriplet(const XML_Char* pszTriplet, const UString*& rPrefix, const UString*& rLocal, const UString*& rUri,
                      const UString*& rName);
    void SplitTriplet(const XML_Char* pszTriplet, const UString*& rPrefix, const UString*& rLocal, const UString*& rUri,
                      const UString*& rName);
    void ParseAttributes(const XML_Char** ppszAttributes);
    void SetNoNames();

    void OnStartElement(const XML_Char* pszName, const XML_Char** ppszAttributes);
    void OnEndElement(const XML_Char* pszName);
    void OnCharacterData(const XML_Char* pwc, int iLength);
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
};

UXmlReader::Parser::Parser(IO::UStream* pStream)
    : stream(pStream), parser(nullptr), state(eXmlReaderState_Initial), nodeType(eXmlNodeType_None), depth(0),
      prefix(&UString::Empty), localName(&UString::Empty), uri(&UString::Empty), name(&UString::Empty),
      attributeCount(0), currentAttribute(-1), nodeReady(0), pendingEnd(0), suspended(0), finalFed(0)
{
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
        text.Clear(0);
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
    text.Clear(0);
    value.Clear(0);
    SetNoNames();
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

void UXmlReader::Parser::ProcessBufferedText()
{
    const wchar_t* pwc = text.GetBuffer();
    const unsigned long length = text.GetLength();
    for (unsigned long i = 0; i < length; ++i)
        if (!IsWhite(pwc[i]))
            return;
    text.Clear(0);
}

const UString& UXmlReader::Parser::Atomize(const wchar_t* pwc, unsigned long ulCount)
{
    return ulCount == 0 ? UString::Empty : names.Add(pwc, ulCount);
}

void UXmlReader::Parser::SetNoNames()
{
    prefix = localName = uri = name = &UString::Empty;
}

void UXmlReader::Parser::ParseTriplet(const XML_Char* pszTriplet, const UString*& rPrefix, const UString*& rLocal,
                                      const UString*& rUri, const UString*& rName)
{
    size_t length = 0;
    unsigned long mix = 0;
    for (; pszTriplet[length] != 0; ++length)
        mix = mix * 31 + pszTriplet[length];
    CachedName& cached = nameCache[(mix ^ (mix >> 7)) % kNameCacheSize];
    const unsigned long generation = names.GetGeneration();
    if (cached.name != nullptr && cached.generation == generation && cached.raw.size() == length &&
        SameUnits(cached.raw.data(), pszTriplet, length))
    {
        rPrefix = cached.prefix;
        rLocal = cached.localName;
        rUri = cached.uri;
        rName = cached.name;
        return;
    }
    SplitTriplet(pszTriplet, rPrefix, rLocal, rUri, rName);
    cached.raw.assign(pszTriplet, length);
    cached.generation = generation;
    cached.prefix = rPrefix;
    cached.localName = rLocal;
    cached.uri = rUri;
    cached.name = rName;
}

void UXmlReader::Parser::SplitTriplet(const XML_Char* pszTriplet, const UString*& rPrefix, const UString*& rLocal,
                                      const UString*& rUri, const UString*& rName)
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
    if (count == 1)
    {
        rUri = rPrefix = &UString::Empty;
        rLocal = &Atomize(parts[0], lengths[0]);
    }
    else
    {
        rUri = &Atomize(parts[0], lengths[0]);
        rLocal = &Atomize(parts[1], lengths[1]);
        rPrefix = count > 2 ? &Atomize(parts[2], lengths[2]) : &UString::Empty;
    }
    if (rPrefix->IsEmpty())
    {
        rName = rLocal;
        return;
    }
    scratch.Clear(0);
    scratch.Append(rPrefix->GetBuffer(), rPrefix->GetLength());
    scratch.Append(L':');
    scratch.Append(rLocal->GetBuffer(), rLocal->GetLength());
    rName = &names.Add(scratch.GetBuffer(), scratch.GetLength());
}

void UXmlReader::Parser::ParseAttributes(const XML_Char** ppszAttributes)
{
    attributeCount = 0;
    for (const XML_Char** pp = ppszAttributes; pp[0] != nullptr; pp += 2)
    {
        if (attributeCount == attributes.size())
            attributes.emplace_back();
        AttributeRecord& attribute = attributes[attributeCount];
        ParseTriplet(pp[0], attribute.prefix, attribute.localName, attribute.uri, attribute.name);
        attribute.value.Assign(pp[1]);
        ++attributeCount;
        // Only xml:space and xml:lang mean something to the reader; most names fail at once.
        if (attribute.name->GetBuffer()[0] != L'x')
            continue;
        if (Equals(*attribute.name, L"xml:space"))
        {
            if (Equals(attribute.value, L"default"))
                scopes.back().space = eXmlSpace_Default;
            else if (Equals(attribute.value, L"preserve"))
                scopes.back().space = eXmlSpace_Preserve;
            else
                ThrowAt(L"Invalid xml:space attribute value (error in [%lu,%lu]).", XML_GetCurrentLineNumber(parser),
                        XML_GetCurrentColumnNumber(parser));
        }
        else if (Equals(*attribute.name, L"xml:lang"))
            scopes.back().lang = &Atomize(attribute.value.GetBuffer(), attribute.value.GetLength());
    }
}

void UXmlReader::Parser::OnStartElement(const XML_Char* pszName, const XML_Char** ppszAttributes)
{
    Suspend();
    Scope scope{eXmlSpace_None, &UString::Empty};
    if (!scopes.empty())
        scope = scopes.back();
    scopes.push_back(scope);
    nodeType = eXmlNodeType_Element;
    // Kept: text directly before a child element's start tag is not delivered (pinned by
    // XmlReaderTest.NodeSequences).
    text.Clear(0);
    value.Clear(0);
    ParseTriplet(pszName, prefix, localName, uri, name);
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
    ParseTriplet(pszName, prefix, localName, uri, name);
    if (!scopes.empty())
        scopes.pop_back();
    if (depth > 0)
        --depth;
    nodeType = eXmlNodeType_EndElement;
    value.Clear(0);
    attributeCount = 0;
}

void UXmlReader::Parser::OnCharacterData(const XML_Char* pwc, int iLength)
{
    // No suspension: consecutive pieces join into one text node.
    if (iLength > 0)
        text.Append(pwc, static_cast<unsigned long>(iLength));
}

void UXmlReader::Parser::OnProcessingInstruction(const XML_Char* pszTarget, const XML_Char* pszData)
{
    Suspend();
    ProcessBufferedText();
    nodeType = eXmlNodeType_ProcessingInstruction;
    prefix = uri = &UString::Empty;
    localName = name = &Atomize(pszTarget, static_cast<unsigned long>(std::wcslen(pszTarget)));
    value.Assign(pszData);
}

void UXmlReader::Parser::OnComment(const XML_Char* pszText)
{
    Suspend();
    ProcessBufferedText();
    nodeType = eXmlNodeType_Comment;
    SetNoNames();
    value.Assign(pszText);
}

void UXmlReader::Parser::OnXmlDeclaration(const XML_Char* pszVersion, const XML_Char* pszEncoding, int iStandalone)
{
    Suspend();
    nodeType = eXmlNodeType_XmlDeclaration;
    prefix = uri = &UString::Empty;
    localName = name = &names.Add(L"xml");
    value.Clear(0);
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
        if (Equals(*attributes[i].name, pszName))
            return static_cast<long>(i);
    return -1;
}

long UXmlReader::Parser::Find(const wchar_t* pszLocalName, const wchar_t* pszNamespaceURI) const
{
    if (pszLocalName == nullptr)
        return -1;
    const wchar_t* uriText = pszNamespaceURI != nullptr ? pszNamespaceURI : L"";
    for (unsigned long i = 0; i < attributeCount; ++i)
        if (Equals(*attributes[i].localName, pszLocalName) && Equals(*attributes[i].uri, uriText))
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
    const Parser& p = *m_pParser;
    return p.HasText() ? UString::Empty : p.OnAttribute() ? *p.Current().prefix : *p.prefix;
}

const UString& UXmlReader::GetNamespaceURI() const
{
    const Parser& p = *m_pParser;
    return p.HasText() ? UString::Empty : p.OnAttribute() ? *p.Current().uri : *p.uri;
}

const UString& UXmlReader::GetLocalName() const
{
    const Parser& p = *m_pParser;
    return p.HasText() ? UString::Empty : p.OnAttribute() ? *p.Current().localName : *p.localName;
}

const UString& UXmlReader::GetName() const
{
    const Parser& p = *m_pParser;
    return p.HasText() ? UString::Empty : p.OnAttribute() ? *p.Current().name : *p.name;
}

const UString& UXmlReader::GetValue() const
{
    const Parser& p = *m_pParser;
    if (p.HasText())
        return p.text;
    if (p.OnAttribute())
        return p.Current().value;
    return p.value;
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
    return m_pParser->names;
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
    return ulIndex < GetAttributeCount() ? m_pParser->attributes[ulIndex].value.GetBuffer() : nullptr;
}

const wchar_t* UXmlReader::GetAttribute(const wchar_t* pszName) const
{
    const long index = m_pParser->HasText() ? -1 : m_pParser->Find(pszName);
    return index < 0 ? nullptr : m_pParser->attributes[static_cast<size_t>(index)].value.GetBuffer();
}

const wchar_t* UXmlReader::GetAttribute(const wchar_t* pszLocalName, const wchar_t* pszNamespaceURI) const
{
    const long index = m_pParser->HasText() ? -1 : m_pParser->Find(pszLocalName, pszNamespaceURI);
    return index < 0 ? nullptr : m_pParser->attributes[static_cast<size_t>(index)].value.GetBuffer();
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
        const UString& attributeValue = m_pParser->Current().value;
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
