#include <Oskal/Lib/Xml/UXmlWriter.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/Internal/ReleasePtr.h>
#include <Oskal/Lib/Internal/WideBuffer.h>
#include <Oskal/Lib/Text/UUTF8Encoding.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UInvalidOperationException.h>

#include <cstdlib>
#include <cwchar>
#include <new>
#include <vector>

namespace Oskal
{
namespace Lib
{
namespace Xml
{

using Exceptions::UArgumentException;
using Exceptions::UInvalidOperationException;

namespace
{

const unsigned long kWholeString = 0xFFFFFFFFUL;
// Output is handed to the stream writer in pieces of about this many units.
const unsigned long kOutputChunk = 4096;
const wchar_t kNotProperState[] = L"Writer is not in the proper state for this operation.";
const wchar_t kInvalidState[] = L"Invalid writer state for this operation.";

using Internal::WideBuffer;

// A name or value inside the writer's records: the UString operations the writer uses, on a
// plain buffer that keeps its capacity and needs no call into the string classes.
class TextBuffer
{
public:
    void Assign(const wchar_t* pwc, unsigned long ulCount) { m_text.assign(pwc, ulCount); }
    void Assign(const wchar_t* psz) { m_text.assign(psz); }
    void Clear(int) { m_text.clear(); }
    bool IsEmpty() const { return m_text.empty(); }
    const wchar_t* GetBuffer() const { return m_text.c_str(); }
    unsigned long GetLength() const { return static_cast<unsigned long>(m_text.size()); }
    void Swap(WideBuffer& other) { m_text.swap(other); }

private:
    WideBuffer m_text;
};

// Records are reused as elements come and go, and their builders keep their buffers, so that
// writing an element allocates nothing once the depth and attribute counts have been seen.
struct Attribute
{
    TextBuffer prefix;
    TextBuffer localName;
    TextBuffer value;
    bool bDeclaration = false; // xmlns or xmlns:prefix
};

struct Declaration
{
    TextBuffer prefix;
    TextBuffer uri;
};

struct Element
{
    TextBuffer prefix;
    TextBuffer localName;
    // The xml:lang written on this element; langOwner is 1 + the level of the element whose
    // xml:lang applies (0: none), so that nested elements share the text instead of copying it.
    UStringBuilder lang;
    unsigned long langOwner = 0;
    UXmlSpace space = eXmlSpace_None;
    int bHasChildElements = 0;
    std::vector<Attribute> attributes;
    size_t attributeCount = 0;
    std::vector<Declaration> declarations;
    size_t declarationCount = 0;

    Attribute& AddAttribute(const wchar_t* pwcPrefix, unsigned long ulPrefix, const wchar_t* pwcLocal,
                            unsigned long ulLocal)
    {
        if (attributeCount == attributes.size())
            attributes.emplace_back();
        Attribute& attribute = attributes[attributeCount++];
        attribute.prefix.Assign(pwcPrefix, ulPrefix);
        attribute.localName.Assign(pwcLocal, ulLocal);
        attribute.value.Clear(0);
        attribute.bDeclaration = (ulPrefix == 5 && std::wmemcmp(pwcPrefix, L"xmlns", 5) == 0) ||
                                 (ulLocal == 5 && std::wmemcmp(pwcLocal, L"xmlns", 5) == 0);
        return attribute;
    }
    template <typename P, typename U> void AddDeclaration(const P& prefixText, const U& uriText)
    {
        if (declarationCount == declarations.size())
            declarations.emplace_back();
        Declaration& declaration = declarations[declarationCount++];
        declaration.prefix.Assign(prefixText.GetBuffer(), prefixText.GetLength());
        declaration.uri.Assign(uriText.GetBuffer(), uriText.GetLength());
    }
};

template <typename L, typename R> bool Same(const L& left, const R& right)
{
    return left.GetLength() == right.GetLength() &&
           std::wmemcmp(left.GetBuffer(), right.GetBuffer(), left.GetLength()) == 0;
}

template <typename T> bool Is(const T& text, const wchar_t* psz)
{
    return std::wcscmp(text.GetBuffer(), psz) == 0;
}

bool IsHighSurrogate(wchar_t wc)
{
    return wc >= 0xD800 && wc <= 0xDBFF;
}

bool IsLowSurrogate(wchar_t wc)
{
    return wc >= 0xDC00 && wc <= 0xDFFF;
}

// The code point at *pulIndex, which moves past it; false for a broken surrogate sequence.
bool NextCodePoint(const wchar_t* pwc, unsigned long ulCount, unsigned long* pulIndex, unsigned long* pulCodePoint)
{
    wchar_t wc = pwc[*pulIndex];
    if (IsLowSurrogate(wc))
        return false;
    if (IsHighSurrogate(wc))
    {
        if (*pulIndex + 1 >= ulCount || !IsLowSurrogate(pwc[*pulIndex + 1]))
            return false;
        *pulCodePoint = 0x10000 + ((static_cast<unsigned long>(wc) - 0xD800) << 10) +
                        (static_cast<unsigned long>(pwc[*pulIndex + 1]) - 0xDC00);
        *pulIndex += 2;
        return true;
    }
    *pulCodePoint = wc;
    *pulIndex += 1;
    return true;
}

bool IsNameStart(unsigned long cp)
{
    return (cp >= L'a' && cp <= L'z') || (cp >= L'A' && cp <= L'Z') || cp == L'_' || cp == L':' ||
           (cp >= 0xC0 && cp <= 0xD6) || (cp >= 0xD8 && cp <= 0xF6) || (cp >= 0xF8 && cp <= 0x2FF) ||
           (cp >= 0x370 && cp <= 0x37D) || (cp >= 0x37F && cp <= 0x1FFF) || (cp >= 0x200C && cp <= 0x200D) ||
           (cp >= 0x2070 && cp <= 0x218F) || (cp >= 0x2C00 && cp <= 0x2FEF) || (cp >= 0x3001 && cp <= 0xD7FF) ||
           (cp >= 0xF900 && cp <= 0xFDCF) || (cp >= 0xFDF0 && cp <= 0xFFFD) || (cp >= 0x10000 && cp <= 0xEFFFF);
}

bool IsNameChar(unsigned long cp)
{
    return IsNameStart(cp) || cp == L'-' || cp == L'.' || (cp >= L'0' && cp <= L'9') || cp == 0xB7 ||
           (cp >= 0x300 && cp <= 0x36F) || (cp >= 0x203F && cp <= 0x2040);
}

bool IsLegalChar(unsigned long cp)
{
    return cp == 0x9 || cp == 0xA || cp == 0xD || (cp >= 0x20 && cp <= 0xD7FF) || (cp >= 0xE000 && cp <= 0xFFFD) ||
           (cp >= 0x10000 && cp <= 0x10FFFF);
}

// ASCII letters, digits, '_', '-' and '.' as bits, by blocks of 32 units.
const unsigned long kAsciiNameChars[4] = {0, 0x03FF6000, 0x87FFFFFE, 0x07FFFFFE};

enum NameRule
{
    eElementName,   // name-start character first, name characters after
    eNamespaceName, // the same without any colon
    eNmToken        // name characters only
};

// A broken surrogate sequence throws.
bool CheckNameText(const wchar_t* psz, NameRule eRule)
{
    // Most names are ASCII letters and digits: settle those without the full walk.
    const wchar_t* p = psz;
    if (eRule == eNmToken || ((*p | 0x20) >= L'a' && (*p | 0x20) <= L'z') || *p == L'_')
        while (*p < 0x80 && ((kAsciiNameChars[*p >> 5] >> (*p & 0x1F)) & 1) != 0)
            ++p;
    if (*p == 0)
        return true;
    const unsigned long length = static_cast<unsigned long>(std::wcslen(psz));
    unsigned long index = 0;
    while (index < length)
    {
        const bool first = index == 0;
        unsigned long cp = 0;
        if (!NextCodePoint(psz, length, &index, &cp))
            throw UArgumentException(L"pszName", L"Malformed UTF-16 string.");
        if (eRule == eNamespaceName && cp == L':')
            return false;
        if (!(first && eRule != eNmToken ? IsNameStart(cp) : IsNameChar(cp)))
            return false;
    }
    return true;
}

// NULL and the empty string pass (most prefixes and namespaces are empty): no call for them.
inline bool CheckName(const wchar_t* psz, NameRule eRule)
{
    return psz == nullptr || *psz == 0 || CheckNameText(psz, eRule);
}

bool AllLegalChars(const wchar_t* psz)
{
    const unsigned long length = static_cast<unsigned long>(std::wcslen(psz));
    unsigned long index = 0;
    while (index < length)
    {
        unsigned long cp = 0;
        if (!NextCodePoint(psz, length, &index, &cp) || !IsLegalChar(cp))
            return false;
    }
    return true;
}

bool IsWhite(wchar_t wc)
{
    return wc == L' ' || wc == L'\t' || wc == L'\r' || wc == L'\n';
}

bool AllWhite(const wchar_t* psz)
{
    for (; *psz != 0; ++psz)
        if (!IsWhite(*psz))
            return false;
    return true;
}

bool IsEmpty(const wchar_t* psz)
{
    return psz == nullptr || *psz == 0;
}

const wchar_t* OrEmpty(const wchar_t* psz)
{
    return psz != nullptr ? psz : L"";
}

// "%llu", with a leading minus when bNegative, into awcText (at least 21 units); returns the
// length. The run-time's formatter costs more than the rest of writing a value.
unsigned long FormatDecimal(unsigned long long ullMagnitude, bool bNegative, wchar_t* awcText)
{
    wchar_t digits[20];
    unsigned long count = 0;
    // 32-bit steps where the value allows: 64-bit division is a library call on this target.
    while (ullMagnitude > 0xFFFFFFFFULL)
    {
        digits[count++] = static_cast<wchar_t>(L'0' + ullMagnitude % 10);
        ullMagnitude /= 10;
    }
    unsigned long low = static_cast<unsigned long>(ullMagnitude);
    do
    {
        digits[count++] = static_cast<wchar_t>(L'0' + low % 10);
        low /= 10;
    } while (low != 0);
    unsigned long length = 0;
    if (bNegative)
        awcText[length++] = L'-';
    while (count != 0)
        awcText[length++] = digits[--count];
    awcText[length] = 0;
    return length;
}

// The units below 0x40 that text and attribute values write as something else, as bit masks:
// the control characters but tab, line feed and carriage return; above 0x20 the ampersand and
// the angle brackets, in attribute values also the quotes.
const unsigned long kEscapeControl = ~((1UL << 9) | (1UL << 10) | (1UL << 13));
const unsigned long kEscapeText = (1UL << (L'&' - 0x20)) | (1UL << (L'<' - 0x20)) | (1UL << (L'>' - 0x20));
const unsigned long kEscapeAttribute = kEscapeText | (1UL << (L'"' - 0x20)) | (1UL << (L'\'' - 0x20));

// Above 0x40 only surrogates need a look (a pair passes unchanged).
inline bool NeedsEscape(unsigned int wc, unsigned long ulEscapeAbove20)
{
    if (wc >= 0x40)
        return (wc & 0xF800) == 0xD800;
    return (((wc < 0x20 ? kEscapeControl : ulEscapeAbove20) >> (wc & 0x1F)) & 1) != 0;
}

} // namespace

class UXmlWriter::ElementStack
{
public:
    // Text is assembled in plain buffers: many tiny appends per element.
    WideBuffer scratch;
    WideBuffer value;
    WideBuffer output;
    // Copies of the new-line text and the indent characters, and the new line followed by the
    // indentation of indentLevels levels, of which every start tag takes a prefix.
    WideBuffer newLine;
    WideBuffer indent;
    WideBuffer indentLine;
    unsigned long indentLevels = 0;
    TextBuffer attributePrefix;
    std::vector<Element> items;
    unsigned long depth = 0;

    bool Empty() const { return depth == 0; }
    Element& Top() { return items[depth - 1]; }
    const Element& Top() const { return items[depth - 1]; }
    unsigned long Depth() const { return depth; }
    Element& Push()
    {
        if (depth == items.size())
            items.emplace_back();
        Element& element = items[depth++];
        element.attributeCount = 0;
        element.declarationCount = 0;
        element.bHasChildElements = 0;
        return element;
    }
    void Pop() { --depth; }

    void ResetIndentLine()
    {
        indentLine.assign(newLine.data(), newLine.size());
        indentLevels = 0;
    }
    void AppendNewLineAndIndent(WideBuffer& out, unsigned long ulLevels)
    {
        while (indentLevels < ulLevels)
        {
            indentLine.append(indent.data(), indent.size());
            ++indentLevels;
        }
        out.append(indentLine.data(), newLine.size() + ulLevels * indent.size());
    }

    // The namespace bound to the prefix in scope, or null.
    template <typename T> const TextBuffer* LookupNamespace(const T& prefix) const
    {
        for (unsigned long level = depth; level-- > 0;)
        {
            const Element& element = items[level];
            for (size_t i = element.declarationCount; i-- > 0;)
                if (Same(element.declarations[i].prefix, prefix))
                    return &element.declarations[i].uri;
        }
        return nullptr;
    }
};

// The temporary holder gives back the reference of the encoding made here once the base has
// taken its own, or when the base fails.
UXmlWriter::UXmlWriter(IO::UStream* pStream)
    : IO::UStreamWriter(pStream, Internal::ReleasePtr<Text::UEncoding>(Text::UUTF8Encoding::Create(1, 1)).Get()),
      m_pElements(nullptr)
{
    Init();
}

UXmlWriter::UXmlWriter(IO::UStream* pStream, Text::UEncoding* pEncoding)
    : IO::UStreamWriter(pStream, pEncoding), m_pElements(nullptr)
{
    Init();
}

void UXmlWriter::Init()
{
    m_state = eXmlWriterState_Start;
    m_bRootWritten = 0;
    m_bRootElementWritten = 0;
    m_bClosing = 0;
    m_indentChars = L"  ";
    m_wcQuoteChar = L'"';
    m_pElements = new ElementStack();
    m_pElements->indent.assign(L"  ");
    m_pElements->newLine.assign(IO::UStreamWriter::GetNewLine().GetBuffer());
    m_pElements->ResetIndentLine();
}

UXmlWriter::~UXmlWriter()
{
    // The stream writer's destructor flushes the encoder; what is still collected goes first. A
    // destructor must not throw, so a failing stream loses it.
    try
    {
        WriteOutput();
    }
    catch (...)
    {
    }
    delete m_pElements;
}

void UXmlWriter::ThrowUnusable() const
{
    if (m_state == eXmlWriterState_Closed)
        throw UInvalidOperationException(L"Writer has been closed.");
    throw UInvalidOperationException(L"Writer is in the error state.");
}

void UXmlWriter::FailArgument(const wchar_t* pszName, const wchar_t* pszMessage)
{
    m_state = eXmlWriterState_Error;
    throw UArgumentException(pszName, pszMessage);
}

void UXmlWriter::Fail(const wchar_t* pszMessage)
{
    m_state = eXmlWriterState_Error;
    throw UInvalidOperationException(pszMessage);
}

void UXmlWriter::Emit(const wchar_t* pwcText, unsigned long ulCount)
{
    // Collected into chunks: encoding and writing each small piece on its own would cost more
    // than producing it.
    m_pElements->output.append(pwcText, ulCount);
    if (m_pElements->output.size() >= kOutputChunk)
        WriteOutput();
}

void UXmlWriter::WriteOutput()
{
    if (m_pElements->output.size() == 0)
        return;
    try
    {
        IO::UStreamWriter::Write(m_pElements->output.data(), m_pElements->output.size());
    }
    catch (...)
    {
        // Part of a construct may be out already: nothing after it can be trusted.
        m_pElements->output.clear();
        m_state = eXmlWriterState_Error;
        throw;
    }
    m_pElements->output.clear();
}

void UXmlWriter::Emit(const UString& text)
{
    Emit(text.GetBuffer(), text.GetLength());
}

void UXmlWriter::AppendNewLineAndIndent(unsigned long ulLevels)
{
    m_pElements->AppendNewLineAndIndent(m_pElements->scratch, ulLevels);
}

void UXmlWriter::FlushIfFull()
{
    if (m_pElements->output.size() >= kOutputChunk)
        WriteOutput();
}

void UXmlWriter::SetNewLine(const UString& newLine)
{
    CheckUsable();
    IO::UStreamWriter::SetNewLine(newLine);
    m_pElements->newLine.assign(newLine.GetBuffer(), newLine.GetLength());
    m_pElements->ResetIndentLine();
}

void UXmlWriter::Flush()
{
    // The stream writer's Close flushes through here after the state has become Closed.
    if (!m_bClosing)
        CheckUsable();
    WriteOutput();
    IO::UStreamWriter::Flush();
}

void UXmlWriter::Close()
{
    if (m_state != eXmlWriterState_Closed && m_state != eXmlWriterState_Error)
        WriteEndDocument();
    m_state = eXmlWriterState_Closed;
    // Flushes the encoder the first time only; the stream stays open.
    m_bClosing = 1;
    try
    {
        WriteOutput();
        IO::UStreamWriter::Close();
    }
    catch (...)
    {
        m_bClosing = 0;
        throw;
    }
    m_bClosing = 0;
}

UXmlWriterState UXmlWriter::GetWriteState() const
{
    return m_state;
}

UXmlSpace UXmlWriter::GetXmlSpace() const
{
    return m_pElements->Empty() ? eXmlSpace_None : m_pElements->Top().space;
}

const UString& UXmlWriter::GetXmlLang() const
{
    const unsigned long owner = m_pElements->Empty() ? 0 : m_pElements->Top().langOwner;
    return owner == 0 ? UString::Empty : m_pElements->items[owner - 1].lang;
}

const UString& UXmlWriter::GetIndentChars() const
{
    return m_indentChars;
}

void UXmlWriter::SetIndentChars(const wchar_t* pszIndentChars)
{
    Internal::ThrowIfNull(pszIndentChars, L"pszIndentChars");
    if (!AllWhite(pszIndentChars))
        throw UArgumentException(L"pszIndentChars", L"String contains non-white space characters.");
    CheckUsable();
    m_indentChars = pszIndentChars;
    m_pElements->indent.assign(pszIndentChars);
    m_pElements->ResetIndentLine();
}

wchar_t UXmlWriter::GetQuoteChar() const
{
    return m_wcQuoteChar;
}

void UXmlWriter::SetQuoteChar(wchar_t wcQuoteChar)
{
    if (wcQuoteChar != L'"' && wcQuoteChar != L'\'')
        throw UArgumentException(L"wcQuoteChar", L"Quote character is neither a single quote nor a double quote.");
    CheckUsable();
    m_wcQuoteChar = wcQuoteChar;
}

// ---- Document and prolog ----

void UXmlWriter::WriteStartDocument(int bStandalone)
{
    WriteDeclaration(bStandalone ? L"yes" : L"no");
}

void UXmlWriter::WriteStartDocument()
{
    WriteDeclaration(nullptr);
}

void UXmlWriter::WriteDeclaration(const wchar_t* pszStandalone)
{
    CheckUsable();
    if (m_state != eXmlWriterState_Start)
        throw UInvalidOperationException(
            L"This method must be called before any other write method since it starts a XML document.");
    const wchar_t quote = m_wcQuoteChar;
    m_pElements->scratch.clear();
    m_pElements->scratch.append(L"<?xml version=");
    m_pElements->scratch.push_back(quote);
    m_pElements->scratch.append(L"1.0");
    m_pElements->scratch.push_back(quote);
    m_pElements->scratch.append(L" encoding=");
    m_pElements->scratch.push_back(quote);
    m_pElements->scratch.append(IO::UStreamWriter::GetEncoding()->GetName());
    m_pElements->scratch.push_back(quote);
    if (pszStandalone != nullptr)
    {
        m_pElements->scratch.append(L" standalone=");
        m_pElements->scratch.push_back(quote);
        m_pElements->scratch.append(pszStandalone);
        m_pElements->scratch.push_back(quote);
    }
    m_pElements->scratch.append(L"?>");
    Emit(m_pElements->scratch.data(), static_cast<unsigned long>(m_pElements->scratch.size()));
    m_bRootWritten = 1;
    m_state = eXmlWriterState_Prolog;
}

void UXmlWriter::WriteProcessingInstruction(const wchar_t* pszName, const wchar_t* pszText)
{
    CheckNameArgument(pszName);
    const wchar_t* text = OrEmpty(pszText);
    if (std::wcsstr(text, L"?>") != nullptr)
        throw UArgumentException(L"pszText", L"String contains '?>' (end of processing instruction).");
    CheckUsable();
    m_pElements->scratch.clear();
    if (std::wcscmp(pszName, L"xml") == 0)
    {
        if (m_bRootWritten)
            throw UArgumentException(L"pszName", L"An XML declaration was written already.");
        if (m_state != eXmlWriterState_Start)
            throw UArgumentException(L"pszName", L"XML declaration is not the first node in the document.");
        m_bRootWritten = 1;
        m_state = eXmlWriterState_Prolog;
    }
    else if (m_state == eXmlWriterState_Prolog)
        AppendNewLineAndIndent(0);
    else if (m_state != eXmlWriterState_Start)
        throw UInvalidOperationException(kNotProperState);
    m_pElements->scratch.append(L"<?");
    m_pElements->scratch.append(pszName);
    m_pElements->scratch.push_back(L' ');
    m_pElements->scratch.append(text);
    m_pElements->scratch.append(L"?>");
    Emit(m_pElements->scratch.data(), static_cast<unsigned long>(m_pElements->scratch.size()));
}

void UXmlWriter::WriteDocType(const wchar_t* pszName, const wchar_t* pszPublicId, const wchar_t* pszSystemId,
                              const wchar_t* pszSubset)
{
    CheckNameArgument(pszName);
    const bool hasPublic = !IsEmpty(pszPublicId);
    const bool hasSystem = !IsEmpty(pszSystemId);
    if (!hasPublic && !hasSystem)
        throw UArgumentException(L"pszPublicId, pszSystemId", L"You must specify pszPublic or pszSystem (or both).");
    // The identifiers always stand between double quotes.
    if ((hasPublic && std::wcschr(pszPublicId, L'"') != nullptr) ||
        (hasSystem && std::wcschr(pszSystemId, L'"') != nullptr))
        throw UArgumentException(hasPublic ? L"pszPublicId" : L"pszSystemId", L"String contains a double quote.");
    CheckUsable();
    if (m_state != eXmlWriterState_Prolog)
        throw UInvalidOperationException(L"A DOCTYPE declaration must be written in the prolog only (invalid writer "
                                         L"state).");
    m_pElements->scratch.clear();
    AppendNewLineAndIndent(0);
    m_pElements->scratch.append(L"<!DOCTYPE ");
    m_pElements->scratch.append(pszName);
    if (hasPublic)
    {
        m_pElements->scratch.append(L" PUBLIC \"");
        m_pElements->scratch.append(pszPublicId);
        m_pElements->scratch.push_back(L'"');
        if (hasSystem)
        {
            m_pElements->scratch.append(L" \"");
            m_pElements->scratch.append(pszSystemId);
            m_pElements->scratch.push_back(L'"');
        }
    }
    else
    {
        m_pElements->scratch.append(L" SYSTEM \"");
        m_pElements->scratch.append(pszSystemId);
        m_pElements->scratch.push_back(L'"');
    }
    if (pszSubset != nullptr)
    {
        m_pElements->scratch.append(L" [");
        m_pElements->scratch.append(pszSubset);
        m_pElements->scratch.push_back(L']');
    }
    m_pElements->scratch.push_back(L'>');
    Emit(m_pElements->scratch.data(), static_cast<unsigned long>(m_pElements->scratch.size()));
}

// ---- Elements ----

void UXmlWriter::WriteStartElement(const wchar_t* pszPrefix, const wchar_t* pszLocalName, const wchar_t* pszNamespace)
{
    StartElement(pszPrefix, pszLocalName, pszNamespace, true);
}

void UXmlWriter::WriteStartElement(const wchar_t* pszLocalName, const wchar_t* pszNamespace)
{
    StartElement(L"", pszLocalName, pszNamespace, true);
}

void UXmlWriter::WriteStartElement(const wchar_t* pszLocalName)
{
    StartElement(L"", pszLocalName, L"", false);
}

void UXmlWriter::StartElement(const wchar_t* pszPrefix, const wchar_t* pszLocalName, const wchar_t* pszNamespace,
                              bool bNamespaceGiven)
{
    Internal::ThrowIfNull(pszLocalName, L"pszLocalName");
    if (*pszLocalName == 0)
        throw UArgumentException(L"pszLocalName", L"Argument 'pszLocalName' must not be an empty string.");
    if (bNamespaceGiven)
    {
        Internal::ThrowIfNull(pszNamespace, L"pszNamespace");
        if (*pszNamespace == 0)
            throw UArgumentException(L"pszNamespace", L"Argument 'pszNamespace' must not be an empty string.");
    }
    const wchar_t* prefix = OrEmpty(pszPrefix);
    if (!CheckName(prefix, eNamespaceName))
        throw UArgumentException(L"pszPrefix", L"Invalid prefix name.");
    if (!CheckName(pszLocalName, eElementName))
        throw UArgumentException(L"pszLocalName", L"Invalid element name.");
    // Kept: namespace URIs pass the prefix rule, so "http://..." is refused (pinned by
    // XmlWriterTest.NamespaceUriFollowsThePrefixRule).
    if (!CheckName(pszNamespace, eNamespaceName))
        throw UArgumentException(L"pszNamespace", L"Invalid namespace name.");
    CheckUsable();
    // Kept: without a declaration a second root element is not refused (pinned by
    // XmlWriterTest.ExactOutput).
    if (m_bRootWritten && m_bRootElementWritten && m_state == eXmlWriterState_Content && m_pElements->Empty())
        throw UInvalidOperationException(L"Writing another root element would violate well-formedness.");

    // Assembled in the collected output; a failure takes back what it added.
    WideBuffer& out = m_pElements->output;
    const size_t mark = out.size();
    try
    {
        switch (m_state)
        {
        case eXmlWriterState_Attribute:
        case eXmlWriterState_Element:
            WriteCurrentElementAndAttributes();
            out.push_back(L'>');
            m_pElements->AppendNewLineAndIndent(out, m_pElements->Depth());
            break;
        case eXmlWriterState_Content:
        case eXmlWriterState_Prolog:
            m_pElements->AppendNewLineAndIndent(out, m_pElements->Depth());
            break;
        case eXmlWriterState_Start:
            break;
        default:
            throw UInvalidOperationException(kNotProperState);
        }
        out.push_back(L'<');
    }
    catch (...)
    {
        out.truncate(mark);
        throw;
    }
    FlushIfFull();

    Element* parent = m_pElements->Empty() ? nullptr : &m_pElements->Top();
    if (parent != nullptr)
        parent->bHasChildElements = 1;
    Element& element = m_pElements->Push();
    parent = m_pElements->Depth() > 1 ? &m_pElements->items[m_pElements->Depth() - 2] : nullptr;
    element.prefix.Assign(prefix);
    element.localName.Assign(pszLocalName);
    element.langOwner = parent != nullptr ? parent->langOwner : 0;
    element.space = parent != nullptr ? parent->space : eXmlSpace_None;
    if (bNamespaceGiven)
    {
        TextBuffer uri;
        uri.Assign(pszNamespace);
        const TextBuffer* bound = m_pElements->LookupNamespace(element.prefix);
        if (bound == nullptr || !Same(*bound, uri))
        {
            element.AddDeclaration(element.prefix, uri);
            Attribute& declaration =
                element.prefix.IsEmpty()
                    ? element.AddAttribute(L"", 0, L"xmlns", 5)
                    : element.AddAttribute(L"xmlns", 5, element.prefix.GetBuffer(), element.prefix.GetLength());
            declaration.value.Assign(uri.GetBuffer(), uri.GetLength());
        }
    }
    m_state = eXmlWriterState_Element;
}

void UXmlWriter::WriteCurrentElementAndAttributes()
{
    if (m_state == eXmlWriterState_Attribute)
        WriteEndAttribute();
    const Element& element = m_pElements->Top();
    const wchar_t quote = m_wcQuoteChar;
    WideBuffer& out = m_pElements->output;
    if (!element.prefix.IsEmpty())
    {
        out.append(element.prefix.GetBuffer(), element.prefix.GetLength());
        out.push_back(L':');
    }
    out.append(element.localName.GetBuffer(), element.localName.GetLength());
    // Namespace declarations first, then the other attributes, each in the order written.
    for (int pass = 0; pass < 2; ++pass)
        for (size_t i = 0; i < element.attributeCount; ++i)
        {
            const Attribute& attribute = element.attributes[i];
            if (attribute.bDeclaration != (pass == 0))
                continue;
            out.push_back(L' ');
            if (!attribute.prefix.IsEmpty())
            {
                out.append(attribute.prefix.GetBuffer(), attribute.prefix.GetLength());
                out.push_back(L':');
            }
            out.append(attribute.localName.GetBuffer(), attribute.localName.GetLength());
            out.push_back(L'=');
            out.push_back(quote);
            out.append(attribute.value.GetBuffer(), attribute.value.GetLength());
            out.push_back(quote);
        }
}

void UXmlWriter::CloseElementStartTag()
{
    CheckUsable();
    if (m_state != eXmlWriterState_Attribute && m_state != eXmlWriterState_Element)
        return;
    WideBuffer& out = m_pElements->output;
    const size_t mark = out.size();
    try
    {
        WriteCurrentElementAndAttributes();
        out.push_back(L'>');
    }
    catch (...)
    {
        out.truncate(mark);
        throw;
    }
    m_state = eXmlWriterState_Content;
    FlushIfFull();
}

void UXmlWriter::WriteEndElement()
{
    CheckUsable();
    const bool pending = m_state == eXmlWriterState_Attribute || m_state == eXmlWriterState_Element;
    if (m_pElements->Empty() || (!pending && m_state != eXmlWriterState_Content))
        throw UInvalidOperationException(L"Not writing attribute, element or content at the moment.");
    WideBuffer& out = m_pElements->output;
    const size_t mark = out.size();
    try
    {
        if (pending)
        {
            WriteCurrentElementAndAttributes();
            out.append(L" />", 3);
        }
        else
        {
            const Element& element = m_pElements->Top();
            if (element.bHasChildElements)
                m_pElements->AppendNewLineAndIndent(out, m_pElements->Depth() - 1);
            out.append(L"</", 2);
            if (!element.prefix.IsEmpty())
            {
                out.append(element.prefix.GetBuffer(), element.prefix.GetLength());
                out.push_back(L':');
            }
            out.append(element.localName.GetBuffer(), element.localName.GetLength());
            out.push_back(L'>');
        }
    }
    catch (...)
    {
        out.truncate(mark);
        throw;
    }
    m_pElements->Pop();
    if (m_pElements->Empty())
        m_bRootElementWritten = 1;
    m_state = eXmlWriterState_Content;
    FlushIfFull();
}

void UXmlWriter::WriteFullEndElement()
{
    CloseElementStartTag();
    WriteEndElement();
}

void UXmlWriter::WriteEndDocument()
{
    CheckUsable();
    while (!m_pElements->Empty())
        WriteEndElement();
}

void UXmlWriter::WriteElementString(const wchar_t* pszPrefix, const wchar_t* pszLocalName, const wchar_t* pszNamespace,
                                    const wchar_t* pszValue)
{
    WriteStartElement(pszPrefix, pszLocalName, pszNamespace);
    WriteString(pszValue);
    WriteEndElement();
}

void UXmlWriter::WriteElementString(const wchar_t* pszLocalName, const wchar_t* pszNamespace, const wchar_t* pszValue)
{
    WriteStartElement(pszLocalName, pszNamespace);
    WriteString(pszValue);
    WriteEndElement();
}

void UXmlWriter::WriteElementString(const wchar_t* pszLocalName, const wchar_t* pszValue)
{
    WriteStartElement(pszLocalName);
    WriteString(pszValue);
    WriteEndElement();
}

// ---- Attributes ----

void UXmlWriter::WriteStartAttribute(const wchar_t* pszPrefix, const wchar_t* pszLocalName, const wchar_t* pszNamespace)
{
    StartAttribute(pszPrefix, pszLocalName, pszNamespace);
}

void UXmlWriter::WriteStartAttribute(const wchar_t* pszLocalName, const wchar_t* pszNamespace)
{
    StartAttribute(L"", pszLocalName, pszNamespace);
}

void UXmlWriter::WriteStartAttribute(const wchar_t* pszLocalName)
{
    StartAttribute(L"", pszLocalName, L"");
}

void UXmlWriter::StartAttribute(const wchar_t* pszPrefix, const wchar_t* pszLocalName, const wchar_t* pszNamespace)
{
    const wchar_t* prefix = OrEmpty(pszPrefix);
    const wchar_t* uri = OrEmpty(pszNamespace);
    if (!CheckName(prefix, eNamespaceName))
        throw UArgumentException(L"pszPrefix", L"Argument 'pszPrefix' is not a valid namespace name.");
    Internal::ThrowIfNull(pszLocalName, L"pszLocalName");
    if (*pszLocalName == 0)
        throw UArgumentException(L"pszLocalName", L"Argument 'pszLocalName' must not be an empty string.");
    if (!CheckName(pszLocalName, eElementName))
        throw UArgumentException(L"pszLocalName", L"Attribute name is not a valid XML name.");
    if (!CheckName(uri, eNamespaceName))
        throw UArgumentException(L"pszNamespace", L"Argument 'pszNamespace' is not a valid namespace name.");
    CheckUsable();
    if (m_state != eXmlWriterState_Element && m_state != eXmlWriterState_Attribute)
        Fail(L"Cannot write an attribute when not within an element.");

    Element& element = m_pElements->Top();
    m_pElements->attributePrefix.Assign(prefix);
    // An empty namespace declares nothing; a declaration attribute itself is never namespaced.
    if (*uri != 0 && !Is(m_pElements->attributePrefix, L"xmlns"))
    {
        TextBuffer namespaceUri;
        namespaceUri.Assign(uri);
        if (m_pElements->attributePrefix.IsEmpty())
        {
            // A default namespace does not apply to attributes: they need a real prefix.
            const wchar_t* found = LookupPrefix(namespaceUri.GetBuffer());
            if (found != nullptr && *found != 0)
                m_pElements->attributePrefix.Assign(found);
            else
                m_pElements->attributePrefix.Assign(GeneratePrefix());
        }
        const TextBuffer* bound = m_pElements->LookupNamespace(m_pElements->attributePrefix);
        if (bound == nullptr || !Same(*bound, namespaceUri))
        {
            for (size_t i = 0; i < element.declarationCount; ++i)
                if (Same(element.declarations[i].prefix, m_pElements->attributePrefix))
                    throw UArgumentException(L"pszPrefix", L"The prefix is bound to another namespace on this "
                                                           L"element.");
            element.AddDeclaration(m_pElements->attributePrefix, namespaceUri);
            element
                .AddAttribute(L"xmlns", 5, m_pElements->attributePrefix.GetBuffer(),
                              m_pElements->attributePrefix.GetLength())
                .value.Assign(namespaceUri.GetBuffer(), namespaceUri.GetLength());
        }
    }
    // Kept: an attribute that is still open keeps an empty value; only the last record is ever
    // completed (pinned by XmlWriterTest.ExactOutput).
    element.AddAttribute(m_pElements->attributePrefix.GetBuffer(), m_pElements->attributePrefix.GetLength(),
                         pszLocalName, static_cast<unsigned long>(std::wcslen(pszLocalName)));
    m_pElements->value.clear();
    m_state = eXmlWriterState_Attribute;
}

void UXmlWriter::WriteEndAttribute()
{
    CheckUsable();
    if (m_state != eXmlWriterState_Attribute)
        throw UInvalidOperationException(L"State of the writer is not eXmlWriterState_Attribute.");
    Element& element = m_pElements->Top();
    Attribute& attribute = element.attributes[element.attributeCount - 1];
    // The collected value changes places with the record's old buffer: no copy.
    attribute.value.Swap(m_pElements->value);
    // "xml:space" and the like, whether written with a prefix or as one local name.
    const bool xmlPrefix = Is(attribute.prefix, L"xml");
    // Only names that begin with "xml" are special; the rest skip the comparisons.
    if (!xmlPrefix && !attribute.bDeclaration && attribute.localName.GetBuffer()[0] != L'x')
    {
        m_state = eXmlWriterState_Element;
        return;
    }
    if ((xmlPrefix && Is(attribute.localName, L"space")) ||
        (attribute.prefix.IsEmpty() && Is(attribute.localName, L"xml:space")))
    {
        if (Is(attribute.value, L"preserve"))
            element.space = eXmlSpace_Preserve;
        else if (Is(attribute.value, L"default"))
            element.space = eXmlSpace_Default;
        else
            FailArgument(L"pszValue", L"Invalid value for attribute 'xml:space'.");
    }
    else if ((xmlPrefix && Is(attribute.localName, L"lang")) ||
             (attribute.prefix.IsEmpty() && Is(attribute.localName, L"xml:lang")))
    {
        element.lang.Assign(attribute.value.GetBuffer(), attribute.value.GetLength());
        element.langOwner = m_pElements->Depth();
    }
    else if (attribute.prefix.IsEmpty() && Is(attribute.localName, L"xmlns"))
        element.AddDeclaration(UString::Empty, attribute.value);
    else if (Is(attribute.prefix, L"xmlns"))
        element.AddDeclaration(attribute.localName, attribute.value);
    m_state = eXmlWriterState_Element;
}

void UXmlWriter::WriteAttributeString(const wchar_t* pszPrefix, const wchar_t* pszLocalName,
                                      const wchar_t* pszNamespace, const wchar_t* pszValue)
{
    WriteStartAttribute(pszPrefix, pszLocalName, pszNamespace);
    WriteString(pszValue);
    WriteEndAttribute();
}

void UXmlWriter::WriteAttributeString(const wchar_t* pszLocalName, const wchar_t* pszNamespace, const wchar_t* pszValue)
{
    WriteStartAttribute(pszLocalName, pszNamespace);
    WriteString(pszValue);
    WriteEndAttribute();
}

void UXmlWriter::WriteAttributeString(const wchar_t* pszLocalName, const wchar_t* pszValue)
{
    WriteStartAttribute(pszLocalName);
    WriteString(pszValue);
    WriteEndAttribute();
}

const wchar_t* UXmlWriter::LookupPrefix(const wchar_t* pszNamespace) const
{
    TextBuffer namespaceUri;
    namespaceUri.Assign(pszNamespace);
    const ElementStack& stack = *m_pElements;
    for (unsigned long level = stack.Depth(); level-- > 0;)
    {
        const Element& element = stack.items[level];
        for (size_t i = element.declarationCount; i-- > 0;)
        {
            const Declaration& declaration = element.declarations[i];
            // A binding counts only while no inner declaration hides its prefix.
            if (Same(declaration.uri, namespaceUri))
            {
                const TextBuffer* current = stack.LookupNamespace(declaration.prefix);
                if (current != nullptr && Same(*current, namespaceUri))
                    return declaration.prefix.GetBuffer();
            }
        }
    }
    return nullptr;
}

UString UXmlWriter::GeneratePrefix() const
{
    wchar_t candidate[32];
    for (unsigned long counter = 1;; ++counter)
    {
        std::swprintf(candidate, 32, L"d%lup%lu", m_pElements->Depth(), counter);
        const UString prefix(candidate);
        if (m_pElements->LookupNamespace(prefix) == nullptr)
            return prefix;
    }
}

// ---- Text ----

void UXmlWriter::WriteStringInternal(const wchar_t* pszText, unsigned long ulLength)
{
    const bool attribute = m_state == eXmlWriterState_Attribute;
    if (!attribute)
        m_pElements->value.clear();
    if (pszText == nullptr)
        return;
    // Outside an attribute the escaped text goes straight into the collected output; a broken
    // string takes back what it added, so that nothing of it is written.
    WideBuffer& out = attribute ? m_pElements->value : m_pElements->output;
    const size_t start = out.size();
    const unsigned long length = ulLength == kWholeString ? static_cast<unsigned long>(std::wcslen(pszText)) : ulLength;
    const unsigned long escapeAbove20 = attribute ? kEscapeAttribute : kEscapeText;
    const wchar_t* p = pszText;
    const wchar_t* const end = pszText + length;
    while (p != end)
    {
        // The run up to the next unit that needs an escape is copied as it is scanned.
        wchar_t* run = out.extend(static_cast<size_t>(end - p));
        while (p != end && !NeedsEscape(*p, escapeAbove20))
            *run++ = *p++;
        out.truncate(out.size() - static_cast<size_t>(end - p));
        if (p == end)
            break;
        const wchar_t wc = *p;
        switch (wc)
        {
        case L'&':
            out.append(L"&amp;", 5);
            break;
        case L'<':
            out.append(L"&lt;", 4);
            break;
        case L'>':
            out.append(L"&gt;", 4);
            break;
        case L'"':
            out.append(L"&quot;", 6);
            break;
        case L'\'':
            out.append(L"&apos;", 6);
            break;
        default:
            if (wc >= 0xD800)
            {
                if (!IsHighSurrogate(wc) || end - p < 2 || !IsLowSurrogate(p[1]))
                {
                    out.truncate(start);
                    throw UArgumentException(L"pszText", L"Detected malformed UTF-16 string.");
                }
                out.append(p, 2);
                ++p;
                break;
            }
            // Kept: control characters become "&#0x" and two hexadecimal digits, without a
            // semicolon (pinned by XmlWriterTest.ExactOutput).
            const wchar_t reference[] = {
                L'&', L'#', L'0', L'x', L"0123456789ABCDEF"[wc >> 4], L"0123456789ABCDEF"[wc & 15]};
            out.append(reference, 6);
            break;
        }
        ++p;
    }
    if (!attribute)
        FlushIfFull();
}

void UXmlWriter::WriteText(const wchar_t* pwcText, unsigned long ulCount)
{
    CheckUsable();
    switch (m_state)
    {
    case eXmlWriterState_Attribute:
    case eXmlWriterState_Content:
        break;
    case eXmlWriterState_Element:
        CloseElementStartTag();
        break;
    default:
        throw UInvalidOperationException(kNotProperState);
    }
    WriteStringInternal(pwcText, ulCount);
}

void UXmlWriter::WriteString(const wchar_t* pszText)
{
    WriteText(pszText, kWholeString);
}

void UXmlWriter::WriteChars(const wchar_t* pwcBuffer, unsigned long ulCount)
{
    Internal::ThrowIfNull(pwcBuffer, L"pwcBuffer");
    WriteText(pwcBuffer, ulCount);
}

void UXmlWriter::WriteValueBool(int bValue)
{
    WriteText(bValue ? L"true" : L"false", kWholeString);
}

void UXmlWriter::WriteValueU32(unsigned long ulValue)
{
    wchar_t text[20];
    WriteText(text, FormatDecimal(ulValue, false, text));
}

void UXmlWriter::WriteValueI32(long lValue)
{
    wchar_t text[20];
    const unsigned long long magnitude =
        lValue < 0 ? 0ULL - static_cast<unsigned long long>(lValue) : static_cast<unsigned long long>(lValue);
    WriteText(text, FormatDecimal(magnitude, lValue < 0, text));
}

void UXmlWriter::WriteValueU64(unsigned __int64 ullValue)
{
    wchar_t text[30];
    WriteText(text, FormatDecimal(ullValue, false, text));
}

void UXmlWriter::WriteValueI64(unsigned __int64 ullValue)
{
    // The bits are taken as a signed number.
    wchar_t text[30];
    const bool negative = (ullValue >> 63) != 0;
    WriteText(text, FormatDecimal(negative ? 0ULL - ullValue : ullValue, negative, text));
}

void UXmlWriter::PrepareWritingText()
{
    CheckUsable();
    switch (m_state)
    {
    case eXmlWriterState_Attribute:
    case eXmlWriterState_Content:
        return;
    case eXmlWriterState_Element:
        CloseElementStartTag();
        return;
    default:
        Fail(kInvalidState);
    }
}

void UXmlWriter::EmitRaw(const wchar_t* pwcText, unsigned long ulCount)
{
    if (m_state == eXmlWriterState_Attribute)
        m_pElements->value.append(pwcText, ulCount);
    else
        Emit(pwcText, ulCount);
}

void UXmlWriter::WriteCData(const wchar_t* pszText)
{
    Internal::ThrowIfNull(pszText, L"pszText");
    CheckUsable();
    switch (m_state)
    {
    case eXmlWriterState_Attribute:
    case eXmlWriterState_Element:
        CloseElementStartTag();
        break;
    case eXmlWriterState_Content:
        break;
    default:
        Fail(kInvalidState);
    }
    if (!AllLegalChars(pszText))
        FailArgument(L"pszText", L"String contains invalid characters.");
    if (std::wcsstr(pszText, L"]]>") != nullptr)
        FailArgument(L"pszText", L"String contains ']]>' (end of CDATA sequence).");
    m_pElements->scratch.clear();
    m_pElements->scratch.append(L"<![CDATA[");
    m_pElements->scratch.append(pszText);
    m_pElements->scratch.append(L"]]>");
    Emit(m_pElements->scratch.data(), static_cast<unsigned long>(m_pElements->scratch.size()));
    m_state = eXmlWriterState_Content;
}

void UXmlWriter::WriteComment(const wchar_t* pszText)
{
    Internal::ThrowIfNull(pszText, L"pszText");
    CheckUsable();
    if (!AllLegalChars(pszText))
        throw UArgumentException(L"pszText", L"String contains invalid characters.");
    if (std::wcsstr(pszText, L"--") != nullptr)
        FailArgument(L"pszText", L"String contains '--' (end of comment).");
    const size_t length = std::wcslen(pszText);
    // "-->" after a trailing hyphen would hold "--" as well.
    if (length != 0 && pszText[length - 1] == L'-')
        FailArgument(L"pszText", L"String ends with '-' (end of comment).");
    CloseElementStartTag();
    m_pElements->scratch.clear();
    AppendNewLineAndIndent(m_pElements->Depth());
    m_pElements->scratch.append(L"<!--");
    m_pElements->scratch.append(pszText);
    m_pElements->scratch.append(L"-->");
    Emit(m_pElements->scratch.data(), static_cast<unsigned long>(m_pElements->scratch.size()));
    m_state = eXmlWriterState_Content;
}

void UXmlWriter::WriteCharEntity(wchar_t wcChar)
{
    CheckUsable();
    if (wcChar >= 0xD800 && wcChar <= 0xDFFF)
        throw UArgumentException(L"wcChar", L"Surrogate pair characters (0xd800 - 0xdfff) are not allowed.");
    PrepareWritingText();
    wchar_t reference[16];
    const int length = std::swprintf(reference, 16, L"&#x%X;", static_cast<unsigned int>(wcChar));
    EmitRaw(reference, static_cast<unsigned long>(length));
}

void UXmlWriter::CheckNameArgument(const wchar_t* pszName)
{
    if (pszName == nullptr)
        throw UArgumentException(L"pszName", L"Argument 'pszName' is NULL.");
    if (*pszName == 0)
        throw UArgumentException(L"pszName", L"Argument 'pszName' is an empty string.");
    if (!CheckName(pszName, eElementName))
        throw UArgumentException(L"pszName", L"Argument 'pszName' is not a valid XML name.");
}

void UXmlWriter::WriteEntityRef(const wchar_t* pszName)
{
    CheckNameArgument(pszName);
    PrepareWritingText();
    m_pElements->scratch.clear();
    m_pElements->scratch.push_back(L'&');
    m_pElements->scratch.append(pszName);
    m_pElements->scratch.push_back(L';');
    EmitRaw(m_pElements->scratch.data(), m_pElements->scratch.size());
}

void UXmlWriter::WriteName(const wchar_t* pszName)
{
    CheckNameArgument(pszName);
    PrepareWritingText();
    EmitRaw(pszName, static_cast<unsigned long>(std::wcslen(pszName)));
}

void UXmlWriter::WriteNmToken(const wchar_t* pszNmToken)
{
    if (IsEmpty(pszNmToken) || !CheckName(pszNmToken, eNmToken))
        throw UArgumentException(L"pszNmToken", L"Argument 'pszNmToken' is not a valid NmToken.");
    PrepareWritingText();
    EmitRaw(pszNmToken, static_cast<unsigned long>(std::wcslen(pszNmToken)));
}

void UXmlWriter::WriteWhitespace(const wchar_t* pszText)
{
    Internal::ThrowIfNull(pszText, L"pszText");
    if (!AllWhite(pszText))
        throw UArgumentException(L"pszText", L"String contains non-white space characters.");
    // White space is fine in the prolog and after the root, so no state is refused here. As with
    // text, an open attribute takes it into its value and an open start tag is closed first.
    CheckUsable();
    if (m_state == eXmlWriterState_Element)
        CloseElementStartTag();
    EmitRaw(pszText, static_cast<unsigned long>(std::wcslen(pszText)));
}

void UXmlWriter::WriteQualifiedName(const wchar_t* pszLocalName, const wchar_t* pszNamespace)
{
    Internal::ThrowIfNull(pszLocalName, L"pszLocalName");
    if (*pszLocalName == 0)
        throw UArgumentException(L"pszLocalName", L"Argument 'pszLocalName' must not be an empty string.");
    if (!CheckName(pszLocalName, eElementName))
        throw UArgumentException(L"pszLocalName", L"Argument 'pszLocalName' is not a valid xml name.");
    const wchar_t* prefix = IsEmpty(pszNamespace) ? nullptr : LookupPrefix(pszNamespace);
    if (prefix == nullptr)
        throw UArgumentException(L"pszNamespace", L"Namespace is not defined.");
    PrepareWritingText();
    m_pElements->scratch.clear();
    // Kept: the colon stands even after the empty prefix of a default namespace (pinned by
    // XmlWriterTest.ExactOutput).
    m_pElements->scratch.append(prefix);
    m_pElements->scratch.push_back(L':');
    m_pElements->scratch.append(pszLocalName);
    EmitRaw(m_pElements->scratch.data(), m_pElements->scratch.size());
}

void UXmlWriter::WriteBase64(const unsigned char* pbyBuffer, unsigned long ulCount)
{
    Internal::ThrowIfNull(pbyBuffer, L"pbyBuffer");
    PrepareWritingText();
    static const wchar_t kDigits[] = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    // 192 bytes make 256 characters: only the last chunk can end in padding.
    wchar_t chunk[256];
    unsigned long done = 0;
    while (done < ulCount)
    {
        const unsigned long take = ulCount - done < 192 ? ulCount - done : 192;
        unsigned long used = 0;
        for (unsigned long i = 0; i < take; i += 3)
        {
            const unsigned long left = take - i;
            const unsigned long b0 = pbyBuffer[done + i];
            const unsigned long b1 = left > 1 ? pbyBuffer[done + i + 1] : 0;
            const unsigned long b2 = left > 2 ? pbyBuffer[done + i + 2] : 0;
            const unsigned long bits = (b0 << 16) | (b1 << 8) | b2;
            chunk[used++] = kDigits[(bits >> 18) & 63];
            chunk[used++] = kDigits[(bits >> 12) & 63];
            chunk[used++] = left > 1 ? kDigits[(bits >> 6) & 63] : L'=';
            chunk[used++] = left > 2 ? kDigits[bits & 63] : L'=';
        }
        EmitRaw(chunk, used);
        done += take;
    }
}

void UXmlWriter::WriteBinHex(const unsigned char* pbyBuffer, unsigned long ulCount)
{
    Internal::ThrowIfNull(pbyBuffer, L"pbyBuffer");
    PrepareWritingText();
    static const wchar_t kDigits[] = L"0123456789ABCDEF";
    wchar_t chunk[256];
    unsigned long done = 0;
    while (done < ulCount)
    {
        const unsigned long take = ulCount - done < 128 ? ulCount - done : 128;
        for (unsigned long i = 0; i < take; ++i)
        {
            chunk[2 * i] = kDigits[pbyBuffer[done + i] >> 4];
            chunk[2 * i + 1] = kDigits[pbyBuffer[done + i] & 15];
        }
        EmitRaw(chunk, 2 * take);
        done += take;
    }
}

void UXmlWriter::Indent(unsigned long ulLevels)
{
    CheckUsable();
    m_pElements->scratch.clear();
    for (unsigned long i = 0; i < ulLevels; ++i)
        m_pElements->scratch.append(m_indentChars.GetBuffer(), m_indentChars.GetLength());
    Emit(m_pElements->scratch.data(), static_cast<unsigned long>(m_pElements->scratch.size()));
}

} // namespace Xml
} // namespace Lib
} // namespace Oskal
