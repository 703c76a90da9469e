#pragma once

// Memory streams, writing a document to a string and reading one back as a list of nodes.
#include "Support/MemoryStream.h"

#include <Oskal/Lib/IO/UStream.h>
#include <Oskal/Lib/Text/UUTF8Encoding.h>
#include <Oskal/Lib/UException.h>
#include <Oskal/Lib/Xml/UXmlReader.h>
#include <Oskal/Lib/Xml/UXmlWriter.h>

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace XmlTests
{

using namespace Oskal::Lib;
using namespace Oskal::Lib::Xml;

// The shared test stream over a byte string, unseekable like a pipe.
class MemoryStream : public OskalTests::MemoryStream
{
public:
    explicit MemoryStream(const std::string& data = std::string())
        : OskalTests::MemoryStream(Bytes(data.begin(), data.end()))
    {
        m_seekable = 0;
    }
    std::string Data() const { return std::string(m_data.begin(), m_data.end()); }
};

// The UTF-8 bytes of a text.
inline std::string Utf8(const std::wstring& text)
{
    std::string bytes(text.size() * 3 + 1, '\0');
    bytes.resize(static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                                         &bytes[0], static_cast<int>(bytes.size()), nullptr, nullptr)));
    return bytes;
}

// What the writer produced, as UTF-8 without byte-order mark.
inline std::string Written(const std::function<void(UXmlWriter&)>& body)
{
    MemoryStream stream;
    Text::UUTF8Encoding* encoding = Text::UUTF8Encoding::Create();
    {
        UXmlWriter writer(&stream, encoding);
        body(writer);
        writer.Close();
    }
    encoding->Release();
    return stream.Data();
}

// One line per node: type, depth, name, value, attributes.
inline std::wstring Describe(UXmlReader& reader)
{
    std::wstring line = std::to_wstring(reader.GetNodeType()) + L" " + std::to_wstring(reader.GetDepth()) + L" " +
                        reader.GetName().GetBuffer();
    if (reader.HasValue())
        line += L" =" + std::wstring(reader.GetValue().GetBuffer());
    for (unsigned long i = 0; i < reader.GetAttributeCount(); ++i)
    {
        reader.MoveToAttribute(i);
        line += L" @" + std::wstring(reader.GetName().GetBuffer()) + L"{" + reader.GetNamespaceURI().GetBuffer() +
                L"}=" + reader.GetValue().GetBuffer();
    }
    reader.MoveToElement();
    return line;
}

// The message of the library exception the body throws, "" if none.
inline std::wstring MessageOf(const std::function<void()>& body)
{
    try
    {
        body();
    }
    catch (const Oskal::Lib::Exceptions::UException& e)
    {
        return e.GetMessageText();
    }
    return L"";
}

// Names of equal length, character sum and exclusive-or share a hash in the name table; built
// from pairs of letters whose low four bits split 0xF between them.
inline std::wstring CollidingName(unsigned long ulIndex)
{
    std::wstring name;
    for (int pair = 0; pair < 5; ++pair, ulIndex /= 14)
    {
        const wchar_t low = static_cast<wchar_t>(1 + ulIndex % 14);
        name.append({static_cast<wchar_t>(0x60 | low), static_cast<wchar_t>(0x60 | (0xF & ~low))});
    }
    return name;
}

inline std::vector<std::wstring> Nodes(const std::string& document)
{
    MemoryStream stream(document);
    UXmlReader reader(&stream);
    std::vector<std::wstring> nodes;
    while (reader.Read())
        nodes.push_back(Describe(reader));
    return nodes;
}

} // namespace XmlTests
