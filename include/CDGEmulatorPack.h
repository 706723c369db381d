// CD+G packs: 24 bytes of subcode, 300 a second, and the one list of instructions that the library acts on.
//
// Raw pack, from the CD's R to W subcode channels (Red Book, "CD Graphics"; only the low six bits of a byte count):
//
//   0      command      9 = TV graphics, the only one acted on
//   1      instruction  CDGInstruction
//   2-3    parity Q     carried along, never tested
//   4-19   data         operands of the instruction
//   20-23  parity P     carried along, never tested
//
// Plain values: any thread, no sharing of one object without the caller's own lock.
#pragma once

#include "NVExport.h"
#include "NVTypes.h"

constexpr int kPacksPerSecond = 300;
constexpr int kPackSize = 24;
constexpr int kPacksPerRecord = 4;
/// Every byte of a pack is masked with this: the upper two bits are the subcode channels P and Q.
constexpr u8 kPackBits = 0x3F;
/// The command of all CD+G graphics.
constexpr u8 kCommandGraphics = 9;

/// Instructions under command 9. All others are ignored and reported as not handled.
enum CDGInstruction : u8 {
    kMemoryPreset = 1,
    kBorderPreset = 2,
    kTileBlock = 6,
    kScrollPreset = 20,
    kScrollCopy = 24,
    kDefineTransparent = 28, // handled, does nothing: the emulator's own background colour decides what is transparent
    kLoadColours07 = 30,
    kLoadColours8F = 31,
    kTileBlockXor = 38,
};

/// Name of a graphics instruction for people ("Memory Preset"), or null for a code that is not acted on.
NVLIB_API const char* CDGInstructionName(int instruction);

/// One pack, every byte already masked to six bits.
class NVLIB_API CCDGEmulatorPack {
public:
    u8 command = 0;
    u8 instruction = 0;
    u8 parityQ[2] = {};
    u8 data[16] = {};
    u8 parityP[4] = {};

    /// All 24 bytes zero: the padding pack.
    CCDGEmulatorPack() = default;
    /// Reads 24 raw bytes as `GetFromMem`; null gives a padding pack.
    explicit CCDGEmulatorPack(const u8* raw) { GetFromMem(raw); }
    CCDGEmulatorPack(const CCDGEmulatorPack&) = default;
    CCDGEmulatorPack& operator=(const CCDGEmulatorPack&) = default;
    virtual ~CCDGEmulatorPack() = default;

    /// Reads 24 raw bytes, masking each to six bits. Null changes nothing.
    void GetFromMem(const u8* raw);
    /// Writes the 24 (masked) bytes.
    void GetMem(u8* raw) const;
    void Clear();
};

/// A pack with its place in the stream, for packs that are kept to be replayed later.
struct IndexedPack {
    i32 packIndex = 0; // pack number, from 0
    CCDGEmulatorPack pack;
};
