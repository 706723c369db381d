// See NrgCheck.h. All numbers of the format are big-endian. It ends with "NERO" and 32 bits, or "NER5" and 64 bits,
// that tell where the description begins: chunks of a name, a length and so many bytes.
#include "NrgCheck.h"

#include "NVTypes.h"

#include <fstream>
#include <string_view>
#include <vector>

namespace NV {
namespace {

constexpr u64 longestDescription = 1 << 20;
constexpr std::size_t mostTracks = 99;
constexpr std::size_t chunkHead = 8;

u64 LoadBig(const char* from, int bytes)
{
    u64 value = 0;
    for (int i = 0; i < bytes; ++i)
        value = value << 8 | static_cast<unsigned char>(from[i]);
    return value;
}

/// Chunks that libcdio takes apart: `head` bytes, then entries. `perTrack` entries make a track.
struct ChunkKind {
    std::string_view name;
    std::size_t head, entry, perTrack;
};
constexpr ChunkKind kinds[] = {
    {"CUES", 0, 8, 2},  {"CUEX", 0, 8, 2},  {"DAOI", 22, 30, 1}, {"DAOX", 22, 42, 1},
    {"ETNF", 0, 20, 1}, {"ETN2", 0, 32, 1}, {"SINF", 0, 4, 0},   {"MTYP", 0, 4, 0},
};

/// The bytes from where the description begins up to the end of the file.
bool ReadDescription(const std::string& path, std::vector<char>& bytes)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const std::streamoff length = file.tellg();
    char foot[12] = {};
    if (length < 12 || !file.seekg(length - 12) || !file.read(foot, 12))
        return false;
    u64 start = 0;
    if (std::string_view(foot, 4) == "NER5")
        start = LoadBig(foot + 4, 8);
    else if (std::string_view(foot + 4, 4) == "NERO")
        start = LoadBig(foot + 8, 4);
    else
        return false;
    const u64 size = static_cast<u64>(length);
    if (start >= size || size - start > longestDescription)
        return false;
    bytes.resize(static_cast<std::size_t>(size - start));
    return file.seekg(static_cast<std::streamoff>(start)) &&
           file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// How many tracks a chunk tells of; more than a disc has for one that is not whole.
std::size_t TracksOf(std::string_view name, std::size_t length)
{
    for (const ChunkKind& kind : kinds) {
        if (kind.name != name)
            continue;
        if (length < kind.head || (length - kind.head) % kind.entry != 0 || length == kind.head)
            return mostTracks + 1;
        const std::size_t entries = (length - kind.head) / kind.entry;
        if (kind.perTrack == 2) // one pair more: what is in front of the first track, and the lead-out
            return entries % 2 != 0 || entries < 4 ? mostTracks + 1 : entries / 2 - 1;
        return kind.perTrack * entries;
    }
    return 0;
}

} // namespace

bool IsSoundNrg(const std::string& path)
{
    std::vector<char> bytes;
    if (!ReadDescription(path, bytes))
        return false;
    std::size_t places = 0, descriptions = 0; // the two ways of telling the same tracks, over all sessions
    for (std::size_t at = 0; bytes.size() - at >= chunkHead;) {
        const std::string_view name(&bytes[at], 4);
        const u64 length = LoadBig(&bytes[at + 4], 4);
        at += chunkHead;
        if (name == "END!")
            return length == 0 && places + descriptions > 0;
        if (length > bytes.size() - at)
            return false;
        const std::size_t tracks = TracksOf(name, static_cast<std::size_t>(length));
        (name.substr(0, 3) == "DAO" ? descriptions : places) += tracks;
        if (places > mostTracks || descriptions > mostTracks)
            return false;
        at += static_cast<std::size_t>(length);
    }
    return false;
}

} // namespace NV
