// One pack leaves every 1/300 s, and that is all the room there is. What has its moment (highlights, fades, scrolls)
// goes first; drawing fills the room between; where there is nothing to send an empty pack goes. Times are packs.
#pragma once

#include "Packs.h"

#include <algorithm>
#include <deque>

namespace nvtool::sample {

class PackQueue {
public:
    // To be sent in this order, as soon as there is room.
    void Draw(const Pack& pack) { drawing.push_back(pack); }

    // To be sent at `due`, or right after what was due before. Calls with the same `due` keep their order.
    void At(int due, const Pack& pack)
    {
        const auto after =
            std::upper_bound(timed.begin(), timed.end(), due, [](int time, const Timed& t) { return time < t.due; });
        timed.insert(after, {due, pack});
    }

    // When the last of what is drawn so far will have been sent, if nothing else comes between.
    int DrawnBy(int now) const { return now + static_cast<int>(drawing.size()); }

    // Forgets what was not sent; a scene that is over is not drawn to its end.
    void Clear()
    {
        unsent += static_cast<int>(drawing.size() + timed.size());
        drawing.clear();
        timed.clear();
    }

    Pack Next(int now)
    {
        Pack pack{};
        if (!timed.empty() && timed.front().due <= now) {
            worstDelay = std::max(worstDelay, now - timed.front().due);
            pack = timed.front().pack;
            timed.pop_front();
        } else if (!drawing.empty()) {
            pack = drawing.front();
            drawing.pop_front();
        }
        return pack;
    }

    // How good the timing was: packs by which the latest came late, and packs that were never sent.
    int WorstDelay() const { return worstDelay; }
    int Unsent() const { return unsent; }

private:
    struct Timed {
        int due;
        Pack pack;
    };

    std::deque<Pack> drawing;
    std::deque<Timed> timed; // by due
    int worstDelay = 0, unsent = 0;
};

} // namespace nvtool::sample
