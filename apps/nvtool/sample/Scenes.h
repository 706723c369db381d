// What the sample track shows: a title page, pages of words that light up as they are sung, a landscape that rolls by
// while nobody sings, and an end page. Each function puts a whole scene into the queue. Times are packs.
#pragma once

#include "PackQueue.h"
#include "Song.h"

namespace nvtool::sample {

enum class SceneKind { Title, Words, Landscape, End };

struct Scene {
    SceneKind kind = SceneKind::Title;
    const Section* section = nullptr; // none for the title
    int start = 0, end = 0;
    bool rollsOff = false; // words that leave upwards, as the next scene leaves time for it
};

// The scenes of a song, in order, each with all the time that it has the screen.
std::vector<Scene> PlanScenes(const Song& song);

void StageScene(PackQueue& queue, const Song& song, const Scene& scene);

} // namespace nvtool::sample
