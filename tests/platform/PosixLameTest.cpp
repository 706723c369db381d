// The way through CMP3OutFile and the encoder's module, against the encoder's own library called directly: the same
// bytes.
#include "MP3OutFile.h"
#include "support/SoundSamples.h"
#include "support/TempFolder.h"

#include <functional>
#include <gtest/gtest.h>
#include <lame/lame.h>

namespace {

/// The plainest program that encodes.
std::string EncodeDirectly(const std::function<void(lame_t)>& settings, int channels, const std::vector<i16>& sound)
{
    const lame_t lame = lame_init();
    lame_set_num_channels(lame, channels);
    lame_set_mode(lame, channels == 1 ? MONO : STEREO);
    lame_set_original(lame, 1);
    lame_set_strict_ISO(lame, 0); // the module has it so, the library another default
    settings(lame);
    EXPECT_EQ(lame_init_params(lame), 0);
    const int frames = static_cast<int>(sound.size()) / channels;
    std::string out(sound.size() * 4 + 20000, '\0');
    auto* const bytes = reinterpret_cast<unsigned char*>(out.data());
    const int room = static_cast<int>(out.size());
    auto* const samples = const_cast<short*>(sound.data());
    int made = channels == 1 ? lame_encode_buffer(lame, samples, samples, frames, bytes, room)
                             : lame_encode_buffer_interleaved(lame, samples, frames, bytes, room);
    made += lame_encode_flush(lame, bytes + made, room - made);
    lame_get_lametag_frame(lame, bytes, static_cast<std::size_t>(room)); // over the frame that is kept free for it
    lame_close(lame);
    out.resize(static_cast<std::size_t>(made));
    return out;
}

TEST(PosixLame, FileIsWhatTheEncoderMakes)
{
    struct Case {
        const char* name;
        int channels, rate;
        std::function<void(BE_CONFIG_LHV1&)> config;
        std::function<void(lame_t)> direct;
    };
    const Case cases[] = {
        {"defaults", 2, 44100, [](BE_CONFIG_LHV1&) {}, [](lame_t lame) { lame_set_brate(lame, 192); }},
        {"joint stereo, 128", 2, 48000,
         [](BE_CONFIG_LHV1& c) {
             c.nMode = BE_MP3_MODE_JSTEREO;
             c.dwBitrate = 128;
         },
         [](lame_t lame) {
             lame_set_mode(lame, JOINT_STEREO);
             lame_set_brate(lame, 128);
         }},
        {"variable, mono", 1, 44100,
         [](BE_CONFIG_LHV1& c) {
             c.bEnableVBR = TRUE;
             c.nVBRQuality = 2;
         },
         [](lame_t lame) {
             lame_set_VBR(lame, vbr_default);
             lame_set_VBR_q(lame, 2);
             lame_set_brate(lame, 32);
             lame_set_VBR_min_bitrate_kbps(lame, 32);
             lame_set_VBR_max_bitrate_kbps(lame, 320);
         }},
        {"22 kHz, another rate asked for", 2, 22050,
         [](BE_CONFIG_LHV1& c) {
             c.dwReSampleRate = 16000;
             c.dwBitrate = 64;
             c.bCRC = TRUE;
         },
         [](lame_t lame) {
             lame_set_out_samplerate(lame, 16000);
             lame_set_brate(lame, 64);
             lame_set_error_protection(lame, 1);
         }},
    };
    const TempFolder folder;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<i16> sound = RandomSamples(5, static_cast<std::size_t>(c.rate * c.channels));
        CMP3OutFile file;
        BE_CONFIG config;
        CMP3OutFile::InitBEConfig(&config);
        c.config(config.format.LHV1);
        file.SetParameters(config);
        WAVEFORMATEX format = file.GetFormat();
        format.nChannels = static_cast<WORD>(c.channels);
        format.nSamplesPerSec = static_cast<DWORD>(c.rate);
        CSoundFile::UpdateFormat(&format);
        file.SetFormat(format);
        ASSERT_TRUE(file.Open(folder.Path("file.mp3").c_str(), CFile::modeCreate | CFile::modeWrite));
        EXPECT_EQ(file.Write(sound.data(), c.rate), c.rate);
        EXPECT_TRUE(file.Close());
        const auto direct = [&](lame_t lame) {
            lame_set_in_samplerate(lame, c.rate);
            c.direct(lame);
        };
        EXPECT_TRUE(folder.Read("file.mp3") == EncodeDirectly(direct, c.channels, sound));
    }
}

} // namespace
