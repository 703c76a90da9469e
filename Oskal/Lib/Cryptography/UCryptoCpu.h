#pragma once

#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace Cryptography {

// Hardware paths (SHA extensions, AES-NI) are used when the processor has them. Passing 0 forces
// the portable code everywhere, so that both paths can be checked against the same vectors;
// passing 1 goes back to what the processor offers. Not meant to be switched while other threads
// hash or encipher.
OSKAL_LIB_API void SetHardwareAcceleration(int bEnabled);

// 1 when the SHA-1/SHA-256 hardware path is in use.
OSKAL_LIB_API int IsShaAccelerated();
// 1 when the AES hardware path is in use.
OSKAL_LIB_API int IsAesAccelerated();
// 1 when SHA-512 runs on the vector unit (SSSE3) instead of 32-bit integer registers.
OSKAL_LIB_API int IsVectorAccelerated();

}}} // namespace Oskal::Lib::Cryptography
