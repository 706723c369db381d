// What the waveform windows look like, against stored pictures; and pictures of what is missing, broken or changing.
// Off-screen, and the same on every system.
#include "DibDrawing.h"
#include "WaveFileWnd.h"
#include "Window.h"
#include "support/Golden.h"
#include "support/Noise.h"
#include "support/RawSound.h"
#include "support/SoundSamples.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

/// Beats that fade away, each channel in a rhythm of its own; silence in the middle. Whole numbers only, so that every
/// processor gives the same samples.
std::vector<i16> Beats(int channels, int frames)
{
    std::mt19937 random(1);
    std::vector<i16> samples;
    for (int k = 0; k < frames; ++k) {
        for (int c = 0; c < channels; ++c) {
            const int beat = frames / (6 + 3 * c), since = k % beat;
            const int loudness = k > frames * 2 / 5 && k < frames / 2 ? 0 : 31'000 - 30'000 / beat * since;
            const int period = 400 - 100 * c, phase = k % period;
            const int wave = phase < period / 2 ? 4 * phase - period : 3 * period - 4 * phase; // -period to period
            const int noise = static_cast<int>(random() % 2001) - 1000;
            samples.push_back(static_cast<i16>(loudness / 1000 * (wave * 700 / period + noise * 3 / 10)));
        }
    }
    return samples;
}

/// Windows paint everything at once unless a test says otherwise.
class WavePictures : public testing::Test {
protected:
    WavePictures()
    {
        NV::ChooseWindows(NV::WindowKind::offScreen);
        CWaveFileChartWnd::c_nFillMilliseconds = 0;
        CWaveFileChartWnd::RegisterClass();
        CWaveFileOverviewWnd::RegisterClass();
    }
    ~WavePictures() override
    {
        CWaveFileOverviewWnd::UnregisterClass();
        CWaveFileChartWnd::UnregisterClass();
        CWaveFileChartWnd::c_bUseSimplePaintMode = false;
        CWaveFileChartWnd::c_nFillMilliseconds = 15;
    }
    static void Open(CWnd& window, const char* className, CSize size)
    {
        ASSERT_TRUE(window.CreateEx(0, className, "", WS_POPUP | WS_VISIBLE, CRect(CPoint(0, 0), size), nullptr, 0));
    }
    static void Open(CWaveFileChartWnd& chart, CSize size = CSize(300, 208))
    {
        Open(chart, CWaveFileChartWnd::GetClassName(), size);
    }
    static CDib Look(CWnd& window)
    {
        window.UpdateWindow();
        CDib seen;
        seen.CopyWindow(window);
        return seen;
    }
    static bool Same(const CDib& a, const CDib& b)
    {
        if (a.GetRect() != b.GetRect() || !a.IsValid())
            return false;
        for (int y = 0; y < a.GetHeight(); ++y)
            for (int x = 0; x < a.GetWidth(); ++x)
                if (a.GetPixelColor(x, y) != b.GetPixelColor(x, y))
                    return false;
        return true;
    }
    /// What a new window shows of a file.
    static CDib Fresh(CSoundFile& sound, i64 start, i64 density, i64 pointer)
    {
        CWaveFileChartWnd chart;
        Open(chart);
        chart.SetSoundFile(&sound);
        chart.SetDensity(density);
        chart.SetStartPos(start);
        chart.SetPointerPos(pointer, false);
        return Look(chart);
    }
};

} // namespace

TEST_F(WavePictures, Chart)
{
    MemorySound stereo(2, 44100, Beats(2, 60'000)), mono(1, 8000, Beats(1, 60'000));
    struct Case {
        const char* name;
        CSoundFile* sound;
        i64 start, density, pointer;
        bool simple;
    };
    const Case cases[] = {{"chart-points", &stereo, 2'000, 1, 2'120, false},
                          {"chart-lines", &stereo, 4'000, 40, 9'000, false},
                          {"chart-bars", &stereo, 0, 250, 0, false},
                          {"chart-simple", &stereo, 0, 250, 30'000, true},
                          {"chart-mono-end", &mono, 40'000, 160, 59'999, false}};
    for (const Case& c : cases) {
        CWaveFileChartWnd::c_bUseSimplePaintMode = c.simple;
        EXPECT_TRUE(IsGolden(c.name, Fresh(*c.sound, c.start, c.density, c.pointer)));
    }
}

TEST_F(WavePictures, OverviewAndBoth)
{
    MemorySound stereo(2, 44100, Beats(2, 200'000));
    CWaveFileOverviewWnd overview;
    Open(overview, CWaveFileOverviewWnd::GetClassName(), CSize(CWaveFileOverviewWnd::GetOptimumWidth(), 220));
    overview.SetSoundFile(&stereo);
    overview.SetFrame(60'000, 90'000);
    overview.SetPointerPos(70'000);
    EXPECT_TRUE(IsGolden("overview", Look(overview)));

    CWaveFileWnd both;
    ASSERT_TRUE(both.Create(CRect(0, 0, 420, 220), nullptr, 0, WS_POPUP | WS_VISIBLE));
    both.SetSoundFile(&stereo);
    both.GetChart()->SetDensity(120);
    both.GetChart()->SetPointerPos(150'000, true);
    EXPECT_TRUE(IsGolden("both", Look(both)));
}

TEST_F(WavePictures, AnApplicationsBrushFillsTheBars)
{
    MemorySound mono(1, 44100, std::vector<i16>(60'000, 20'000));
    CDib brush;
    brush.Create(4, 2, 32);
    CDibDrawing(brush).Fill(CRect(0, 0, 2, 2), RGB(1, 2, 3));
    CDibDrawing(brush).Fill(CRect(2, 0, 4, 2), RGB(4, 5, 6));
    CWaveFileChartWnd chart;
    Open(chart);
    chart.SetMargins(0, 0, 0, 0);
    chart.ShowPointer(false);
    chart.SetBrush(brush);
    chart.SetSoundFile(&mono);
    chart.SetDensity(101);
    const int x = 150 + 87; // 150 * 20,000 / 34,500, to the nearest
    EXPECT_EQ(Look(chart).GetPixelColor(x, 7), x % 4 < 2 ? RGB(1, 2, 3) : RGB(4, 5, 6));
    chart.SetDensity(100); // not a bar yet
    EXPECT_EQ(Look(chart).GetPixelColor(x, 7), CWaveFileChartWnd::c_clrSamples);
}

TEST_F(WavePictures, AreTheSameWhateverTheWayThere)
{
    MemorySound sound(2, 44100, Beats(2, 300'000));
    std::mt19937 random(9);
    CWaveFileChartWnd chart;
    Open(chart);
    chart.SetSoundFile(&sound);
    for (int step = 0; step < 120; ++step) {
        switch (random() % 6) {
        case 0:
            chart.SetDensity(1 + random() % (1U << random() % 11));
            break;
        case 1:
            chart.SetStartPos(random() % 300'000);
            break;
        case 2:
            chart.SendMessage(WM_MOUSEWHEEL, MAKEWPARAM(0, static_cast<int>(random() % 400) - 200), MAKELPARAM(9, 9));
            break;
        case 3:
            chart.SendMessage(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(90, static_cast<int>(4 + random() % 200)));
            chart.SendMessage(WM_LBUTTONUP, 0, MAKELPARAM(90, 0));
            break;
        default:
            chart.SetPointerPos(random() % 300'000, random() % 2 != 0);
            break;
        }
        if (random() % 3 != 0)
            continue;
        const CDib seen = Look(chart);
        ASSERT_TRUE(Same(seen, Fresh(sound, chart.GetStartPos(), chart.GetDensity(), chart.GetPointerPos()))) << step;
    }
}

TEST_F(WavePictures, FillInWhileTheyAreRead)
{
    MemorySound sound(2, 44100, Beats(2, 3'000'000));
    CWaveFileChartWnd::c_nFillMilliseconds = 1;
    CWaveFileWnd window;
    ASSERT_TRUE(window.Create(CRect(0, 0, 420, 220), nullptr, 0, WS_POPUP | WS_VISIBLE));
    window.SetSoundFile(&sound);
    window.GetChart()->SetDensity(14'000);
    Look(window); // hatched below, where a processor is slow enough to show it
    CWaveFileChartWnd::c_nFillMilliseconds = 0;
    CWaveFileWnd whole;
    ASSERT_TRUE(whole.Create(CRect(0, 0, 420, 220), nullptr, 0, WS_POPUP | WS_VISIBLE));
    whole.SetSoundFile(&sound);
    whole.GetChart()->SetDensity(14'000);
    const CDib expected = Look(whole);
    CWaveFileChartWnd::c_nFillMilliseconds = 1;
    bool same = false;
    for (int i = 0; i < 3'000 && !same; ++i) { // as the timer would
        window.GetChart()->SendMessage(WM_TIMER, 1);
        window.GetOverview()->SendMessage(WM_TIMER, 1);
        same = Same(Look(window), expected);
    }
    EXPECT_TRUE(same);
}

TEST_F(WavePictures, AGrowingFileKeepsItsViewAndShowsWhatCame)
{
    const std::vector<i16> all = Beats(2, 100'000);
    MemorySound early(2, 44100, std::vector<i16>(all.begin(), all.begin() + 2 * 30'111)), late(2, 44100, all);
    CWaveFileChartWnd chart;
    Open(chart);
    chart.SetSoundFile(&early);
    chart.SetDensity(200);
    chart.SetStartPos(10'000);
    chart.SetPointerPos(20'000, false);
    const CDib before = Look(chart);
    chart.SetSoundFile(&late, true);
    EXPECT_EQ(chart.GetStartPos(), 10'000);
    const CDib after = Look(chart);
    EXPECT_TRUE(Same(after, Fresh(late, 10'000, 200, 20'000)));
    EXPECT_FALSE(Same(before, after));
    chart.SetSoundFile(&early, true);
    EXPECT_TRUE(Same(Look(chart), before));
}

TEST_F(WavePictures, AFileThatShrinksWhileShownEndsWhereItDoes)
{
    MemorySound sound(2, 44100, Beats(2, 100'000));
    CWaveFileWnd window;
    ASSERT_TRUE(window.Create(CRect(0, 0, 420, 220), nullptr, 0, WS_POPUP | WS_VISIBLE));
    window.SetSoundFile(&sound);
    window.GetChart()->SetDensity(300);
    window.GetChart()->SetPointerPos(90'000, true);
    Look(window);
    for (const std::size_t frames : {50'000U, 77U, 0U}) {
        sound.samples.resize(2 * frames);
        window.GetChart()->SendMessage(WM_KEYDOWN, VK_DOWN, 1);
        window.GetChart()->SendMessage(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(100, 100));
        window.GetChart()->SendMessage(WM_LBUTTONUP, 0, MAKELPARAM(100, 100));
        window.GetOverview()->SendMessage(WM_MOUSEWHEEL, MAKEWPARAM(0, -120), 0);
        window.SetSoundFile(&sound, true);
        EXPECT_LT(window.GetChart()->GetPointerPos(), std::max<i64>(sound.GetLength(), 1));
        EXPECT_TRUE(Look(window).IsValid());
    }
    window.SetSoundFile(nullptr);
    const CDib nothing = Look(window);
    sound.samples.clear();
    window.SetSoundFile(&sound);
    CDib empty = Look(window);
    EXPECT_EQ(empty.GetPixelColor(300, 100), CWaveFileChartWnd::c_clrOutside);
    EXPECT_EQ(nothing.GetPixelColor(300, 100), CWaveFileChartWnd::c_clrOutside);
}

TEST_F(WavePictures, EightBitsLookLikeTheSameSoundInSixteen)
{
    std::string bytes;
    std::vector<i16> words;
    for (const i16 value : Beats(2, 60'000)) {
        bytes += static_cast<char>((value >> 8) + 128);
        words.push_back(static_cast<i16>(value & ~0xFF));
    }
    RawSound eight(1, 8, 2, bytes);
    MemorySound sixteen(2, 44100, words);
    for (const i64 density : {1, 60, 150, 700})
        EXPECT_TRUE(Same(Fresh(eight, 5'000, density, 9'000), Fresh(sixteen, 5'000, density, 9'000))) << density;
}

TEST_F(WavePictures, OddFormatsAndSizesDoNoHarm)
{
    struct Case {
        const char* name;
        int tag, bits, channels, rate;
    };
    const Case cases[] = {{"65,535 channels", 1, 16, 65'535, 44100},
                          {"64 channels", 1, 16, 64, 44100},
                          {"no rate", 1, 16, 1, 0},
                          {"A-law", 6, 8, 1, 8000},
                          {"highest rate", 1, 8, 1, -1}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        RawSound sound(c.tag, c.bits, c.channels, Noise(4, 400'000), c.rate);
        CWaveFileWnd window;
        ASSERT_TRUE(window.Create(CRect(0, 0, 300, 200), nullptr, 0, WS_POPUP | WS_VISIBLE));
        window.SetSoundFile(&sound);
        for (const CSize size : {CSize(300, 200), CSize(1, 1), CSize(80, 300), CSize(130, 9), CSize(0, 50)}) {
            window.MoveWindow(0, 0, size.cx, size.cy);
            for (const i64 density : {i64(1), i64(333), i64(1) << 62}) {
                window.GetChart()->SetDensity(density);
                window.GetChart()->SetPointerPos(sound.GetLength(), true);
                window.GetChart()->SendMessage(WM_KEYDOWN, VK_OEM_MINUS, 1);
                window.UpdateWindow();
            }
        }
    }
}
