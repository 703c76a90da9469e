#pragma once

namespace Oskal { namespace Lib { namespace BIM {

// Tag of a header record. Values not named here are carried by UBimHeaderParameterUnknown.
enum UBimHeaderParameterTag
{
    eBimHeaderParameterTag_TargetSystem = 1,
    eBimHeaderParameterTag_PayloadLength = 2,
    eBimHeaderParameterTag_ShortDescription = 3,
    eBimHeaderParameterTag_LongDescription = 4,
    eBimHeaderParameterTag_DateOfCreation = 5,
    eBimHeaderParameterTag_LastParameter = 0xFFFF
};

}}} // namespace Oskal::Lib::BIM
