// A screen that nobody sees: windows at the top get the size that was asked for and keep what they show to themselves.
// What a person does comes from WindowTree::Happened.
#include "WindowTree.h"

#include <condition_variable>
#include <mutex>

namespace NV {

namespace {

class OffScreen : public IScreen {
public:
    bool Open(HWND, HWND, RECT&, bool) override { return true; }
    void Close(HWND) override {}
    void Show(HWND, bool) override {}
    void Place(HWND, const RECT&) override {}
    void SetTitle(HWND, const char*) override {}
    void Focus(HWND) override {}
    void SetCursor(HWND, HCURSOR) override {}
    void Present(HWND, const Surface&, const RECT&) override {}
    void Collect(std::deque<Input>&) override {}

    void Wait(int milliseconds) override
    {
        std::unique_lock held(lock);
        if (milliseconds < 0)
            changed.wait(held, [this] { return woken; });
        else
            changed.wait_for(held, std::chrono::milliseconds(milliseconds), [this] { return woken; });
        woken = false;
    }

    void Wake() override
    {
        {
            const std::lock_guard held(lock);
            woken = true;
        }
        changed.notify_one();
    }

private:
    std::mutex lock;
    std::condition_variable changed;
    bool woken = false;
};

} // namespace

std::unique_ptr<IWindowSystem> MakeOffScreenWindows()
{
    return std::make_unique<WindowTree>(std::make_unique<OffScreen>());
}

} // namespace NV
