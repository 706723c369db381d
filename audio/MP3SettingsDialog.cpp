// See MP3SettingsDialog.h; and CMP3OutFile::EditParameters, which shows it.
#include "MP3SettingsDialog.h"

#include "DibDrawing.h"
#include "MP3OutFile.h"
#include "image/SmallText.h"

#include <algorithm>
#include <array>
#include <span>

using namespace NV;

namespace Quenalib_MP3SettingsDialog {
namespace {

constexpr const char* className = "NVLibMP3Settings";
constexpr int width = 520, margin = 16, rowHeight = 30, valueAt = 250, buttonHeight = 34, buttonWidth = 120;
constexpr int height = 2 * margin + CMP3SettingsDialog::rowCount * rowHeight + margin + buttonHeight;

constexpr COLORREF paper = RGB(245, 246, 248), ink = RGB(30, 34, 42), dim = RGB(168, 172, 180);
constexpr COLORREF chosen = RGB(213, 227, 247), line = RGB(120, 128, 142), button = RGB(228, 231, 236);

constexpr DWORD bitrates[] = {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
constexpr DWORD rates[] = {0, 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};
constexpr const char* labels[] = {"Channels", "Bit rate", "Variable bit rate", "Quality", "Sample rate"};
constexpr const char* modes[] = {"Stereo", "Joint stereo", "Dual channel", "Mono"};

/// The next one of a list that ascends; the ends stay.
DWORD Next(std::span<const DWORD> list, DWORD now, int by)
{
    const auto at = std::ranges::lower_bound(list, now) - list.begin();
    const auto last = static_cast<std::ptrdiff_t>(list.size()) - 1;
    return list[static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(at + by, 0, last))];
}

void DrawButton(CDibDrawing& drawing, const CRect& rect, const char* text)
{
    drawing.Fill(rect, button);
    drawing.Frame(rect, line);
    const CPoint at(rect.left + (rect.Width() - SmallTextWidth(text)) / 2,
                    rect.top + (rect.Height() - 2 * smallTextHeight) / 2);
    DrawSmallText(drawing, at, text, ink);
}

} // namespace

BEGIN_MESSAGE_MAP(CMP3SettingsDialog, CWnd)
ON_WM_PAINT()
ON_WM_ERASEBKGND()
ON_WM_KEYDOWN()
ON_WM_LBUTTONDOWN()
ON_WM_CLOSE()
END_MESSAGE_MAP()

// ---- The window ----------------------------------------------------------------------------------------------------

bool CMP3SettingsDialog::CreateOver(CWnd* parent)
{
    WNDCLASS windowClass{};
    windowClass.lpfnWndProc = ::DefWindowProc;
    windowClass.hInstance = AfxGetInstanceHandle();
    windowClass.lpszClassName = className;
    if (!AfxRegisterClass(&windowClass))
        return false;
    constexpr DWORD style = WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_VISIBLE;
    CPoint at(100, 100);
    if (parent) {
        CRect over;
        parent->GetWindowRect(over);
        at = CPoint(over.left + (over.Width() - width) / 2, over.top + (over.Height() - height) / 3);
    }
    CRect outer(at, CSize(width, height)); // the client area grows to that of the whole window
    const CRect client = outer;
    if (!CreateEx(0, className, "MP3 settings", style, outer, parent, 0))
        return false;
    CalcWindowRect(outer);
    outer.OffsetRect(client.left - outer.left, client.top - outer.top);
    MoveWindow(outer);
    return true;
}

int CMP3SettingsDialog::DoModal(CWnd* parent)
{
    if (!m_hWnd && !CreateOver(parent))
        return IDCANCEL;
    const bool held = parent && !parent->EnableWindow(FALSE);
    SetFocus();
    while (m_hWnd && result == 0)
        if (!AfxPumpMessage()) {
            AfxPostQuitMessage(0); // for whoever runs the program's own loop
            break;
        }
    if (held)
        parent->EnableWindow(TRUE);
    DestroyWindow();
    if (held)
        parent->SetFocus();
    return result == IDOK ? IDOK : IDCANCEL;
}

void CMP3SettingsDialog::OnClose()
{
    result = IDCANCEL;
}

// ---- The settings --------------------------------------------------------------------------------------------------

std::string CMP3SettingsDialog::ValueOf(int ofRow) const
{
    const BE_CONFIG_LHV1& lame = config.format.LHV1;
    switch (ofRow) {
    case modeRow:
        return modes[std::clamp<LONG>(lame.nMode, 0, 3)];
    case bitrateRow:
        return IsIdle(ofRow) ? "32-320 kbit/s" : std::to_string(lame.dwBitrate) + " kbit/s";
    case vbrRow:
        return lame.bEnableVBR ? "On" : "Off";
    case qualityRow:
        return std::to_string(lame.nVBRQuality) + (lame.nVBRQuality == 0   ? " (best)"
                                                   : lame.nVBRQuality == 9 ? " (smallest)"
                                                                           : "");
    default:
        return lame.dwReSampleRate == 0 ? "As it comes" : std::to_string(lame.dwReSampleRate) + " Hz";
    }
}

bool CMP3SettingsDialog::IsIdle(int ofRow) const
{
    const bool variable = config.format.LHV1.bEnableVBR != FALSE;
    return (ofRow == bitrateRow && variable) || (ofRow == qualityRow && !variable);
}

void CMP3SettingsDialog::Step(int by)
{
    BE_CONFIG_LHV1& lame = config.format.LHV1;
    if (IsIdle(row))
        return;
    switch (row) {
    case modeRow:
        lame.nMode = std::clamp<LONG>(lame.nMode + by, BE_MP3_MODE_STEREO, BE_MP3_MODE_MONO);
        break;
    case bitrateRow:
        lame.dwBitrate = Next(bitrates, lame.dwBitrate, by);
        break;
    case vbrRow:
        lame.bEnableVBR = by > 0;
        break;
    case qualityRow:
        lame.nVBRQuality = std::clamp(lame.nVBRQuality + by, 0, 9);
        break;
    default:
        lame.dwReSampleRate = Next(rates, lame.dwReSampleRate, by);
        break;
    }
    Invalidate(FALSE);
}

void CMP3SettingsDialog::Choose(int newRow)
{
    row = std::clamp(newRow, 0, rowCount - 1);
    Invalidate(FALSE);
}

// ---- Keys and pointer ----------------------------------------------------------------------------------------------

void CMP3SettingsDialog::OnKeyDown(UINT key, UINT, UINT)
{
    switch (key) {
    case VK_UP:
    case VK_DOWN:
        return Choose(row + (key == VK_DOWN ? 1 : -1));
    case VK_TAB:
        return Choose((row + 1) % rowCount);
    case VK_LEFT:
    case VK_RIGHT:
        return Step(key == VK_RIGHT ? 1 : -1);
    case VK_RETURN:
        result = IDOK;
        break;
    case VK_ESCAPE:
        result = IDCANCEL;
        break;
    default:
        break;
    }
}

void CMP3SettingsDialog::OnLButtonDown(UINT, CPoint point)
{
    if (OkRect().PtInRect(point))
        result = IDOK;
    else if (CancelRect().PtInRect(point))
        result = IDCANCEL;
    for (int at = 0; at < rowCount; ++at)
        if (RowRect(at).PtInRect(point)) {
            Choose(at);
            if (point.x >= valueAt) // its left end goes back, the rest on
                Step(point.x < valueAt + rowHeight ? -1 : 1);
        }
}

// ---- Painting ------------------------------------------------------------------------------------------------------

CRect CMP3SettingsDialog::RowRect(int ofRow)
{
    return CRect(CPoint(margin, margin + ofRow * rowHeight), CSize(width - 2 * margin, rowHeight));
}

CRect CMP3SettingsDialog::OkRect()
{
    return CRect(CPoint(width - margin - 2 * buttonWidth - 12, height - margin - buttonHeight),
                 CSize(buttonWidth, buttonHeight));
}

CRect CMP3SettingsDialog::CancelRect()
{
    return CRect(CPoint(width - margin - buttonWidth, height - margin - buttonHeight),
                 CSize(buttonWidth, buttonHeight));
}

BOOL CMP3SettingsDialog::OnEraseBkgnd(CDC*)
{
    return TRUE; // painting covers everything
}

void CMP3SettingsDialog::OnPaint()
{
    const CPaintDC context(this);
    CRect client;
    GetClientRect(client);
    CDib picture;
    if (!picture.Create(client.Width(), client.Height(), 32))
        return;
    CDibDrawing drawing(picture);
    Paint(drawing);
    picture.Show(context, client, CPoint(0, 0));
}

void CMP3SettingsDialog::Paint(CDibDrawing& drawing) const
{
    drawing.Fill(drawing.GetClip(), paper);
    for (int at = 0; at < rowCount; ++at) {
        const CRect rect = RowRect(at);
        const int top = rect.top + (rowHeight - 2 * smallTextHeight) / 2;
        const COLORREF colour = IsIdle(at) ? dim : ink;
        if (at == row)
            drawing.Fill(rect, chosen);
        DrawSmallText(drawing, CPoint(rect.left + 8, top), labels[at], colour);
        DrawSmallText(drawing, CPoint(valueAt + 8, top), "<", IsIdle(at) ? dim : line);
        DrawSmallText(drawing, CPoint(valueAt + rowHeight + 8, top), ValueOf(at), colour);
        DrawSmallText(drawing, CPoint(rect.right - 20, top), ">", IsIdle(at) ? dim : line);
    }
    DrawButton(drawing, OkRect(), "OK");
    DrawButton(drawing, CancelRect(), "Cancel");
}

} // namespace Quenalib_MP3SettingsDialog

void CMP3OutFile::EditParameters(BE_CONFIG* config, CWnd* parent)
{
    Quenalib_MP3SettingsDialog::CMP3SettingsDialog dialog(*config);
    if (dialog.DoModal(parent) == IDOK)
        *config = dialog.GetConfig();
}
