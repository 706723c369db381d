// A module that loads and is no encoder, although it has one of an encoder's functions.
#include "NVExport.h"

extern "C" NVLIB_API void beCloseStream() {}
