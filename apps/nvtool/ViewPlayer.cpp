// See ViewPlayer.h.
#include "ViewPlayer.h"

#include "Commands.h"

#include <algorithm>
#include <utility>

namespace nvtool {

namespace {

constexpr double fadeIn = 0.01; // no click at a start in the middle

} // namespace

ViewPlayer::ViewPlayer(std::unique_ptr<CSoundFile> toPlay, std::string name)
    : sound(std::move(toPlay)), label(std::move(name))
{
}

ViewPlayer::~ViewPlayer() = default;

// With the first sound that is wanted: who only looks needs no device.
void ViewPlayer::OpenDevice()
{
    if (std::exchange(opened, true))
        return;
    silent = !player.Open(sound.get());
    if (!CWaveOut::HasDevice())
        Warn(label, "there is no sound device; time passes all the same");
    else if (silent)
        Warn(label, "the sound device does not take it; time passes all the same");
    player.SetFades(fadeIn, 0);
}

bool ViewPlayer::Play(i64 from)
{
    OpenDevice();
    if (!silent)
        return player.Play(from);
    clockFrom = from;
    clockStart = std::chrono::steady_clock::now();
    clockRuns = true;
    return true;
}

void ViewPlayer::Stop()
{
    if (!silent)
        return player.Stop();
    clockFrom = PositionOnClock();
    clockRuns = false;
}

void ViewPlayer::Seek(i64 to)
{
    if (!silent)
        player.Seek(to);
    else if (clockRuns)
        Play(to);
}

bool ViewPlayer::IsPlaying()
{
    if (silent) {
        if (clockRuns && PositionOnClock() >= sound->GetLength())
            Stop();
        return clockRuns;
    }
    if (player.HasFailed()) {
        Warn(label, "playing ended: the file or the sound device failed");
        clockFrom = player.GetPosition(); // stays where it is; from now on without sound
        player.Close();
        silent = true;
        return false;
    }
    return player.GetState() == CSoundFilePlayer::State::playing;
}

i64 ViewPlayer::GetPosition() const
{
    return silent ? PositionOnClock() : player.GetPosition();
}

i64 ViewPlayer::PositionOnClock() const
{
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - clockStart;
    const i64 frames = clockRuns ? sound->TimeToSample(passed.count()) : 0;
    return std::min(clockFrom + frames, sound->GetLength());
}

} // namespace nvtool
