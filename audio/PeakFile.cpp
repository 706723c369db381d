// CPeakFile: what is in memory and what on disk, opening, making, rebuilding or not. See PeakFile.h.
#include "PeakFile.h"

#include "File.h"
#include "FileCalls.h"
#include "FileReplace.h"
#include "PeakSource.h"
#include "WaveFile.h"
#include "WholeFile.h"

#include <filesystem>
#include <limits>
#include <random>
#include <system_error>

using namespace NV;

IMPLEMENT_DYNAMIC(CPeakFile, CMemFile)

int CPeakFile::c_nPFSectorSize = 100;
int CPeakFile::c_nPFMaxInBufSize = 10'000'000;

namespace {

constexpr UINT growBytes = 4 << 20;
constexpr u16 headerBytes = 8;
constexpr u16 currentVersion = 1;
constexpr u64 smallestJudged = 1000; // the age of shorter audio files says nothing

/// The peak file of this audio would take the audio's own place.
bool IsSameFile(const CString& audio, const CString& peaks)
{
    const std::string place = FinalPath(peaks);
    return audio == peaks || (!place.empty() && place == FinalPath(audio));
}

/// A name in the folder for temporary files that nobody can guess.
CString TemporaryName(const CString& peaks)
{
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    if (error)
        return CString();
    std::random_device random;
    CString unique;
    unique.Format("-%08x%08x.fpr", static_cast<unsigned>(random()), static_cast<unsigned>(random()));
    const CString name = SystemFile::NamePart(peaks);
    return CString((folder / "").string().c_str()) + name.Left(name.ReverseFind('.')) + unique;
}

} // namespace

CPeakFile::CPeakFile() : CMemFile(growBytes) {}

CPeakFile::~CPeakFile()
{
    CPeakFile::Abort();
}

CString CPeakFile::CreatePeakFilename(const CString& path)
{
    return path.Left(path.ReverseFind('.') + 1) + "fpr";
}

// ---- Making and opening --------------------------------------------------------------------------------------------

int CPeakFile::NewFileNecessary() const
{
    if (memoryOnly)
        return 1;
    FileState peaks, audio;
    // An empty file is a name that was claimed by a program that died before the file was whole.
    if (SystemFile::State(peakPath, peaks) || (peaks.length == 0 && !peaks.directory))
        return 1;
    if (SystemFile::State(audioPath, audio) || audio.length < smallestJudged)
        return 0;
    return peaks.written < audio.written;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): applications rely on this signature
int CPeakFile::Create(CString path, CSoundFile* newSource, int wantedSize, bool withProgress,
                      // NOLINTNEXTLINE(performance-unnecessary-value-param): the same
                      std::function<bool()> cancel)
{
    if (peaksValid)
        return 1;
    const int size = wantedSize == -1 ? c_nPFSectorSize : wantedSize;
    const CString place = CreatePeakFilename(path);
    if (size < 1 || (!memoryOnly && IsSameFile(path, place)))
        return 0;
    Forget();
    source = newSource;
    audioPath = path;
    peakPath = place;
    showProgress = withProgress;
    if (!NewFileNecessary()) {
        const bool opened = Initialize(path) == 1;
        if (!opened)
            Discard();
        return opened;
    }
    const PeakSource audio(*this);
    if (!source)
        return 0;
    sectorSize = size;
    try {
        peaksValid = memoryOnly ? MakeInMemory(cancel) : MakeOnDisk(cancel);
    } catch (...) { // of the callback, and for the caller
        Discard();
        throw;
    }
    if (!peaksValid)
        Discard();
    return peaksValid;
}

bool CPeakFile::MakeInMemory(const std::function<bool()>& cancel)
{
    return Succeeds([&] { CMemFile::SetLength(0); }) && Make(cancel);
}

bool CPeakFile::MakeOnDisk(const std::function<bool()>& cancel)
{
    WholeFile whole;
    if (!whole.Create(peakPath)) {
        peakPath = TemporaryName(peakPath);
        if (peakPath.IsEmpty() || !whole.Create(peakPath))
            return false;
        inTemporaryFolder = 1;
    }
    bool made = false;
    {
        const struct Borrowed {
            CFile*& file;
            ~Borrowed() { file = nullptr; }
        } borrowed{inUse};
        inUse = &whole.Bytes();
        made = Make(cancel);
    }
    return made && whole.Commit() && OpenOnDisk();
}

bool CPeakFile::Make(const std::function<bool()>& cancel)
{
    return FillHeaderFields() && WriteHeader() && AllocateBuffers() && WritePeaks(false, showProgress, cancel);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): applications rely on this signature
int CPeakFile::Initialize(CString path)
{
    if (peaksValid)
        return 5;
    audioPath = path;
    peakPath = CreatePeakFilename(path);
    if ((!memoryOnly && !OpenOnDisk()) || !ReadHeader()) {
        Succeeds([&] { disk.Close(); });
        inUse = nullptr;
        return -1;
    }
    peaksValid = 1;
    return 1;
}

bool CPeakFile::OpenOnDisk()
{
    const bool opened = disk.Open(peakPath, CFile::modeReadWrite | CFile::shareDenyNone) ||
                        disk.Open(peakPath, CFile::modeRead | CFile::shareDenyNone);
    inUse = opened ? &disk : nullptr;
    return opened;
}

std::unique_ptr<CSoundFile> CPeakFile::OpenWaveFile() const
{
    auto wave = std::make_unique<CWaveFile>();
    if (!wave->Open(audioPath, CFile::modeRead | CFile::shareDenyNone))
        return nullptr;
    return wave;
}

/// There are no peaks; nothing is removed but what only this object could find.
void CPeakFile::Forget()
{
    disk.Abort();
    inUse = nullptr;
    if (inTemporaryFolder)
        Succeeds([&] { CFile::Remove(peakPath); });
    inTemporaryFolder = 0;
    headerValid = peaksValid = failed = 0;
    groups.clear();
    windowCount = 0;
}

/// After a failure: there are no peaks, and no file of them.
void CPeakFile::Discard()
{
    const bool onDisk = inUse || !memoryOnly;
    Forget();
    failed = 1;
    if (onDisk)
        Succeeds([&] { CFile::Remove(peakPath); });
    else
        Succeeds([&] { CMemFile::SetLength(0); });
}

// ---- The header ----------------------------------------------------------------------------------------------------

int CPeakFile::FillHeaderFields()
{
    const WAVEFORMATEX& format = source->GetFormat();
    const int sampleBytes = format.wBitsPerSample == 8 ? 1 : 2;
    const i64 frames = source->GetLength();
    constexpr i64 mostFrames = i64(1) << 46; // keeps every product of a length within 64 bits
    if (format.nChannels < 1 || format.nChannels > 2 || format.wBitsPerSample > 255 ||
        format.nBlockAlign < format.nChannels * sampleBytes || frames < 0 || frames > mostFrames)
        return 0;
    header.headerSize = headerBytes;
    header.version = currentVersion;
    header.bitsPerSample = static_cast<u8>(format.wBitsPerSample);
    header.channels = static_cast<u8>(format.nChannels);
    header.sectorSize = static_cast<u16>(sectorSize); // Kept as is: cut to 16 bits, however large sectors are.
    totalBytes = frames * format.nBlockAlign;
    headerValid = 1;
    return 1;
}

int CPeakFile::ReadHeader()
{
    PEAKFILEHEADER stored;
    const bool read = Succeeds([&] {
        Seek(0, begin);
        if (Read(&stored, sizeof stored) < sizeof stored)
            AfxThrowFileException(CFileException::endOfFile);
    });
    if (!read || stored.headerSize != headerBytes || stored.version != currentVersion || stored.sectorSize == 0 ||
        stored.channels < 1 || stored.channels > 2)
        return 0;
    header = stored;
    sectorSize = stored.sectorSize;
    headerValid = 1;
    return 1;
}

int CPeakFile::WriteHeader()
{
    return headerValid && Succeeds([&] {
               Seek(0, begin);
               Write(&header, sizeof header);
           });
}

int CPeakFile::GetStructSize() const
{
    return static_cast<int>(IsEightBit() ? sizeof(PEAKSSTRUCT8) : sizeof(PEAKSSTRUCT16)) * header.channels;
}

i64 CPeakFile::GetNrOfSectorsInPF() const
{
    i64 bytes = 0;
    Succeeds([&] { bytes = static_cast<i64>(GetLength()) - headerBytes; });
    const int record = GetStructSize(); // 0 before there are peaks
    return bytes > 0 && record > 0 ? bytes / record : 0;
}

int CPeakFile::SetPos(i64 frame)
{
    return Succeeds([&] { Seek(RecordPosition(frame / sectorSize), begin); });
}

// ---- The file underneath -------------------------------------------------------------------------------------------

ULONGLONG CPeakFile::GetPosition() const
{
    return inUse ? inUse->GetPosition() : CMemFile::GetPosition();
}

ULONGLONG CPeakFile::Seek(LONGLONG offset, UINT from)
{
    return inUse ? inUse->Seek(offset, from) : CMemFile::Seek(offset, from);
}

void CPeakFile::SetLength(ULONGLONG newLength)
{
    groups.clear();
    windowCount = 0;
    if (inUse)
        inUse->SetLength(newLength);
    else
        CMemFile::SetLength(newLength);
}

ULONGLONG CPeakFile::GetLength() const
{
    return inUse ? inUse->GetLength() : CMemFile::GetLength();
}

UINT CPeakFile::Read(void* buffer, UINT count)
{
    return inUse ? inUse->Read(buffer, count) : CMemFile::Read(buffer, count);
}

void CPeakFile::Write(const void* buffer, UINT count)
{
    groups.clear();
    windowCount = 0;
    if (inUse)
        inUse->Write(buffer, count);
    else
        CMemFile::Write(buffer, count);
}

void CPeakFile::Abort()
{
    Forget();
    Succeeds([&] { CMemFile::SetLength(0); });
}

void CPeakFile::Flush()
{
    if (inUse)
        inUse->Flush();
}

/// Not CMemFile's: memory that was closed cannot grow again.
void CPeakFile::Close()
{
    const bool onDisk = inUse != nullptr;
    if (onDisk)
        Succeeds([&] { disk.Close(); });
    Abort();
}

BOOL CPeakFile::GetStatus(CFileStatus& status) const
{
    return inUse ? inUse->GetStatus(status) : CMemFile::GetStatus(status);
}
