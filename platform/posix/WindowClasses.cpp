// Window classes and the rest of what <winuser.h> declares as functions, for systems whose own windows know nothing of
// them.
#include "RecursiveLock.h"
#include "ScopedLock.h"
#include "WindowSystem.h"

#include <map>
#include <string>

namespace {

struct Known {
    NV::RecursiveLock lock;
    std::map<std::string, WNDCLASS> classes NV_GUARDED_BY(lock); // by name, without case
};

Known& KnownClasses()
{
    static Known known;
    return known;
}

std::string Key(LPCSTR name)
{
    std::string key(name ? name : "");
    for (char& c : key)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return key;
}

} // namespace

ATOM RegisterClass(const WNDCLASS* windowClass)
{
    const std::string key = Key(windowClass->lpszClassName);
    Known& known = KnownClasses();
    const NV::ScopedLock held(known.lock);
    return !key.empty() && known.classes.emplace(key, *windowClass).second ? 1 : 0;
}

BOOL UnregisterClass(LPCSTR className, HINSTANCE)
{
    Known& known = KnownClasses();
    const NV::ScopedLock held(known.lock);
    return known.classes.erase(Key(className)) > 0;
}

BOOL GetClassInfo(HINSTANCE, LPCSTR className, WNDCLASS* windowClass)
{
    Known& known = KnownClasses();
    const NV::ScopedLock held(known.lock);
    const auto found = known.classes.find(Key(className));
    if (found == known.classes.end())
        return FALSE;
    *windowClass = found->second;
    return TRUE;
}

LRESULT DefWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    return NV::WindowSystem().Default(window, message, wParam, lParam);
}

HCURSOR LoadCursor(HINSTANCE instance, LPCSTR name)
{
    for (const LPCSTR shape : {IDC_ARROW, IDC_WAIT, IDC_CROSS, IDC_SIZEWE, IDC_SIZENS, IDC_SIZEALL, IDC_HAND}) {
        if (!instance && shape == name)
            return reinterpret_cast<HCURSOR>(reinterpret_cast<UINT_PTR>(name));
    }
    return nullptr;
}

HINSTANCE NV::ModuleInstance()
{
    return nullptr;
}
