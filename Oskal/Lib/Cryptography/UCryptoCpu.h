#pragma once

#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace Cryptography {

// Hardware paths (SHA extensions, AES-NI, SSE2 text conversion) are used when the processor has
// them. Passing 0 forces the portable code everywhere, cryptography and text alike, so that both
// paths can be checked against the same data; passing 1 goes back to what the processor offers.
// A process started with OSKAL_PORTABLE=1 in its environment starts with 0. Not meant to be
// switched while other threads hash, encipher or convert text.
OSKAL_LIB_API void SetHardwareAcceleration(int bEnabled);

// 1 when the SHA-1/SHA-256 hardware path is in use.
OSKAL_LIB_API int IsShaAccelerated();
// 1 when the AES hardware path is in use.
OSKAL_LIB_API int IsAesAccelerated();
// 1 when SHA-512 runs on the vector unit (SSSE3) instead of 32-bit integer registers.
OSKAL_LIB_API int IsVectorAccelerated();

}}} // namespace Oskal::Lib::Cryptography
