#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Oskal { namespace Lib { namespace BIM { class UBimFile; }}}

namespace BimTool {

// What info shows of a loaded file, gathered once and printed as text or JSON.
struct ImageReport
{
    struct Parameter
    {
        unsigned int tag;
        std::string kind;  // ShortDescription, LongDescription, TargetSystem, DateOfCreation, Unknown
        std::string value; // UTF-8 text, a date, or lowercase hex of the bytes
    };
    struct Container
    {
        unsigned long index; // 0-based position in the payload
        unsigned int type;
        unsigned int encryption; // an unknown encryption type shows as 255
        unsigned int storedSize;
        unsigned int plainSize;
        bool raw;
        std::vector<std::pair<unsigned int, unsigned int>> regions; // address, length
    };

    std::vector<Parameter> parameters;
    unsigned int payloadLength = 0;
    std::vector<Container> containers;

    static ImageReport Of(Oskal::Lib::BIM::UBimFile& file);
    std::string ToText() const;
    std::string ToJson() const;
};

} // namespace BimTool
