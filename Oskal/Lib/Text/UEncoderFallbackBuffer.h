#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UReferenceManagement.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

// Hands out the replacement for one character that cannot be encoded,
// one code unit at a time.
class OSKAL_LIB_API UEncoderFallbackBuffer : public UReferenceManagement
{
public:
    // Prepares the replacement for ulCodePoint; returns 1 when there is something to hand out.
    virtual int Fallback(unsigned long ulCodePoint) = 0;
    // The next replacement unit, or 0 when none is left.
    virtual wchar_t GetNextChar() = 0;
    // Steps back one unit; 0 when already at the start.
    virtual int MovePrevious() = 0;
    virtual unsigned long GetRemaining() = 0;
    // The units not handed out yet and their count.
    virtual const wchar_t* GetBuffer(unsigned long* pulLength) = 0;
    // Forgets the current replacement: nothing remains.
    virtual void Reset() = 0;

protected:
    UEncoderFallbackBuffer();
    ~UEncoderFallbackBuffer() override;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
