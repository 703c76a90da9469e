#pragma once

namespace Oskal { namespace Lib { namespace IO {

// Desired access of a file; the values are the Win32 generic access bits.
enum UFileAccessMode : unsigned long
{
    eFileAccessMode_Read = 0x80000000UL,
    eFileAccessMode_Write = 0x40000000UL,
    eFileAccessMode_ReadWrite = 0xC0000000UL
};

}}} // namespace Oskal::Lib::IO
