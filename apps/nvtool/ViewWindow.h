// The window of 'nvtool view': overview and chart of the sound, and the graphics at the pointer beside them. While it
// plays, both follow what is heard. One thread.
#pragma once

#include "Picture.h"
#include "ViewPlayer.h"
#include "WaveFileWnd.h"

#include <functional>
#include <memory>
#include <string>

namespace nvtool {

// Shows a picture, enlarged by the largest whole number that there is room for, in the middle.
class PictureWnd : public CWnd {
public:
    void Show(const Picture& picture);

protected:
    void OnPaint();
    BOOL OnEraseBkgnd(CDC* dc);
    DECLARE_MESSAGE_MAP()

private:
    void Draw(const CRect& client);
    std::unique_ptr<Picture> picture;
    CDib shown;
    bool shownValid = false;
};

class ViewWindow : public CWnd {
public:
    // Besides the codes of the chart's notifications.
    enum : int { toldPlaying = 100, toldHeard, toldStopped };
    // `pictureAt` draws the graphics at a time in seconds; empty: there are none, and no room for them. `told` gets
    // each of the chart's notifications, and that playing began, went on to the pointer, and ended.
    using PictureAt = std::function<Picture(double seconds)>;
    using Told = std::function<void(int code, const CWaveFileChartWnd& chart)>;
    ViewWindow(std::string title, PictureAt pictureAt, Told told);
    ~ViewWindow() override;

    // False when the system gives no window.
    bool Open(int width, int height);
    // Shows the sound, which outlives this window; `seconds` is where the pointer stands.
    void SetSound(CSoundFile& sound, i64 density, double seconds);
    // What the same sound is played with.
    void SetPlayer(std::unique_ptr<ViewPlayer> newPlayer) { player = std::move(newPlayer); }

protected:
    int OnCreate(LPCREATESTRUCT how);
    void OnSize(UINT type, int width, int height);
    void OnSetFocus(CWnd* old);
    void OnTimer(UINT_PTR id);
    void OnDestroy();
    BOOL OnEraseBkgnd(CDC* dc);
    LRESULT OnWaveMessage(WPARAM code, LPARAM unused);
    LRESULT OnPlayMessage(WPARAM unused, LPARAM alsoUnused);
    DECLARE_MESSAGE_MAP()

private:
    CRect PictureRect(CRect client) const;
    void FollowPointer();
    void FollowSound();
    void Tell(int code);

    std::string title;
    PictureAt pictureAt;
    Told told;
    std::unique_ptr<CWaveFileWnd> waves;
    PictureWnd graphics;
    std::unique_ptr<ViewPlayer> player;
    bool playing = false;
    i64 seekTo = -1; // where the person has put the pointer since the last look at what is heard
};

} // namespace nvtool
