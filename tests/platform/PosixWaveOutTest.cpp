// Wave output on POSIX, through CWaveOut: what a sound device is given is what was played, sample for sample; without a
// device time passes as it would.
#include "support/RecordedSound.h"
#include "support/TempFolder.h"

#include <cstdlib>

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

TEST(PosixWaveOut, DeviceIsGivenEverySample)
{
    const TempFolder folder;
    const AlsaConfiguration recording(folder, "pcm.nothing { type null }\n"
                                              "pcm.!default { type file slave.pcm nothing format raw file \"" +
                                                  folder.Path("heard.raw") + "\" }\n");
    ExpectEverySampleToArrive(false, [&folder] { return folder.Read("heard.raw"); });
}

TEST(PosixWaveOut, WithoutADeviceTimePassesAllTheSame)
{
    const TempFolder folder;
    const AlsaConfiguration none(folder, "pcm.!default { type hw card 31 }\n");
    const Output out(CWaveOut::CreateNew());
    if (CWaveOut::HasDevice())
        GTEST_SKIP() << "this machine has a sound card";
    ASSERT_EQ(out->OpenWaveDevice(SoundForm{2, 8000, 16}.Record()), 1);
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
    EXPECT_EQ(out->OpenWaveDevice(SoundForm{2, 8000, 12}.Record()), 0); // 12 bits are none
}

} // namespace
