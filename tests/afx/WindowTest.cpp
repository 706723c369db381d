// CWnd over everything that windows are made of: one contract, kept by user32, the X server and the off-screen tree
// alike. Hands and eyes are those of a Seat.
#include "DibDrawing.h"
#include "support/Seat.h"

#include <gtest/gtest.h>
#include <sstream>

namespace {

constexpr const char* plainClass = "NVLibTest";
constexpr const char* doubleClickClass = "NVLibTestDouble";
constexpr UINT told = WM_USER + 401;

template <class... T>
std::string Text(const T&... parts)
{
    std::ostringstream text;
    ((text << parts), ...);
    return text.str();
}

/// Writes down what it is told, under its name, in a list that all share; paints itself in one colour.
class Recorder : public CWnd {
public:
    std::string name;
    std::vector<std::string>* log;
    COLORREF colour = RGB(10, 20, 30);
    CRect painted; // by the last OnPaint
    int paints = 0, depth = 32;
    bool refusesToBe = false, throws = false, takesWheel = true, logsMoves = false;
    std::function<void()> onSize, onPress;

    Recorder(const char* itsName, std::vector<std::string>& sharedLog) : name(itsName), log(&sharedLog) {}
    /// A window of its own when there is no parent.
    bool Make(const CRect& rect, CWnd* parent = nullptr, UINT id = 0, DWORD style = WS_VISIBLE,
              const char* className = plainClass)
    {
        const DWORD clip = WS_CLIPCHILDREN | WS_CLIPSIBLINGS;
        return parent ? Create(className, "", style | clip, rect, parent, id)
                      : CreateEx(0, className, "", style | clip | WS_POPUP, rect, nullptr, 0);
    }
    void Note(const std::string& what) { log->push_back(name + " " + what); }

protected:
    int OnCreate(LPCREATESTRUCT how)
    {
        Note(Text("create ", how->cx, "x", how->cy));
        return refusesToBe ? -1 : CWnd::OnCreate(how);
    }
    void OnDestroy() { Note("destroy"); }
    void PostNcDestroy() override { Note(m_hWnd ? "gone?" : "gone"); }
    void OnSize(UINT, int width, int height)
    {
        Note(Text("size ", width, "x", height));
        if (onSize)
            onSize();
    }
    void OnPaint()
    {
        CPaintDC dc(this);
        painted = dc.m_ps.rcPaint;
        ++paints;
        CDib picture;
        CRect client;
        GetClientRect(client);
        if (!picture.Create(client.Width(), client.Height(), depth))
            return;
        if (depth == 8)
            picture.SetTableColor(1, colour);
        CDibDrawing(picture).Fill(picture.GetRect(), depth == 8 ? 1 : colour);
        EXPECT_TRUE(picture.Show(dc, picture.GetRect(), CPoint(0, 0)));
    }
    BOOL OnEraseBkgnd(CDC*) { return TRUE; }
    void OnSetFocus(CWnd* old) { Note(Text("focus from ", NameOf(old))); }
    void OnKillFocus(CWnd* next) { Note(Text("focus to ", NameOf(next))); }
    void OnKeyDown(UINT key, UINT, UINT) { Note(Text("key ", key, GetKeyState(VK_SHIFT) < 0 ? " shifted" : "")); }
    void OnKeyUp(UINT key, UINT, UINT) { Note(Text("key up ", key)); }
    void OnChar(UINT character, UINT, UINT) { Note(Text("char ", static_cast<char>(character))); }
    void OnMouseMove(UINT flags, CPoint at)
    {
        if (logsMoves)
            Note(Text("move ", flags, " ", at.x, ",", at.y));
    }
    void OnLButtonDown(UINT flags, CPoint at)
    {
        Note(Text("press ", flags, " ", at.x, ",", at.y));
        if (onPress)
            onPress();
    }
    void OnLButtonUp(UINT flags, CPoint at) { Note(Text("release ", flags, " ", at.x, ",", at.y)); }
    void OnLButtonDblClk(UINT flags, CPoint at) { Note(Text("double ", flags, " ", at.x, ",", at.y)); }
    void OnRButtonDown(UINT flags, CPoint at) { Note(Text("right ", flags, " ", at.x, ",", at.y)); }
    BOOL OnMouseWheel(UINT flags, short delta, CPoint at)
    {
        ScreenToClient(&at);
        Note(Text("wheel ", flags, " ", delta, " ", at.x, ",", at.y));
        return takesWheel;
    }
    void OnCaptureChanged(CWnd* next) { Note(Text("capture to ", NameOf(next))); }
    void OnTimer(UINT_PTR id) { Note(Text("timer ", id)); }
    LRESULT OnTold(WPARAM wParam, LPARAM lParam)
    {
        Note(Text("told ", wParam, " ", lParam));
        if (throws)
            AfxThrowFileException(CFileException::diskFull);
        return 4711;
    }
    DECLARE_MESSAGE_MAP()

private:
    static std::string NameOf(const CWnd* window)
    {
        const auto* const recorder = dynamic_cast<const Recorder*>(window);
        return recorder ? recorder->name : "nobody";
    }
};

BEGIN_MESSAGE_MAP(Recorder, CWnd)
ON_WM_CREATE()
ON_WM_DESTROY()
ON_WM_SIZE()
ON_WM_PAINT()
ON_WM_ERASEBKGND()
ON_WM_SETFOCUS()
ON_WM_KILLFOCUS()
ON_WM_KEYDOWN()
ON_WM_KEYUP()
ON_WM_CHAR()
ON_WM_MOUSEMOVE()
ON_WM_LBUTTONDOWN()
ON_WM_LBUTTONUP()
ON_WM_LBUTTONDBLCLK()
ON_WM_RBUTTONDOWN()
ON_WM_MOUSEWHEEL()
ON_WM_CAPTURECHANGED()
ON_WM_TIMER()
ON_MESSAGE(told, &Recorder::OnTold)
END_MESSAGE_MAP()

BOOL Register(const char* name, UINT style)
{
    WNDCLASS windowClass{};
    windowClass.style = style;
    windowClass.lpfnWndProc = ::DefWindowProc;
    windowClass.hInstance = AfxGetInstanceHandle();
    windowClass.hCursor = ::LoadCursor(nullptr, IDC_ARROW);
    windowClass.lpszClassName = name;
    return AfxRegisterClass(&windowClass);
}

using Log = std::vector<std::string>;

class Window : public testing::TestWithParam<std::string> {
protected:
    Log log;
    std::unique_ptr<Seat> seat;

    void SetUp() override
    {
        std::string whyNot;
        seat = TakeSeat(GetParam(), whyNot);
        if (!seat)
            GTEST_SKIP() << whyNot;
        ASSERT_TRUE(Register(plainClass, 0) && Register(doubleClickClass, CS_DBLCLKS));
    }
    /// Handles messages until this many lines are there, and takes them.
    Log Lines(std::size_t count)
    {
        EXPECT_TRUE(Until([&] { return log.size() >= count; }));
        return std::exchange(log, {});
    }
    /// Has everything that went before arrive: waits for a window to be painted, and to be before the person's eyes.
    void Settle(Recorder& window)
    {
        EXPECT_TRUE(Until([&] { return window.paints > 0 && Sees(window, CPoint(0, 0), window.colour); }));
        log.clear();
    }
    bool Sees(const CWnd& window, CPoint at, COLORREF colour)
    {
        const CDib seen = seat->Look(window);
        return seen.GetPixelColor(at.x, at.y) == colour;
    }
};

const auto Named = [](const auto& info) { return info.param; };

} // namespace

TEST_P(Window, IsMadeAndDestroyedWithWhatLiesInIt)
{
    Recorder top("top", log), inner("inner", log), innermost("innermost", log);
    ASSERT_TRUE(top.Make(CRect(20, 30, 220, 130), nullptr, 0, 0));
    ASSERT_TRUE(inner.Make(CRect(10, 10, 60, 50), &top, 7));
    ASSERT_TRUE(innermost.Make(CRect(1, 1, 5, 5), &inner, 8));
    EXPECT_FALSE(inner.Make(CRect(0, 0, 5, 5), &top)) << "it is a window already";
    EXPECT_EQ(Lines(6), (Log{"top create 200x100", "top size 200x100", "inner create 50x40", "inner size 50x40",
                             "innermost create 4x4", "innermost size 4x4"}));
    EXPECT_EQ(inner.GetParent(), &top);
    EXPECT_EQ(inner.GetDlgCtrlID(), 7);
    EXPECT_EQ(CWnd::FromHandlePermanent(inner.m_hWnd), &inner);
    EXPECT_FALSE(innermost.IsWindowVisible()) << "top is not shown yet";
    CPoint corner(0, 0);
    innermost.ClientToScreen(&corner);
    EXPECT_EQ(corner, CPoint(31, 41));
    innermost.ScreenToClient(&corner);
    EXPECT_EQ(corner, CPoint(0, 0));
    const HWND handle = inner.m_hWnd;
    EXPECT_TRUE(top.DestroyWindow());
    EXPECT_EQ(Lines(6),
              (Log{"top destroy", "inner destroy", "innermost destroy", "innermost gone", "inner gone", "top gone"}));
    EXPECT_FALSE(inner.m_hWnd || CWnd::FromHandlePermanent(handle) || top.DestroyWindow());
    ASSERT_TRUE(top.Make(CRect(0, 0, 50, 50))) << "the object can be a window again";
    log.clear();
    {
        Recorder shortLived("short", log);
        ASSERT_TRUE(shortLived.Make(CRect(1, 1, 9, 9), &top, 1, 0));
    }
    EXPECT_EQ(log, (Log{"short create 8x8", "short size 8x8"})) << "goes with its object, which hears no more";
}

TEST_P(Window, IsNotMadeWhenSomethingIsMissing)
{
    Recorder top("top", log), inner("inner", log);
    ASSERT_TRUE(top.Make(CRect(0, 0, 100, 100), nullptr, 0, 0));
    log.clear();
    EXPECT_FALSE(inner.Make(CRect(0, 0, 5, 5), &top, 1, 0, "NVLibTestOfNoKind"));
    EXPECT_FALSE(inner.Create(plainClass, "", 0, CRect(0, 0, 5, 5), nullptr, 1));
    inner.refusesToBe = true;
    EXPECT_FALSE(inner.Make(CRect(0, 0, 5, 5), &top));
    EXPECT_EQ(log.front(), "inner gone") << "of the first attempt";
    EXPECT_EQ(log.back(), "inner gone") << "of the last";
    EXPECT_FALSE(inner.m_hWnd);
    EXPECT_TRUE(Register("NVLibTestOnce", 0) && Register("NVLibTestOnce", 0)) << "twice is as good as once";
    EXPECT_TRUE(::UnregisterClass("NVLibTestOnce", AfxGetInstanceHandle()));
    inner.refusesToBe = false;
    EXPECT_FALSE(inner.Make(CRect(0, 0, 5, 5), &top, 1, 0, "NVLibTestOnce"));
}

TEST_P(Window, IsTheMainOneWhileItIsTheOldestOfItsThread)
{
    EXPECT_EQ(AfxGetMainWnd(), nullptr);
    Recorder first("first", log), inner("inner", log), owned("owned", log), second("second", log);
    first.refusesToBe = true;
    ASSERT_FALSE(first.Make(CRect(20, 30, 220, 130)));
    EXPECT_EQ(AfxGetMainWnd(), nullptr);
    first.refusesToBe = false;
    ASSERT_TRUE(first.Make(CRect(20, 30, 220, 130)));
    ASSERT_TRUE(second.Make(CRect(20, 30, 220, 130)));
    ASSERT_TRUE(inner.Make(CRect(0, 0, 5, 5), &second, 1));
    ASSERT_TRUE(owned.CreateEx(0, plainClass, "", WS_POPUP, CRect(0, 0, 50, 50), &second, 0));
    EXPECT_EQ(AfxGetMainWnd(), &first);
    CWnd* elsewhere = &first;
    std::thread([&] { elsewhere = AfxGetMainWnd(); }).join();
    EXPECT_EQ(elsewhere, nullptr);
    first.DestroyWindow();
    EXPECT_EQ(AfxGetMainWnd(), &second);
    second.DestroyWindow();
    EXPECT_EQ(AfxGetMainWnd(), nullptr) << "owned ones went with it";
}

TEST_P(Window, PaintsWhatIsOutOfDateAndNothingElse)
{
    Recorder top("top", log), inner("inner", log);
    top.depth = 24;
    inner.depth = 8;
    inner.colour = RGB(200, 100, 50);
    ASSERT_TRUE(top.Make(CRect(20, 30, 220, 130)));
    ASSERT_TRUE(inner.Make(CRect(100, 40, 150, 70), &top, 1));
    Settle(top);
    Settle(inner);
    EXPECT_TRUE(inner.IsWindowVisible());
    const COLORREF before = top.colour;
    top.colour = RGB(1, 255, 128);
    top.paints = inner.paints = 0;
    top.InvalidateRect(CRect(-5, 10, 20, 30), FALSE);
    top.InvalidateRect(CRect(110, 20, 120, 60), FALSE);
    EXPECT_EQ(top.paints, 0) << "not yet";
    top.UpdateWindow();
    EXPECT_EQ(top.paints, 1);
    EXPECT_EQ(top.painted, CRect(0, 10, 120, 40)) << "around both, without what lies beneath inner";
    EXPECT_TRUE(Until([&] { return Sees(top, CPoint(5, 15), top.colour); }));
    const CDib seen = seat->Look(top);
    for (int y = 0; y < 100; ++y) {
        for (int x = 0; x < 200; ++x) {
            const CPoint at(x, y);
            if (CRect(100, 40, 150, 70).PtInRect(at)) {
                ASSERT_EQ(seen.GetPixelColor(x, y), inner.colour) << x << "," << y;
            } else if (CRect(0, 10, 20, 30).PtInRect(at) || CRect(110, 20, 120, 40).PtInRect(at)) {
                ASSERT_EQ(seen.GetPixelColor(x, y), top.colour) << x << "," << y;
            } else {
                ASSERT_EQ(seen.GetPixelColor(x, y), before) << x << "," << y;
            }
        }
    }
    CDib copy;
    ASSERT_TRUE(copy.CopyWindow(top));
    EXPECT_EQ(std::vector<u8>(copy.GetBits(), copy.GetBits() + copy.GetImageSize()),
              std::vector<u8>(seen.GetBits(), seen.GetBits() + seen.GetImageSize()));
    EXPECT_TRUE(Until([&] { return top.paints == 1 && inner.paints == 0; })) << "and no more than that";

    inner.ShowWindow(SW_HIDE);
    EXPECT_TRUE(Until([&] { return Sees(top, CPoint(125, 55), top.colour); })) << "what it covered is painted";
    EXPECT_FALSE(inner.IsWindowVisible());
    inner.ShowWindow(SW_SHOW);
    inner.MoveWindow(0, 0, 30, 30);
    EXPECT_TRUE(Until([&] { return Sees(top, CPoint(29, 29), inner.colour) && Sees(top, CPoint(30, 30), before); }));
    top.Invalidate();
    EXPECT_TRUE(Until([&] { return top.painted == CRect(0, 0, 200, 100); }))
        << "the rectangle around what inner leaves";
    EXPECT_FALSE(CDib().Show(CDC(), CRect(0, 0, 5, 5), CPoint(0, 0)));
    EXPECT_FALSE(copy.Show(CDC(), CRect(0, 0, 5, 5), CPoint(0, 0))) << "no window is being painted";
    EXPECT_FALSE(copy.CopyWindow(CWnd()) || copy.IsValid());
}

TEST_P(Window, FollowsItsFrameWhenThatIsResized)
{
    Recorder top("top", log), inner("inner", log);
    inner.colour = RGB(0, 0, 200);
    ASSERT_TRUE(top.Make(CRect(20, 30, 220, 130)));
    ASSERT_TRUE(inner.Make(CRect(50, 50, 60, 60), &top, 1));
    top.onSize = [&] { // as a frame window lays out its views
        CRect client;
        top.GetClientRect(client);
        client.left = client.right / 2;
        inner.MoveWindow(client);
    };
    Settle(top);
    for (const CSize size : {CSize(300, 150), CSize(80, 60)}) {
        seat->Resize(top, size);
        EXPECT_TRUE(Until([&] {
            CRect client;
            top.GetClientRect(client);
            return client.Size() == size && Sees(top, CPoint(size.cx - 1, size.cy - 1), inner.colour) &&
                   Sees(top, CPoint(size.cx / 2 - 1, size.cy - 1), top.colour);
        })) << size.cx;
        EXPECT_EQ(log.back(), Text("inner size ", size.cx - size.cx / 2, "x", size.cy));
        EXPECT_EQ(*(log.end() - 2), Text("top size ", size.cx, "x", size.cy));
    }
    log.clear();
    top.MoveWindow(30, 40, 90, 70);
    EXPECT_EQ(log, (Log{"top size 90x70", "inner size 45x70"})) << "at once when the program does it";
    seat->Close(top);
    EXPECT_TRUE(Until([&] { return !top.m_hWnd; })) << "what WM_CLOSE does by itself";
}

TEST_P(Window, GetsThePointerWhereItIs)
{
    Recorder top("top", log), inner("inner", log);
    ASSERT_TRUE(top.Make(CRect(20, 30, 220, 130), nullptr, 0, WS_VISIBLE, doubleClickClass));
    ASSERT_TRUE(inner.Make(CRect(100, 40, 150, 70), &top, 1));
    seat->PointAt(top, CPoint(190, 5));
    Settle(top);
    Settle(inner);
    const auto lines = [&](const Log& wanted) { EXPECT_EQ(Lines(wanted.size()), wanted); };
    seat->Click(inner, CPoint(3, 4));
    lines({"inner press 1 3,4", "inner release 0 3,4"});
    seat->Click(inner, CPoint(3, 4));
    lines({"inner press 1 3,4", "inner release 0 3,4"}); // its class wants no double clicks
    for (int i = 0; i < 3; ++i)
        seat->Click(top, CPoint(7, 8));
    lines({"top press 1 7,8", "top release 0 7,8", "top double 1 7,8", "top release 0 7,8", "top press 1 7,8",
           "top release 0 7,8"});
    seat->Click(top, CPoint(7, 8), VK_RBUTTON);
    lines({"top right 2 7,8"});

    inner.onPress = [&] { EXPECT_FALSE(inner.SetCapture()); };
    seat->PointAt(inner, CPoint(1, 1));
    seat->Button(VK_LBUTTON, true);
    lines({"inner press 1 1,1"});
    EXPECT_EQ(CWnd::GetCapture(), &inner);
    inner.logsMoves = true;
    seat->PointAt(top, CPoint(80, 90));
    lines({"inner move 1 -20,50"});
    inner.logsMoves = false;
    seat->Button(VK_LBUTTON, false);
    lines({"inner release 0 -20,50"});
    EXPECT_EQ(top.SetCapture(), &inner);
    EXPECT_TRUE(CWnd::ReleaseCapture());
    EXPECT_FALSE(CWnd::GetCapture());
    lines({"inner capture to top", "top capture to nobody"});

    inner.SetFocus();
    log.clear();
    seat->PointAt(inner, CPoint(9, 9));
    seat->Wheel(1);
    lines({"inner wheel 0 120 9,9"});
    inner.takesWheel = false; // then it goes on outwards
    seat->Wheel(-1);
    lines({"inner wheel 0 -120 9,9", "top wheel 0 -120 109,49"});
    seat->Key(VK_SHIFT, true);
    Lines(1);
    seat->Click(inner, CPoint(30, 4));
    seat->Key(VK_SHIFT, false);
    EXPECT_EQ(Lines(2).front(), "inner press 5 30,4");
    Until([&] { return CWnd::GetKeyState(VK_SHIFT) >= 0; });
    inner.onPress = nullptr;
    CWnd::ReleaseCapture();
    log.clear();

    EXPECT_FALSE(inner.EnableWindow(FALSE));
    EXPECT_FALSE(inner.IsWindowEnabled());
    lines({"inner focus to nobody"});
    seat->Click(inner, CPoint(20, 4));
    lines({"top press 1 120,44", "top release 0 120,44"}); // as if it were not there
    EXPECT_TRUE(inner.EnableWindow(TRUE));
}

TEST_P(Window, GetsKeysWhileItHasTheFocus)
{
    Recorder top("top", log), left("left", log), right("right", log);
    ASSERT_TRUE(top.Make(CRect(20, 30, 220, 130)));
    ASSERT_TRUE(left.Make(CRect(0, 50, 100, 100), &top, 1));
    ASSERT_TRUE(right.Make(CRect(100, 50, 200, 100), &top, 2));
    seat->PointAt(top, CPoint(5, 5));
    Settle(top);
    top.SetFocus();
    EXPECT_TRUE(Until([] { return CWnd::GetFocus() != nullptr; }));
    EXPECT_EQ(CWnd::GetFocus(), &top);
    log.clear();
    EXPECT_EQ(left.SetFocus(), &top);
    EXPECT_EQ(right.SetFocus(), &left);
    EXPECT_EQ(log, (Log{"top focus to left", "left focus from top", "left focus to right", "right focus from left"}));
    log.clear();
    seat->Type('A');
    seat->Type(VK_DOWN);
    EXPECT_EQ(Lines(5), (Log{"right key 65", "right char a", "right key up 65", "right key 40", "right key up 40"}));
    seat->Key(VK_SHIFT, true);
    seat->Type(VK_PRIOR);
    seat->Key(VK_SHIFT, false);
    EXPECT_EQ(Lines(4), (Log{"right key 16 shifted", "right key 33 shifted", "right key up 33", "right key up 16"}));

    {
        Recorder dialog("dialog", log); // a window that top owns
        ASSERT_TRUE(dialog.CreateEx(0, plainClass, "", WS_POPUP | WS_VISIBLE, CRect(50, 50, 90, 90), &top, 0));
        EXPECT_EQ(dialog.GetParent(), &top);
        dialog.SetFocus();
        EXPECT_TRUE(Until([&] { return CWnd::GetFocus() == &dialog && dialog.paints > 0; }));
        log.clear();
        seat->Type('5');
        EXPECT_EQ(Lines(3), (Log{"dialog key 53", "dialog char 5", "dialog key up 53"}));
        dialog.DestroyWindow();
    }
    right.SetFocus();
    EXPECT_TRUE(Until([&] { return CWnd::GetFocus() == &right; }));
    log.clear();
    seat->Type(VK_ESCAPE);
    EXPECT_TRUE(Until([&] { return std::count(log.begin(), log.end(), "right key up 27") == 1; })) << "keys come back";
}

TEST_P(Window, GetsMessagesInTheirOrder)
{
    Recorder top("top", log);
    EXPECT_FALSE(top.PostMessage(told));
    ASSERT_TRUE(top.Make(CRect(20, 30, 220, 130)));
    Settle(top);
    EXPECT_EQ(top.SendMessage(told, 1, -2), 4711);
    EXPECT_EQ(log, (Log{"top told 1 -2"})) << "at once";
    log.clear();
    top.Invalidate();
    top.paints = 0;
    std::thread other([&] {
        for (WPARAM i = 0; i < 100; ++i)
            EXPECT_TRUE(top.PostMessage(told, i, 5));
    });
    while (log.size() < 100)
        ASSERT_TRUE(AfxPumpMessage()); // waits; the other thread wakes it
    other.join();
    for (std::size_t i = 0; i < 100; ++i)
        EXPECT_EQ(log[i], Text("top told ", i, " 5"));
    top.throws = true;
    EXPECT_EQ(top.SendMessage(told), 0) << "what a handler throws ends there";
    top.throws = false;

    log.clear();
    EXPECT_EQ(top.SetTimer(2, 600'000, nullptr), 2U); // the later of the two holds the other up no longer
    EXPECT_EQ(top.SetTimer(3, 10, nullptr), 3U);
    EXPECT_TRUE(Until([&] { return std::count(log.begin(), log.end(), "top timer 3") >= 3; }));
    EXPECT_TRUE(top.KillTimer(3));
    EXPECT_TRUE(Until([&] { return top.paints > 0; }));
    log.clear();
    top.PostMessage(told, 6, 6);
    AfxPostQuitMessage(0);
    int rounds = 0;
    while (AfxPumpMessage() && rounds < 100)
        ++rounds;
    EXPECT_EQ(log, (Log{"top told 6 6"})) << "what waited is handled, and no timer came";
    EXPECT_LT(rounds, 100);
    top.PostMessage(told, 7, 7);
    top.DestroyWindow();
    log.clear();
    EXPECT_TRUE(NV::HandleWaitingMessages());
    EXPECT_EQ(log, Log()) << "nobody is there to get it";
}

INSTANTIATE_TEST_SUITE_P(Windows, Window, testing::ValuesIn(SeatNames()), Named);
