// Streams under names that tell the truth: see NamedStream.h.
#include "NamedStream.h"

#include "Inputs.h"

#include <algorithm>
#include <fstream>
#include <vector>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

constexpr int kPacksPerPiece = 8192;

// Those classes look at the extension or at the last three letters; both have to fit.
bool NameFits(const fs::path& path, bool image)
{
    if (image)
        return LowerExtension(path) == ".bin";
    const std::string name = PathText(path.filename());
    const std::string end = name.substr(name.size() - std::min<size_t>(name.size(), 3));
    return LowerExtension("x." + end) != ".bin";
}

void CopyPacks(CCDGInputFile& reader, const fs::path& to, const std::string& name)
{
    std::ofstream file(to, std::ios::binary);
    std::vector<u8> piece(size_t{kPacksPerPiece} * kPackSize);
    while (const int got = reader.Read(piece.data(), kPacksPerPiece)) {
        Progress::Check();
        file.write(reinterpret_cast<const char*>(piece.data()), std::streamsize{got} * kPackSize);
    }
    file.close();
    if (!file)
        throw Error(name, "its packs could not be copied to " + PathText(to.parent_path()));
}

} // namespace

NamedStream::NamedStream(const fs::path& file) : path(file.string())
{
    GraphicsInput input(file);
    CCDGInputFile reader;
    input.Attach(reader);
    packs = reader.GetPackCount();
    image = !input.IsPlain();
    if (NameFits(file, image))
        return;
    copy.emplace(TemporaryName());
    CopyPacks(reader, copy->Temporary(), PathText(file));
    path = copy->Temporary().string();
    image = false;
}

double NamedStream::BytesPerPack() const
{
    return image ? double(kBinRecordSize) / kPacksPerRecord : kPackSize;
}

fs::path TemporaryName()
{
    return fs::temp_directory_path() / "nvtool.cdg"; // OutputFile makes it unique
}

} // namespace nvtool
