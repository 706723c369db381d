// Fetches a file in as many attempts as it takes: what has come stays, and the next attempt goes on from there unless
// the server's file has changed meanwhile. One thread at a time.
#pragma once

#include "NVTypes.h"

#include <exception>
#include <functional>
#include <string>

#include <afx.h>

namespace NV {

class ArchiveDownload {
public:
    /// `path` is where the bytes gather; beside it, with ".from" added, stands what they are a part of.
    ArchiveDownload(const char* address, std::string place, u64 mostBytes)
        : url(address), path(std::move(place)), most(mostBytes)
    {
    }

    /// False on a failure and when stopped. Exceptions of the callbacks pass through.
    bool Run(const std::function<void(double)>& progress, const std::function<bool()>& cancelled);
    /// Removes both files, those that are still there.
    void Forget() const;
    const std::string& Failure() const { return failure; }

private:
    struct Calls;
    enum class Outcome { complete, failed, nothingLeft };
    Outcome Attempt();
    bool TakeHeader(std::string_view line);
    bool TakeBytes(const char* bytes, std::size_t count, long code);
    bool ShouldStop(double total, double now);

    std::string NotePath() const { return path + ".from"; }
    std::string ReadNote() const;

    std::string url, path;
    u64 most;
    const std::function<void(double)>* progress = nullptr;
    const std::function<bool()>* cancelled = nullptr;
    CFile file;
    u64 offset = 0;        // where this attempt goes on
    bool begun = false;    // bytes of this attempt have come
    std::string validator; // of the server's file, empty when it gives none
    std::exception_ptr thrown;
    std::string failure;
};

} // namespace NV
