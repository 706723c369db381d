// The CD+G stream of a sample track, pack by pack. Keeps one scene's packs at a time.
#pragma once

#include "PackQueue.h"
#include "Scenes.h"
#include "Song.h"

#include <vector>

namespace nvtool::sample {

class Graphics {
public:
    // The song must outlive this object.
    explicit Graphics(const Song& plan) : song(plan), scenes(PlanScenes(plan)) {}

    Pack Next()
    {
        while (nextScene < scenes.size() && scenes[nextScene].start <= now) {
            queue.Clear();
            StageScene(queue, song, scenes[nextScene++]);
        }
        return queue.Next(now++);
    }

    const PackQueue& Queue() const { return queue; }

private:
    const Song& song;
    std::vector<Scene> scenes;
    size_t nextScene = 0;
    PackQueue queue;
    int now = 0;
};

} // namespace nvtool::sample
