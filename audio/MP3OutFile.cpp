// CMP3OutFile: finding the encoder, opening, writing, closing.
#include "MP3OutFile.h"

#include "CyclicBuffer.h"
#include "FileCalls.h"
#include "FileReplace.h"
#include "LittleEndian.h"
#include "Module.h"
#include "ScopedLock.h"
#include "WholeFile.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <mutex>
#include <new>
#include <string>
#include <system_error>

using namespace NV;

IMPLEMENT_DYNCREATE(CMP3OutFile, CSoundFile)

namespace {

/// The encoder's module remembers one closed stream for beWriteVBRHeader: nobody else may close one in between.
std::mutex closing;

BE_CONFIG DefaultConfig()
{
    BE_CONFIG config;
    CMP3OutFile::InitBEConfig(&config);
    return config;
}

/// Sample `index` as 16 bits; 8-bit samples are unsigned, wider ones are cut.
i16 Sample16(const u8* samples, std::size_t index, int bits)
{
    const std::size_t bytes = static_cast<std::size_t>(bits) / 8;
    const u8* const sample = samples + index * bytes;
    return bits == 8 ? static_cast<i16>((*sample - 128) * 256) : static_cast<i16>(LoadLE16(sample + bytes - 2));
}

/// Makes a file nothing but bytes that pass for frames, and closes it.
bool FillWithFrames(CFile& file)
{
    std::array<BYTE, 4096> frames;
    frames.fill(0xFF);
    return Succeeds([&] {
        file.SetLength(0);
        file.Seek(0, CFile::begin);
        file.Write(frames.data(), static_cast<UINT>(frames.size()));
        file.Close();
    });
}

} // namespace

BE_CONFIG CMP3OutFile::c_EncodingParams = DefaultConfig();

// ---- The encoder and its settings ----------------------------------------------------------------------------------

CMP3OutFile::CMP3OutFile() : module(std::make_unique<Module>()), parameters(c_EncodingParams), own(parameters)
{
    InitLame();
}

CMP3OutFile::~CMP3OutFile()
{
    CMP3OutFile::Close();
}

bool CMP3OutFile::InitLame()
{
    if (streamOpen)
        return encoderAvailable;
    std::string reason;
    encoderAvailable = false;
    entries = {};
    if (!module->Load("lame_enc", reason)) {
        problem = reason.c_str();
        return false;
    }
    const auto find = [&](auto& entry, const char* entryName) {
        entry = module->Find<std::remove_pointer_t<std::remove_reference_t<decltype(entry)>>>(entryName);
        return entry != nullptr;
    };
    // Each is looked for, also behind a missing one.
    const std::array found = {
        std::pair{find(entries.beInitStream, "beInitStream"), "beInitStream"},
        std::pair{find(entries.beEncodeChunk, "beEncodeChunk"), "beEncodeChunk"},
        std::pair{find(entries.beDeinitStream, "beDeinitStream"), "beDeinitStream"},
        std::pair{find(entries.beCloseStream, "beCloseStream"), "beCloseStream"},
        std::pair{find(entries.beVersion, "beVersion"), "beVersion"},
        std::pair{find(entries.beWriteVBRHeader, "beWriteVBRHeader"), "beWriteVBRHeader"},
    };
    find(entries.beWriteInfoTag, "beWriteInfoTag"); // nobody needs it
    const auto* const missing = std::ranges::find(found, false, &std::pair<bool, const char*>::first);
    encoderAvailable = missing == found.end();
    if (encoderAvailable)
        problem.Empty();
    else
        problem.Format("%s has no function %s", Module::PathOf("lame_enc").c_str(), missing->second);
    return encoderAvailable;
}

void CMP3OutFile::InitBEConfig(BE_CONFIG* config)
{
    *config = {};
    config->dwConfig = BE_CONFIG_LAME;
    BE_CONFIG_LHV1& lame = config->format.LHV1;
    lame.dwStructVersion = 1;
    lame.dwStructSize = sizeof(BE_CONFIG);
    lame.dwSampleRate = 44100;
    lame.nMode = BE_MP3_MODE_STEREO;
    lame.dwBitrate = 192;
    lame.nPreset = -1;
    lame.dwMpegVersion = 1;
    lame.bOriginal = TRUE;
    lame.bWriteVBRHeader = TRUE;
    lame.nVBRQuality = 5;
}

void CMP3OutFile::SetParameters(const BE_CONFIG& config)
{
    own = config;
    hasOwn = true;
    if (!streamOpen)
        parameters = config;
}

bool CMP3OutFile::IsEncodable() const
{
    const int bits = format.wBitsPerSample;
    const int channels = format.nChannels;
    return format.wFormatTag == WAVE_FORMAT_PCM && (bits == 8 || bits == 16 || bits == 24 || bits == 32) &&
           (channels == 1 || channels == 2) && format.nBlockAlign == channels * bits / 8 && format.nSamplesPerSec > 0;
}

/// The sound decides about what comes in, whatever the settings are.
void CMP3OutFile::FitToFormat()
{
    BE_CONFIG_LHV1& lame = parameters.format.LHV1;
    lame.dwSampleRate = format.nSamplesPerSec;
    if (format.nChannels == 1)
        lame.nMode = BE_MP3_MODE_MONO;
}

// ---- Opening -------------------------------------------------------------------------------------------------------

bool CMP3OutFile::Open(const char* path, int mode)
{
    Close();
    lastError = BE_ERR_SUCCESSFUL;
    if (!encoderAvailable || !IsEncodable())
        return false;
    auto file = std::make_unique<WholeFile>();
    const UINT flags = static_cast<UINT>(mode);
    const bool opened = flags & CFile::modeCreate ? file->Create(path) : file->OpenInPlace(path, flags);
    if (!opened)
        return false;
    FreeBuffers();
    if (!InitStream())
        return false;
    output = std::move(file);
    streamOpen = true;
    failed = false;
    written = 0;
    return CSoundFile::Open(path, mode);
}

bool CMP3OutFile::InitStream()
{
    parameters = hasOwn ? own : c_EncodingParams;
    BE_CONFIG_LHV1& lame = parameters.format.LHV1;
    if (lame.bEnableVBR) {
        lame.dwBitrate = 32;
        lame.dwMaxBitrate = 320;
    }
    if (!StartEncoder()) {
        InitBEConfig(&parameters);
        if (!StartEncoder())
            return false;
    }
    try {
        input.resize(std::size_t{chunkSamples} * 2); // 4 bytes for each, as in the ring
        encoded.resize(outputSize);
        ring = std::make_unique<CCyclicBuffer>((largestStep + static_cast<int>(chunkSamples)) * 4);
        return true;
    } catch (const std::bad_alloc&) {
    } catch (CMemoryException* exception) {
        exception->Delete();
    }
    entries.beCloseStream(stream);
    return false;
}

bool CMP3OutFile::StartEncoder()
{
    constexpr DWORD mostSamples = 1 << 16;
    constexpr DWORD mostBytes = 1 << 24;
    FitToFormat();
    stream = nullptr;
    lastError = entries.beInitStream(&parameters, &chunkSamples, &outputSize, &stream);
    if (lastError != BE_ERR_SUCCESSFUL)
        return false;
    return chunkSamples > 0 && chunkSamples <= mostSamples && outputSize > 0 && outputSize <= mostBytes;
}

void CMP3OutFile::FreeBuffers()
{
    if (streamOpen)
        return;
    ring.reset();
    input = {};
    encoded = {};
    converted = {};
}

CFile* CMP3OutFile::GetFile()
{
    return output ? &output->Bytes() : nullptr;
}

// ---- Writing -------------------------------------------------------------------------------------------------------

int CMP3OutFile::Write(void* frames, int count)
{
    if (!encoderAvailable || !streamOpen)
        return 0;
    u8* from = static_cast<u8*>(frames);
    int done = 0;
    while (done < count) {
        const int step = std::min(largestStep, count - done);
        if (!WriteMP3Buffer(from, step, false))
            break;
        from += static_cast<std::ptrdiff_t>(step) * format.nBlockAlign;
        done += step;
    }
    return done;
}

/// The frames as the encoder takes them: 16 bits, and one channel for a mono MP3.
const void* CMP3OutFile::EncoderSamples(const void* frames, int count)
{
    const int channels = format.nChannels;
    const int bits = format.wBitsPerSample;
    const bool mix = channels == 2 && parameters.format.LHV1.nMode == BE_MP3_MODE_MONO;
    if (bits == 16 && !mix)
        return frames;
    const u8* const from = static_cast<const u8*>(frames);
    const std::size_t samples = static_cast<std::size_t>(count) * static_cast<std::size_t>(channels);
    converted.resize(mix ? samples / 2 : samples);
    for (std::size_t k = 0; k < converted.size(); ++k)
        converted[k] = mix ? static_cast<i16>((Sample16(from, 2 * k, bits) + Sample16(from, 2 * k + 1, bits)) / 2)
                           : Sample16(from, k, bits);
    return converted.data();
}

bool CMP3OutFile::WriteMP3Buffer(void* frames, int count, bool flush)
{
    if (!streamOpen || failed)
        return false;
    const int chunkBytes = static_cast<int>(chunkSamples) * 2;
    if (count > 0) {
        const bool mono = parameters.format.LHV1.nMode == BE_MP3_MODE_MONO;
        const int frameBytes = mono ? 2 : 4;
        if (count > ring->GetFreeBufSpace() / frameBytes)
            return false;
        // The ring only reads it.
        void* const samples = const_cast<void*>(EncoderSamples(frames, count));
        ring->SetCurPos(ring->GetBufSize() - ring->GetFreeBufSpace());
        ring->Write(samples, count * frameBytes);
        written += count;
    }
    const auto held = [this] { return ring->GetBufSize() - ring->GetFreeBufSpace(); };
    while (held() > chunkBytes || (flush && held() > 0))
        if (!EncodeFromRing()) {
            failed = true;
            return false;
        }
    return true;
}

bool CMP3OutFile::EncodeFromRing()
{
    ring->SetCurPos(0);
    const int got = ring->Read(input.data(), static_cast<int>(chunkSamples) * 2);
    ring->ReleaseFromFront(got);
    DWORD made = 0;
    lastError = entries.beEncodeChunk(stream, static_cast<DWORD>(got) / 2, input.data(), encoded.data(), &made);
    return lastError == BE_ERR_SUCCESSFUL && WriteBytes(made);
}

bool CMP3OutFile::WriteBytes(DWORD count)
{
    return count == 0 || Succeeds([&] { output->Bytes().Write(encoded.data(), count); });
}

// ---- Closing -------------------------------------------------------------------------------------------------------

bool CMP3OutFile::Close()
{
    if (!streamOpen)
        return true;
    const bool whole = Finish();
    if (!whole)
        ReleaseEncoder();
    streamOpen = false;
    output.reset(); // without its Commit it leaves nothing
    FreeBuffers();
    CSoundFile::Close();
    return whole;
}

void CMP3OutFile::Abandon()
{
    failed = true;
    Close();
}

bool CMP3OutFile::Finish()
{
    if (!WriteMP3Buffer(nullptr, 0, true))
        return false;
    DWORD made = 0;
    lastError = entries.beDeinitStream(stream, encoded.data(), &made);
    if (lastError != BE_ERR_SUCCESSFUL || !WriteBytes(made))
        return false;
    CFile& file = output->Bytes();
    if (!Succeeds([&] { file.SetLength(file.GetPosition()); }) || !output->CloseBytes())
        return false;
    CFileStatus status;
    if (!CFile::GetStatus(output->BytesPath().c_str(), status)) // its folder has gone
        return false;
    {
        const std::lock_guard hold(closing);
        entries.beCloseStream(stream);
        lastError = entries.beWriteVBRHeader(output->BytesPath().c_str());
        stream = nullptr;
    }
    if (parameters.format.LHV1.bWriteVBRHeader && lastError != BE_ERR_SUCCESSFUL)
        return false;
    lastError = BE_ERR_SUCCESSFUL;
    return output->Commit();
}

/// Gives the encoder back when there will be no file. It goes with the frame that it fills in, nowhere else, and some
/// modules ask the user about a file that has no room for that: the unwanted file becomes bytes that pass for frames
/// or, where its disk or its folder has gone, another one does. Where no file can be had at all, the encoder stays with
/// the module, which keeps the one that was closed last.
void CMP3OutFile::ReleaseEncoder()
{
    if (!stream)
        return;
    std::string path = output->BytesPath(), standIn;
    CFileStatus status;
    bool passes = FillWithFrames(output->Bytes()) && CFile::GetStatus(path.c_str(), status);
    if (!passes) {
        std::error_code failure;
        const std::string beside = (std::filesystem::temp_directory_path(failure) / "nvlib-encoder.mp3").string();
        CFile file;
        passes = !failure && !MakeTemporaryBeside(beside.c_str(), standIn) &&
                 file.Open(standIn.c_str(), CFile::modeReadWrite | CFile::shareExclusive) && FillWithFrames(file);
        path = standIn;
    }
    {
        const std::lock_guard hold(closing);
        entries.beCloseStream(stream);
        if (passes)
            entries.beWriteVBRHeader(path.c_str());
    }
    if (!standIn.empty())
        Succeeds([&] { CFile::Remove(standIn.c_str()); });
    stream = nullptr;
}
