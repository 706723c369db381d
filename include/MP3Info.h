// What an MPEG audio file tells about itself: every frame header is walked, and the ID3v1 tag at the end is read. No
// VBR header is consulted; for what one claims see MPEGAudio.h.
//
// Units: seconds, kbit/s, Hz; frames are MPEG frames. One thread at a time for each object.
#pragma once

#include "NVExport.h"
#include "NVTypes.h"

#include <afx.h>

/// The four bytes in front of a frame as one number, the first byte the highest. Fields are of the MPEG audio standard.
struct MP3FRAMEHEADER {
    u32 bits = 0;

    bool HasSync() const { return (bits & 0xFFE00000) == 0xFFE00000; }
    u32 Version() const { return Field(19, 2); } // 3 MPEG-1, 2 MPEG-2, 0 MPEG-2.5, 1 reserved
    u32 Layer() const { return Field(17, 2); }   // 3 Layer I, 2 Layer II, 1 Layer III, 0 reserved
    u32 Protection() const { return Field(16, 1); }
    u32 BitRateIndex() const { return Field(12, 4); }
    u32 SampleRateIndex() const { return Field(10, 2); }
    u32 Padding() const { return Field(9, 1); }
    u32 Private() const { return Field(8, 1); }
    u32 ChannelMode() const { return Field(6, 2); }
    u32 ModeExtension() const { return Field(4, 2); }
    u32 Copyright() const { return Field(3, 1); }
    u32 Original() const { return Field(2, 1); }
    u32 Emphasis() const { return Field(0, 2); }

private:
    u32 Field(int lowestBit, int width) const { return bits >> lowestBit & ((1u << width) - 1); }
};
static_assert(sizeof(MP3FRAMEHEADER) == 4);

/// The last 128 bytes of a file that has a tag. Texts end at their first zero byte or with their field.
struct MP3ID3V1TAG {
    char id[3];       // 0   "TAG"
    char title[30];   // 3
    char artist[30];  // 33
    char album[30];   // 63
    char year[4];     // 93
    char comment[30]; // 97  when byte 28 of it is zero, byte 29 is the track number
    u8 genre;         // 127
};
static_assert(sizeof(MP3ID3V1TAG) == 128);

/// As in the header.
enum ENCHANNELMODE { enStereo, enJointStereo, enDualChannel, enSingleChannel };
enum ENEMPHASIS { enNoEmphasis, en5015Microseconds, enReservedEmphasis, enCCITTJ17 };

class NVLIB_API CMP3Info {
public:
    /// Bits of `GetValidity`.
    enum Validity : u32 { validTag = 1, validFrames = 2 };
    /// What `WriteID3V1` does.
    enum TagOperation { writeTag = 0, removeTag = 1 };

    CMP3Info() = default;

    /// Reads a file. 0 when it cannot be opened; otherwise 1, whatever was found: see `GetValidity`. Before the first
    /// frame and between two frames up to 100,000 bytes are searched for a header.
    int Open(CString path);
    /// Empty texts, genre 255, all else 0.
    void Clear();
    /// Puts this object's tag at the end of a file (`writeTag`), in place of one that is there or behind what is, or
    /// takes the tag off (`removeTag`). All else stays as it is, and a failure leaves the file as it was: the new file
    /// is made beside the old one and takes its place when it is whole. 1, or 0 when that fails.
    /// Texts are cut to their fields. A comment of more than 28 bytes is cut to them only when there is a track number,
    /// which takes its last two bytes; a track outside 0 to 255 is written as 0, a genre outside as 255. Where the full
    /// comment stands and no genre is set, the one in the file stays, since `Open` does not read it there.
    int WriteID3V1(CString path, int operation = writeTag) const;

    const CString& GetFileName() const { return fileName; }
    u32 GetValidity() const { return validity; }
    const CString& GetArtist() const { return artist; }
    const CString& GetTitle() const { return title; }
    const CString& GetAlbum() const { return album; }
    const CString& GetComment() const { return comment; }
    const CString& GetYear() const { return year; }
    /// 0 for none. Kept as is: track and genre are taken only from a tag whose comment leaves room for a track number;
    /// what older tags hold there is of no use to applications that number their tracks.
    int GetTrack() const { return track; }
    int GetGenreIndex() const { return genreIndex; }
    /// Frames counted, free-format ones left out.
    int GetNumFrames() const { return numFrames; }
    /// The sum of the frames' lengths at their bit rates, rounded to the nearest second.
    unsigned GetLength() const { return length; }
    /// 3 MPEG-1, 2 MPEG-2, 1 MPEG-2.5, 0 reserved. Version, layer and protection are those of the first frame.
    int GetMPEGVersion() const { return mpegVersion; }
    /// 1 to 3; 0 reserved.
    int GetMPEGLayer() const { return mpegLayer; }
    /// Kept as is: the header's bit unchanged, so 1 means that the frames carry *no* CRC. Applications test for that.
    int HasCRC() const { return protection; }
    /// Average over the frames, rounded down.
    int GetBitRate() const { return bitRate; }
    /// From here on: of the last frame.
    int GetSampleRate() const { return sampleRate; }
    ENCHANNELMODE GetChannelMode() const { return channelMode; }
    ENEMPHASIS GetEmphasis() const { return emphasis; }
    int IsCopyrighted() const { return copyright; }
    int IsOriginal() const { return original; }

    void SetArtist(const CString& text) { artist = text; }
    void SetTitle(const CString& text) { title = text; }
    void SetAlbum(const CString& text) { album = text; }
    void SetComment(const CString& text) { comment = text; }
    void SetYear(const CString& text) { year = text; }
    void SetTrack(int number) { track = number; }
    void SetGenreIndex(int index) { genreIndex = index; }

    /// How many genres have a name.
    static constexpr int c_nGenres = 148;
    /// "Blues" (0) to "SynthPop" (147); empty for every other index.
    static CString GetGenreString(int index);
    /// "3:07"; minutes go on past 59.
    static CString GetLengthString(unsigned seconds);

private:
    bool GetNextFrameHeader(void* file, MP3FRAMEHEADER* header, int skip);
    static void ChangeEndian(void* bytes, int count);
    void WalkFrames(void* file);
    void TakeFirstFrame(const MP3FRAMEHEADER& header);
    void TakeTag(const MP3ID3V1TAG& tag);
    void FillTag(MP3ID3V1TAG& tag) const;

    CString fileName;
    u32 validity = 0;
    CString artist;
    CString title;
    CString album;
    CString comment;
    CString year;
    i32 track = 0;
    i32 genreIndex = 255;
    i32 numFrames = 0;
    u32 length = 0;
    i32 mpegVersion = 0;
    i32 mpegLayer = 0;
    i32 protection = 0;
    i32 bitRate = 0;
    i32 sampleRate = 0;
    ENCHANNELMODE channelMode = enStereo;
    ENEMPHASIS emphasis = enNoEmphasis;
    i32 copyright = 0;
    i32 original = 0;
};
