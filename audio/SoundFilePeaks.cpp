// CSoundFile: the peak file and the task that makes it.
#include "PeakTask.h"
#include "SecondSource.h"

#include <algorithm>
#include <system_error>

using namespace NV;

bool CSoundFile::c_bCreatePeakFiles = true;

// ---- The task ------------------------------------------------------------------------------------------------------

NV::PeakTask::PeakTask(std::unique_ptr<CSoundFile> audio, bool onDisk, bool mayCreate) : source(std::move(audio))
{
    peaks.SetMemoryOnly(!onDisk);
    work = std::async(std::launch::async, [this, onDisk, mayCreate] { Run(onDisk, mayCreate); });
}

NV::PeakTask::~PeakTask()
{
    Terminate();
}

void NV::PeakTask::Run(bool onDisk, bool mayCreate)
{
    const CString path = source->GetName();
    const auto create = [&] {
        return mayCreate && !cancelled && peaks.Create(path, source.get(), -1, false, [&] { return cancelled.load(); });
    };
    bool made = onDisk && !mayCreate ? peaks.Initialize(path) == 1 : create();
    if (!made && onDisk) // what was there was no peak file, and is gone now
        made = create();
    peaks.SetSource(nullptr);
    source.reset();
    whole.store(made, std::memory_order_release);
}

void NV::PeakTask::Terminate()
{
    cancelled = true;
    Wait();
}

void NV::PeakTask::Wait()
{
    if (work.valid())
        work.wait();
}

// ---- The sound file's side -----------------------------------------------------------------------------------------

bool CSoundFile::OpenPeakFile()
{
    peakTask.reset();
    const bool onDisk = peakFileOption == PeakFileOption::onDisk;
    if (!c_bCreatePeakFiles && !onDisk)
        return false;
    std::unique_ptr<CSoundFile> audio = OpenSecondSource(*this);
    if (!audio) {
        Log("no peak file", name, "the file cannot be opened once more");
        return false;
    }
    try {
        peakTask = std::make_unique<PeakTask>(std::move(audio), onDisk, c_bCreatePeakFiles);
    } catch (const std::system_error&) {
        Log("no peak file", name, "no thread can be started");
    }
    return peakTask != nullptr;
}

void CSoundFile::TerminatePeakfileThread()
{
    if (peakTask)
        peakTask->Terminate();
}

bool CSoundFile::WaitForPeakFile()
{
    if (peakTask)
        peakTask->Wait();
    return GetPeakFile() != nullptr;
}

CPeakFile* CSoundFile::GetPeakFile()
{
    CPeakFile* const peaks = peakTask ? peakTask->Peaks() : nullptr;
    if (peaks)
        peaks->SetSource(this);
    return peaks;
}

/// Points from the peak file, whole ones only; -1 when they are to be computed from the frames.
int CSoundFile::GetPeakData(i64 start, void* minima, void* maxima, int count, int density)
{
    CPeakFile* const peaks = GetPeakFile();
    if (!peaks || density <= 2 * static_cast<i64>(peaks->GetSectorSize()))
        return -1;
    const i64 length = GetLength(), sectorSize = peaks->GetSectorSize();
    if (peaks->GetSectorCount() != (length + sectorSize - 1) / sectorSize) // the file is longer or shorter by now
        return -1;
    const i64 whole = std::max<i64>(0, length - start) / density;
    const int wanted = static_cast<int>(std::min<i64>(count, whole));
    const int left = peaks->GetPoints(start, wanted, density, minima, maxima);
    return left < 0 ? -1 : wanted - left;
}
