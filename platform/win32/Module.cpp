// Modules, on Win32: see Module.h.
#include "Module.h"

#include <windows.h>

namespace NV {
namespace {

/// Wide, since the folder's name may have characters that the code page has not.
std::wstring WidePathOf(const char* name)
{
    wchar_t program[MAX_PATH * 4];
    const DWORD length = GetModuleFileNameW(nullptr, program, MAX_PATH * 4);
    std::wstring path(program, length);
    path.resize(path.rfind(L'\\') + 1);
    for (; *name != '\0'; ++name)
        path += static_cast<wchar_t>(static_cast<unsigned char>(*name)); // ours: plain letters
    return path + L".dll";
}

std::string Narrow(const std::wstring& text)
{
    const int size = static_cast<int>(text.size());
    std::string narrow(text.size() * 2, '\0');
    const int used = WideCharToMultiByte(CP_ACP, 0, text.data(), size, narrow.data(), size * 2, nullptr, nullptr);
    narrow.resize(static_cast<std::size_t>(used));
    return narrow;
}

} // namespace

std::string Module::PathOf(const char* name)
{
    return Narrow(WidePathOf(name));
}

bool Module::Load(const char* name, std::string& problem)
{
    Unload();
    const std::wstring path = WidePathOf(name);
    if (GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
        problem = "there is no " + Narrow(path);
        return false;
    }
    handle = LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (!handle) {
        const DWORD error = GetLastError();
        problem = Narrow(path) + " cannot be loaded: Windows error " + std::to_string(error);
    }
    return handle != nullptr;
}

void Module::Unload()
{
    if (handle)
        FreeLibrary(static_cast<HMODULE>(handle));
    handle = nullptr;
}

Module::AnyFunction Module::Address(const char* name) const
{
    return handle ? reinterpret_cast<AnyFunction>(GetProcAddress(static_cast<HMODULE>(handle), name)) : nullptr;
}

} // namespace NV
