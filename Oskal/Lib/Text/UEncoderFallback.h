#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Text/UEncoderFallbackBuffer.h>
#include <Oskal/Lib/UReferenceManagement.h>

namespace Oskal
{
namespace Lib
{
namespace Text
{

// Decides what the encoder does with a character the encoding cannot represent.
class OSKAL_LIB_API UEncoderFallback : public UReferenceManagement
{
public:
    // A new buffer with a reference count of 1.
    virtual UEncoderFallbackBuffer* CreateFallbackBuffer() = 0;
    // The most code units one replacement can produce.
    virtual unsigned long GetMaxCharCount() = 0;
    // A new, independent fallback of the same kind (reference count 1).
    virtual UEncoderFallback* Clone() = 0;

protected:
    UEncoderFallback();
    ~UEncoderFallback() override;
};

} // namespace Text
} // namespace Lib
} // namespace Oskal
