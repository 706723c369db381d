// What does the CD+G screen show at time t? Plays a stream through an emulator and keeps a snapshot of the screen
// every five seconds, so that any time is reached by a short replay.
//
// Units: seconds and packs (300 a second). One thread at a time.
#pragma once

#include "CDGEmulator.h"
#include "CDGInputFile.h"
#include "NVExport.h"

#include <map>
#include <vector>

class NVLIB_API CCDGRenderer {
public:
    /// Packs between two snapshots: five seconds.
    static constexpr int keyframeInterval = 1500;

    CCDGRenderer();
    virtual ~CCDGRenderer();
    CCDGRenderer(const CCDGRenderer&) = delete;
    CCDGRenderer& operator=(const CCDGRenderer&) = delete;

    /// Opens a stream: the caller's `file` (as `plainFile` says; the file must outlive its use here) or, when `file` is
    /// null, the file of this name, for reading and shared. The screen starts black at pack 0. An empty name closes
    /// what was open and gives true. False when the file does not open.
    bool Open(const char* name, CFile* file, bool plainFile);
    /// The screen at a time: brings the emulator there and returns its colour image, valid until the next call. Times
    /// before 0 are time 0; beyond the end the last screen stays. Null before a successful `Open`.
    const CDib* GetFrame(double seconds);
    /// Length of the stream in seconds.
    double GetDuration() const;
    /// Forgets all snapshots.
    void Clear();

    CDGEmulator::CCDGEmulator& GetEmulator() { return emulator; }
    /// Stream time in seconds that the emulator has reached.
    double GetCurrentTime() const { return currentTime; }
    /// Pack numbers of the snapshots taken so far.
    std::vector<int> GetKeyframes() const;

    /// Kept for applications that call them: rendering runs on the caller's thread, so both have no visible effect.
    void InitMultithreading();
    void FinishMultithreading();

protected:
    /// Takes a snapshot for a pack unless there is one.
    void StoreFrame(int pack);

private:
    void Restart();
    void JumpTowards(int target);
    void PlayTo(int target);

    CCDGInputFile input;
    CDGEmulator::CCDGEmulator emulator;
    std::map<int, CDGEmulator::CCDGEmulator::typeState> keyframes;
    int currentPack = 0;
    int nextKeyframe = -1; // where the snapshot is due that a running sweep has put off
    double currentTime = 0;
    std::vector<u8> buffer; // raw packs on their way to the emulator
};
