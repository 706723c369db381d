// Marks what the library hands out: exported while NVLib.dll is built, imported by applications, and neither in tests
// that are linked with the library's objects themselves.
#pragma once

#if defined(NVLIB_BUILDING)
#    define NVLIB_API __declspec(dllexport)
#elif defined(NVLIB_WITH_OBJECTS)
#    define NVLIB_API
#else
#    define NVLIB_API __declspec(dllimport)
#endif
