#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/UStream.h>
#include <Oskal/Lib/Text/UDecoder.h>
#include <Oskal/Lib/Text/UEncoding.h>
#include <Oskal/Lib/UString.h>

namespace Oskal
{
namespace Lib
{
namespace IO
{

// Reads text from a byte stream through an encoding (UTF-8 unless another is given). Read,
// Read(buffer) and ReadLine take one byte per stream call, so the stream never runs ahead of the
// text handed out; ReadToEnd and ReadString read large blocks. The stream is not owned, and no
// byte-order mark is looked for beyond what the decoder itself drops.
class OSKAL_LIB_API UStreamReader
{
public:
    explicit UStreamReader(UStream* pStream);
    UStreamReader(UStream* pStream, Text::UEncoding* pEncoding);
    virtual ~UStreamReader();

    UStreamReader(const UStreamReader&) = delete;
    UStreamReader& operator=(const UStreamReader&) = delete;

private:
    virtual UStream* GetStream();
    virtual Text::UEncoding* GetEncoding();

public:
    // Only marks the reader closed; reading goes on working.
    virtual void Close();
    virtual int IsEndOfStream();
    // Returns the units stored; fewer than ulCount only at the end of the stream.
    virtual unsigned long Read(wchar_t* pwcBuffer, unsigned long ulCount);
    // The next code unit, or -1 at the end of the stream.
    virtual long Read();
    // Only a line feed ends a line; it is removed together with a carriage return right before it.
    // Returns 1 when the call read at least one byte from the stream.
    virtual int ReadLine(UString& line);
    virtual UString ReadToEnd();
    // Reads ulByteCount bytes (fewer at the end of the stream); the count is of bytes, not units.
    virtual UString ReadString(unsigned long ulByteCount);

private:
    // The next decoded unit, decoding one byte at a time as needed, or -1 at the end of the
    // stream; sets *pbReadByte when a byte came from the stream.
    long NextUnit(int* pbReadByte);
    // Decodes one more byte (or flushes the decoder at the end of the stream) into the held
    // units; returns false when the stream had no byte left.
    bool DecodeNextByte();
    UString ReadBlocks(unsigned long ulByteLimit, unsigned long ulBlockSize, bool bLimited);

    int m_bClosed;
    UStream* m_pStream;
    Text::UEncoding* m_pEncoding;
    Text::UDecoder* m_pDecoder;
    // Units decoded but not yet handed out: usually the second half of a surrogate pair, but one
    // byte can release more (bytes the decoder held turned into fallback text, and the byte).
    wchar_t* m_pwcHeld;
    unsigned long m_ulHeldCapacity;
    unsigned long m_ulHeldCount;
    unsigned long m_ulHeldNext;
};

} // namespace IO
} // namespace Lib
} // namespace Oskal
