// What a file is, judged by its contents, and what a CD+G stream is made of.
//
// A name proves nothing: images are called .cdg, plain streams .bin, and 2352-byte images look like 2448-byte ones by
// their length. Here the packs themselves are looked at.
//
// Units: bytes, sectors, packs (300 a second, numbered from 0). One thread at a time for each file.
#pragma once

#include "CDGInputFile.h"
#include "NVExport.h"
#include "NVTypes.h"

#include <afx.h>
#include <array>
#include <functional>
#include <optional>

/// Bytes of audio in one sector of a disc image, with or without subcode behind it.
constexpr int kSectorAudioSize = 2352;

enum class StreamKind {
    Unknown,    // nothing below
    Empty,      // no bytes at all
    Wave,       // RIFF/WAVE sound
    Graphics,   // plain CD+G: packs and nothing else
    DiscImage,  // 2448-byte sectors: audio and packs
    AudioImage, // 2352-byte sectors: audio and no room for packs
    KmaPackage, // a karaoke package that carries a ZIP archive
};

/// What `IdentifyStream` found.
struct NVLIB_API StreamIdentity {
    StreamKind kind = StreamKind::Unknown;
    ULONGLONG length = 0; // bytes
    /// Whole sectors of an image or whole 96-byte records of a plain stream, and the bytes left over behind them.
    ULONGLONG records = 0;
    int restBytes = 0;
    /// Graphics packs were met where this kind has them. A disc image without any is told by subcode that is all zero.
    bool hasGraphics = false;
    /// The bytes behave like 16-bit stereo sound. Together with a length of whole sectors this makes an `AudioImage`.
    bool looksLikeAudio = false;
    /// Every byte looked at is zero, which fits any kind and proves none: `kind` is then Unknown.
    bool onlyZeros = false;
    /// The first bytes, zeros behind the end, for a message about a file of unknown kind.
    std::array<u8, 16> head{};
};

/// Tells a file's kind from its contents: a few megabytes of it at most, spread over its length. False when the file
/// cannot be opened or read; `error`, when given, then has the cause.
NVLIB_API bool IdentifyStream(const char* name, StreamIdentity& identity, CFileException* error);
/// The same for an open file, whose position is moved.
NVLIB_API bool IdentifyStream(CFile& file, StreamIdentity& identity, CFileException* error);

/// "disc image" and the like, for people; never null.
NVLIB_API const char* StreamKindName(StreamKind kind);

/// Bytes of one record or sector of a kind; 0 for kinds without.
NVLIB_API int StreamRecordSize(StreamKind kind);

/// What a CD+G stream is made of.
struct NVLIB_API CDGStreamInfo {
    struct InstructionCount {
        u8 instruction = 0;
        const char* name = ""; // as CDGInstructionName
        int packs = 0;
    };

    /// Packs in whole records.
    int packs = 0;
    /// The nine instructions in the order of their codes.
    std::array<InstructionCount, 9> instructions{};
    /// Graphics packs with an instruction that is not acted on.
    int otherGraphics = 0;
    /// Packs that are neither graphics nor empty.
    int otherCommands = 0;
    /// Packs without command, instruction and operands; their parity bytes may be anything.
    int empty = 0;
    /// First graphics pack (of any instruction).
    std::optional<int> firstGraphics;
    /// Last pack that changed what the screen shows: after it the index screen, the palette, the fine scroll offsets or
    /// the colour of the margins differ from before it. A tile drawn over an equal one, a repeated preset, a
    /// colour table loaded twice and a border colour change nothing.
    std::optional<int> lastChange;
};

/// Reads a whole stream from pack 0 and counts its packs. `progress`, when given, gets 0 to 1; `cancelled`, when given,
/// returns true to stop. False when stopped, when nothing is open or when reading fails; `info` then holds the counts
/// so far. The stream is left at its end.
NVLIB_API bool ScanCDGStream(CCDGInputFile& input, CDGStreamInfo& info,
                             const std::function<void(double)>& progress = {},
                             const std::function<bool()>& cancelled = {});
