#include <Oskal/Lib/Logging/ULogConfiguration.h>

#include <Oskal/Lib/IO/UFileStream.h>
#include <Oskal/Lib/Logging/ULoggingException.h>
#include <Oskal/Lib/Win32Api.h>
#include <Oskal/Lib/Xml/UXmlReader.h>

#include <cstdio>
#include <cwchar>
#include <new>
#include <string>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

namespace
{

// The parts of a text between separators, each trimmed; empty parts are skipped.
std::vector<UString> SplitTrimmed(const wchar_t* pszText, wchar_t wcSeparator)
{
    std::vector<UString> parts;
    if (pszText == nullptr)
        return parts;
    const wchar_t* start = pszText;
    for (const wchar_t* p = pszText;; ++p)
    {
        if (*p == wcSeparator || *p == L'\0')
        {
            UString part(start, static_cast<unsigned long>(p - start));
            part.Trim();
            if (part.GetLength() != 0)
                parts.push_back(part);
            if (*p == L'\0')
                break;
            start = p + 1;
        }
    }
    return parts;
}

void AppendLevels(UString& text, const std::vector<const ULogLevel*>& levels, const wchar_t* pszInherited)
{
    if (levels.empty())
    {
        text.Append(L" <inherited>\n");
        return;
    }
    for (const ULogLevel* level : levels)
    {
        text.Append(L" ");
        text.Append(level->GetName().GetBuffer());
    }
    text.Append(pszInherited);
}

void FormatNode(UString& text, const ULogConfiguration::UInfo& node, unsigned long ulDepth)
{
    UString indent;
    for (unsigned long i = 0; i < ulDepth; ++i)
        indent.Append(L"  ");
    text.Append(indent.GetBuffer());
    text.Append(L"- ");
    text.Append(node.name.GetBuffer());
    text.Append(L"\n");
    text.Append(indent.GetBuffer());
    text.Append(L"  Base Level: ");
    text.Append(node.pBaseLevel != nullptr ? node.pBaseLevel->GetName().GetBuffer() : L"<inherited>");
    text.Append(L"\n");
    text.Append(indent.GetBuffer());
    text.Append(L"  Inclusions:");
    AppendLevels(text, node.inclusions, L" + inherited inclusions\n");
    text.Append(indent.GetBuffer());
    text.Append(L"  Exclusions:");
    AppendLevels(text, node.exclusions, L" + inherited exclusions\n");
    // The depth is bounded by MaxDepth when loading.
    for (const auto& child : node.children)
        FormatNode(text, child, ulDepth + 1);
}

} // namespace

ULogConfiguration::UInfo::UInfo(const wchar_t* pszName) : name(pszName), pBaseLevel(nullptr) {}

ULogConfiguration::ULogConfiguration()
{
    Reset();
}

ULogConfiguration::ULogConfiguration(const ULogConfiguration& other) : m_root(other.m_root) {}

ULogConfiguration& ULogConfiguration::operator=(const ULogConfiguration& other)
{
    if (this != &other)
        m_root = other.m_root;
    return *this;
}

ULogConfiguration::~ULogConfiguration() {}

void ULogConfiguration::Reset()
{
    m_root = UInfo(L"Default");
    m_root.pBaseLevel = ULogLevel::GetAspect(L"Note");
}

ULogConfiguration::UInfo* ULogConfiguration::CreateInfoNode(const std::vector<UString>& path)
{
    UInfo* node = &m_root;
    for (const UString& component : path)
    {
        UInfo* next = nullptr;
        for (auto& child : node->children)
            if (child.name.Compare(component.GetBuffer()) == 0)
            {
                next = &child;
                break;
            }
        if (next == nullptr)
        {
            node->children.emplace_back(component.GetBuffer());
            next = &node->children.back();
        }
        node = next;
    }
    return node;
}

void ULogConfiguration::LoadFile(const wchar_t* pszFileName)
{
    IO::UFileStream stream;
    stream.Open(pszFileName, IO::eFileOpenMode_OpenExisting, IO::eFileAccessMode_Read, IO::eFileShareMode_Read);
    Xml::UXmlReader reader(&stream);
    std::vector<UString> path;
    while (reader.Read())
    {
        const Xml::UXmlNodeType type = reader.GetNodeType();
        if (type == Xml::eXmlNodeType_Element)
        {
            const std::vector<UString> components = SplitTrimmed(reader.GetName().GetBuffer(), L'.');
            if (path.size() + components.size() > MaxDepth)
                throw ULoggingException(L"Class paths are nested too deeply.");
            path.insert(path.end(), components.begin(), components.end());
            UInfo* node = CreateInfoNode(path);
            // One name, trimmed (no separator splits it); an empty one sets nothing.
            const std::vector<UString> level = SplitTrimmed(reader.GetAttribute(L"level"), L'\0');
            if (!level.empty())
                node->pBaseLevel = ULogLevel::GetAspect(level[0].GetBuffer());
            for (const UString& name : SplitTrimmed(reader.GetAttribute(L"include"), L','))
                node->inclusions.push_back(ULogLevel::GetAspect(name.GetBuffer()));
            for (const UString& name : SplitTrimmed(reader.GetAttribute(L"exclude"), L','))
                node->exclusions.push_back(ULogLevel::GetAspect(name.GetBuffer()));
        }
        else if (type == Xml::eXmlNodeType_EndElement)
        {
            const size_t components = SplitTrimmed(reader.GetName().GetBuffer(), L'.').size();
            path.resize(path.size() > components ? path.size() - components : 0);
        }
    }
    reader.Close();
    stream.Close();
}

void ULogConfiguration::Load(const wchar_t* pszFileName)
{
    Reset();
    const wchar_t* reason = nullptr;
    UString caught;
    try
    {
        LoadFile(pszFileName);
        return;
    }
    catch (const Exceptions::UException& e)
    {
        caught = e.GetMessageText() != nullptr ? e.GetMessageText() : L"";
        reason = caught.GetBuffer();
    }
    catch (const std::bad_alloc&)
    {
        reason = L"Not enough memory.";
    }
    wchar_t message[501];
    _snwprintf_s(message, 501, _TRUNCATE, L"Reading the configuration file failed (%s).", reason);
    throw ULoggingException(message);
}

ULogLevelMask ULogConfiguration::GetLogLevelMask(const wchar_t* pszName) const
{
    // Down the class's path as far as the tree goes, gathering from the root downwards.
    const ULogLevel* base = m_root.pBaseLevel;
    std::vector<const ULogLevel*> included(m_root.inclusions), excluded(m_root.exclusions);
    const UInfo* node = &m_root;
    for (const UString& component : SplitTrimmed(pszName, L'.'))
    {
        const UInfo* next = nullptr;
        for (const auto& child : node->children)
            if (child.name.Compare(component.GetBuffer()) == 0)
            {
                next = &child;
                break;
            }
        if (next == nullptr)
            break;
        node = next;
        if (node->pBaseLevel != nullptr)
            base = node->pBaseLevel;
        included.insert(included.end(), node->inclusions.begin(), node->inclusions.end());
        excluded.insert(excluded.end(), node->exclusions.begin(), node->exclusions.end());
    }
    ULogLevelMask mask;
    if (base != nullptr)
        for (unsigned long id = 0; id <= base->GetLogLevelId() && id < ULogLevelMask::BitCount; ++id)
            mask.SetBit(id);
    for (const ULogLevel* level : included)
        mask.SetBit(level->GetLogLevelId());
    for (const ULogLevel* level : excluded)
        mask.ClearBit(level->GetLogLevelId());
    return mask;
}

UString ULogConfiguration::FormatConfigurationTree() const
{
    UString text;
    FormatNode(text, m_root, 0);
    return text;
}

void ULogConfiguration::PrintConfigurationTree() const
{
    const UString text = FormatConfigurationTree();
    const int length = static_cast<int>(text.GetLength());
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.GetBuffer(), length, nullptr, 0, nullptr, nullptr);
    if (bytes <= 0)
        return;
    std::string utf8(static_cast<size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.GetBuffer(), length, &utf8[0], bytes, nullptr, nullptr);
    std::fwrite(utf8.data(), 1, utf8.size(), stdout);
    std::fflush(stdout);
}

} // namespace Logging
} // namespace Lib
} // namespace Oskal
