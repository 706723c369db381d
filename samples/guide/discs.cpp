// Which disc is this: identifiers, and a database of records in a folder.
//
//   discs FOLDER
#include "CDDB.h"

#include <cstdio>
#include <vector>

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    // Where each track begins, and at the end where the last one ends: minutes, seconds, frames of 1/75 s.
    const std::vector<CCDDBTrackPosition> positions = {{0, 2, 0}, {3, 47, 20}, {7, 12, 61}, {11, 5, 3}};
    CCDDBRecord disc;
    disc.discId = CCDDB::ComputeDiscID(positions);
    for (size_t track = 0; track + 1 < positions.size(); ++track)
        disc.frameOffsets.push_back((positions[track].minutes * 60 + positions[track].seconds) * 75 +
                                    positions[track].frames);
    disc.discLength = 11 * 60 + 5;
    disc.artist = "The Example Singers";
    disc.title = "Three Songs";
    disc.trackTitles = {"Paper Tide", "Lantern", "Harbour"};

    CCDDB client; // SetTimeout, SetProxyDetails and a CCDDBSite are for servers
    if (!client.WriteLocal(argv[1], "folk", disc)) {
        std::fprintf(stderr, "%s\n", client.GetErrorMessage().GetString());
        return 1;
    }
    std::vector<CCDDBRecord> found;
    if (!client.QueryLocal(argv[1], disc.discId, disc.frameOffsets, found))
        return 1;
    std::printf("%08x is %s / %s\n", static_cast<unsigned>(disc.discId), found[0].artist.GetString(),
                found[0].title.GetString());
    return found[0].trackTitles.size() == 3 ? 0 : 1;
}
