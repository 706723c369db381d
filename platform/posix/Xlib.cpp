// Loads Xlib: see Xlib.h.
#include "Xlib.h"

#include <dlfcn.h>

namespace NV {

namespace {

template <class Function>
bool Find(void* library, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

bool LoadInto(Xlib& functions)
{
    void* const library = dlopen("libX11.so.6", RTLD_NOW | RTLD_LOCAL);
    if (!library)
        return false;
    bool all = true;
#define NV_XLIB_FIND(name) all = Find(library, "X" #name, functions.name) && all;
    NV_XLIB_FUNCTIONS(NV_XLIB_FIND)
#undef NV_XLIB_FIND
    return all;
}

} // namespace

const Xlib* Xlib::Load()
{
    static Xlib functions;
    static const bool loaded = LoadInto(functions);
    return loaded ? &functions : nullptr;
}

} // namespace NV
