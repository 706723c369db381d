// The encoder of PNG files, alone: it goes over bytes one by one, and others wrote it.
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>
