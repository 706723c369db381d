// MPEG audio files of any bytes: the walk gives what the plain rule gives, a tag that is written is read back, and
// nothing else of the file changes.
//
// Input: four bytes (track, genre, and lengths of the title and the comment), then the file.
#include "Check.h"
#include "MP3Info.h"
#include "MPEGAudio.h"
#include "Scratch.h"
#include "support/PlainMP3.h"

#include <algorithm>

namespace {

constexpr size_t headBytes = 4, tagBytes = 128;

void CheckWalk(const CMP3Info& info, const std::string& file)
{
    const PlainMP3 plain = WalkPlainly(file);
    FUZZ_CHECK(info.GetNumFrames() == plain.frames && info.GetLength() == plain.length);
    FUZZ_CHECK(info.GetBitRate() == plain.bitRate && info.GetSampleRate() == plain.sampleRate);
    FUZZ_CHECK(info.GetMPEGVersion() == plain.version && info.GetMPEGLayer() == plain.layer);
    FUZZ_CHECK(info.HasCRC() == plain.protection && info.GetChannelMode() == plain.channelMode);
    FUZZ_CHECK(info.IsCopyrighted() == plain.copyright && info.IsOriginal() == plain.original);
    FUZZ_CHECK(info.GetEmphasis() == plain.emphasis);
}

// What a field keeps of a text.
std::string Kept(const std::string& text, size_t width)
{
    return text.substr(0, std::min(width, text.find('\0')));
}

void CheckTag(const ScratchFolder& scratch, const std::string& path, const std::string& file, const u8* head)
{
    const std::string texts = file.substr(0, 64);
    const std::string title = texts.substr(0, head[2] % 64), comment = texts.substr(0, head[3] % 64);
    const bool hadTag = file.size() >= tagBytes && file.compare(file.size() - tagBytes, 3, "TAG") == 0;
    const size_t kept = file.size() - (hadTag ? tagBytes : 0);
    const auto startsWithFile = [&](const std::vector<u8>& bytes) {
        return std::equal(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(kept), bytes.begin(),
                          [](char a, u8 b) { return static_cast<u8>(a) == b; });
    };

    CMP3Info info, back;
    info.SetTitle(title.c_str());
    info.SetComment(comment.c_str());
    info.SetTrack(head[0]);
    info.SetGenreIndex(head[1]);
    FUZZ_CHECK(info.WriteID3V1(path.c_str()) == 1);
    const std::vector<u8> written = scratch.Read("sound.mp3");
    FUZZ_CHECK(written.size() == kept + tagBytes && startsWithFile(written));
    FUZZ_CHECK(back.Open(path.c_str()) == 1 && (back.GetValidity() & CMP3Info::validTag) != 0);
    FUZZ_CHECK(back.GetTitle() == Kept(title, 30).c_str());
    const bool full = head[0] == 0 && Kept(comment, 64).size() > 28;
    FUZZ_CHECK(back.GetComment() == Kept(comment, full ? 30 : 28).c_str());
    FUZZ_CHECK(back.GetTrack() == head[0] && back.GetGenreIndex() == (full ? 255 : head[1]));

    FUZZ_CHECK(info.WriteID3V1(path.c_str(), CMP3Info::removeTag) == 1);
    const std::vector<u8> removed = scratch.Read("sound.mp3");
    FUZZ_CHECK(removed.size() == kept && startsWithFile(removed));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* bytes, size_t size)
{
    if (size < headBytes)
        return 0;
    static const ScratchFolder scratch;
    const std::string file(reinterpret_cast<const char*>(bytes) + headBytes, size - headBytes);
    const std::string path = scratch.Write("sound.mp3", {bytes + headBytes, size - headBytes});
    CMP3Info info;
    FUZZ_CHECK(info.Open(path.c_str()) == 1);
    CheckWalk(info, file);
    MPEGVBRClaim claim;
    FUZZ_CHECK(!ReadVBRClaim(path.c_str(), claim) || (IsMPEGAudio(path.c_str()) && claim.kind[0] != '\0'));
    CheckTag(scratch, path, file, bytes);
    return 0;
}
