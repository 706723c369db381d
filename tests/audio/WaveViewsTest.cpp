// The waveform windows: positions, pointer and frame, what the parent is told, what the mouse and keys do. Off-screen.
#include "WaveFileWnd.h"
#include "Window.h"
#include "support/Noise.h"
#include "support/RawSound.h"
#include "support/SoundSamples.h"

#include <gtest/gtest.h>

namespace {

/// Collects notifications.
class Parent : public CWnd {
public:
    Parent()
    {
        NV::ChooseWindows(NV::WindowKind::offScreen);
        WNDCLASS windowClass{};
        windowClass.lpfnWndProc = ::DefWindowProc;
        windowClass.hInstance = AfxGetInstanceHandle();
        windowClass.lpszClassName = "TestParent";
        AfxRegisterClass(&windowClass);
        CreateEx(0, "TestParent", "", WS_POPUP | WS_VISIBLE, CRect(0, 0, 900, 700), nullptr, 0);
    }
    ~Parent() override { DestroyWindow(); }
    std::vector<int> Told() { return std::exchange(codes, {}); }

protected:
    LRESULT OnTold(WPARAM code, LPARAM)
    {
        codes.push_back(static_cast<int>(code));
        return 0;
    }
    DECLARE_MESSAGE_MAP()

private:
    std::vector<int> codes;
};

BEGIN_MESSAGE_MAP(Parent, CWnd)
ON_MESSAGE(WM_USER + 401, &Parent::OnTold)
END_MESSAGE_MAP()

using Codes = std::vector<int>;

/// A chart of 100 rows at (76, 4) of its client area.
class Chart : public testing::Test {
protected:
    Chart() : sound(1, 44100, RandomSamples(5, 1'000'000))
    {
        chart.Create(CRect(0, 0, 300, 108), &parent, 1);
        chart.SetSoundFile(&sound);
        chart.SetDensity(50);
    }
    void Button(CWnd& window, UINT message, CPoint at, UINT flags = 0)
    {
        window.SendMessage(message, flags, MAKELPARAM(at.x, at.y));
    }
    void Click(CWnd& window, CPoint at)
    {
        Button(window, WM_LBUTTONDOWN, at, MK_LBUTTON);
        Button(window, WM_LBUTTONUP, at);
    }
    void Key(CWnd& window, UINT key) { window.SendMessage(WM_KEYDOWN, key, 1); }
    void Wheel(CWnd& window, int delta, UINT flags = 0)
    {
        CPoint at(100, 54);
        window.ClientToScreen(&at);
        window.SendMessage(WM_MOUSEWHEEL, MAKEWPARAM(static_cast<int>(flags), delta), MAKELPARAM(at.x, at.y));
    }

    Parent parent;
    MemorySound sound;
    CWaveFileChartWnd chart;
};

} // namespace

TEST_F(Chart, MapsBetweenFramesAndRows)
{
    chart.SetStartPos(1000);
    EXPECT_EQ(chart.GetSamplesOnScreen(), 100 * 50);
    EXPECT_EQ(chart.FileToScreen(1000), 0);
    EXPECT_EQ(chart.FileToScreen(1149), 2);
    EXPECT_EQ(chart.FileToScreen(960), 0) << "kept as is: integer division";
    EXPECT_EQ(chart.ScreenToFile(3), 1150);
    EXPECT_TRUE(chart.IsSampleVisible(1000));
    EXPECT_TRUE(chart.IsSampleVisible(5999));
    EXPECT_FALSE(chart.IsSampleVisible(999));
    EXPECT_FALSE(chart.IsSampleVisible(6000));
}

TEST_F(Chart, ClampsDensityAndPositions)
{
    for (const i64 none : {i64(0), i64(-5)}) {
        chart.SetDensity(7);
        chart.SetDensity(none);
        EXPECT_EQ(chart.GetDensity(), 1);
    }
    chart.SetPointerPos(5'000'000, false);
    EXPECT_EQ(chart.GetPointerPos(), 999'999);
    chart.SetPointerPos(-1, false);
    EXPECT_EQ(chart.GetPointerPos(), 0);
    chart.SetStartPos(i64(1) << 60);
    EXPECT_EQ(chart.GetStartPos(), 999'999);
    chart.SetSoundFile(nullptr);
    EXPECT_EQ(chart.ValidatePosition(77), 0);
    EXPECT_EQ(chart.GetStartPos(), 0);
    EXPECT_EQ(parent.Told(), Codes()) << "the program's own doing is not told";
}

TEST_F(Chart, ScrollsThePointerIntoView)
{
    struct Case {
        const char* name;
        i64 pointer, start;
    };
    const Case cases[] = {{"visible: nothing moves", 10'999, 6'000},
                          {"below: half a screen from the top", 200'000, 197'500},
                          {"above", 30'000, 27'500},
                          {"near the end: the last screen", 999'000, 995'000},
                          {"near the start", 1'000, 0}};
    for (const Case& c : cases) {
        chart.SetStartPos(6'000);
        chart.SetPointerPos(c.pointer, true);
        EXPECT_EQ(chart.GetStartPos(), c.start) << c.name;
    }
    chart.SetStartPos(6'000);
    chart.SetPointerPos(400'000, false);
    EXPECT_EQ(chart.GetStartPos(), 6'000);
}

TEST_F(Chart, ClickAndDragMoveThePointer)
{
    chart.SetStartPos(1000);
    Click(chart, CPoint(76, 4 + 10));
    EXPECT_EQ(chart.GetPointerPos(), 1500);
    EXPECT_EQ(parent.Told(), Codes{0});
    for (const CPoint outside : {CPoint(75, 50), CPoint(100, 3), CPoint(100, 104), CPoint(294, 50)}) {
        Click(chart, outside);
        EXPECT_EQ(chart.GetPointerPos(), 1500);
        EXPECT_EQ(parent.Told(), Codes());
    }
    Button(chart, WM_LBUTTONDOWN, CPoint(100, 24), MK_LBUTTON);
    EXPECT_EQ(CWnd::GetCapture(), &chart);
    Button(chart, WM_MOUSEMOVE, CPoint(0, 34), MK_LBUTTON);
    Button(chart, WM_MOUSEMOVE, CPoint(0, 34), MK_LBUTTON); // not moved
    EXPECT_EQ(chart.GetPointerPos(), 2500);
    EXPECT_EQ(parent.Told(), (Codes{0, 0}));
    Button(chart, WM_MOUSEMOVE, CPoint(0, 124), MK_LBUTTON); // 21 rows below the last one
    EXPECT_EQ(chart.GetPointerPos(), 1000 + 99 * 50);
    chart.SendMessage(WM_TIMER, 2);
    EXPECT_EQ(chart.GetStartPos(), 1000 + 21 * 50);
    EXPECT_EQ(chart.GetPointerPos(), 1000 + (99 + 21) * 50);
    Button(chart, WM_LBUTTONUP, CPoint(0, 124));
    EXPECT_EQ(CWnd::GetCapture(), nullptr);
    parent.Told();
    Button(chart, WM_MOUSEMOVE, CPoint(100, 40));
    EXPECT_EQ(parent.Told(), Codes());
}

TEST_F(Chart, KeysAndWheelMoveAndZoom)
{
    struct Case {
        const char* name;
        UINT key;
        i64 pointer;
    };
    const Case cases[] = {{"down", VK_DOWN, 10'050},   {"up", VK_UP, 9'950},      {"left", VK_LEFT, 9'559},
                          {"right", VK_RIGHT, 10'441}, {"page", VK_NEXT, 15'000}, {"page", VK_PRIOR, 5'000},
                          {"home", VK_HOME, 0},        {"end", VK_END, 999'999}};
    for (const Case& c : cases) {
        chart.SetPointerPos(10'000, true);
        Key(chart, c.key);
        EXPECT_EQ(chart.GetPointerPos(), c.pointer) << c.name;
        EXPECT_TRUE(chart.IsSampleVisible(c.pointer)) << c.name;
        EXPECT_EQ(parent.Told(), Codes{0}) << c.name;
    }
    Key(chart, VK_END); // is there
    EXPECT_EQ(parent.Told(), Codes());

    chart.SetStartPos(50'000);
    chart.SetPointerPos(52'000, false);
    for (const UINT key : {VK_ADD, VK_OEM_MINUS, VK_SUBTRACT, VK_OEM_PLUS}) {
        const i64 row = chart.FileToScreen(52'000);
        Key(chart, key);
        EXPECT_LE(std::abs(chart.FileToScreen(52'000) - row), 1) << key;
        EXPECT_EQ(parent.Told(), Codes{1});
    }
    for (int i = 0; i < 60; ++i)
        Wheel(chart, -120, MK_CONTROL);
    EXPECT_EQ(chart.GetDensity(), 10'000) << "all of the file";
    EXPECT_EQ(chart.GetStartPos(), 0);
    for (int i = 0; i < 60; ++i)
        Wheel(chart, 120, MK_CONTROL);
    EXPECT_EQ(chart.GetDensity(), 1);
    parent.Told();
    chart.SetDensity(50);
    chart.SetStartPos(1'025);
    for (int i = 0; i < 8; ++i)
        Wheel(chart, -60);
    EXPECT_EQ(chart.GetStartPos(), 1'025 + 50 * 50) << "an eighth of 100 rows a notch, by whole rows";
    Wheel(chart, 120 * 30);
    EXPECT_EQ(chart.GetStartPos(), 0);
    Wheel(chart, -32'000);
    for (int i = 0; i < 40; ++i)
        Wheel(chart, -32'000);
    EXPECT_EQ(chart.GetStartPos(), 995'000);
    EXPECT_EQ(parent.Told(), Codes()) << "scrolling is not told";
}

TEST_F(Chart, TakesPointerAndFrameFromTheOverview)
{
    CWaveFileOverviewWnd overview;
    overview.Create(CRect(300, 0, 420, 420), &parent, 2); // a band of 400 rows from y = 10 on: 2,500 frames a row
    overview.SetSoundFile(&sound);
    chart.SetOverview(&overview);
    const auto frame = [&] {
        i64 first = 0, last = 0;
        overview.GetFrame(first, last);
        return std::pair(first, last);
    };
    EXPECT_EQ(frame(), std::pair(i64(0), i64(5'000)));

    chart.SetPointerPos(123'456, true);
    EXPECT_EQ(overview.GetPointerPos(), 123'456);
    EXPECT_EQ(frame(), std::pair(i64(120'956), i64(125'956)));

    Click(overview, CPoint(80, 10 + 300));
    EXPECT_EQ(chart.GetPointerPos(), 750'000);
    EXPECT_EQ(chart.GetStartPos(), 747'500);
    EXPECT_EQ(parent.Told(), Codes{0});

    struct Case {
        const char* name;
        i64 first, last, density, start;
        Codes told;
    };
    const Case cases[] = {{"wider", 100'010, 120'010, 200, 100'000, {1}},
                          {"moved, as wide", 150'300, 170'399, 200, 150'200, {}},
                          {"narrower than the chart is high", 5'000, 5'060, 1, 5'000, {1}},
                          {"the wrong way round", 900, 100, 8, 96, {1}}};
    for (const Case& c : cases) {
        overview.SetFrame(c.first, c.last);
        chart.SendMessage(WM_USER + 401, 1, 0);
        EXPECT_EQ(chart.GetDensity(), c.density) << c.name;
        EXPECT_EQ(chart.GetStartPos(), c.start) << c.name;
        EXPECT_EQ(parent.Told(), c.told) << c.name;
    }
}

TEST_F(Chart, OverviewFrameIsDraggedByItsMiddleAndItsEnds)
{
    CWaveFileOverviewWnd overview;
    overview.Create(CRect(300, 0, 420, 420), &parent, 2);
    overview.SetSoundFile(&sound);
    chart.SetOverview(&overview);
    chart.SetDensity(1'000); // 40 rows of the overview
    chart.SetStartPos(250'000);
    using Overview = CWaveFileOverviewWnd;
    const std::tuple<int, Overview::HitCode, LPCSTR> hits[] = {
        {50, Overview::hitOutside, IDC_ARROW},    {110, Overview::hitFrameStart, IDC_SIZENS},
        {130, Overview::hitFrame, IDC_HAND},      {147, Overview::hitFrameEnd, IDC_SIZENS},
        {152, Overview::hitFrameEnd, IDC_SIZENS}, {200, Overview::hitOutside, IDC_ARROW},
        {500, Overview::hitNothing, IDC_ARROW}};
    for (const auto& [y, code, shape] : hits) {
        EXPECT_EQ(overview.HitTest(CPoint(60, y)), code) << y;
        Button(overview, WM_MOUSEMOVE, CPoint(60, y));
        EXPECT_EQ(CWnd::SetCursor(nullptr), ::LoadCursor(nullptr, shape)) << y;
    }
    chart.SetPointerPos(123'456, true);
    overview.SendMessage(WM_KEYDOWN, VK_HOME, 1);
    EXPECT_EQ(chart.GetPointerPos(), 0) << "keys are the chart's";
    chart.SetStartPos(250'000);
    parent.Told();
    const auto drag = [&](int from, int to) {
        Button(overview, WM_LBUTTONDOWN, CPoint(60, from), MK_LBUTTON);
        Button(overview, WM_MOUSEMOVE, CPoint(60, (from + to) / 2), MK_LBUTTON);
        Button(overview, WM_MOUSEMOVE, CPoint(60, to), MK_LBUTTON);
        Button(overview, WM_LBUTTONUP, CPoint(60, to));
    };
    drag(130, 150);
    EXPECT_EQ(chart.GetStartPos(), 300'000);
    EXPECT_EQ(chart.GetDensity(), 1'000);
    EXPECT_EQ(parent.Told(), Codes()) << "moving the frame changes neither pointer nor density";
    drag(150, -4'000);
    EXPECT_EQ(chart.GetStartPos(), 0);
    drag(30, 4'000);
    EXPECT_EQ(chart.GetStartPos(), 900'000);
    drag(390, 310); // 80 rows back
    EXPECT_EQ(chart.GetStartPos(), 700'000);
    parent.Told();

    drag(330, 370); // the end, 40 rows down: twice as much
    EXPECT_EQ(chart.GetDensity(), 2'000);
    EXPECT_EQ(chart.GetStartPos(), 700'000);
    drag(290, 330); // the start
    EXPECT_EQ(chart.GetDensity(), 1'000);
    EXPECT_EQ(chart.GetStartPos(), 800'000);
    drag(370, 0); // the end beyond the start
    EXPECT_EQ(chart.GetDensity(), 1);
    EXPECT_EQ(chart.GetStartPos(), 800'000);
    const Codes told = parent.Told();
    EXPECT_GE(told.size(), 5U);
    EXPECT_EQ(std::count(told.begin(), told.end(), 1), static_cast<std::ptrdiff_t>(told.size()));

    chart.SetDensity(1'000);
    chart.SetStartPos(250'000);
    Click(overview, CPoint(60, 130)); // inside, without moving
    EXPECT_EQ(chart.GetPointerPos(), 300'000);
    EXPECT_EQ(chart.GetStartPos(), 250'000);
    EXPECT_EQ(parent.Told(), Codes{0});
}

TEST_F(Chart, EndsInAnyOrder)
{
    {
        CWaveFileOverviewWnd overview;
        chart.SetOverview(&overview);
    }
    EXPECT_EQ(chart.GetOverview(), nullptr);
    CWaveFileOverviewWnd overview;
    auto other = std::make_unique<CWaveFileChartWnd>();
    other->SetOverview(&overview);
    chart.SetOverview(&overview);
    EXPECT_EQ(other->GetOverview(), nullptr) << "an overview has one chart";
    other.reset();
    chart.UpdateWindow();
    parent.DestroyWindow();
    EXPECT_EQ(chart.GetSafeHwnd(), nullptr);
    chart.SetPointerPos(1'000, true); // without a window
}

TEST(WaveFileWnd, CountsItsWindowClasses)
{
    Parent parent;
    const int before = CWaveFileChartWnd::c_nRefCount;
    WNDCLASS known;
    {
        CWaveFileWnd one, two;
        EXPECT_TRUE(one.Create(CRect(0, 0, 400, 300), &parent, 1));
        EXPECT_TRUE(two.Create(CRect(400, 0, 800, 300), &parent, 2));
        EXPECT_FALSE(two.Create(CRect(0, 0, 1, 1), &parent, 3)) << "stands already";
        EXPECT_EQ(CWaveFileWnd::c_nRefCount, 2);
        EXPECT_EQ(CWaveFileChartWnd::c_nRefCount, before + 2);
        EXPECT_TRUE(GetClassInfo(AfxGetInstanceHandle(), CWaveFileChartWnd::GetClassName(), &known));
    }
    EXPECT_EQ(CWaveFileWnd::c_nRefCount, 0);
    EXPECT_EQ(CWaveFileChartWnd::c_nRefCount, before);
    EXPECT_FALSE(GetClassInfo(AfxGetInstanceHandle(), CWaveFileChartWnd::GetClassName(), &known));
    CWaveFileChartWnd::UnregisterClass(); // once too often
    EXPECT_EQ(CWaveFileChartWnd::c_nRefCount, 0);
}

TEST(WaveFileWnd, LaysOutItsTwoWindowsAndPassesNotificationsOn)
{
    Parent parent;
    MemorySound sound(2, 44100, RandomSamples(6, 400'000));
    CWaveFileWnd window;
    ASSERT_TRUE(window.Create(CRect(0, 0, 700, 500), &parent, 1));
    window.SetSoundFile(&sound);
    const auto size = [](CWnd* w) {
        CRect client;
        w->GetClientRect(client);
        return client.Size();
    };
    for (const CSize to : {CSize(700, 500), CSize(600, 0), CSize(90, 400), CSize(500, 300)}) {
        window.MoveWindow(0, 0, to.cx, to.cy);
        const int overviewWidth = std::min<int>(CWaveFileOverviewWnd::GetOptimumWidth(), to.cx / 3);
        EXPECT_EQ(size(window.GetOverview()), CSize(overviewWidth, to.cy));
        EXPECT_EQ(size(window.GetChart()), CSize(to.cx - overviewWidth, to.cy));
        window.UpdateWindow();
    }
    window.GetChart()->SendMessage(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(100, 50));
    window.GetChart()->SendMessage(WM_LBUTTONUP, 0, MAKELPARAM(100, 50));
    EXPECT_EQ(parent.Told(), Codes{0});
    Parent sink;
    window.SetMessageSink(&sink);
    window.GetChart()->SendMessage(WM_KEYDOWN, VK_OEM_MINUS, 1);
    EXPECT_EQ(sink.Told(), Codes{1});
    EXPECT_EQ(parent.Told(), Codes());
}
