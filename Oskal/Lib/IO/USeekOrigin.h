#pragma once

namespace Oskal { namespace Lib { namespace IO {

// Reference point of a seek; the values are those SetFilePointerEx takes.
enum USeekOrigin
{
    eSeekOrigin_Begin = 0,
    eSeekOrigin_Current = 1,
    eSeekOrigin_End = 2
};

}}} // namespace Oskal::Lib::IO
