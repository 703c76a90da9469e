#pragma once

namespace Oskal { namespace Lib { namespace Cryptography {

// Chaining mode of a block cipher.
enum UCipherMode
{
    eCipherMode_CBC = 1,
    eCipherMode_CFB = 2,
    eCipherMode_CTS = 3,
    eCipherMode_ECB = 4,
    eCipherMode_OFB = 5
};

}}} // namespace Oskal::Lib::Cryptography
