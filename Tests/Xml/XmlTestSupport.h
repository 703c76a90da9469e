#pragma once

// Memory streams, writing a document to a string and reading one back as a list of nodes.
#include <Oskal/Lib/IO/UStream.h>
#include <Oskal/Lib/Text/UUTF8Encoding.h>
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

// Reads from a byte string (or generates it piece by piece); collects what is written.
class MemoryStream : public IO::UStream
{
public:
    explicit MemoryStream(std::string data = std::string()) : m_data(std::move(data)) {}

    int CanRead() const override { return 1; }
    int CanWrite() const override { return 1; }
    int CanSeek() const override { return 0; }
    void Close() override {}
    void Flush() override {}
    long long GetLength() const override { return static_cast<long long>(m_data.size()); }
    long long GetPosition() const override { return static_cast<long long>(m_position); }
    int IsDataAvailable() const override { return m_position < m_data.size() ? 1 : 0; }
    long Read(void* pvBuffer, long lCount) override
    {
        const size_t n = std::min(static_cast<size_t>(lCount), m_data.size() - m_position);
        std::memcpy(pvBuffer, m_data.data() + m_position, n);
        m_position += n;
        return static_cast<long>(n);
    }
    long long Seek(long long, IO::USeekOrigin) override { return 0; }
    void SetLength(long long) override {}
    void SetPosition(long long) override {}
    void Write(const void* pvBuffer, long lCount) override
    {
        m_data.append(static_cast<const char*>(pvBuffer), static_cast<size_t>(lCount));
    }

    const std::string& Data() const { return m_data; }

private:
    std::string m_data;
    size_t m_position = 0;
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
