// CSoundFilePlayer on a device that the test drives.
#include "SoundFilePlayer.h"
#include "support/FakeWaveDevice.h"
#include "support/SoundSamples.h"

#include <gtest/gtest.h>

namespace {

constexpr int rate = 8000;
constexpr int blockFrames = rate * 25 / 1000;

class SoundFilePlayer : public testing::Test {
protected:
    SoundFilePlayer() { EXPECT_TRUE(player.Open(&sound)); }

    /// Has blocks heard until the player stops.
    void PlayOut()
    {
        while (player.GetState() == CSoundFilePlayer::State::playing)
            if (!device.FinishOneBlock())
                std::this_thread::yield();
    }
    /// Waits for so many blocks in the device, then has them heard.
    void Finish(std::size_t blocks)
    {
        while (blocks > 0)
            if (device.FinishOneBlock())
                --blocks;
            else
                std::this_thread::yield();
    }
    std::string Bytes(i64 from, i64 to) const
    {
        return std::string(reinterpret_cast<const char*>(sound.samples.data() + 2 * from),
                           static_cast<std::size_t>(to - from) * 4);
    }

    FakeWaveDevice device;
    MemorySound sound{2, rate, RandomSamples(3, 2 * 3 * rate)};
    CSoundFilePlayer player;
};

TEST_F(SoundFilePlayer, PlaysAStretchSampleForSample)
{
    ASSERT_TRUE(player.Play(123, 5000));
    PlayOut();
    EXPECT_TRUE(device.Heard() == Bytes(123, 5000));
    EXPECT_EQ(player.GetPosition(), 5000);
    EXPECT_FALSE(player.HasFailed());
    ASSERT_TRUE(player.Play(0)); // all of it
    PlayOut();
    EXPECT_EQ(player.GetPosition(), 3 * rate);
    EXPECT_TRUE(player.Play(3 * rate + 99)); // nothing
    PlayOut();
    EXPECT_TRUE(player.WaitUntilStopped(5));
}

TEST_F(SoundFilePlayer, PositionIsWhatIsHeard)
{
    ASSERT_TRUE(player.Play(1000));
    while (device.Waiting() < 8)
        std::this_thread::yield();
    EXPECT_EQ(player.GetPosition(), 1000); // queued, not heard
    Finish(5);
    const i64 heard = 1000 + 5 * blockFrames;
    EXPECT_GE(player.GetPosition(), heard);
    EXPECT_LE(player.GetPosition(), heard + blockFrames);
    EXPECT_FALSE(player.WaitUntilStopped(0));
    // Halting waits for the feeder, which waits for room in the device.
    std::jthread card([this](const std::stop_token& stop) {
        while (!stop.stop_requested())
            device.FinishOneBlock();
    });
    ASSERT_TRUE(player.Seek(9000));
    EXPECT_GE(player.GetPosition(), 9000);
    EXPECT_LT(player.GetPosition(), 9000 + rate);
    ASSERT_TRUE(player.Pause());
    const i64 paused = player.GetPosition();
    EXPECT_GE(paused, 9000);
    EXPECT_FALSE(player.Pause());
    EXPECT_EQ(player.GetPosition(), paused);
    EXPECT_TRUE(player.Seek(4000));
    EXPECT_EQ(player.GetState(), CSoundFilePlayer::State::paused);
    EXPECT_TRUE(player.Resume());
    player.Stop();
    EXPECT_GE(player.GetPosition(), 4000);
    EXPECT_FALSE(player.Resume());
}

TEST_F(SoundFilePlayer, FadesComeUpAndGoDown)
{
    sound.samples.assign(2 * 4000, 10000);
    player.SetFades(0.1, 0.2); // 800 and 1,600 frames
    ASSERT_TRUE(player.Play(0));
    PlayOut();
    const std::string heard = device.Heard();
    const auto at = [&](std::size_t frame) {
        i16 value;
        memcpy(&value, heard.data() + 4 * frame + 2, 2);
        return value;
    };
    ASSERT_EQ(heard.size(), 4 * 4000U);
    for (const auto& [frame, value] :
         std::map<std::size_t, int>{{0, 0}, {400, 5000}, {800, 10000}, {2400, 10000}, {3200, 5000}, {3999, 6}})
        EXPECT_EQ(at(frame), value) << frame;
    player.SetFades(0, 0);
    ASSERT_TRUE(player.Play(0));
    player.FadeOut(0.05);
    PlayOut();
    EXPECT_LT(player.GetPosition(), 4000);
    EXPECT_EQ(player.GetPosition() % blockFrames, 400 % blockFrames);
}

TEST_F(SoundFilePlayer, FailuresEndIt)
{
    device.FailNext("write", 3);
    ASSERT_TRUE(player.Play(0));
    PlayOut();
    EXPECT_TRUE(player.HasFailed());
    EXPECT_EQ(player.GetPosition(), 2 * blockFrames);
    ASSERT_TRUE(player.Play(0, 100));
    PlayOut();
    EXPECT_FALSE(player.HasFailed());
    device.FailNext("open");
    EXPECT_FALSE(player.Open(&sound));
    EXPECT_FALSE(player.Play(0));
    player.Stop();
    EXPECT_FALSE(player.Open(nullptr));
}

} // namespace
