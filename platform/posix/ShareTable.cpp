// The table of ShareTable.h: one list, looked through under its lock.
#include "ShareTable.h"

#include <algorithm>
#include <memory>

namespace NV {

ShareTable& ShareTable::Instance()
{
    // Never destroyed: files that are static objects are closed while the program ends, in any order.
    static ShareTable* const table = std::make_unique<ShareTable>().release();
    return *table;
}

bool ShareTable::Add(int descriptor, const FileIdentity& file, ShareRights access, ShareRights share)
{
    const ScopedLock held(lock);
    for (const Opening& other : openings) {
        if (other.file == file && !(access.Within(other.share) && other.access.Within(share)))
            return false;
    }
    openings.push_back({descriptor, file, access, share});
    return true;
}

void ShareTable::Remove(int descriptor)
{
    const ScopedLock held(lock);
    std::erase_if(openings, [&](const Opening& opening) { return opening.descriptor == descriptor; });
}

bool ShareTable::IsOpen(const FileIdentity& file)
{
    const ScopedLock held(lock);
    return std::any_of(openings.begin(), openings.end(), [&](const Opening& o) { return o.file == file; });
}

} // namespace NV
