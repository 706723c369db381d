// Wave output on POSIX, through CWaveOut: what a sound device is given is what was played, sample for sample; without a
// device time passes as it would.
#include "WaveOut.h"
#include "support/Noise.h"
#include "support/TempFolder.h"

#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>

namespace {

/// Has ALSA read `configuration` and nothing else while it stands.
class AlsaConfiguration {
public:
    AlsaConfiguration(const TempFolder& folder, const std::string& configuration)
    {
        setenv("ALSA_CONFIG_PATH", folder.Write("asound.conf", configuration).c_str(), 1);
    }
    ~AlsaConfiguration() { unsetenv("ALSA_CONFIG_PATH"); }
};

struct Form {
    int channels, rate, bits;
    WAVEFORMATEX Record() const
    {
        const int align = channels * bits / 8;
        return {WAVE_FORMAT_PCM,
                static_cast<WORD>(channels),
                static_cast<DWORD>(rate),
                static_cast<DWORD>(rate * align),
                static_cast<WORD>(align),
                static_cast<WORD>(bits),
                0};
    }
};

struct WorkerEnd {
    void operator()(CWaveOut* out) const { out->Delete(); }
};
using Output = std::unique_ptr<CWaveOut, WorkerEnd>;

void WaitUntilHeard(const CWaveOut& out)
{
    while (out.GetBuffersOut() > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

TEST(PosixWaveOut, DeviceIsGivenEverySample)
{
    const TempFolder folder;
    const AlsaConfiguration recording(folder, "pcm.nothing { type null }\n"
                                              "pcm.!default { type file slave.pcm nothing format raw file \"" +
                                                  folder.Path("heard.raw") + "\" }\n");
    for (const int bits : {8, 16})
        for (const int channels : {1, 2})
            for (const int rate : {8000, 11025, 22050, 32000, 44100, 48000}) {
                const Form form{channels, rate, bits};
                SCOPED_TRACE(std::to_string(channels) + " channels, " + std::to_string(rate) + " Hz, " +
                             std::to_string(bits) + " bits");
                const int align = channels * bits / 8;
                std::string samples = Noise(static_cast<unsigned>(rate + bits), static_cast<std::size_t>(rate * align));
                const Output out(CWaveOut::CreateNew());
                ASSERT_EQ(out->OpenWaveDevice(form.Record()), 1);
                int size = align;
                for (std::size_t at = 0; at < samples.size();) { // from one frame to more than a device's buffer
                    const int bytes = std::min(size, static_cast<int>(samples.size() - at));
                    ASSERT_EQ(out->AddBuffer(samples.data() + at, bytes, nullptr), 1);
                    at += static_cast<std::size_t>(bytes);
                    size *= 3;
                }
                WaitUntilHeard(*out);
                EXPECT_EQ(out->GetFramesPlayed(), rate);
                out->CloseWaveDevice();
                EXPECT_TRUE(folder.Read("heard.raw") == samples);
            }
}

TEST(PosixWaveOut, WithoutADeviceTimePassesAllTheSame)
{
    const TempFolder folder;
    const AlsaConfiguration none(folder, "pcm.!default { type hw card 31 }\n");
    const Output out(CWaveOut::CreateNew());
    if (CWaveOut::HasDevice())
        GTEST_SKIP() << "this machine has a sound card";
    ASSERT_EQ(out->OpenWaveDevice(Form{2, 8000, 16}.Record()), 1);
    std::string block(800 * 4, '\0'); // a tenth of a second
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(out->AddBuffer(block.data(), static_cast<int>(block.size()), new CWaveOutUserData{i * 800, 800}), 1);
    WaitUntilHeard(*out);
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(passed.count(), 0.3);
    CWaveOutUserData last;
    EXPECT_TRUE(out->GetCurrentUserData(last));
    EXPECT_EQ(last.position, 1600);
    // And what waits is given back at once.
    std::string minute(8000 * 4 * 60, '\0');
    ASSERT_EQ(out->AddBuffer(minute.data(), static_cast<int>(minute.size()), nullptr), 1);
    out->Flush(5);
    EXPECT_EQ(out->GetBuffersOut(), 0);
    EXPECT_EQ(out->OpenWaveDevice(Form{2, 8000, 12}.Record()), 0); // 12 bits are none
}

} // namespace
