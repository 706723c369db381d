// See MP3Tables.h.
#include "MP3Tables.h"

#include <algorithm>
#include <array>

namespace NV {
namespace {

// By the kind of stream, then by index. Index 0 is free format; 15 is no bit rate.
constexpr int bitRates[6][16] = {
    {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448, -1}, // MPEG-1, Layer I
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384, -1},    // Layer II
    {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, -1},     // Layer III
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256, -1},    // MPEG-2 and 2.5, Layer I
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, -1},         // Layer II
    // Kept as is: differs from the standard at 5, 6, 9, 10, 13 and 14. Lengths that applications have stored with their
    // projects were made with these.
    {0, 8, 16, 24, 32, 64, 80, 56, 64, 128, 160, 112, 128, 256, 320, -1}, // Layer III
};

constexpr int sampleRates[4][3] = {
    {0, 0, 0}, // reserved
    {11025, 12000, 8000},
    {22050, 24000, 16000},
    {44100, 48000, 32000},
};

// The ID3v1 list with Winamp's additions. Their spelling is part of the list.
// clang-format off
constexpr const char* genres[] = {
    "Blues", "Classic Rock", "Country", "Dance", "Disco", "Funk", "Grunge", "Hip-Hop", "Jazz", "Metal", "New Age",
    "Oldies", "Other", "Pop", "R&B", "Rap", "Reggae", "Rock", "Techno", "Industrial", "Alternative", "Ska",
    "Death Metal", "Pranks", "Soundtrack", "Euro-Techno", "Ambient", "Trip-Hop", "Vocal", "Jazz+Funk", "Fusion",
    "Trance", "Classical", "Instrumental", "Acid", "House", "Game", "Sound Clip", "Gospel", "Noise",
    "Alternative Rock", "Bass", "Soul", "Punk", "Space", "Meditative", "Instrumental Pop", "Instrumental Rock",
    "Ethnic", "Gothic", "Darkwave", "Techno-Industrial", "Electronic", "Pop-Folk", "Eurodance", "Dream",
    "Southern Rock", "Comedy", "Cult", "Gangsta", "Top 40", "Christian Rap", "Pop/Funk", "Jungle", "Native US",
    "Cabaret", "New Wave", "Psychedelic", "Rave", "Showtunes", "Trailer", "Lo-Fi", "Tribal", "Acid Punk",
    "Acid Jazz", "Polka", "Retro", "Musical", "Rock & Roll", "Hard Rock", "Folk", "Folk-Rock", "National Folk",
    "Swing", "Fast Fusion", "Bebob", "Latin", "Revival", "Celtic", "Bluegrass", "Avantgarde", "Gothic Rock",
    "Progressive Rock", "Psychedelic Rock", "Symphonic Rock", "Slow Rock", "Big Band", "Chorus", "Easy Listening",
    "Acoustic", "Humour", "Speech", "Chanson", "Opera", "Chamber Music", "Sonata", "Symphony", "Booty Bass",
    "Primus", "Porn Groove", "Satire", "Slow Jam", "Club", "Tango", "Samba", "Folklore", "Ballad", "Power Ballad",
    "Rhythmic Soul", "Freestyle", "Duet", "Punk Rock", "Drum Solo", "A Cappella", "Euro-House", "Dance Hall", "Goa",
    "Drum & Bass", "Club-House", "Hardcore", "Terror", "Indie", "BritPop", "Negerpunk", "Polsk Punk", "Beat",
    "Christian Gangsta", "Heavy Metal", "Black Metal", "Crossover", "Contemporary Christian", "Christian Rock",
    "Merengue", "Salsa", "Thrash Metal", "Anime", "JPop", "SynthPop"
};
// clang-format on
static_assert(sizeof(genres) / sizeof(genres[0]) == CMP3Info::c_nGenres);

constexpr FrameKind KindOf(int versionCode, int layer, u32 index)
{
    const u32 rateIndex = index >> 3, sampleIndex = index >> 1 & 3;
    FrameKind kind;
    kind.rate = layer == 0 ? -1 : bitRates[(versionCode == 3 ? 0 : 3) + layer - 1][rateIndex];
    kind.sampleRate = sampleIndex < 3 ? sampleRates[versionCode][sampleIndex] : 0;
    if (kind.rate < 1 || kind.sampleRate == 0)
        return kind;
    const int padding = index & 1;
    // Kept as is: 144000 also for Layer III of MPEG-2 and 2.5, whose frames are half as long. A walk goes over every
    // other frame, and the time comes out right all the same.
    kind.bytes = layer == 1 ? (kind.rate * 12000 / kind.sampleRate + padding) * 4
                            : kind.rate * 144000 / kind.sampleRate + padding;
    kind.seconds = kind.bytes * 8.0 / (kind.rate * 1000.0);
    return kind;
}

using Kinds = std::array<FrameKind, 128>;

constexpr auto allKinds = [] {
    std::array<std::array<Kinds, 4>, 4> all{};
    for (int version = 0; version < 4; ++version)
        for (int layer = 0; layer < 4; ++layer)
            for (u32 index = 0; index < 128; ++index)
                all[static_cast<u32>(version)][static_cast<u32>(layer)][index] = KindOf(version, layer, index);
    return all;
}();

} // namespace

int MPEGVersionCode(const MP3FRAMEHEADER& header)
{
    constexpr int codes[4] = {1, 0, 2, 3};
    return codes[header.Version()];
}

int MPEGLayerCode(const MP3FRAMEHEADER& header)
{
    constexpr int codes[4] = {0, 3, 2, 1};
    return codes[header.Layer()];
}

const FrameKind* FrameKinds(int versionCode, int layer)
{
    return allKinds[static_cast<u32>(versionCode)][static_cast<u32>(layer)].data();
}

MPEGFrame StandardFrame(const MP3FRAMEHEADER& header)
{
    const int version = MPEGVersionCode(header), layer = MPEGLayerCode(header);
    if (version == 0 || layer == 0 || header.SampleRateIndex() == 3)
        return {};
    const bool half = layer == 3 && version != 3;
    const int row = version == 3 ? layer - 1 : std::min(3 + layer - 1, 4); // Layers II and III share one there
    const int rate = bitRates[row][header.BitRateIndex()], padding = static_cast<int>(header.Padding());
    MPEGFrame frame;
    frame.sampleRate = sampleRates[version][header.SampleRateIndex()];
    frame.samples = layer == 1 ? 384 : half ? 576 : 1152;
    if (rate > 0)
        frame.bytes = layer == 1 ? (rate * 12000 / frame.sampleRate + padding) * 4
                                 : rate * (half ? 72000 : 144000) / frame.sampleRate + padding;
    return frame;
}

const char* GenreName(int index)
{
    return index >= 0 && index < CMP3Info::c_nGenres ? genres[index] : nullptr;
}

} // namespace NV
