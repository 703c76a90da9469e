#pragma once

namespace Oskal { namespace Lib { namespace BIM {

// One header record in memory. Only the first wLength bytes of the value are meaningful; the
// area is large enough for the longest value rounded up to a multiple of 4.
struct BIM_HEADER_TLV
{
    unsigned short wTag;
    unsigned short wLength;
    unsigned char abyValue[65536];
};

}}} // namespace Oskal::Lib::BIM
