// Modules, on POSIX: see Module.h.
#include "Module.h"

#include <dlfcn.h>
#include <limits.h>
#include <mutex>
#include <unistd.h>

namespace NV {

namespace {

/// Whoever gives a module back last runs what it does at its end, behind all that others have done with it. The system
/// sees to that too, with a lock that checkers do not know of.
std::mutex loading;

} // namespace

std::string Module::PathOf(const char* name)
{
    char program[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof program);
    std::string path(program, length > 0 ? static_cast<std::size_t>(length) : 0);
    path.resize(path.rfind('/') + 1); // everything when there is no slash, which the system never gives
    return path + name + ".so";
}

bool Module::Load(const char* name, std::string& problem)
{
    Unload();
    const std::string path = PathOf(name);
    if (access(path.c_str(), F_OK) != 0) {
        problem = "there is no " + path;
        return false;
    }
    const std::lock_guard hold(loading);
    handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* const reason = dlerror();
        problem = path + " cannot be loaded: " + (reason ? reason : "the system gives no reason");
    }
    return handle != nullptr;
}

void Module::Unload()
{
    const std::lock_guard hold(loading);
    if (handle)
        dlclose(handle);
    handle = nullptr;
}

Module::AnyFunction Module::Address(const char* name) const
{
    return handle ? reinterpret_cast<AnyFunction>(dlsym(handle, name)) : nullptr;
}

} // namespace NV
