#pragma once

namespace Oskal { namespace Lib { namespace BIM {

// Identifies the system an image is made for. The library stores and compares the 8 bytes as a
// whole and never looks inside.
struct BIM_TARGETSYSTEM
{
    unsigned char abyData[8];
};

}}} // namespace Oskal::Lib::BIM
