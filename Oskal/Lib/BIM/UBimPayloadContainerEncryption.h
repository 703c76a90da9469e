#pragma once

namespace Oskal { namespace Lib { namespace BIM {

// Encryption byte of a payload container. Every value other than 1 and 2 is held as Unknown.
enum UBimPayloadContainerEncryption
{
    eBimPayloadContainerEncryption_None = 1,
    eBimPayloadContainerEncryption_Rijndael = 2,
    eBimPayloadContainerEncryption_Unknown = 0xFF
};

}}} // namespace Oskal::Lib::BIM
