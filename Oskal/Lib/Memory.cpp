#include <Oskal/Lib/Memory.h>

#include <cstdlib>
#include <cstring>
#include <new>

namespace Oskal { namespace Lib {

void* Alloc(unsigned long ulSize)
{
    // malloc(0) may return null; a block is still owed to the caller.
    void* block = std::malloc(ulSize != 0 ? ulSize : 1);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void* AllocAndClear(unsigned long ulSize)
{
    void* block = Alloc(ulSize);
    std::memset(block, 0, ulSize);
    return block;
}

void Free(void* pvBlock)
{
    std::free(pvBlock);
}

}} // namespace Oskal::Lib
