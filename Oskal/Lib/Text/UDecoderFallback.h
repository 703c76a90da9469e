#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UDecoderFallbackBuffer.h>
#include <Oskal/Lib/UReferenceManagement.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

// Decides what the decoder does with a decoded value that is not a valid character.
class OSKAL_LIB_API UDecoderFallback : public UReferenceManagement
{
public:
    // A new buffer with a reference count of 1.
    virtual UDecoderFallbackBuffer* CreateFallbackBuffer() = 0;
    // The most code units one replacement can produce.
    virtual unsigned long GetMaxCharCount() = 0;
    // A new, independent fallback of the same kind (reference count 1).
    virtual UDecoderFallback* Clone() = 0;

protected:
    UDecoderFallback();
    ~UDecoderFallback() override;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
