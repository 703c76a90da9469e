#pragma once

// The one way the library's headers reach the Windows API: lean, and without the min/max
// macros, so that including the library does not change what a program's own code sees.
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
