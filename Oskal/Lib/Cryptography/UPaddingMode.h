#pragma once

namespace Oskal { namespace Lib { namespace Cryptography {

// How the last block of a message is filled up.
enum UPaddingMode
{
    ePaddingMode_None = 0,
    ePaddingMode_Zeros = 1,
    ePaddingMode_ANSIX923 = 2,
    ePaddingMode_ISO10126 = 3,
    ePaddingMode_PKCS7 = 4
};

}}} // namespace Oskal::Lib::Cryptography
