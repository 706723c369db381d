// Opening what a person names: the file's contents decide how it is read, its name only where they prove nothing.
#pragma once

#include "CDGInputFile.h"
#include "CDGRenderer.h"
#include "StreamInfo.h"

#include <afx.h>
#include <filesystem>
#include <string>

namespace nvtool {

constexpr int kOpenToRead = CFile::modeRead | CFile::shareDenyNone;

// Checks that the file can be read and tells what it is. Zeros fit every kind: for a file of nothing else the name's
// ending and the length decide. Throws Error.
StreamIdentity Identify(const std::filesystem::path& path);

// The name's ending with its dot, in small letters.
std::string LowerExtension(const std::filesystem::path& path);

// "plain CD+G graphics" or, for a file of unknown kind, what can be said of it.
std::string KindText(const StreamIdentity& identity);

// What the name promises when that is not what the file holds; empty when the two agree or the name promises nothing.
std::string NameRemark(const StreamIdentity& identity, const std::filesystem::path& path);

// A CD+G stream, from a plain file or a disc image, kept open. Not movable: readers hold on to the file.
class GraphicsInput {
public:
    // Throws Error when the file cannot be read or holds no graphics.
    explicit GraphicsInput(const std::filesystem::path& path);
    GraphicsInput(const GraphicsInput&) = delete;
    GraphicsInput& operator=(const GraphicsInput&) = delete;

    bool IsPlain() const { return identity.kind == StreamKind::Graphics; }
    // Readies a reader at pack 0. One at a time may read: they share the file's position.
    void Attach(CCDGInputFile& reader) { reader.Open(&file, IsPlain()); }
    void Attach(CCDGRenderer& renderer);

private:
    std::string name;
    StreamIdentity identity;
    CFile file;
};

} // namespace nvtool
