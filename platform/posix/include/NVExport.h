// Marks what the library hands out; everything else keeps the hidden visibility that the build sets.
#pragma once

#define NVLIB_API __attribute__((visibility("default")))
