# libarchive is linked statically here: its header has to know, and what it is made of comes behind it, static as well.
find_package(LibLZMA REQUIRED)
find_library(NVLIB_ZLIB libz.a REQUIRED)
target_compile_definitions(NVLibObjects PUBLIC LIBARCHIVE_STATIC)
target_link_libraries(NVLibObjects PUBLIC LibLZMA::LibLZMA ${NVLIB_ZLIB} bcrypt)
