#pragma once

namespace Oskal { namespace Lib { namespace IO {

// Sharing granted to other openers of a file; the values are the Win32 share bits.
enum UFileShareMode : unsigned long
{
    eFileShareMode_None = 0,
    eFileShareMode_Read = 1,
    eFileShareMode_Write = 2,
    eFileShareMode_ReadWrite = 3,
    eFileShareMode_Delete = 4
};

// The bits combine freely, e.g. eFileShareMode_Read | eFileShareMode_Delete.
inline UFileShareMode operator|(UFileShareMode left, UFileShareMode right)
{
    return static_cast<UFileShareMode>(static_cast<unsigned long>(left) | static_cast<unsigned long>(right));
}

}}} // namespace Oskal::Lib::IO
