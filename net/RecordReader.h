// Reads an xmcd record line by line. Any bytes are taken; what a compact disc cannot have (tracks above 99) is dropped,
// so that no line makes the lists long. One thread at a time.
#pragma once

#include "CDDBTypes.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace NV {

/// Bytes; what is longer is taken for no record.
inline constexpr std::size_t longestRecord = 4 << 20;

/// Comments count up to the first line with a key: the header stands at the top. Reads the lines of one record into
/// `record`, which is empty unless true is returned: the header, an offset, the length, the client, the id and the
/// title were all there.
bool ReadRecord(std::string_view text, CCDDBRecord& record);

/// What a look-up needs of a record to judge it.
struct RecordHead {
    u32 discId = 0;
    std::vector<i32> frameOffsets;
};

/// Reads no further than needed, and is true for the same records.
bool ReadRecordHead(std::string_view text, RecordHead& head);

} // namespace NV
