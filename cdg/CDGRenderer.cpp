// The CD+G screen at any time: see CDGRenderer.h.
#include "CDGRenderer.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int longReplay = 299;     // packs; further ahead a snapshot is worth restoring
constexpr int packsPerPiece = 1500; // read and interpreted at a time

} // namespace

CCDGRenderer::CCDGRenderer() = default;
CCDGRenderer::~CCDGRenderer() = default;

bool CCDGRenderer::Open(const char* name, CFile* file, bool plainFile)
{
    keyframes.clear();
    input.Close();
    if (name && !*name)
        return true;
    if (file)
        input.Open(file, plainFile);
    else if (!name || !input.Open(name, CFile::modeRead | CFile::shareDenyNone, nullptr))
        return false;
    Restart();
    return true;
}

void CCDGRenderer::Restart()
{
    emulator.Init();
    emulator.ReadyScreen();
    currentPack = 0;
    currentTime = 0;
    nextKeyframe = -1;
    StoreFrame(0);
}

const CDib* CCDGRenderer::GetFrame(double seconds)
{
    if (!input.IsOpen())
        return nullptr;
    // Behind the end there are only padding packs: some are played, so that a running sweep ends, but not years of
    // them.
    const int last = static_cast<int>(std::min<i64>(i64{input.GetPackCount()} + keyframeInterval, INT32_MAX));
    const int target = std::clamp(CCDGInputFile::TimeToPack(seconds), 0, last);
    if (emulator.HaveSweepsChanged()) {
        std::erase_if(keyframes, [](const auto& entry) { return entry.first != 0; });
        nextKeyframe = -1;
        emulator.ClearSweepsChanged();
    }
    if (target < currentPack || target - currentPack > longReplay)
        JumpTowards(target);
    PlayTo(target);
    emulator.SetTime(currentTime);
    emulator.ReadyScreen();
    return &emulator.ScreenColourImage();
}

void CCDGRenderer::JumpTowards(int target)
{
    auto keyframe = keyframes.upper_bound(target);
    if (keyframe == keyframes.begin()) { // only after Clear
        if (target < currentPack)
            Restart();
        return;
    }
    --keyframe;
    if (keyframe->first <= currentPack && target >= currentPack)
        return; // playing on is shorter
    emulator.RestoreState(keyframe->second, true);
    currentPack = keyframe->first;
    currentTime = CCDGInputFile::PackToTime(currentPack);
    nextKeyframe = -1;
}

void CCDGRenderer::PlayTo(int target)
{
    input.SeekToPack(currentPack);
    while (currentPack < target) {
        if (currentPack % keyframeInterval == 0)
            nextKeyframe = emulator.CanMakeScreenshot(currentPack);
        if (currentPack == nextKeyframe)
            StoreFrame(currentPack);
        int stop = std::min<int>(target, (currentPack / keyframeInterval + 1) * keyframeInterval);
        if (nextKeyframe > currentPack)
            stop = std::min(stop, nextKeyframe);
        const int count = std::min(stop - currentPack, packsPerPiece);
        buffer.resize(static_cast<std::size_t>(packsPerPiece) * kPackSize);
        const int read = input.Read(buffer.data(), count);
        std::memset(buffer.data() + read * kPackSize, 0, static_cast<std::size_t>(count - read) * kPackSize);
        emulator.ProcessPacks(buffer.data(), count, currentPack, target);
        currentPack += count;
        currentTime = CCDGInputFile::PackToTime(input.GetCurrentPack());
    }
}

double CCDGRenderer::GetDuration() const
{
    return CCDGInputFile::PackToTime(input.GetPackCount());
}

void CCDGRenderer::Clear()
{
    keyframes.clear();
}

void CCDGRenderer::StoreFrame(int pack)
{
    const auto [entry, isNew] = keyframes.try_emplace(pack);
    if (isNew)
        emulator.StoreState(entry->second, true);
}

std::vector<int> CCDGRenderer::GetKeyframes() const
{
    std::vector<int> packs;
    for (const auto& [pack, state] : keyframes)
        packs.push_back(pack);
    return packs;
}

void CCDGRenderer::InitMultithreading()
{
    FinishMultithreading();
}

void CCDGRenderer::FinishMultithreading() {}
