// CWaveOut on a device that the test drives: order, throttle, positions, ownership, failures, and many threads at once.
#include "WaveOut.h"
#include "support/FakeWaveDevice.h"
#include "support/PcmFormat.h"

#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace {

class WaveOut : public testing::Test {
protected:
    ~WaveOut() override
    {
        if (out)
            out->Delete();
    }
    /// A block of `frames` frames at that position; the record is freed when it is not taken.
    int Add(i64 position, int frames = 100, char fill = 'x')
    {
        std::string data(static_cast<std::size_t>(frames) * 4, fill);
        auto user = std::make_unique<CWaveOutUserData>(CWaveOutUserData{position, frames});
        const int added = out->AddBuffer(data.data(), static_cast<int>(data.size()), user.get());
        if (added)
            user.release();
        return added;
    }
    i64 Current() const
    {
        CWaveOutUserData record;
        return out->GetCurrentUserData(record) ? record.position : -1;
    }

    FakeWaveDevice device;
    CWaveOut* out = CWaveOut::CreateNew();
};

TEST_F(WaveOut, PlaysWhatItIsGivenInOrderAndTellsWhichBlockReturned)
{
    EXPECT_EQ(out->OpenWaveDevice(PcmFormat(2, 22050, 16)), 1);
    EXPECT_EQ(out->CloseWaveDevice(), 1);
    EXPECT_EQ(Add(1000, 100, 'a'), 1); // opens with the format of last time
    EXPECT_EQ(device.Format().nSamplesPerSec, 22050U);
    EXPECT_EQ(Add(0x1'0000'0002, 50, 'b'), 1);
    EXPECT_EQ(out->GetLastUserWord(), 2U);
    EXPECT_EQ(out->GetBuffersOut(), 2);
    EXPECT_EQ(Current(), -1);
    EXPECT_TRUE(device.FinishOneBlock());
    EXPECT_EQ(Current(), 1000);
    EXPECT_EQ(out->GetFramesPlayed(), 100);
    EXPECT_EQ(Add(7, 1, 'c'), 1); // frees the first
    EXPECT_EQ(device.Count("unprepare"), 1);
    EXPECT_EQ(out->GetBuffersAdded(), 3);
    EXPECT_EQ(device.Heard(), std::string(400, 'a') + std::string(200, 'b') + "cccc");
    EXPECT_EQ(out->SetFormat(PcmFormat(1, 8000, 8)), 1);
    EXPECT_EQ(out->GetBuffersAdded(), 0);
    EXPECT_EQ(out->GetFormat().nSamplesPerSec, 8000U);
    EXPECT_EQ(out->AddBuffer(nullptr, 4, nullptr), 0);
    char byte = 0;
    EXPECT_EQ(out->AddBuffer(&byte, 1, nullptr), 1); // no record
    device.FinishOneBlock();
    EXPECT_EQ(Current(), -1);
    EXPECT_EQ(out->GetFramesPlayed(), 1);
}

TEST_F(WaveOut, NinthBlockWaitsUntilOneReturns)
{
    for (int i = 0; i < 8; ++i)
        ASSERT_EQ(Add(i), 1);
    std::atomic<bool> added = false;
    std::jthread ninth([&] {
        EXPECT_EQ(Add(8), 1);
        added = true;
    });
    while (out->GetLastUserWord() != 8) // it is in the throttle, or about to be
        std::this_thread::yield();
    EXPECT_FALSE(added);
    EXPECT_EQ(device.Waiting(), 8U);
    EXPECT_TRUE(device.FinishOneBlock());
    ninth.join();
    EXPECT_EQ(device.Waiting(), 8U);
}

TEST_F(WaveOut, FlushReturnsEverythingAndSetsThePosition)
{
    out->Flush(500); // closed
    EXPECT_EQ(Current(), 500);
    out->Flush(-1);
    EXPECT_EQ(Current(), -1);
    Add(1);
    Add(2);
    out->Flush(12'345'678'901);
    EXPECT_EQ(Current(), 12'345'678'901);
    EXPECT_EQ(out->GetBuffersOut(), 0);
    EXPECT_EQ(device.Count("close"), 0);
    Add(3); // now the flushed ones are unprepared
    EXPECT_EQ(device.Count("unprepare"), 2);
    out->Flush(-1);
    EXPECT_EQ(Current(), -1);
}

TEST_F(WaveOut, ClosingFreesBlocksWithoutUnpreparing)
{
    Add(1);
    device.FinishOneBlock();
    Add(2);
    Add(3);
    const int before = device.Count("unprepare");
    EXPECT_EQ(out->CloseWaveDevice(), 1);
    EXPECT_EQ(device.Count("unprepare"), before);
    EXPECT_EQ(device.Count("close"), 1);
    EXPECT_EQ(out->CloseWaveDevice(), 1);
    EXPECT_EQ(device.Count("close"), 1);
    device.keepBlocks = true; // they and their records are freed all the same
    Add(4);
    device.FailNext("reset");
    EXPECT_EQ(out->CloseWaveDevice(), 1);
}

TEST_F(WaveOut, BlockIsReturnedOnRequestUnlessTheDeviceHoldsIt)
{
    Add(1, 10);
    Add(2, 20);
    WAVEHDR* const second = device.Block(1);
    EXPECT_EQ(out->DeleteBuffer(nullptr), 0);
    device.FailNext("unprepare");
    EXPECT_EQ(out->DeleteBuffer(device.Block(0)), 0);
    EXPECT_EQ(out->GetBuffersOut(), 2);
    EXPECT_EQ(out->DeleteBuffer(second), 1);
    EXPECT_EQ(out->DeleteBuffer(second), 0);
    EXPECT_EQ(Current(), 2);
    EXPECT_EQ(out->GetFramesPlayed(), 20);
    EXPECT_EQ(out->GetBuffersOut(), 1);
}

TEST_F(WaveOut, FailuresLeaveTheRecordWithTheCallerAndCanBeTriedAgain)
{
    for (const char* const call : {"open", "prepare", "write"}) {
        SCOPED_TRACE(call);
        out->CloseWaveDevice();
        device.FailNext(call);
        EXPECT_EQ(Add(1), 0); // the fixture frees the record: freed twice if it had been taken
        EXPECT_EQ(out->GetBuffersOut(), 0);
        EXPECT_EQ(Add(1), 1);
    }
    device.FailNext("reset"); // a device that gives nothing back is closed in the end
    device.keepBlocks = true;
    out->Flush(9);
    EXPECT_EQ(Current(), 9);
    EXPECT_EQ(Add(1), 1);
}

TEST_F(WaveOut, BlocksThatReturnBeforeTheyAreCountedAddUp)
{
    device.finishAtOnce = true;
    for (int i = 0; i < 50; ++i)
        Add(i);
    EXPECT_EQ(out->GetBuffersOut(), 0);
    EXPECT_EQ(out->GetFramesPlayed(), 5000);
}

/// Ends at the first block, without a word to whoever has sent it.
class CDyingWaveOut : public CWaveOut {
    DECLARE_DYNCREATE(CDyingWaveOut)
protected:
    BOOL PreTranslateMessage(MSG* message) override
    {
        if (message->message != addBufferMessage)
            return CWaveOut::PreTranslateMessage(message);
        PostThreadMessage(WM_QUIT, 0, 0);
        return TRUE;
    }
};

IMPLEMENT_DYNCREATE(CDyingWaveOut, CWaveOut)

TEST_F(WaveOut, WhoWaitsIsReleasedWhenTheWorkerDies)
{
    out->Delete();
    out = static_cast<CWaveOut*>(AfxBeginThread(RUNTIME_CLASS(CDyingWaveOut)));
    ASSERT_TRUE(out);
    EXPECT_EQ(out->OpenWaveDevice(PcmFormat(2, 44100, 16)), 1);
    EXPECT_EQ(Add(1), 0); // and the record is freed here
    out = nullptr;        // gone
    EXPECT_EQ(device.Count("close"), 1);
}

// What callers rely on is that this ends, without a race or a leak; NVLIB_WAVEOUT_ROUNDS makes it longer.
TEST_F(WaveOut, FourThreadsInRandomOrder)
{
    const char* const rounds = std::getenv("NVLIB_WAVEOUT_ROUNDS");
    const int each = (rounds ? std::atoi(rounds) : 400) / 4;
    std::atomic<int> running = 4;
    const auto play = [&](unsigned seed) {
        std::mt19937 random(seed);
        for (int i = 0; i < each; ++i) {
            switch (random() % 8) {
            case 0:
                EXPECT_EQ(out->OpenWaveDevice(PcmFormat(2, 44100, 16)), 1);
                break;
            case 1:
                out->Flush(static_cast<i64>(random() % 1000) - 1);
                break;
            case 2:
                EXPECT_EQ(out->CloseWaveDevice(), 1);
                break;
            default:
                EXPECT_EQ(Add(i, 1 + static_cast<int>(random() % 500)), 1);
                Current();
            }
        }
        --running;
    };
    std::vector<std::jthread> threads;
    for (unsigned seed = 1; seed <= 4; ++seed)
        threads.emplace_back(play, seed);
    while (running > 0)
        if (!device.FinishOneBlock())
            std::this_thread::yield();
    threads.clear();
    out->Flush(77);
    EXPECT_EQ(Current(), 77);
    EXPECT_EQ(out->GetBuffersOut(), 0);
}

} // namespace
