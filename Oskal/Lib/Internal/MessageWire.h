#pragma once

#include <Oskal/Lib/IO/UStream.h>
#include <Oskal/Lib/Text/UDecoder.h>
#include <Oskal/Lib/Text/UEncoding.h>
#include <Oskal/Lib/UString.h>
#include <Oskal/Lib/Win32Api.h>

namespace Oskal
{
namespace Lib
{
namespace Internal
{

// The pieces of the tagged message format that the primitive and array serializers share.
namespace MessageWire
{

// Value tags; an array's tag is eTag_Array plus its element's value tag.
enum ETag : unsigned char
{
    eTag_SByte = 7,
    eTag_Int16 = 8,
    eTag_Int32 = 9,
    eTag_Int64 = 10,
    eTag_Byte = 11,
    eTag_UInt16 = 12,
    eTag_UInt32 = 13,
    eTag_UInt64 = 14,
    eTag_Boolean = 15,
    eTag_Char = 16,
    eTag_Decimal = 17,
    eTag_Single = 18,
    eTag_Double = 19,
    eTag_DateTime = 20,
    eTag_String = 21,
    eTag_Array = 0x40,
};

// USerializationException "Unexpected end of stream.".
[[noreturn]] void ThrowUnexpectedEnd();

void WriteCount(IO::UStream* pStream, unsigned long ulCount);
unsigned long ReadCount(IO::UStream* pStream);

// Writes any size, in pieces that a long count holds.
void WriteAll(IO::UStream* pStream, const void* pvBuffer, unsigned __int64 ullSize);
// Fills the buffer or throws "Unexpected end of stream.".
void ReadExact(IO::UStream* pStream, void* pvBuffer, unsigned __int64 ullSize);

// How many items of a count read from a message may be made room for before their bytes have
// arrived. A seekable stream says how much it holds: a count needing more than that (at least
// ulMinBytes per item) throws "Unexpected end of stream." and nothing is allocated; otherwise the
// whole count is allowed. Other streams are trusted only as far as bytes have arrived: the room
// at most doubles what is already read, so a hostile count costs no more memory than the message.
class BoundedFill
{
public:
    BoundedFill(IO::UStream* pStream, unsigned long ulCount, unsigned long ulMinBytes);
    // The end of the next step after ulDone items are in place.
    unsigned long NextEnd(unsigned long ulDone) const;

private:
    unsigned long m_ulCount;
    bool m_bKnown;
};

unsigned __int64 ToFileTime(const SYSTEMTIME& value);
SYSTEMTIME FromFileTime(unsigned __int64 ullFileTime);

// The one UTF-8 encoding (no identifier) of the message format.
Text::UEncoding* GetEncoding();
// Byte count, then the UTF-8 bytes.
void WriteStringPayload(IO::UStream* pStream, const UString& value);
// pDecoder is reset for every string, so nothing of one string reaches the next.
UString ReadStringPayload(IO::UStream* pStream, Text::UDecoder* pDecoder);

} // namespace MessageWire

} // namespace Internal
} // namespace Lib
} // namespace Oskal
