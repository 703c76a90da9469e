// Shared by the UTF-8 encoder and decoder: whether their SSE2 runs may be used. Included by
// their .cpp files only; not part of the public interface.
#pragma once

#include <cpuid.h>
#include <cstdlib>

namespace Oskal
{
namespace Lib
{
namespace Text
{
namespace Detail
{

// OSKAL_TEXT_PORTABLE=1 in the environment selects the portable loops, so that the tests can
// check them on machines that all have SSE2.
inline bool UseSse2()
{
    static const bool use = [] {
        const char* portable = std::getenv("OSKAL_TEXT_PORTABLE");
        if (portable != nullptr && portable[0] == '1')
            return false;
        unsigned int a, b, c, d;
        if (!__get_cpuid(1, &a, &b, &c, &d))
            return false;
        return (d & bit_SSE2) != 0;
    }();
    return use;
}

} // namespace Detail
} // namespace Text
} // namespace Lib
} // namespace Oskal
