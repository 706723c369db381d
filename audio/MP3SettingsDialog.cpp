// See MP3SettingsDialog.h; and CMP3OutFile::EditParameters, which shows it.
#include "MP3SettingsDialog.h"

#include "DibDrawing.h"
#include "MP3OutFile.h"

#include <algorithm>
#include <array>
#include <span>

using namespace NV;

namespace Quenalib_MP3SettingsDialog {
namespace {

constexpr int width = 520, valueAt = 250;

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

} // namespace

CMP3SettingsDialog::CMP3SettingsDialog(const BE_CONFIG& initial)
    : CDrawnDialog("MP3 settings", CSize(width, margin + rowCount * rowHeight + footHeight)), config(initial)
{
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

void CMP3SettingsDialog::Key(UINT key)
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
    default:
        break;
    }
}

void CMP3SettingsDialog::Click(CPoint point)
{
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

void CMP3SettingsDialog::PaintRows(CDibDrawing& drawing) const
{
    for (int at = 0; at < rowCount; ++at) {
        const CRect rect = RowRect(at);
        const COLORREF colour = IsIdle(at) ? dim : ink;
        const COLORREF arrows = IsIdle(at) ? dim : line;
        if (at == row)
            drawing.Fill(rect, chosen);
        DrawRowText(drawing, rect.left + 8, rect, labels[at], colour);
        DrawRowText(drawing, valueAt + 8, rect, "<", arrows);
        DrawRowText(drawing, valueAt + rowHeight + 8, rect, ValueOf(at), colour);
        DrawRowText(drawing, rect.right - 20, rect, ">", arrows);
    }
}

} // namespace Quenalib_MP3SettingsDialog

void CMP3OutFile::EditParameters(BE_CONFIG* config, CWnd* parent)
{
    Quenalib_MP3SettingsDialog::CMP3SettingsDialog dialog(*config);
    if (dialog.DoModal(parent) == IDOK)
        *config = dialog.GetConfig();
}
