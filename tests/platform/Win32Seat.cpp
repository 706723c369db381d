// The seat before user32's windows: input by SendInput, as from the devices. See tests/support/Seat.h.
#include "support/Seat.h"

const char* const displaySeatName = "user32";

namespace {

class Win32Seat : public Seat {
public:
    void PointAt(const CWnd& window, CPoint at) override
    {
        window.ClientToScreen(&at);
        SetCursorPos(at.x, at.y);
        Mouse(MOUSEEVENTF_MOVE, 0); // has the message sent, also when it is there already
    }
    void Button(int button, bool down) override
    {
        const DWORD pressed = button == VK_LBUTTON   ? MOUSEEVENTF_LEFTDOWN
                              : button == VK_MBUTTON ? MOUSEEVENTF_MIDDLEDOWN
                                                     : MOUSEEVENTF_RIGHTDOWN;
        Mouse(down ? pressed : pressed << 1, 0);
    }
    void Wheel(int notches) override { Mouse(MOUSEEVENTF_WHEEL, static_cast<DWORD>(notches * WHEEL_DELTA)); }
    void Key(int key, bool down) override
    {
        INPUT input{};
        input.type = INPUT_KEYBOARD;
        input.ki.wVk = static_cast<WORD>(key);
        input.ki.wScan = static_cast<WORD>(MapVirtualKeyA(static_cast<UINT>(key), MAPVK_VK_TO_VSC));
        input.ki.dwFlags = down ? 0 : KEYEVENTF_KEYUP;
        SendInput(1, &input, sizeof input);
    }
    void Resize(CWnd& top, CSize size) override
    {
        CRect all(CPoint(0, 0), size);
        top.CalcWindowRect(all);
        SetWindowPos(top.m_hWnd, nullptr, 0, 0, all.Width(), all.Height(), SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    }
    void Close(CWnd& top) override { PostMessageA(top.m_hWnd, WM_SYSCOMMAND, SC_CLOSE, 0); }
    CDib Look(const CWnd& window) override
    {
        CDib seen;
        seen.CopyWindow(window); // reads the window's own context, which knows only what GDI put there
        return seen;
    }

private:
    static void Mouse(DWORD flags, DWORD data)
    {
        INPUT input{};
        input.type = INPUT_MOUSE;
        input.mi.dwFlags = flags;
        input.mi.mouseData = data;
        SendInput(1, &input, sizeof input);
    }
};

} // namespace

std::unique_ptr<Seat> TakeDisplaySeat(std::string& whyNot)
{
    if (!NV::ChooseWindows(NV::WindowKind::display)) {
        whyNot = "this session has no desktop";
        return nullptr;
    }
    return std::make_unique<Win32Seat>();
}
