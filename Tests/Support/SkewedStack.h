#pragma once

#include <functional>

namespace OskalTests {

// Windows enters a module with only 4-byte stack alignment: callers built by other compilers,
// threads started with CreateThread, window procedures, timer and pool callbacks. This runs
// fnBody from stacks skewed by 0, 4, 8 and 12 bytes from a 16-byte boundary, first on the
// calling thread and then on a thread started with CreateThread. Use it for every fast path and
// every entry point that Windows or another module calls (thread procedures, window procedures,
// parser callbacks): the body drives the entry point, for example by sending a message to a
// window of the calling thread.
//
// A processor fault inside fnBody ends the process at once with a line on standard error that
// names pszPath and the skew, so that the failing path is known even though the test program
// cannot go on. A C++ exception from fnBody is passed on to the caller.
void RunOnSkewedStacks(const char* pszPath, const std::function<void()>& fnBody);

} // namespace OskalTests
