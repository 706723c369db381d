// The window of 'nvtool view': overview and chart of the sound, and the graphics at the pointer beside them. One
// thread.
#pragma once

#include "Picture.h"
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
    // `pictureAt` draws the graphics at a time in seconds; empty: there are none, and no room for them. Called with a
    // code of the chart's notifications, `told` gets each of them.
    using PictureAt = std::function<Picture(double seconds)>;
    using Told = std::function<void(int code, const CWaveFileChartWnd& chart)>;
    ViewWindow(std::string title, PictureAt pictureAt, Told told);
    ~ViewWindow() override;

    // False when the system gives no window.
    bool Open(int width, int height);
    // Shows the sound, which outlives this window; `seconds` is where the pointer stands.
    void SetSound(CSoundFile& sound, i64 density, double seconds);

protected:
    int OnCreate(LPCREATESTRUCT how);
    void OnSize(UINT type, int width, int height);
    void OnSetFocus(CWnd* old);
    void OnDestroy();
    BOOL OnEraseBkgnd(CDC* dc);
    LRESULT OnWaveMessage(WPARAM code, LPARAM unused);
    DECLARE_MESSAGE_MAP()

private:
    CRect PictureRect(CRect client) const;
    void FollowPointer();

    std::string title;
    PictureAt pictureAt;
    Told told;
    std::unique_ptr<CWaveFileWnd> waves;
    PictureWnd graphics;
};

} // namespace nvtool
