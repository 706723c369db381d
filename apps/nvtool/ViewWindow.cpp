// See ViewWindow.h.
#include "ViewWindow.h"

#include "Commands.h"
#include "DibDrawing.h"
#include "Interrupt.h"
#include "SoundFile.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace nvtool {

namespace {

constexpr char kViewClass[] = "NVToolView", kPictureClass[] = "NVToolPicture";
constexpr UINT kWavesId = 1, kGraphicsId = 2;
constexpr int kMargin = 12;
constexpr UINT kPlayMessage = WM_USER + 1; // the key for playing and stopping was pressed
constexpr UINT_PTR kPlayTimer = 1, kInterruptTimer = 2;
constexpr UINT kPlayMilliseconds = 30;
constexpr UINT kRepeated = 0x4000;       // of a key's flags: it was down already
constexpr UINT kInterruptInterval = 100; // milliseconds between two looks for Ctrl-C

void RegisterWindowClass(const char* name)
{
    WNDCLASS windowClass{};
    windowClass.lpfnWndProc = ::DefWindowProc;
    windowClass.hInstance = AfxGetInstanceHandle();
    windowClass.hCursor = ::LoadCursor(nullptr, IDC_ARROW);
    windowClass.lpszClassName = name;
    AfxRegisterClass(&windowClass);
}

// The chart has the keys; what it does not want may be for the window.
class ViewChart : public CWaveFileChartWnd {
protected:
    void OnKeyDown(UINT key, UINT repeats, UINT flags)
    {
        CWnd* const waves = GetParent();
        CWnd* const view = waves ? waves->GetParent() : nullptr;
        if (view && (key == VK_ESCAPE || key == 'Q'))
            view->PostMessage(WM_CLOSE);
        else if (view && key == VK_SPACE && !(flags & kRepeated))
            view->PostMessage(kPlayMessage);
        else
            CWaveFileChartWnd::OnKeyDown(key, repeats, flags);
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(ViewChart, CWaveFileChartWnd)
ON_WM_KEYDOWN()
END_MESSAGE_MAP()

class ViewWaves : public CWaveFileWnd {
protected:
    std::unique_ptr<CWaveFileChartWnd> CreateChart() override { return std::make_unique<ViewChart>(); }
};

} // namespace

// ---- The graphics ---------------------------------------------------------------------------------------------------

BEGIN_MESSAGE_MAP(PictureWnd, CWnd)
ON_WM_PAINT()
ON_WM_ERASEBKGND()
END_MESSAGE_MAP()

void PictureWnd::Show(const Picture& newPicture)
{
    picture = std::make_unique<Picture>(newPicture);
    shownValid = false;
    Invalidate(FALSE);
}

BOOL PictureWnd::OnEraseBkgnd(CDC*)
{
    return TRUE;
}

void PictureWnd::OnPaint()
{
    CPaintDC dc(this);
    CRect client;
    GetClientRect(client);
    if (client.IsRectEmpty())
        return;
    if (shown.GetWidth() != client.Width() || shown.GetHeight() != client.Height())
        shownValid = false;
    if (!shownValid)
        Draw(client);
    shown.Show(dc, shown.GetRect(), CPoint(0, 0));
}

void PictureWnd::Draw(const CRect& client)
{
    if (!shown.Create(client.Width(), client.Height(), 32))
        return;
    shownValid = true;
    CDibDrawing drawing(shown);
    drawing.Fill(shown.GetRect(), CWaveFileChartWnd::c_clrBackground);
    if (!picture)
        return;
    const int scale = std::max(1, std::min((client.Width() - 2 * kMargin) / picture->Width(),
                                           (client.Height() - 2 * kMargin) / picture->Height()));
    const CPoint at((client.Width() - scale * picture->Width()) / 2, (client.Height() - scale * picture->Height()) / 2);
    for (int y = 0; y < picture->Height(); ++y) {
        // Runs of one colour, enlarged.
        for (int x = 0, end = 0; x < picture->Width(); x = end) {
            const u8* const pixel = picture->At(x, y);
            for (end = x + 1; end < picture->Width() && std::memcmp(picture->At(end, y), pixel, 3) == 0; ++end) {
            }
            drawing.Fill(CRect(at.x + x * scale, at.y + y * scale, at.x + end * scale, at.y + (y + 1) * scale),
                         RGB(pixel[0], pixel[1], pixel[2]));
        }
    }
}

// ---- The window -----------------------------------------------------------------------------------------------------

BEGIN_MESSAGE_MAP(ViewWindow, CWnd)
ON_WM_CREATE()
ON_WM_SIZE()
ON_WM_SETFOCUS()
ON_WM_DESTROY()
ON_WM_ERASEBKGND()
ON_WM_TIMER()
ON_MESSAGE(CWaveFileChartWnd::notifyMessage, &ViewWindow::OnWaveMessage)
ON_MESSAGE(kPlayMessage, &ViewWindow::OnPlayMessage)
END_MESSAGE_MAP()

ViewWindow::ViewWindow(std::string name, PictureAt draw, Told tell)
    : title(std::move(name)), pictureAt(std::move(draw)), told(std::move(tell)), waves(std::make_unique<ViewWaves>())
{
}

ViewWindow::~ViewWindow()
{
    DestroyWindow();
}

bool ViewWindow::Open(int width, int height)
{
    RegisterWindowClass(kViewClass);
    RegisterWindowClass(kPictureClass);
    return CreateEx(0, kViewClass, title.c_str(), WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN | WS_VISIBLE, CW_USEDEFAULT,
                    CW_USEDEFAULT, width, height, nullptr, nullptr);
}

int ViewWindow::OnCreate(LPCREATESTRUCT how)
{
    if (CWnd::OnCreate(how) == -1 || !waves->Create(CRect(0, 0, 1, 1), this, kWavesId))
        return -1;
    if (pictureAt && !graphics.Create(kPictureClass, "", WS_CHILD | WS_VISIBLE, CRect(0, 0, 1, 1), this, kGraphicsId))
        return -1;
    SetTimer(kInterruptTimer, kInterruptInterval, nullptr);
    return 0;
}

CRect ViewWindow::PictureRect(CRect client) const
{
    // As large as it fits into the height and three fifths of the width; the rest is the sound's.
    const int widest = client.right * 3 / 5 - 2 * kMargin, highest = client.bottom - 2 * kMargin;
    const int scale = std::max(1, std::min(widest / Emulator::screenWidth, highest / Emulator::screenHeight));
    const int width = scale * Emulator::screenWidth + 2 * kMargin;
    client.left = pictureAt ? std::max<int>(client.right - width, client.right / 3) : static_cast<int>(client.right);
    return client;
}

void ViewWindow::OnSize(UINT type, int width, int height)
{
    CWnd::OnSize(type, width, height);
    const CRect client(0, 0, width, height), right = PictureRect(client);
    if (waves->GetSafeHwnd())
        waves->MoveWindow(CRect(0, 0, right.left, height));
    if (graphics.GetSafeHwnd())
        graphics.MoveWindow(right);
}

void ViewWindow::OnSetFocus(CWnd*)
{
    if (waves->GetSafeHwnd())
        waves->SetFocus();
}

BOOL ViewWindow::OnEraseBkgnd(CDC*)
{
    return TRUE; // the windows in it cover all of it
}

void ViewWindow::OnDestroy()
{
    CWnd::OnDestroy();
    AfxPostQuitMessage(0);
}

void ViewWindow::SetSound(CSoundFile& sound, i64 density, double seconds)
{
    waves->SetSoundFile(&sound);
    waves->GetChart()->SetDensity(density);
    waves->GetChart()->SetPointerPos(sound.TimeToSample(seconds), true);
    waves->SetFocus();
    FollowPointer();
}

LRESULT ViewWindow::OnWaveMessage(WPARAM code, LPARAM)
{
    if (!waves->GetChart())
        return 0;
    if (code == CWaveFileChartWnd::notifyPointer) {
        seekTo = playing ? waves->GetChart()->GetPointerPos() : -1;
        FollowPointer();
    }
    Tell(static_cast<int>(code));
    return 0;
}

void ViewWindow::Tell(int code)
{
    if (told)
        told(code, *waves->GetChart());
}

// ---- Playing

LRESULT ViewWindow::OnPlayMessage(WPARAM, LPARAM)
{
    CWaveFileChartWnd* const chart = waves->GetChart();
    if (!player || !chart || !chart->GetSoundFile())
        return 0;
    if (playing) {
        player->Stop();
        FollowSound();
        return 0;
    }
    if (chart->GetPointerPos() + 1 >= chart->GetSoundFile()->GetLength())
        chart->SetPointerPos(0, true);
    if (!player->Play(chart->GetPointerPos()))
        return 0;
    playing = true;
    seekTo = -1;
    SetTimer(kPlayTimer, kPlayMilliseconds, nullptr);
    Tell(toldPlaying);
    return 0;
}

void ViewWindow::OnTimer(UINT_PTR id)
{
    if (id == kInterruptTimer && IsInterrupted())
        DestroyWindow();
    else if (id == kPlayTimer && playing)
        FollowSound();
    else
        CWnd::OnTimer(id);
}

// The person's hand on the pointer comes first: what is heard goes there.
void ViewWindow::FollowSound()
{
    if (seekTo >= 0)
        player->Seek(std::exchange(seekTo, -1));
    playing = player->IsPlaying();
    if (!playing)
        KillTimer(kPlayTimer);
    waves->GetChart()->SetPointerPos(player->GetPosition(), true);
    FollowPointer();
    Tell(playing ? toldHeard : toldStopped);
}

// The picture follows at once, not when the queue has nothing else: that is what dragging is for.
void ViewWindow::FollowPointer()
{
    const CSoundFile* const sound = waves->GetSoundFile();
    const double seconds = sound ? sound->SampleToTime(waves->GetChart()->GetPointerPos()) : 0;
    SetWindowText((TimeText(seconds) + "  " + title).c_str());
    if (!pictureAt)
        return;
    graphics.Show(pictureAt(seconds));
    graphics.UpdateWindow();
}

} // namespace nvtool
