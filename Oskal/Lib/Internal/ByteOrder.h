#pragma once

#include <cstdint>

namespace Oskal { namespace Lib { namespace Internal {

// Every file and wire format of the library is little-endian; these read and write its integers
// at any alignment.

inline std::uint16_t LoadLE16(const unsigned char* p)
{
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

inline std::uint32_t LoadLE32(const unsigned char* p)
{
    return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
           (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

inline std::uint64_t LoadLE64(const unsigned char* p)
{
    return static_cast<std::uint64_t>(LoadLE32(p)) | (static_cast<std::uint64_t>(LoadLE32(p + 4)) << 32);
}

inline void StoreLE16(unsigned char* p, std::uint16_t v)
{
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}

inline void StoreLE32(unsigned char* p, std::uint32_t v)
{
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
    p[2] = static_cast<unsigned char>(v >> 16);
    p[3] = static_cast<unsigned char>(v >> 24);
}

inline void StoreLE64(unsigned char* p, std::uint64_t v)
{
    StoreLE32(p, static_cast<std::uint32_t>(v));
    StoreLE32(p + 4, static_cast<std::uint32_t>(v >> 32));
}

}}} // namespace Oskal::Lib::Internal
