// The values that the CDDB client takes and gives: places on a disc, servers, matches, records, a server's state.
//
// Places are absolute: 75 frames a second, the two seconds of lead-in counted. Texts are bytes as the database has
// them, in whatever encoding that is. Plain values: any thread, one at a time.
#pragma once

#include "NVExport.h"
#include "NVTypes.h"

#include <afx.h>
#include <utility>
#include <vector>

/// Where a track begins. A disc is an array of these, one for each track and one for the lead-out.
struct NVLIB_API CCDDBTrackPosition {
    i32 minutes = 0;
    i32 seconds = 0;
    i32 frames = 0;
};

/// One disc that a server or a local database offers.
class NVLIB_API CCDDBQueryResult {
public:
    CString category;
    u32 discId = 0;
    CString artist;
    CString title;

    /// Reads "category discid artist / title"; the title ends at the first line break and is split at its first slash.
    /// Without a slash it is both. False when a part is missing; the object is unchanged then, and the log says where
    /// it ended.
    bool Parse(const char* line);
};

/// One xmcd record: everything that is known of a disc.
class NVLIB_API CCDDBRecord {
public:
    u32 discId = 0;
    std::vector<i32> frameOffsets; ///< One a track.
    i32 discLength = 0;            ///< Seconds.
    i32 revision = 0;
    CString clientName; ///< "Submitted via", in three parts.
    CString clientVersion;
    CString clientComment;
    CString artist;
    CString title;
    i32 year = 0; ///< 0: not known.
    CString genre;
    std::vector<CString> trackTitles;
    CString extendedData;
    std::vector<CString> extendedTrackData; ///< As long as `trackTitles` in a record that was read.
    CString playOrder;
    CString category; ///< Not in the record itself: the folder or the category that it came from.

    /// What a list of matches shows of it.
    void FillQueryResult(CCDDBQueryResult& result) const;
};

/// A server.
class NVLIB_API CCDDBSite {
public:
    enum Purpose { retrieval, submission };

    CString host;
    i32 port = 80;
    CString path;
    bool north = true;
    i32 latitude = 0; ///< Minutes of arc.
    bool east = true;
    i32 longitude = 0; ///< Minutes of arc.
    CString description;

    explicit CCDDBSite(Purpose purpose = retrieval);

    /// Reads one line of a server's list. False, and the object unchanged, when it is not a line of a site that speaks
    /// HTTP or its place is not written as degrees and minutes ("N037.21 W121.55").
    bool Parse(const char* line);
};

/// What a server says of itself.
class NVLIB_API CCDDBStatus {
public:
    i32 currentProto = 0;
    i32 maxProto = 0;
    CString gets; ///< "yes" or "no", as are the next ones.
    CString updates;
    CString posting;
    CString quotes;
    i32 currentUsers = 0;
    i32 maxUsers = 0;
    CString stripExt;
    i32 databaseEntries = 0;
    std::vector<std::pair<CString, i32>> categoryEntries;
    std::vector<std::pair<CString, CString>> pendingTransmissions; ///< Site and what is said of it.
};
