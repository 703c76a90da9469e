#pragma once

namespace Oskal { namespace Lib { namespace IO {

// How a file is opened; the values are CreateFileW's creation dispositions.
enum UFileOpenMode
{
    eFileOpenMode_CreateNew = 1,
    eFileOpenMode_CreateAlways = 2,
    eFileOpenMode_OpenExisting = 3,
    eFileOpenMode_OpenAlways = 4,
    eFileOpenMode_TruncateExisting = 5
};

}}} // namespace Oskal::Lib::IO
