#pragma once

namespace Oskal { namespace Lib { namespace Cryptography {

enum UCryptoStreamMode
{
    eCryptoStreamMode_Read = 1,
    eCryptoStreamMode_Write = 2
};

}}} // namespace Oskal::Lib::Cryptography
