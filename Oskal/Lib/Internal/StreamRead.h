#pragma once

#include <Oskal/Lib/IO/UStream.h>

namespace Oskal { namespace Lib { namespace Internal {

// Reads until ulCount bytes have arrived or the stream ends (a read that gives nothing); returns
// the count read, so that the caller decides what a short read means. Reads at most 1 MiB at a
// time, which keeps every single request well inside the stream's signed count.
inline unsigned long ReadFully(IO::UStream& stream, void* pvBuffer, unsigned long ulCount)
{
    const unsigned long kPiece = 0x100000;
    unsigned char* buffer = static_cast<unsigned char*>(pvBuffer);
    unsigned long done = 0;
    while (done < ulCount)
    {
        const unsigned long piece = ulCount - done < kPiece ? ulCount - done : kPiece;
        const long n = stream.Read(buffer + done, static_cast<long>(piece));
        if (n <= 0)
            break;
        done += static_cast<unsigned long>(n);
    }
    return done;
}

}}} // namespace Oskal::Lib::Internal
