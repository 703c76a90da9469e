#include <Oskal/Lib/Internal/MessageWire.h>

#include <Oskal/Lib/Internal/ReleasePtr.h>
#include <Oskal/Lib/Messaging/USerializationException.h>
#include <Oskal/Lib/Text/UUTF8Encoding.h>

#include <vector>

namespace Oskal
{
namespace Lib
{
namespace Internal
{
namespace MessageWire
{

using IO::UStream;

namespace
{

// The most one stream call moves, so that every piece fits a long count.
const unsigned long kMaxPiece = 0x40000000UL;
// Room made before any bytes arrived from a stream that cannot tell its size.
const unsigned long kFirstStep = 64;

} // namespace

void ThrowUnexpectedEnd()
{
    throw Messaging::Serialization::USerializationException(L"Unexpected end of stream.");
}

void WriteCount(UStream* pStream, unsigned long ulCount)
{
    // Kept: every group is written with bit 7 clear, the non-final ones too, so a count of 128 or
    // more is read back as its low 7 bits (pinned by CountEncoding.LargeCountsReadBackAsLowBits).
    do
    {
        pStream->WriteByte(static_cast<unsigned char>(ulCount & 0x7F));
        ulCount >>= 7;
    } while (ulCount != 0);
}

unsigned long ReadCount(UStream* pStream)
{
    // Goes on while bit 7 is set, for at most five bytes; bits past the 32nd are dropped.
    unsigned long ulCount = 0;
    unsigned int shift = 0;
    long value;
    do
    {
        value = pStream->ReadByte();
        if (value < 0)
            ThrowUnexpectedEnd();
        ulCount |= static_cast<unsigned long>(value & 0x7F) << shift;
        shift += 7;
    } while ((value & 0x80) != 0 && shift < 35);
    return ulCount;
}

void WriteAll(UStream* pStream, const void* pvBuffer, unsigned __int64 ullSize)
{
    const unsigned char* p = static_cast<const unsigned char*>(pvBuffer);
    while (ullSize != 0)
    {
        const unsigned long piece = ullSize > kMaxPiece ? kMaxPiece : static_cast<unsigned long>(ullSize);
        pStream->Write(p, static_cast<long>(piece));
        p += piece;
        ullSize -= piece;
    }
}

void ReadExact(UStream* pStream, void* pvBuffer, unsigned __int64 ullSize)
{
    unsigned char* p = static_cast<unsigned char*>(pvBuffer);
    while (ullSize != 0)
    {
        const unsigned long piece = ullSize > kMaxPiece ? kMaxPiece : static_cast<unsigned long>(ullSize);
        // A stream may hand out less than asked before its end (a pipe does); only 0 ends it.
        const long got = pStream->Read(p, static_cast<long>(piece));
        if (got <= 0 || static_cast<unsigned long>(got) > piece)
            ThrowUnexpectedEnd();
        p += got;
        ullSize -= static_cast<unsigned long>(got);
    }
}

BoundedFill::BoundedFill(UStream* pStream, unsigned long ulCount, unsigned long ulMinBytes)
    : m_ulCount(ulCount), m_bKnown(false)
{
    if (ulCount == 0 || !pStream->CanSeek())
        return;
    const __int64 left = pStream->GetLength() - pStream->GetPosition();
    const unsigned __int64 needed = static_cast<unsigned __int64>(ulCount) * ulMinBytes;
    if (left < 0 || needed > static_cast<unsigned __int64>(left))
        ThrowUnexpectedEnd();
    m_bKnown = true;
}

unsigned long BoundedFill::NextEnd(unsigned long ulDone) const
{
    const unsigned long step = ulDone > kFirstStep ? ulDone : kFirstStep;
    if (m_bKnown || m_ulCount - ulDone <= step)
        return m_ulCount;
    return ulDone + step;
}

unsigned __int64 ToFileTime(const SYSTEMTIME& value)
{
    FILETIME fileTime;
    if (!SystemTimeToFileTime(&value, &fileTime))
        throw Messaging::Serialization::USerializationException(L"Invalid SYSTEMTIME value.");
    return (static_cast<unsigned __int64>(fileTime.dwHighDateTime) << 32) | fileTime.dwLowDateTime;
}

SYSTEMTIME FromFileTime(unsigned __int64 ullFileTime)
{
    FILETIME fileTime;
    fileTime.dwLowDateTime = static_cast<DWORD>(ullFileTime);
    fileTime.dwHighDateTime = static_cast<DWORD>(ullFileTime >> 32);
    SYSTEMTIME value;
    if (!FileTimeToSystemTime(&fileTime, &value))
        throw Messaging::Serialization::USerializationException(L"Invalid DateTime value.");
    return value;
}

Text::UEncoding* GetEncoding()
{
    static ReleasePtr<Text::UEncoding> encoding(Text::UUTF8Encoding::Create());
    return encoding.Get();
}

void WriteStringPayload(UStream* pStream, const UString& value)
{
    const unsigned long units = value.GetLength();
    // Encoded whole first, so the count written is the count of the bytes that follow.
    std::vector<unsigned char> bytes;
    unsigned long size = 0;
    if (units != 0)
    {
        Text::UEncoding* encoding = GetEncoding();
        bytes.resize(encoding->GetByteCount(value.GetBuffer(), units) + 1);
        size = encoding->GetBytes(value.GetBuffer(), units, bytes.data(), bytes.size());
    }
    WriteCount(pStream, size);
    WriteAll(pStream, bytes.data(), size);
}

UString ReadStringPayload(UStream* pStream, Text::UDecoder* pDecoder)
{
    const unsigned long count = ReadCount(pStream);
    if (count == 0)
        return UString();
    std::vector<unsigned char> bytes;
    const BoundedFill fill(pStream, count, 1);
    for (unsigned long done = 0; done < count;)
    {
        const unsigned long end = fill.NextEnd(done);
        bytes.resize(end);
        ReadExact(pStream, bytes.data() + done, end - done);
        done = end;
    }

    // Settled: a fresh state for every string, so a half sequence at the end of one never
    // reaches the next.
    pDecoder->Reset();
    // Settled: the text keeps a leading U+FEFF. The decoder drops one after a reset, so it is
    // handed one of its own first.
    static const unsigned char kIdentifier[3] = {0xEF, 0xBB, 0xBF};
    wchar_t none[2];
    pDecoder->GetChars(kIdentifier, sizeof(kIdentifier), none, 2, 0);
    const unsigned long units = pDecoder->GetCharCount(bytes.data(), count, 1);
    std::vector<wchar_t> text(units + 1);
    const unsigned long decoded = pDecoder->GetChars(bytes.data(), count, text.data(), units + 1, 1);
    return UString(text.data(), decoded);
}

} // namespace MessageWire
} // namespace Internal
} // namespace Lib
} // namespace Oskal
