// The dialog in which one of several matches is picked, off-screen, and when it is shown at all.
#include "net/FreeDBSelectCDDialog.h"
#include "support/Seat.h"

#include <gtest/gtest.h>

namespace {

std::vector<CCDDBQueryResult> Matches(int count)
{
    std::vector<CCDDBQueryResult> matches(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        CCDDBQueryResult& match = matches[static_cast<std::size_t>(i)];
        match.category = "rock";
        match.artist = "Artist";
        match.title.Format("Title %d", i);
    }
    return matches;
}

class SelectCDDialog : public testing::Test {
protected:
    SelectCDDialog() { NV::ChooseWindows(NV::WindowKind::offScreen); }

    struct Outcome {
        int result, selection;
        bool operator==(const Outcome&) const = default;
    };
    /// Shows it with these messages waiting.
    static Outcome Show(int count, const std::function<void(CFreeDBSelectCDDialog&)>& post)
    {
        const std::vector<CCDDBQueryResult> matches = Matches(count);
        CFreeDBSelectCDDialog dialog(matches);
        EXPECT_TRUE(dialog.CreateOver(nullptr));
        post(dialog);
        const int result = dialog.DoModal(nullptr);
        EXPECT_EQ(dialog.m_hWnd, nullptr);
        return {result, dialog.GetSelection()};
    }
    static void Press(CFreeDBSelectCDDialog& dialog, CPoint at, UINT message = WM_LBUTTONDOWN)
    {
        dialog.PostMessage(message, MK_LBUTTON, MAKELPARAM(at.x, at.y));
    }
};

TEST_F(SelectCDDialog, KeysChooseAndEnd)
{
    struct Case {
        const char* name;
        int count;
        std::vector<int> keys;
        Outcome wanted;
    };
    const Case cases[] = {
        {"the first one to begin with", 3, {VK_RETURN}, {IDOK, 0}},
        {"down and up", 3, {VK_DOWN, VK_DOWN, VK_UP, VK_RETURN}, {IDOK, 1}},
        {"not past the ends", 2, {VK_UP, VK_DOWN, VK_DOWN, VK_DOWN, VK_RETURN}, {IDOK, 1}},
        {"a page of a long list", 40, {VK_NEXT, VK_RETURN}, {IDOK, CFreeDBSelectCDDialog::maxRows}},
        {"to the end and a page back", 40, {VK_END, VK_PRIOR, VK_RETURN}, {IDOK, 27}},
        {"home", 40, {VK_END, VK_HOME, VK_RETURN}, {IDOK, 0}},
        {"given up", 3, {VK_DOWN, VK_ESCAPE}, {IDCANCEL, 1}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Show(c.count,
                       [&](CFreeDBSelectCDDialog& dialog) {
                           for (const int key : c.keys)
                               dialog.PostMessage(WM_KEYDOWN, static_cast<WPARAM>(key), 1);
                       }),
                  c.wanted);
    }
}

TEST_F(SelectCDDialog, ThePointerChoosesAndEnds)
{
    using Dialog = CFreeDBSelectCDDialog;
    struct Case {
        const char* name;
        std::function<void(Dialog&)> post;
        Outcome wanted;
    };
    const Case cases[] = {
        {"a click and OK",
         [](Dialog& d) {
             Press(d, d.RowRect(2).TopLeft());
             Press(d, d.OkRect().TopLeft());
         },
         {IDOK, 2}},
        {"a click and Cancel",
         [](Dialog& d) {
             Press(d, d.RowRect(2).TopLeft());
             Press(d, d.CancelRect().BottomRight() - CSize(1, 1));
         },
         {IDCANCEL, 2}},
        {"a double click on a row", [](Dialog& d) { Press(d, d.RowRect(1).TopLeft(), WM_LBUTTONDBLCLK); }, {IDOK, 1}},
        {"one on no row decides nothing",
         [](Dialog& d) {
             Press(d, CPoint(1, 1), WM_LBUTTONDBLCLK);
             d.PostMessage(WM_KEYDOWN, VK_DOWN, 1);
             d.PostMessage(WM_CLOSE);
         },
         {IDCANCEL, 1}},
        {"a click where the list was moved to, and the wheel",
         [](Dialog& d) {
             const CPoint last = d.RowRect(Dialog::maxRows - 1).TopLeft();
             d.PostMessage(WM_KEYDOWN, VK_END, 1);
             d.PostMessage(WM_KEYDOWN, VK_HOME, 1);
             d.PostMessage(WM_KEYDOWN, VK_END, 1);
             d.PostMessage(WM_MOUSEWHEEL, static_cast<WPARAM>(WHEEL_DELTA) << 16, 0);
             d.PostMessage(WM_MOUSEWHEEL, static_cast<WPARAM>(WHEEL_DELTA) << 16, 0);
             Press(d, last);
             d.PostMessage(WM_MOUSEWHEEL, static_cast<WPARAM>(WHEEL_DELTA) << 16, 0);
             d.PostMessage(WM_KEYDOWN, VK_RETURN, 1);
         },
         {IDOK, 38}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Show(40, c.post), c.wanted);
    }
}

TEST_F(SelectCDDialog, ShowsTheMatches)
{
    std::vector<CCDDBQueryResult> matches = Matches(30);
    matches[0].artist = "Bj\xF6rk"; // Latin-1
    matches[1].title = CString('x', 300);
    matches[1].category = "soundtracks and more";
    EXPECT_EQ(CFreeDBSelectCDDialog::TitleOf(matches[0]), "Bjork / Title 0");
    EXPECT_EQ(CFreeDBSelectCDDialog::CategoryOf(matches[1]), "soundtrac..");
    CFreeDBSelectCDDialog dialog(matches);
    ASSERT_TRUE(dialog.CreateOver(nullptr));
    CRect client;
    dialog.GetClientRect(client);
    EXPECT_TRUE(client.PtInRect(dialog.CancelRect().BottomRight())); // all of it is there
    EXPECT_LE(dialog.RowRect(CFreeDBSelectCDDialog::maxRows - 1).bottom, dialog.OkRect().top);

    const auto look = [&] {
        dialog.UpdateWindow();
        CDib seen;
        EXPECT_TRUE(seen.CopyWindow(dialog));
        return seen;
    };
    const auto dark = [](const CDib& picture, const CRect& in) {
        int count = 0;
        for (int y = in.top; y < in.bottom; ++y)
            for (int x = in.left; x < in.right; ++x)
                count += GetRValue(picture.GetPixelColor(x, y)) < 0x40;
        return count;
    };
    const CRect second = dialog.RowRect(1);
    const CDib before = look();
    EXPECT_GT(dark(before, dialog.RowRect(0)), 500) << "letters";
    EXPECT_GT(dark(before, second), dark(before, dialog.RowRect(0)));
    const CRect beside(second.right - 8, second.top, second.right, second.bottom);
    EXPECT_EQ(dark(before, beside), 0) << "a long title ends in its row";
    const COLORREF plain = before.GetPixelColor(second.left + 1, second.top + 1);
    dialog.SendMessage(WM_KEYDOWN, VK_DOWN, 1);
    const CDib after = look();
    EXPECT_EQ(after.GetPixelColor(second.left + 1, dialog.RowRect(0).top + 1), plain);
    EXPECT_NE(after.GetPixelColor(second.left + 1, second.top + 1), plain);
}

/// A program's window whose user chooses the second match as soon as the dialog is there.
class MainWindow : public CWnd {
public:
    bool Make()
    {
        WNDCLASS windowClass{};
        windowClass.lpfnWndProc = ::DefWindowProc;
        windowClass.hInstance = AfxGetInstanceHandle();
        windowClass.lpszClassName = "NVLibTestMain";
        return AfxRegisterClass(&windowClass) &&
               CreateEx(0, "NVLibTestMain", "", WS_POPUP | WS_VISIBLE, CRect(50, 50, 950, 650), nullptr, 0) &&
               SetTimer(1, 20, nullptr);
    }
    bool wasHeld = false;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        CWnd* const focus = message == WM_TIMER ? GetFocus() : nullptr;
        if (focus && focus != this) {
            KillTimer(1);
            wasHeld = !IsWindowEnabled();
            focus->PostMessage(WM_KEYDOWN, VK_DOWN, 1);
            focus->PostMessage(WM_KEYDOWN, VK_RETURN, 1);
        } else if (message == WM_TIMER && ++ticks > 500) {
            AfxPostQuitMessage(1); // so that a fault is a failure and no hang
        }
        return CWnd::WindowProc(message, wParam, lParam);
    }

private:
    int ticks = 0;
};

TEST_F(SelectCDDialog, AsksOnlyWhereSomebodyIsThere)
{
    const std::vector<CCDDBQueryResult> matches = Matches(3);
    std::string whyNot;
    EXPECT_EQ(AskForMatch(matches), 0) << "no window";
    {
        MainWindow unseen;
        ASSERT_TRUE(unseen.Make());
        EXPECT_EQ(AskForMatch(matches), 0) << "an off-screen window";
    }
    const std::unique_ptr<Seat> seat = TakeDisplaySeat(whyNot);
    if (!seat)
        GTEST_SKIP() << whyNot;
    MainWindow window;
    ASSERT_TRUE(window.Make());
    int elsewhere = -2;
    std::thread([&] { elsewhere = AskForMatch(matches); }).join();
    EXPECT_EQ(elsewhere, 0) << "a thread that has no window";
    EXPECT_EQ(AskForMatch(matches), 1) << "the user's choice";
    EXPECT_TRUE(window.wasHeld);
    EXPECT_TRUE(window.IsWindowEnabled());
}

} // namespace
