// A person before a screen, for tests of windows: does to windows what hands do, and looks at what is shown, by roads
// of their own and not through the library where the system has one. One thread.
#pragma once

#include "Dib.h"
#include "Window.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

class Seat {
public:
    virtual ~Seat() = default;
    /// Puts the pointer at a point of a window's client area, which may lie outside of it.
    virtual void PointAt(const CWnd& window, CPoint at) = 0;
    /// VK_LBUTTON, VK_MBUTTON or VK_RBUTTON.
    virtual void Button(int button, bool down) = 0;
    /// Positive is away from the person.
    virtual void Wheel(int notches) = 0;
    /// A letter (as its capital), a digit, or a VK_ code.
    virtual void Key(int key, bool down) = 0;
    /// Changes a window's client size from outside, and asks it to close, as its frame does.
    virtual void Resize(CWnd& top, CSize size) = 0;
    virtual void Close(CWnd& top) = 0;
    /// What the client area of a window shows now; 32 bits.
    virtual CDib Look(const CWnd& window) = 0;

    void Click(const CWnd& window, CPoint at, int button = VK_LBUTTON)
    {
        PointAt(window, at);
        Button(button, true);
        Button(button, false);
    }
    void Type(int key)
    {
        Key(key, true);
        Key(key, false);
    }
};

/// What seats there may be in this build: "offscreen", and "x11" or "user32".
std::vector<std::string> SeatNames();
/// Chooses windows of this kind and sits down before them; null, and why, when that is not possible here.
std::unique_ptr<Seat> TakeSeat(const std::string& name, std::string& whyNot);
/// The one of this system's display.
extern const char* const displaySeatName;
std::unique_ptr<Seat> TakeDisplaySeat(std::string& whyNot);

/// Handles messages until something is so; false when it does not become so within some seconds.
inline bool Until(const std::function<bool()>& so)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (;;) {
        NV::HandleWaitingMessages();
        if (so())
            return true;
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}
