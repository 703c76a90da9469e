#pragma once

// OSKAL_LIB_API marks the classes and functions that the DLL exports.
#if defined(OSKAL_LIB_BUILDING)
#define OSKAL_LIB_API __declspec(dllexport)
#else
#define OSKAL_LIB_API __declspec(dllimport)
#endif
