// CD+G streams for those classes of the library that open a file by its name and take the name's word for what it is.
#pragma once

#include "Commands.h"

#include <filesystem>
#include <optional>
#include <string>

namespace nvtool {

// A path under which a stream is read as what it is: the file's own where name and contents agree. Where they do not (a
// disc image called .cdg, say) the packs are copied to a temporary plain file, which goes away with this object.
class NamedStream {
public:
    // Throws Error when the file cannot be read or holds no graphics, Interruption when Ctrl-C was pressed.
    explicit NamedStream(const std::filesystem::path& file);

    const char* Path() const { return path.c_str(); }
    // Packs in whole records.
    int Packs() const { return packs; }
    bool IsImage() const { return image; }
    // Bytes of the file for each pack.
    double BytesPerPack() const;

private:
    std::optional<OutputFile> copy; // never put in place
    std::string path;
    int packs = 0;
    bool image = false; // what is at `path`
};

// A name for a file in the temporary folder, for an OutputFile that is never put in place.
std::filesystem::path TemporaryName();

} // namespace nvtool
