// CSoundFilePlayer: a thread that feeds a CWaveOut, started and ended with every stretch that is played.
#include "SoundFilePlayer.h"

#include "Rounding.h"

#include <algorithm>
#include <cstring>
#include <system_error>

using namespace NV;

int CSoundFilePlayer::c_nBlockMilliseconds = 25;

CSoundFilePlayer::~CSoundFilePlayer()
{
    Close();
}

bool CSoundFilePlayer::Open(CSoundFile* newFile)
{
    Close();
    if (!newFile || newFile->GetBlockAlign() <= 0)
        return false;
    out.reset(CWaveOut::CreateNew());
    if (!out || !out->OpenWaveDevice(newFile->GetFormat())) {
        out.reset();
        return false;
    }
    file = newFile;
    failed = false;
    return true;
}

void CSoundFilePlayer::Close()
{
    Stop();
    out.reset();
    file = nullptr;
    resting = 0;
}

// ---- Control -------------------------------------------------------------------------------------------------------

bool CSoundFilePlayer::Play(i64 from, i64 to)
{
    if (!file)
        return false;
    Halt();
    const i64 length = file->GetLength();
    end = to < 0 ? length : std::min(to, length);
    return Start(std::clamp<i64>(from, 0, std::max<i64>(end, 0)), true);
}

bool CSoundFilePlayer::Pause()
{
    if (state != State::playing)
        return false;
    const i64 heard = Halt();
    out->Flush(heard);
    SetState(State::paused);
    return true;
}

bool CSoundFilePlayer::Resume()
{
    return state == State::paused && Start(resting, false);
}

bool CSoundFilePlayer::Seek(i64 position)
{
    if (!file)
        return false;
    const State before = state;
    Halt();
    const i64 to = std::clamp<i64>(position, 0, before == State::stopped ? file->GetLength() : end);
    out->Flush(to);
    resting = to;
    return before != State::playing || Start(to, false);
}

void CSoundFilePlayer::Stop()
{
    if (!file)
        return;
    const i64 heard = Halt();
    out->Flush(heard);
    SetState(State::stopped);
}

void CSoundFilePlayer::SetFades(double inSeconds, double outSeconds)
{
    const bool playing = state == State::playing;
    const i64 heard = playing ? Halt() : 0;
    fadeIn = file ? std::max<i64>(file->TimeToSample(inSeconds), 0) : 0;
    fadeOut = file ? std::max<i64>(file->TimeToSample(outSeconds), 0) : 0;
    if (playing)
        Start(heard, false);
}

void CSoundFilePlayer::FadeOut(double seconds)
{
    if (state == State::playing)
        goingDown = std::max<i64>(file->TimeToSample(seconds), 1);
    else
        Stop();
}

bool CSoundFilePlayer::Start(i64 from, bool fresh)
{
    // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): there is a file where this is called
    if (file->Seek(from, 0) != from)
        return false;
    out->Flush(from); // the position, until the first block has been heard
    if (fresh)
        first = from;
    resting = from;
    goingDown = downFrames = 0;
    failed = false;
    {
        const std::lock_guard hold(mutex);
        seen = -1;
    }
    SetState(State::playing);
    try {
        feeder = std::thread([this, from] { Feed(from); });
    } catch (const std::system_error&) {
        SetState(State::stopped);
        return false;
    }
    return true;
}

/// Ends the feeder; gives what is heard, and has it be the position.
i64 CSoundFilePlayer::Halt()
{
    if (feeder.joinable()) {
        halting = true;
        feeder.join();
        halting = false;
        if (state == State::playing)
            resting = Heard();
    }
    return resting;
}

void CSoundFilePlayer::SetState(State next)
{
    {
        const std::lock_guard hold(mutex);
        state = next;
    }
    stateChanged.notify_all();
}

bool CSoundFilePlayer::WaitUntilStopped(double seconds) const
{
    std::unique_lock hold(mutex);
    return stateChanged.wait_for(hold, std::chrono::duration<double>(seconds),
                                 [this] { return state != State::playing; });
}

// ---- The position --------------------------------------------------------------------------------------------------

i64 CSoundFilePlayer::GetPosition() const
{
    return state == State::playing ? Heard() : resting.load();
}

/// What has returned, and the time since then, which is never more than the block that is being heard.
i64 CSoundFilePlayer::Heard() const
{
    CWaveOutUserData record;
    if (!out->GetCurrentUserData(record))
        return resting;
    const i64 returned = record.position + record.frames;
    if (record.frames == 0)
        return returned; // nothing has been heard yet
    const std::lock_guard hold(mutex);
    const auto now = std::chrono::steady_clock::now();
    if (seen != returned) {
        seen = returned;
        seenAt = now;
    }
    const std::chrono::duration<double> since = now - seenAt;
    return std::min(returned + std::min<i64>(file->TimeToSample(since.count()), record.frames), end);
}

// ---- The feeder ----------------------------------------------------------------------------------------------------

void CSoundFilePlayer::Feed(i64 from)
{
    const int blockFrames = std::max(1, file->GetSamplesPerSec() * std::max(c_nBlockMilliseconds, 1) / 1000);
    i64 at = from;
    i64 stopAt = end;
    while (at < stopAt && !halting) {
        if (goingDown > 0 && downFrames == 0) {
            downFrom = at;
            downFrames = goingDown;
            stopAt = std::min(stopAt, downFrom + downFrames);
        }
        const int frames = static_cast<int>(std::min<i64>(blockFrames, stopAt - at));
        if (!FeedBlock(at, frames)) {
            failed = true;
            break;
        }
        at += frames;
    }
    while (!halting && out->GetBuffersOut() > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    if (halting)
        return;
    resting = at;
    SetState(State::stopped);
}

bool CSoundFilePlayer::FeedBlock(i64 at, int frames)
{
    const std::size_t bytes = static_cast<std::size_t>(frames) * static_cast<std::size_t>(file->GetBlockAlign());
    block.resize(bytes);
    if (file->Read(block.data(), frames) != frames)
        return false;
    ApplyFades(block.data(), at, frames);
    auto user = std::make_unique<CWaveOutUserData>(CWaveOutUserData{at, frames});
    if (!out->AddBuffer(block.data(), static_cast<int>(bytes), user.get()))
        return false;
    static_cast<void>(user.release()); // the output's now
    return true;
}

double CSoundFilePlayer::Gain(i64 at) const
{
    const auto part = [](i64 done, i64 whole) {
        return whole > 0 ? std::clamp(static_cast<double>(done) / static_cast<double>(whole), 0.0, 1.0) : 1.0;
    };
    const double down = downFrames > 0 ? 1.0 - part(at - downFrom, downFrames) : 1.0;
    return part(at - first, fadeIn) * part(end - at, fadeOut) * down;
}

void CSoundFilePlayer::ApplyFades(u8* samples, i64 at, int frames) const
{
    const bool within = at < first + fadeIn || at + frames > end - fadeOut || downFrames > 0;
    const WAVEFORMATEX& format = file->GetFormat();
    const int channels = format.nChannels;
    const int bytes = format.wBitsPerSample / 8;
    if (!within || (bytes != 1 && bytes != 2) || format.nBlockAlign != channels * bytes)
        return;
    for (int frame = 0; frame < frames; ++frame) {
        const double gain = Gain(at + frame);
        for (int channel = 0; channel < channels; ++channel, samples += bytes) {
            if (bytes == 1) {
                *samples = static_cast<u8>(128 + RoundToSample((*samples - 128) * gain));
                continue;
            }
            i16 value;
            std::memcpy(&value, samples, sizeof value);
            value = RoundToSample(value * gain);
            std::memcpy(samples, &value, sizeof value);
        }
    }
}
