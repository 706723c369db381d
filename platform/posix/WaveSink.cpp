// A clock in place of a sound card, and the card itself through ALSA: see WaveSink.h.
#include "WaveSink.h"

#include <algorithm>
extern "C" { // one of its headers forgets to say so of one function
#include <alsa/asoundlib.h>
}
#include <chrono>

namespace NV {
namespace {

/// Plays nothing, in real time.
class ClockSink : public WaveSink {
public:
    explicit ClockSink(double framesPerSecond) : rate(framesPerSecond) {}
    i64 Put(const u8*, i64 count) override
    {
        if (Heard() == taken) { // silent until now: time begins here
            start = Clock::now();
            base = taken;
        }
        taken += count;
        return count;
    }
    void Begin() override {}
    i64 Heard() override
    {
        const std::chrono::duration<double> passed = Clock::now() - start;
        heard = std::max(heard, std::min(taken, base + static_cast<i64>(passed.count() * rate)));
        return heard;
    }
    void Drop() override { base = heard = taken; }

private:
    using Clock = std::chrono::steady_clock;
    double rate;
    i64 taken = 0, heard = 0, base = 0; // base: taken when the clock was started
    Clock::time_point start = Clock::now();
};

constexpr unsigned bufferMicroseconds = 200'000;

/// ALSA tells of every failure on standard error; here they are results.
class QuietAlsa {
public:
    QuietAlsa() : before(snd_lib_error_set_local([](const char*, int, const char*, int, const char*, va_list) {})) {}
    ~QuietAlsa() { snd_lib_error_set_local(before); }
    QuietAlsa(const QuietAlsa&) = delete;
    QuietAlsa& operator=(const QuietAlsa&) = delete;

private:
    snd_local_error_handler_t before; // of this thread
};

struct ClosePcm {
    void operator()(snd_pcm_t* pcm) const { snd_pcm_close(pcm); }
};
using Pcm = std::unique_ptr<snd_pcm_t, ClosePcm>;

int OpenDefault(Pcm& pcm)
{
    const QuietAlsa quiet;
    snd_pcm_t* opened = nullptr;
    const int error = snd_pcm_open(&opened, "default", SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK);
    pcm.reset(error < 0 ? nullptr : opened);
    return error;
}

bool HasCard()
{
    int card = -1;
    return snd_card_next(&card) == 0 && card >= 0;
}

class AlsaSink : public WaveSink {
public:
    explicit AlsaSink(Pcm opened) : pcm(std::move(opened)) {}
    i64 Put(const u8* frames, i64 count) override
    {
        const QuietAlsa quiet;
        snd_pcm_sframes_t room = snd_pcm_avail_update(pcm.get());
        if (room < 0 && Recover(static_cast<int>(room)))
            room = snd_pcm_avail_update(pcm.get());
        if (room < 0)
            return -1;
        const i64 asked = std::min<i64>(room, count);
        if (asked == 0)
            return 0;
        const snd_pcm_sframes_t put = snd_pcm_writei(pcm.get(), frames, static_cast<snd_pcm_uframes_t>(asked));
        if (put == -EAGAIN || (put < 0 && Recover(static_cast<int>(put))))
            return 0;
        if (put < 0)
            return -1;
        taken += put;
        return put;
    }
    void Begin() override
    {
        if (snd_pcm_state(pcm.get()) == SND_PCM_STATE_PREPARED)
            snd_pcm_start(pcm.get()); // a failure shows with the next call
    }
    i64 Heard() override
    {
        const QuietAlsa quiet;
        snd_pcm_sframes_t waiting = 0;
        const int error = snd_pcm_state(pcm.get()) == SND_PCM_STATE_XRUN ? -EPIPE : snd_pcm_delay(pcm.get(), &waiting);
        if (error == -EPIPE)
            waiting = 0; // it has run dry: all has been heard. Put makes it ready again.
        else if (error < 0)
            return Recover(error) ? heard : -1;
        heard = std::max(heard, taken - std::max<i64>(waiting, 0));
        return heard;
    }
    void Drop() override
    {
        const QuietAlsa quiet;
        snd_pcm_drop(pcm.get());
        snd_pcm_prepare(pcm.get()); // a failure shows with the next call
        heard = taken;
    }

private:
    bool Recover(int error)
    {
        if (snd_pcm_recover(pcm.get(), error, 1) < 0)
            return false;
        if (error == -EPIPE)
            heard = taken;
        return true;
    }

    Pcm pcm;
    i64 taken = 0, heard = 0;
};

snd_pcm_format_t SampleFormat(int bits)
{
    switch (bits) {
    case 8:
        return SND_PCM_FORMAT_U8;
    case 16:
        return SND_PCM_FORMAT_S16_LE;
    case 24:
        return SND_PCM_FORMAT_S24_3LE;
    default:
        return SND_PCM_FORMAT_S32_LE;
    }
}

} // namespace

std::unique_ptr<WaveSink> OpenClockSink(const WAVEFORMATEX& format)
{
    return std::make_unique<ClockSink>(format.nSamplesPerSec);
}

std::unique_ptr<WaveSink> OpenWaveSink(const WAVEFORMATEX& format, MMRESULT& error)
{
    Pcm pcm;
    error = MMSYSERR_NOERROR;
    if (const int failure = OpenDefault(pcm); failure < 0) {
        if (!HasCard())
            return OpenClockSink(format);
        error = failure == -EBUSY ? MMSYSERR_ALLOCATED : failure == -ENOMEM ? MMSYSERR_NOMEM : MMSYSERR_NODRIVER;
        return nullptr;
    }
    const QuietAlsa quiet;
    if (snd_pcm_set_params(pcm.get(), SampleFormat(format.wBitsPerSample), SND_PCM_ACCESS_RW_INTERLEAVED,
                           format.nChannels, format.nSamplesPerSec, 1, bufferMicroseconds) < 0) {
        error = WAVERR_BADFORMAT;
        return nullptr;
    }
    return std::make_unique<AlsaSink>(std::move(pcm));
}

bool HasWaveSink()
{
    Pcm pcm;
    return HasCard() || OpenDefault(pcm) >= 0;
}

} // namespace NV
