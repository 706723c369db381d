// Share modes for systems that have none: this process's open files with what each opening does and lets others do.
// Other processes are not bound by it. Safe from any thread.
#pragma once

#include "RecursiveLock.h"
#include "ScopedLock.h"

#include <sys/types.h>
#include <vector>

namespace NV {

/// A set of read and write.
struct ShareRights {
    bool read = false, write = false;
    bool Within(const ShareRights& other) const { return (!read || other.read) && (!write || other.write); }
};

/// A file, whatever path it was opened by.
struct FileIdentity {
    dev_t device = 0;
    ino_t node = 0;
    bool operator==(const FileIdentity&) const = default;
};

class ShareTable {
public:
    /// The process's one table.
    static ShareTable& Instance();

    /// Enters an opening. False, and nothing entered, when it wants what another opening of the file does not share,
    /// or does not share what that one does.
    bool Add(int descriptor, const FileIdentity& file, ShareRights access, ShareRights share);
    /// Before the descriptor is closed, since its number may be another file's right after. Unknown ones are ignored.
    void Remove(int descriptor);
    bool IsOpen(const FileIdentity& file);

private:
    struct Opening {
        int descriptor;
        FileIdentity file;
        ShareRights access, share;
    };
    RecursiveLock lock;
    std::vector<Opening> openings NV_GUARDED_BY(lock); // few enough to be looked through
};

} // namespace NV
