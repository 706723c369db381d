// Code that is loaded while the program runs. Only what lies in the program's own folder is: whoever may write there
// may change the program anyway. Any thread.
#pragma once

#include <string>

namespace NV {

/// One loaded module, given back with the object.
class Module {
public:
    Module() = default;
    ~Module() { Unload(); }
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    /// Loads the module of that name, which has no folder and no ending. False, and why, as a sentence without its full
    /// stop that names the file: it is not there, or the system does not load it.
    bool Load(const char* name, std::string& problem);
    void Unload();
    bool IsLoaded() const { return handle != nullptr; }

    /// An exported function; null when there is none of that name.
    template <class Function>
    Function* Find(const char* name) const
    {
        return reinterpret_cast<Function*>(Address(name));
    }

    /// Where a module of that name has to be.
    static std::string PathOf(const char* name);

private:
    using AnyFunction = void (*)();
    AnyFunction Address(const char* name) const;

    void* handle = nullptr;
};

} // namespace NV
