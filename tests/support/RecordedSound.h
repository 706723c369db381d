// For tests whose sound device writes what it is given into a file: plays noise of every plain format through a
// CWaveOut and compares.
#pragma once

#include "Noise.h"
#include "WaveOut.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

struct SoundForm {
    int channels, rate, bits;
    int Align() const { return channels * bits / 8; }
    WAVEFORMATEX Record() const
    {
        return {WAVE_FORMAT_PCM,
                static_cast<WORD>(channels),
                static_cast<DWORD>(rate),
                static_cast<DWORD>(rate * Align()),
                static_cast<WORD>(Align()),
                static_cast<WORD>(bits),
                0};
    }
};

struct WaveOutEnd {
    void operator()(CWaveOut* out) const { out->Delete(); }
};
using Output = std::unique_ptr<CWaveOut, WaveOutEnd>;

inline void WaitUntilHeard(const CWaveOut& out)
{
    while (out.GetBuffersOut() > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

/// `recording` reads what was recorded since the device was opened. `eager`: the device plays faster than in real time,
/// and silence where nothing waits. So most of the sound waits there at once, and silence may follow.
inline void ExpectEverySampleToArrive(bool eager, const std::function<std::string()>& recording)
{
    for (const int bits : {8, 16})
        for (const int channels : {1, 2})
            for (const int rate : {8000, 11025, 22050, 32000, 44100, 48000}) {
                const SoundForm form{channels, rate, bits};
                SCOPED_TRACE(std::to_string(channels) + " channels, " + std::to_string(rate) + " Hz, " +
                             std::to_string(bits) + " bits");
                std::string samples =
                    Noise(static_cast<unsigned>(rate + bits), static_cast<std::size_t>(rate * form.Align()));
                const Output out(CWaveOut::CreateNew());
                ASSERT_EQ(out->OpenWaveDevice(form.Record()), 1);
                int frames = eager ? rate * 9 / 10 : 1; // one, and up to more than a device's buffer
                for (int at = 0, size = 1; at < rate; size *= 5) {
                    ASSERT_EQ(out->AddBuffer(samples.data() + at * form.Align(), frames * form.Align(), nullptr), 1);
                    at += frames;
                    frames = std::min(eager ? size : size * 5, rate - at);
                }
                WaitUntilHeard(*out);
                EXPECT_EQ(out->GetFramesPlayed(), rate);
                out->CloseWaveDevice();
                const std::string heard = recording();
                const std::size_t length = eager ? std::max(heard.size(), samples.size()) : samples.size();
                samples.resize(length, bits == 8 ? '\x80' : '\0');
                EXPECT_TRUE(heard == samples) << heard.size() << " bytes recorded";
            }
}
