#pragma once

#include <Oskal/Lib/Collections/UVector.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace Cryptography {

// A step that bytes pass through: a cipher, a hash or the identity. Transforms are not
// reference-counted: whoever makes one calls Release once.
class OSKAL_LIB_API ICryptoTransform
{
public:
    virtual ~ICryptoTransform();
    virtual void Release() = 0;
    virtual int CanReuseTransform() const = 0;
    virtual int CanTransformMultipleBlocks() const = 0;
    virtual unsigned long GetInputBlockSize() const = 0;
    virtual unsigned long GetOutputBlockSize() const = 0;
    // Output bytes that a final transform of ulSize input bytes yields.
    virtual unsigned long GetTransformedSize(unsigned long ulSize) const = 0;
    // Transforms a whole number of input blocks; returns the number of bytes written.
    virtual unsigned long TransformBlock(const unsigned char* pbyInput, unsigned long ulCount,
                                         unsigned char* pbyOutput) = 0;
    // Transforms the last, possibly partial, piece.
    virtual Collections::UVector<unsigned char> TransformFinalBlock(const unsigned char* pbyInput,
                                                                    unsigned long ulCount) = 0;

protected:
    ICryptoTransform();
    ICryptoTransform(const ICryptoTransform& other);
    ICryptoTransform& operator=(const ICryptoTransform& other);
};

}}} // namespace Oskal::Lib::Cryptography
