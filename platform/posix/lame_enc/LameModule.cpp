// The encoder's module on POSIX: the entry points of LameConfig.h over libmp3lame, with the same meaning as in the DLL
// that is made of the encoder's own sources. One stream belongs to one thread at a time.
#include "LameConfig.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <lame/lame.h>
#include <memory>
#include <utility>
#include <vector>

#define ENTRY extern "C" __attribute__((visibility("default")))

namespace {

struct CloseLame {
    void operator()(lame_t lame) const { lame_close(lame); }
};
using Lame = std::unique_ptr<lame_global_flags, CloseLame>;
struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

Lame closedLast; // for beWriteVBRHeader; whoever closes and writes does not let others in between

lame_t LameOf(HBE_STREAM stream)
{
    return static_cast<lame_t>(stream);
}

/// What a preset stands for.
struct Preset {
    LONG number;
    int quality; // -1: none
    int preset;  // of libmp3lame; 0: none
    bool mono;
};
constexpr Preset presets[] = {
    {1, 9, 0, false},
    {2, 2, 0, false},
    {3, -1, 56, true},
    {4, -1, R3MIX, false},
    {5, 0, 0, false},
    {6, -1, STANDARD, false},
    {7, -1, STANDARD_FAST, false},
    {8, -1, EXTREME, false},
    {9, -1, EXTREME_FAST, false},
    {10, -1, INSANE, false},
    {13, -1, MEDIUM, false},
    {14, -1, MEDIUM_FAST, false},
    {1000, -1, 16, true},
    {2000, -1, 24, true},
    {3000, -1, 40, true},
    {4000, -1, 112, false},
    {5000, -1, 56, true},
    {6000, -1, 112, false},
    {7000, -1, 112, false},
    {8000, -1, 160, false},
    {9000, -1, 192, false},
    {10000, -1, 256, false},
};
constexpr LONG presetStandard = 6; // from here on presets decide about mode and bit rate
constexpr LONG presetAbr = 11;
constexpr LONG presetCbr = 12;

bool SetMode(lame_t lame, LONG mode)
{
    constexpr MPEG_mode modes[] = {STEREO, JOINT_STEREO, DUAL_CHANNEL, MONO}; // in the order of BE_MP3_MODE_
    if (mode < 0 || mode > BE_MP3_MODE_MONO)
        return false;
    lame_set_mode(lame, modes[mode]);
    lame_set_num_channels(lame, mode == BE_MP3_MODE_MONO ? 1 : 2);
    return true;
}

bool SetRates(lame_t lame, const BE_CONFIG_LHV1& wanted)
{
    if (!SetMode(lame, wanted.nMode))
        return false;
    vbr_mode vbr = vbr_off;
    if (wanted.bEnableVBR) {
        constexpr vbr_mode methods[] = {vbr_off, vbr_default, vbr_rh, vbr_mtrh, vbr_mtrh, vbr_abr}; // from -1 on
        if (wanted.nVbrMethod < VBR_METHOD_NONE || wanted.nVbrMethod > VBR_METHOD_ABR)
            return false;
        lame_set_VBR_q(lame, wanted.nVBRQuality);
        vbr = methods[wanted.nVbrMethod + 1];
    }
    lame_set_VBR(lame, vbr);
    lame_set_brate(lame, static_cast<int>(wanted.dwBitrate));
    if (wanted.dwVbrAbr_bps > 0) {
        lame_set_VBR(lame, vbr_abr);
        lame_set_VBR_mean_bitrate_kbps(lame, std::clamp(static_cast<int>((wanted.dwVbrAbr_bps + 500) / 1000), 8, 320));
    }
    return true;
}

void SetPreset(lame_t lame, const BE_CONFIG_LHV1& wanted)
{
    if (wanted.nPreset == presetAbr)
        lame_set_preset(lame, std::clamp(static_cast<int>(wanted.dwVbrAbr_bps / 1000), 8, 320));
    if (wanted.nPreset == presetCbr) {
        lame_set_preset(lame, static_cast<int>(wanted.dwBitrate));
        lame_set_VBR(lame, vbr_off);
    }
    const auto* const known = std::ranges::find(presets, wanted.nPreset, &Preset::number);
    if (known == std::end(presets))
        return;
    if (known->mono)
        lame_set_mode(lame, MONO);
    if (known->quality >= 0)
        lame_set_quality(lame, known->quality);
    if (known->preset != 0)
        lame_set_preset(lame, known->preset);
}

void SetFlags(lame_t lame, const BE_CONFIG_LHV1& wanted)
{
    if (wanted.dwReSampleRate > 0)
        lame_set_out_samplerate(lame, static_cast<int>(wanted.dwReSampleRate));
    if (wanted.nMode == BE_MP3_MODE_MONO)
        SetMode(lame, wanted.nMode); // also against a preset
    lame_set_strict_ISO(lame, wanted.bStrictIso ? 1 : 0);
    lame_set_copyright(lame, wanted.bCopyright ? 1 : 0);
    lame_set_original(lame, wanted.bOriginal ? 1 : 0);
    lame_set_error_protection(lame, wanted.bCRC ? 1 : 0);
    lame_set_extension(lame, wanted.bPrivate ? 1 : 0);
    if (wanted.dwBitrate > 0)
        lame_set_VBR_min_bitrate_kbps(lame, static_cast<int>(wanted.dwBitrate));
    if (wanted.dwMaxBitrate > 0)
        lame_set_VBR_max_bitrate_kbps(lame, static_cast<int>(wanted.dwMaxBitrate));
    if (wanted.bNoRes)
        lame_set_disable_reservoir(lame, 1);
    lame_set_bWriteVbrTag(lame, wanted.bWriteVBRHeader ? 1 : 0);
    if ((wanted.nQuality & 0xFF) == (~(wanted.nQuality >> 8) & 0xFF))
        lame_set_quality(lame, wanted.nQuality & 0xFF);
}

/// The file begins with a frame of that size, and another one follows.
bool BeginsWithFrame(std::FILE* file, std::size_t frameSize)
{
    const auto isFrameAt = [file](long at) {
        unsigned char head[4];
        return std::fseek(file, at, SEEK_SET) == 0 && std::fread(head, 1, 4, file) == 4 && head[0] == 0xFF &&
               (head[1] & 0xE0) == 0xE0;
    };
    return isFrameAt(0) && isFrameAt(static_cast<long>(frameSize)) && std::fseek(file, 0, SEEK_SET) == 0;
}

BE_ERR WriteFirstFrame(const Lame& lame, const char* path)
{
    if (!lame)
        return BE_ERR_INVALID_FORMAT_PARAMETERS;
    std::vector<unsigned char> frame(lame_get_lametag_frame(lame.get(), nullptr, 0));
    if (!lame_get_bWriteVbrTag(lame.get()) || frame.empty())
        return BE_ERR_SUCCESSFUL;
    std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path, "rb+"));
    if (!file || !BeginsWithFrame(file.get(), frame.size()))
        return BE_ERR_INVALID_FORMAT_PARAMETERS;
    const std::size_t size = lame_get_lametag_frame(lame.get(), frame.data(), frame.size());
    const bool wrote = std::fwrite(frame.data(), 1, size, file.get()) == size;
    return std::fclose(file.release()) == 0 && wrote ? BE_ERR_SUCCESSFUL : BE_ERR_INVALID_FORMAT_PARAMETERS;
}

BE_ERR Made(int bytes, DWORD* outputBytes)
{
    *outputBytes = bytes > 0 ? static_cast<DWORD>(bytes) : 0;
    return bytes < 0 ? BE_ERR_BUFFER_TOO_SMALL : BE_ERR_SUCCESSFUL;
}

} // namespace

ENTRY BE_ERR beInitStream(BE_CONFIG* config, DWORD* chunkSamples, DWORD* outputBytes, HBE_STREAM* stream)
{
    if (config->dwConfig != BE_CONFIG_LAME || config->format.LHV1.dwStructVersion != 1)
        return BE_ERR_INVALID_FORMAT;
    const BE_CONFIG_LHV1& wanted = config->format.LHV1;
    Lame lame(lame_init());
    if (!lame)
        return BE_ERR_INVALID_FORMAT_PARAMETERS;
    lame_set_msgf(lame.get(), nullptr);
    lame_set_errorf(lame.get(), nullptr);
    lame_set_in_samplerate(lame.get(), static_cast<int>(wanted.dwSampleRate));
    lame_set_bWriteVbrTag(lame.get(), 0);
    SetPreset(lame.get(), wanted);
    if (wanted.nPreset < presetStandard && !SetRates(lame.get(), wanted))
        return BE_ERR_INVALID_FORMAT_PARAMETERS;
    SetFlags(lame.get(), wanted);
    if (lame_init_params(lame.get()) != 0)
        return BE_ERR_INVALID_FORMAT_PARAMETERS;
    const DWORD channels = static_cast<DWORD>(lame_get_num_channels(lame.get()));
    const DWORD frame = lame_get_version(lame.get()) == 0 ? 576 : 1152;
    *chunkSamples = frame * channels;
    *outputBytes = frame + frame / 4 + 7200; // the encoder's own bound
    *stream = lame.release();
    return BE_ERR_SUCCESSFUL;
}

ENTRY BE_ERR beEncodeChunk(HBE_STREAM stream, DWORD samples, short* from, BYTE* output, DWORD* outputBytes)
{
    const lame_t lame = LameOf(stream);
    const int channels = lame_get_num_channels(lame);
    const int frames = static_cast<int>(samples) / channels;
    return Made(channels == 1 ? lame_encode_buffer(lame, from, from, frames, output, 0)
                              : lame_encode_buffer_interleaved(lame, from, frames, output, 0),
                outputBytes);
}

ENTRY BE_ERR beDeinitStream(HBE_STREAM stream, BYTE* output, DWORD* outputBytes)
{
    return Made(lame_encode_flush(LameOf(stream), output, 0), outputBytes);
}

ENTRY BE_ERR beCloseStream(HBE_STREAM stream)
{
    Lame lame(LameOf(stream));
    if (!lame)
        return BE_ERR_INVALID_HANDLE;
    closedLast = lame_get_bWriteVbrTag(lame.get()) ? std::move(lame) : nullptr;
    return BE_ERR_SUCCESSFUL;
}

ENTRY BE_ERR beWriteInfoTag(HBE_STREAM stream, const char* path)
{
    if (stream == closedLast.get())
        static_cast<void>(closedLast.release()); // one owner
    return WriteFirstFrame(Lame(LameOf(stream)), path);
}

ENTRY BE_ERR beWriteVBRHeader(const char* path)
{
    return WriteFirstFrame(std::exchange(closedLast, nullptr), path);
}

ENTRY void beVersion(BE_VERSION* version)
{
    lame_version_t lame;
    get_lame_version_numerical(&lame);
    *version = {};
    version->byDLLMajorVersion = 1;
    version->byDLLMinorVersion = 32; // the module whose behaviour this one has
    version->byMajorVersion = static_cast<BYTE>(lame.major);
    version->byMinorVersion = static_cast<BYTE>(lame.minor);
    version->byAlphaLevel = static_cast<BYTE>(lame.alpha);
    version->byBetaLevel = static_cast<BYTE>(lame.beta);
    std::snprintf(version->zHomepage, sizeof version->zHomepage, "%s", get_lame_url());
}
