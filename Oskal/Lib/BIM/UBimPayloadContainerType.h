#pragma once

namespace Oskal { namespace Lib { namespace BIM {

// Type byte of a payload container. Any other value read from a file makes an unknown container
// that keeps it.
enum UBimPayloadContainerType
{
    eBimPayloadContainerType_Firmware = 1,
    eBimPayloadContainerType_Windows = 2
};

}}} // namespace Oskal::Lib::BIM
