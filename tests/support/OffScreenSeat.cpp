// The seat before windows that nobody sees: see Seat.h.
#include "Seat.h"
#include "platform/WindowTree.h"

namespace {

class OffScreenSeat : public Seat {
public:
    void PointAt(const CWnd& window, CPoint at) override
    {
        under = TopOf(window);
        window.ClientToScreen(&at);
        under->ScreenToClient(&at);
        point = at;
        Do(NV::Input::pointer, 0);
    }
    void Button(int button, bool down) override { Do(down ? NV::Input::press : NV::Input::release, button); }
    void Wheel(int notches) override
    {
        for (int i = 0; i < std::abs(notches); ++i)
            Do(NV::Input::wheel, notches > 0 ? WHEEL_DELTA : -WHEEL_DELTA);
    }
    void Key(int key, bool down) override
    {
        const bool printed = key == VK_SPACE || (key >= '0' && key <= 'Z');
        const CWnd* const window = CWnd::GetFocus() ? CWnd::GetFocus() : under;
        const char character = static_cast<char>(key >= 'A' ? key - 'A' + 'a' : key);
        Tree().Happened({down ? NV::Input::keyDown : NV::Input::keyUp,
                         TopOf(*window)->m_hWnd,
                         {},
                         key,
                         printed ? character : char(0),
                         -1,
                         {}});
    }
    void Resize(CWnd& top, CSize size) override
    {
        CRect place;
        top.GetWindowRect(place);
        Tree().Happened({NV::Input::placed, top.m_hWnd, {}, 0, 0, -1, CRect(place.TopLeft(), size)});
    }
    void Close(CWnd& top) override { Tree().Happened({NV::Input::close, top.m_hWnd, {}, 0, 0, -1, {}}); }
    CDib Look(const CWnd& window) override
    {
        CDib seen;
        seen.CopyWindow(window);
        return seen;
    }

private:
    static NV::WindowTree& Tree() { return static_cast<NV::WindowTree&>(NV::WindowSystem()); }
    static const CWnd* TopOf(const CWnd& window)
    {
        const CWnd* at = &window;
        while (at->GetStyle() & WS_CHILD)
            at = at->GetParent();
        return at;
    }
    void Do(NV::Input::Kind kind, int what) { Tree().Happened({kind, under->m_hWnd, point, what, 0, -1, {}}); }

    const CWnd* under = nullptr;
    CPoint point;
};

} // namespace

std::vector<std::string> SeatNames()
{
    return {"offscreen", displaySeatName};
}

std::unique_ptr<Seat> TakeSeat(const std::string& name, std::string& whyNot)
{
    if (name != "offscreen")
        return TakeDisplaySeat(whyNot);
    if (!NV::ChooseWindows(NV::WindowKind::offScreen)) {
        whyNot = "windows of another kind stand";
        return nullptr;
    }
    return std::make_unique<OffScreenSeat>();
}
