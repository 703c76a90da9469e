#pragma once

namespace Oskal
{
namespace Lib
{
namespace Logging
{

// How much a diagnostic line matters. The library writes the values named here; loggers receive
// any 32-bit value an application passes.
enum ULogSeverity
{
    // Routine progress: threads assigned, returned, added or retired.
    eLogSeverity_Information = 0,
    // Something went wrong and is being handled: a retry, an abort under way.
    eLogSeverity_Warning = 1,
    // A request that could not be honoured: a task over its time, misuse of a task.
    eLogSeverity_Error = 4,
    // A failure that leaves an object without part of its function: a thread that did not start.
    eLogSeverity_Critical = 5
};

} // namespace Logging
} // namespace Lib
} // namespace Oskal
