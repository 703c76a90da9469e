#include <Oskal/Lib/IO/UStreamReader.h>

#include <Oskal/Lib/Memory.h>
#include <Oskal/Lib/Text/UUTF8Encoding.h>
#include <Oskal/Lib/UStringBuilder.h>

#include <cstring>
#include <new>

namespace Oskal
{
namespace Lib
{
namespace IO
{

namespace
{

const unsigned long kWholeTextBlock = 0x80000;
const unsigned long kStringBlock = 0x20000;
const unsigned long kLineBuffer = 512;

// A builder that decodes straight into its spare room. It grows geometrically, so a large text
// is not copied once per block as the builder's fixed grow step would do.
class DecodeTarget : public UStringBuilder
{
public:
    // Room for at least ulUnits more units (and the terminator) after the text.
    wchar_t* Reserve(unsigned long ulUnits)
    {
        if (m_ulCapacity - m_ulLength - 1 < ulUnits)
        {
            unsigned long wanted = m_ulLength + ulUnits + 1;
            if (wanted < m_ulLength)
                throw std::bad_alloc();
            unsigned long doubled = m_ulCapacity <= 0x3FFFFFFFUL ? m_ulCapacity * 2 : m_ulCapacity;
            unsigned long capacity = wanted > doubled ? wanted : doubled;
            capacity = (capacity + 127) / 128 * 128;
            if (capacity > 0x7FFFFFFFUL / sizeof(wchar_t))
                throw std::bad_alloc();
            wchar_t* buffer = static_cast<wchar_t*>(Alloc(capacity * sizeof(wchar_t)));
            std::memcpy(buffer, m_pszBuffer, (m_ulLength + 1) * sizeof(wchar_t));
            FreeBuffer();
            m_pszBuffer = buffer;
            m_ulCapacity = capacity;
        }
        return m_pszBuffer + m_ulLength;
    }

    unsigned long Room() const { return m_ulCapacity - m_ulLength - 1; }

    void Commit(unsigned long ulUnits)
    {
        m_ulLength += ulUnits;
        m_pszBuffer[m_ulLength] = 0;
    }

    // The text as a plain string of exact size (one copy).
    UString ToString()
    {
        // The copy takes the capacity as its size; the spare room need not follow.
        unsigned long capacity = m_ulCapacity;
        m_ulCapacity = m_ulLength + 1;
        UString text(*this);
        m_ulCapacity = capacity;
        return text;
    }
};

// Fills the block unless the stream ends first, so a short block always means the end.
unsigned long ReadBlock(UStream* pStream, unsigned char* pbyBlock, unsigned long ulSize)
{
    unsigned long filled = 0;
    while (filled < ulSize)
    {
        long got = pStream->Read(pbyBlock + filled, static_cast<long>(ulSize - filled));
        if (got <= 0)
            break;
        filled += static_cast<unsigned long>(got);
    }
    return filled;
}

} // namespace

UStreamReader::UStreamReader(UStream* pStream)
    : m_bClosed(0), m_pStream(pStream), m_pEncoding(Text::UUTF8Encoding::Create()), m_pDecoder(nullptr), m_bPending(0)
{
    m_awcOutput[0] = m_awcOutput[1] = 0;
    m_pDecoder = m_pEncoding->CreateDecoder();
}

UStreamReader::UStreamReader(UStream* pStream, Text::UEncoding* pEncoding)
    : m_bClosed(0), m_pStream(pStream), m_pEncoding(pEncoding), m_pDecoder(nullptr), m_bPending(0)
{
    m_awcOutput[0] = m_awcOutput[1] = 0;
    m_pEncoding->AddRef();
    m_pDecoder = m_pEncoding->CreateDecoder();
}

UStreamReader::~UStreamReader()
{
    m_bClosed = 1;
    m_pDecoder->Release();
    m_pEncoding->Release();
}

UStream* UStreamReader::GetStream()
{
    return m_pStream;
}

Text::UEncoding* UStreamReader::GetEncoding()
{
    return m_pEncoding;
}

void UStreamReader::Close()
{
    m_bClosed = 1;
}

int UStreamReader::IsEndOfStream()
{
    if (m_bPending)
        return 0;
    return m_pStream->IsDataAvailable() > 0 ? 0 : 1;
}

unsigned long UStreamReader::DecodeNextByte(int* pbEnd)
{
    long value = m_pStream->ReadByte();
    unsigned char byte = static_cast<unsigned char>(value);
    *pbEnd = value < 0;
    unsigned long bytesUsed = 0, charsUsed = 0;
    int completed = 0;
    m_pDecoder->Convert(&byte, value < 0 ? 0 : 1, m_awcOutput, 2, value < 0, &bytesUsed, &charsUsed, &completed);
    return charsUsed;
}

long UStreamReader::Read()
{
    if (m_bPending)
    {
        m_bPending = 0;
        return m_awcOutput[1];
    }
    for (;;)
    {
        int end = 0;
        unsigned long units = DecodeNextByte(&end);
        if (units == 2)
            m_bPending = 1;
        if (units != 0)
            return m_awcOutput[0];
        if (end)
            return -1;
    }
}

unsigned long UStreamReader::Read(wchar_t* pwcBuffer, unsigned long ulCount)
{
    unsigned long stored = 0;
    if (ulCount == 0)
        return 0;
    if (m_bPending)
    {
        pwcBuffer[stored++] = m_awcOutput[1];
        m_bPending = 0;
    }
    while (stored < ulCount)
    {
        int end = 0;
        unsigned long units = DecodeNextByte(&end);
        if (units == 0)
        {
            if (end)
                break;
            continue;
        }
        pwcBuffer[stored++] = m_awcOutput[0];
        if (units == 2)
        {
            if (stored < ulCount)
                pwcBuffer[stored++] = m_awcOutput[1];
            else
                m_bPending = 1;
        }
    }
    return stored;
}

int UStreamReader::ReadLine(UString& line)
{
    line.Clear();
    wchar_t buffer[kLineBuffer];
    unsigned long count = 0;
    int readSomething = 0;
    if (m_bPending)
    {
        buffer[count++] = m_awcOutput[1];
        m_bPending = 0;
    }
    for (;;)
    {
        int end = 0;
        unsigned long units = DecodeNextByte(&end);
        if (!end)
            readSomething = 1;
        for (unsigned long i = 0; i < units; ++i)
        {
            if (count == kLineBuffer)
            {
                // Keep the last unit back: it may be the carriage return of a line end.
                line.Append(buffer, kLineBuffer - 1);
                buffer[0] = buffer[kLineBuffer - 1];
                count = 1;
            }
            buffer[count++] = m_awcOutput[i];
        }
        if (units != 0 && buffer[count - 1] == L'\n')
        {
            --count;
            if (count != 0 && buffer[count - 1] == L'\r')
                --count;
            break;
        }
        if (units == 0 && end)
            break;
    }
    line.Append(buffer, count);
    return readSomething;
}

UString UStreamReader::ReadBlocks(unsigned long ulByteLimit, unsigned long ulBlockSize, bool bLimited)
{
    DecodeTarget text;
    if (m_bPending)
    {
        text.Append(m_awcOutput[1]);
        m_bPending = 0;
    }

    // A seekable stream tells how much is left: size the text once instead of growing it.
    if (m_pStream->CanSeek())
    {
        __int64 left = m_pStream->GetLength() - m_pStream->GetPosition();
        if (bLimited && left > static_cast<__int64>(ulByteLimit))
            left = ulByteLimit;
        if (left > 0 && left < 0x10000000)
            text.Reserve(static_cast<unsigned long>(left) + 2);
    }

    unsigned char* block = static_cast<unsigned char*>(Alloc(ulBlockSize));
    try
    {
        unsigned long remaining = ulByteLimit;
        for (;;)
        {
            unsigned long want = ulBlockSize;
            if (bLimited && want > remaining)
                want = remaining;
            if (want == 0)
                break;
            unsigned long got = ReadBlock(m_pStream, block, want);
            remaining -= got;
            const int last = got < want;

            // Decode straight into the text; Convert stops when the room is used up.
            unsigned long at = 0;
            int completed = 0;
            do
            {
                // Enough room for the rest of the block even if every value needs the fallback.
                text.Reserve(m_pEncoding->GetMaxCharCount(got - at) + 2);
                unsigned long bytesUsed = 0, charsUsed = 0;
                m_pDecoder->Convert(block + at, got - at, text.Reserve(0), text.Room(), last, &bytesUsed, &charsUsed,
                                    &completed);
                text.Commit(charsUsed);
                at += bytesUsed;
            } while (at < got || (last && !completed));
            if (last)
                break;
        }
    }
    catch (...)
    {
        Free(block);
        throw;
    }
    Free(block);
    return text.ToString();
}

UString UStreamReader::ReadToEnd()
{
    return ReadBlocks(0, kWholeTextBlock, false);
}

UString UStreamReader::ReadString(unsigned long ulByteCount)
{
    return ReadBlocks(ulByteCount, kStringBlock, true);
}

} // namespace IO
} // namespace Lib
} // namespace Oskal
