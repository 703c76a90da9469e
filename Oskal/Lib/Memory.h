#pragma once

#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib {

// Raw heap blocks from the C run-time heap. Exhaustion throws std::bad_alloc.
OSKAL_LIB_API void* Alloc(unsigned long ulSize);
OSKAL_LIB_API void* AllocAndClear(unsigned long ulSize);
// Accepts a null pointer.
OSKAL_LIB_API void Free(void* pvBlock);

}} // namespace Oskal::Lib
