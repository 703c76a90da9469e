#include <Oskal/Lib/IO/UStreamReader.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/Internal/ReleasePtr.h>
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
// The most bytes a decoder keeps back while a sequence is incomplete.
const unsigned long kMaxHeldBytes = 3;

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

// The most units the decoder writes for ulBytes bytes, by its own fallback: the encoding's may
// have been replaced by a shorter one since the decoder was made.
unsigned long MaxCharCount(Text::UDecoder* pDecoder, unsigned long ulBytes)
{
    const unsigned long product = ulBytes * pDecoder->GetFallback()->GetMaxCharCount();
    return ulBytes > product ? ulBytes : product;
}

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
    : m_bClosed(0), m_pStream(pStream), m_pEncoding(Text::UUTF8Encoding::Create()), m_pDecoder(nullptr),
      m_pwcHeld(nullptr), m_ulHeldCapacity(0), m_ulHeldCount(0), m_ulHeldNext(0)
{
    // A failure here must not keep the encoding: the destructor does not run.
    Internal::ReleasePtr<Text::UEncoding> held(m_pEncoding);
    m_pDecoder = m_pEncoding->CreateDecoder();
    held.Detach();
}

UStreamReader::UStreamReader(UStream* pStream, Text::UEncoding* pEncoding)
    : m_bClosed(0), m_pStream(pStream), m_pEncoding(pEncoding), m_pDecoder(nullptr), m_pwcHeld(nullptr),
      m_ulHeldCapacity(0), m_ulHeldCount(0), m_ulHeldNext(0)
{
    Internal::ThrowIfNull(pEncoding, L"pEncoding");
    m_pEncoding->AddRef();
    Internal::ReleasePtr<Text::UEncoding> held(m_pEncoding);
    m_pDecoder = m_pEncoding->CreateDecoder();
    held.Detach();
}

UStreamReader::~UStreamReader()
{
    m_bClosed = 1;
    Free(m_pwcHeld);
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
    if (m_ulHeldNext < m_ulHeldCount)
        return 0;
    return m_pStream->IsDataAvailable() > 0 ? 0 : 1;
}

bool UStreamReader::DecodeNextByte()
{
    const long value = m_pStream->ReadByte();
    const bool end = value < 0;
    const unsigned char byte = static_cast<unsigned char>(value);
    // Room for all that one byte can release: the bytes the decoder still holds, each turned
    // into fallback text, and the byte itself.
    const unsigned long room = MaxCharCount(m_pDecoder, kMaxHeldBytes + 1) + 2;
    if (m_ulHeldCapacity < room)
    {
        wchar_t* grown = static_cast<wchar_t*>(Alloc(room * sizeof(wchar_t)));
        Free(m_pwcHeld);
        m_pwcHeld = grown;
        m_ulHeldCapacity = room;
    }
    m_ulHeldCount = 0;
    m_ulHeldNext = 0;
    unsigned long consumed = 0;
    const unsigned long input = end ? 0 : 1;
    do
    {
        unsigned long bytesUsed = 0, charsUsed = 0;
        int completed = 0;
        m_pDecoder->Convert(&byte + consumed, input - consumed, m_pwcHeld + m_ulHeldCount,
                            m_ulHeldCapacity - m_ulHeldCount, end, &bytesUsed, &charsUsed, &completed);
        consumed += bytesUsed;
        m_ulHeldCount += charsUsed;
        if (bytesUsed == 0 && charsUsed == 0)
            break;
    } while (consumed < input);
    return !end;
}

long UStreamReader::NextUnit(int* pbReadByte)
{
    while (m_ulHeldNext == m_ulHeldCount)
    {
        const bool readByte = DecodeNextByte();
        if (readByte && pbReadByte != nullptr)
            *pbReadByte = 1;
        if (!readByte && m_ulHeldCount == 0)
            return -1;
    }
    return m_pwcHeld[m_ulHeldNext++];
}

long UStreamReader::Read()
{
    return NextUnit(nullptr);
}

unsigned long UStreamReader::Read(wchar_t* pwcBuffer, unsigned long ulCount)
{
    if (ulCount != 0)
        Internal::ThrowIfNull(pwcBuffer, L"pwcBuffer");
    unsigned long stored = 0;
    while (stored < ulCount)
    {
        const long unit = NextUnit(nullptr);
        if (unit < 0)
            break;
        pwcBuffer[stored++] = static_cast<wchar_t>(unit);
    }
    return stored;
}

int UStreamReader::ReadLine(UString& line)
{
    line.Clear();
    wchar_t buffer[kLineBuffer];
    unsigned long count = 0;
    int readSomething = 0;
    for (;;)
    {
        const long unit = NextUnit(&readSomething);
        if (unit < 0)
            break;
        if (count == kLineBuffer)
        {
            // Keep the last unit back: it may be the carriage return of a line end.
            line.Append(buffer, kLineBuffer - 1);
            buffer[0] = buffer[kLineBuffer - 1];
            count = 1;
        }
        buffer[count++] = static_cast<wchar_t>(unit);
        if (unit == L'\n')
        {
            // A whole line counts as read even when one earlier byte released it entirely.
            readSomething = 1;
            --count;
            if (count != 0 && buffer[count - 1] == L'\r')
                --count;
            break;
        }
    }
    line.Append(buffer, count);
    return readSomething;
}

UString UStreamReader::ReadBlocks(unsigned long ulByteLimit, unsigned long ulBlockSize, bool bLimited)
{
    DecodeTarget text;
    while (m_ulHeldNext < m_ulHeldCount)
        text.Append(m_pwcHeld[m_ulHeldNext++]);

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
                text.Reserve(MaxCharCount(m_pDecoder, got - at) + 2);
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
