// The audio of a peak file during one operation: the caller's source, or else the WAV file, open for as long as that.
#pragma once

#include "PeakFile.h"
#include "SoundFile.h"

namespace NV {

class PeakSource {
public:
    explicit PeakSource(CPeakFile& peaks) : file(peaks), opened(peaks.source ? nullptr : peaks.OpenWaveFile())
    {
        if (opened)
            file.source = opened.get();
    }
    ~PeakSource()
    {
        if (opened)
            file.source = nullptr;
    }
    PeakSource(const PeakSource&) = delete;
    PeakSource& operator=(const PeakSource&) = delete;

private:
    CPeakFile& file;
    std::unique_ptr<CSoundFile> opened;
};

} // namespace NV
