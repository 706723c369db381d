// Unpacks an archive into a folder, all of it or nothing, and nowhere else. One thread at a time.
#pragma once

#include "NVTypes.h"

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace NV {

/// Where an entry of that name goes below the destination; empty when it is the destination itself. False for a name
/// that would lead out of it, on whichever system, or that some system cannot have: absolute ones, drives, devices,
/// "..".
bool SafeRelativePath(std::string_view name, std::filesystem::path& relative);

class ArchiveUnpacker {
public:
    /// `target` need not be there yet. More than `mostBytes` are not unpacked.
    ArchiveUnpacker(std::filesystem::path destination, u64 mostBytes) : target(std::move(destination)), room(mostBytes)
    {
    }
    /// Removes what was not put in its place.
    ~ArchiveUnpacker();
    ArchiveUnpacker(const ArchiveUnpacker&) = delete;
    ArchiveUnpacker& operator=(const ArchiveUnpacker&) = delete;

    /// Unpacks files and folders; links and devices are left out. A first folder of the target's own name is not made
    /// twice. False on a failure and when stopped.
    bool Run(const char* archive, const std::function<void(double)>& progress, const std::function<bool()>& cancelled);
    /// What went wrong, for the log.
    const std::string& Failure() const { return failure; }

private:
    bool Fail(const std::string& what);
    bool MakeStaging();
    bool UnpackEntries(const char* archive, const std::function<void(double)>& progress,
                       const std::function<bool()>& cancelled);
    bool PutInPlace();

    std::filesystem::path target, staging;
    std::vector<std::filesystem::path> madeParents; // deepest first
    u64 room;
    std::string failure;
};

} // namespace NV
