// The tree of windows under random doings: what it shows against plain painting from the bottom up, and its own
// soundness while windows do things to each other in the middle of their messages. Off-screen, so on every system.
#include "platform/WindowTree.h"
#include "platform/RectTools.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <random>

namespace {

constexpr const char* className = "NVLibTreeTest";
constexpr int width = 90, height = 70;

struct Node {
    u32 colour;
    RECT place;
    bool visible;
    HWND parent;
};

/// One run: the tree, what should be in it, and the dice.
struct Scene {
    std::unique_ptr<NV::IWindowSystem> system = NV::MakeOffScreenWindows();
    std::map<HWND, Node> nodes;
    std::mt19937 random;
    bool meddles = false; // windows do things while they are told things
    int depth = 0, deaths = 0;

    int Pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); }
    RECT PickRect() { return NV::RectAt({Pick(-30, width), Pick(-30, height)}, Pick(0, width), Pick(0, height)); }
    HWND PickWindow()
    {
        if (nodes.empty())
            return nullptr;
        return std::next(nodes.begin(), Pick(0, static_cast<int>(nodes.size()) - 1))->first;
    }
};

Scene* run = nullptr;

void PaintIn(HWND window, u32 colour)
{
    PAINTSTRUCT paint;
    const HDC context = run->system->BeginPaint(window, paint);
    std::vector<u32> row(static_cast<std::size_t>(width), colour);
    const NV::PixelRows picture{reinterpret_cast<u8*>(row.data()), width, 1, 32, nullptr};
    for (int y = 0; y < height; ++y)
        run->system->ShowPixels(context, {0, y}, picture, {0, 0, width, 1});
    run->system->EndPaint(window, paint);
}

void DoSomething();

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (run->meddles && run->depth < 6 && run->Pick(0, 3) == 0) {
        ++run->depth;
        DoSomething();
        --run->depth;
    }
    if (message == WM_NCDESTROY) {
        run->nodes.erase(window);
        ++run->deaths;
    }
    if (message == WM_PAINT) {
        const auto node = run->nodes.find(window);
        PaintIn(window, node == run->nodes.end() ? 0 : node->second.colour);
        return 0;
    }
    if (message == WM_CREATE && run->meddles && run->Pick(0, 9) == 0)
        return -1;
    return run->system->Default(window, message, wParam, lParam);
}

HWND Make(HWND parent, const RECT& place, bool visible)
{
    CREATESTRUCTA how{};
    how.lpszClass = className;
    how.hInstance = NV::ModuleInstance();
    how.hwndParent = parent;
    how.style = static_cast<LONG>((parent ? DWORD(WS_CHILD) : DWORD(WS_POPUP)) | (visible ? DWORD(WS_VISIBLE) : 0));
    how.x = place.left;
    how.y = place.top;
    how.cx = NV::Width(place);
    how.cy = NV::Height(place);
    const HWND made = run->system->Create(how, Procedure);
    if (made)
        run->nodes[made] = {static_cast<u32>(run->random()) & 0xFFFFFF, place, visible, parent};
    return made;
}

/// Anything to any window, the ones in the middle of something included.
void DoSomething()
{
    NV::IWindowSystem& system = *run->system;
    const HWND window = run->PickWindow();
    const bool top = window && !run->nodes[window].parent;
    switch (run->Pick(0, run->meddles ? 13 : 6)) {
    case 0:
    case 1:
        if (run->nodes.size() < 12)
            Make(window, run->PickRect(), run->Pick(0, 3) > 0);
        break;
    case 2:
        if (!top || run->meddles)
            system.Destroy(window);
        break;
    case 3: {
        if (top && !run->meddles)
            break;
        const RECT place = run->PickRect();
        if (window)
            run->nodes[window].place = place;
        system.Move(window, place, true);
        break;
    }
    case 4: {
        const bool show = top || run->Pick(0, 1);
        if (window)
            run->nodes[window].visible = show;
        system.Show(window, show ? SW_SHOW : SW_HIDE);
        break;
    }
    case 5:
        if (window)
            run->nodes[window].colour = static_cast<u32>(run->random()) & 0xFFFFFF;
        system.Invalidate(window, nullptr, true);
        break;
    case 6:
        system.Update(window);
        break;
    case 7:
        system.SetFocus(window);
        break;
    case 8:
        system.SetCapture(window);
        break;
    case 9:
        system.Enable(window, run->Pick(0, 1));
        break;
    case 10:
        system.Post(window, WM_USER, 1, 2);
        break;
    case 11:
        system.SetTimer(window, 1, 10);
        break;
    case 12:
        system.Send(window, WM_CLOSE, 0, 0);
        break;
    default: {
        HWND hit = window; // what a person does, does it to a window at the top
        while (hit && run->nodes[hit].parent)
            hit = run->nodes[hit].parent;
        const auto kind = static_cast<NV::Input::Kind>(run->Pick(0, NV::Input::focusOut));
        const bool button = kind == NV::Input::press || kind == NV::Input::release;
        static_cast<NV::WindowTree&>(system).Happened({kind,
                                                       hit,
                                                       {run->Pick(-5, width), run->Pick(-5, height)},
                                                       button ? VK_LBUTTON : run->Pick(0, 255),
                                                       'x',
                                                       run->Pick(-1, 15),
                                                       run->PickRect()});
    }
    }
}

void HandleAll()
{
    MSG message;
    for (int i = 0; i < 10'000 && run->system->Next(message, false); ++i)
        run->system->Dispatch(message);
    ASSERT_FALSE(run->system->Next(message, false) && !run->meddles) << "it never comes to rest";
}

/// Later ones lie beneath earlier ones.
void PaintPlainly(HWND window, POINT corner, RECT clip, std::vector<u32>& picture)
{
    const Node& node = run->nodes[window];
    if (!node.visible)
        return;
    const RECT place = NV::RectAt(corner, NV::Width(node.place), NV::Height(node.place));
    clip = NV::Common(clip, place);
    for (int y = clip.top; y < clip.bottom; ++y) {
        for (int x = clip.left; x < clip.right; ++x)
            picture[static_cast<std::size_t>(y * width + x)] = node.colour;
    }
    std::vector<HWND> children;
    for (const auto& [each, of] : run->nodes) {
        if (of.parent == window)
            children.push_back(each); // handles count upwards, so this is the order in which they were made
    }
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
        const RECT& inner = run->nodes[*child].place;
        PaintPlainly(*child, {corner.x + inner.left, corner.y + inner.top}, clip, picture);
    }
}

class WindowTree : public testing::Test {
protected:
    Scene own;
    void SetUp() override
    {
        run = &own;
        WNDCLASS windowClass{};
        windowClass.lpfnWndProc = ::DefWindowProc;
        windowClass.hInstance = NV::ModuleInstance();
        windowClass.lpszClassName = className;
        RegisterClass(&windowClass);
    }
};

} // namespace

TEST_F(WindowTree, ShowsWhatPlainPaintingShows)
{
    for (unsigned seed = 0; seed < 30; ++seed) {
        SCOPED_TRACE(seed);
        own.random.seed(seed);
        const HWND top = Make(nullptr, {5, 5, 5 + width, 5 + height}, true);
        for (int step = 0; step < 60; ++step) {
            do
                DoSomething();
            while (own.Pick(0, 2));
            HandleAll();
            std::vector<u32> wanted(static_cast<std::size_t>(width * height)), seen(wanted.size());
            PaintPlainly(top, {0, 0}, {0, 0, width, height}, wanted);
            ASSERT_TRUE(own.system->ReadPixels(top, {reinterpret_cast<u8*>(seen.data()), width, height, 32, nullptr}));
            for (int y = 0; y < height; ++y) { // rows are read bottom-up
                const u32* const row = seen.data() + static_cast<std::size_t>((height - 1 - y) * width);
                ASSERT_TRUE(std::equal(row, row + width, wanted.data() + static_cast<std::size_t>(y * width)))
                    << "row " << y << " after step " << step;
            }
        }
        own.system->Destroy(top);
        ASSERT_TRUE(own.nodes.empty() && !own.system->AnyWindow());
    }
}

TEST_F(WindowTree, StandsWindowsThatMeddle)
{
    own.meddles = true;
    for (unsigned seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        own.random.seed(seed);
        Make(nullptr, {0, 0, width, height}, true);
        for (int step = 0; step < 100; ++step) {
            DoSomething();
            MSG message;
            if (own.system->Next(message, false))
                own.system->Dispatch(message);
            for (const HWND each : {own.system->GetFocus(), own.system->GetCapture()})
                ASSERT_TRUE(!each || own.system->IsWindow(each));
        }
        own.meddles = false;
        while (!own.nodes.empty() && own.system->Destroy(own.PickWindow())) {
        }
        ASSERT_TRUE(own.nodes.empty());
        HandleAll();
        EXPECT_FALSE(own.system->AnyWindow());
        own.meddles = true;
    }
    EXPECT_GT(own.deaths, 1000);
}
