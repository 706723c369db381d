// See FreeDBSelectCDDialog.h.
#include "FreeDBSelectCDDialog.h"

#include "DibDrawing.h"
#include "Window.h"
#include "image/PlainLetters.h"
#include "image/SmallText.h"

#include <algorithm>

using namespace NV;

namespace {

constexpr int dialogWidth = 800, indent = 8, scrollWidth = 6;
constexpr std::size_t categoryLetters = 11;
constexpr int titleAt = CDrawnDialog::margin + indent + static_cast<int>(categoryLetters + 1) * 2 * smallTextAdvance;
constexpr int titleWidth = dialogWidth - CDrawnDialog::margin - scrollWidth - indent - titleAt;
constexpr std::size_t titleLetters = titleWidth / (2 * smallTextAdvance);

/// Cut with dots when it is longer.
std::string Fitted(std::string text, std::size_t letters)
{
    if (text.size() > letters)
        text.replace(letters - 2, std::string::npos, "..");
    return text;
}

int RowsFor(std::size_t matches)
{
    return static_cast<int>(std::min<std::size_t>(matches, CFreeDBSelectCDDialog::maxRows));
}

} // namespace

CFreeDBSelectCDDialog::CFreeDBSelectCDDialog(const std::vector<CCDDBQueryResult>& matches)
    : CDrawnDialog("Select CD", CSize(dialogWidth, margin + RowsFor(matches.size()) * rowHeight + footHeight)),
      list(matches)
{
}

std::string CFreeDBSelectCDDialog::CategoryOf(const CCDDBQueryResult& match)
{
    return Fitted(PlainLetters(match.category.GetString()), categoryLetters);
}

std::string CFreeDBSelectCDDialog::TitleOf(const CCDDBQueryResult& match)
{
    const std::string artist = PlainLetters(match.artist.GetString());
    return Fitted(artist + " / " + PlainLetters(match.title.GetString()), titleLetters);
}

// ---- The list ------------------------------------------------------------------------------------------------------

int CFreeDBSelectCDDialog::RowCount() const
{
    return RowsFor(list.size());
}

int CFreeDBSelectCDDialog::LastSeen() const
{
    return top + RowCount() - 1;
}

void CFreeDBSelectCDDialog::Choose(int match)
{
    selection = std::clamp(match, 0, static_cast<int>(list.size()) - 1);
    if (selection < top)
        top = selection;
    else if (selection > LastSeen())
        top += selection - LastSeen();
    Invalidate(FALSE);
}

void CFreeDBSelectCDDialog::Key(UINT key)
{
    switch (key) {
    case VK_UP:
    case VK_DOWN:
        return Choose(selection + (key == VK_DOWN ? 1 : -1));
    case VK_PRIOR:
    case VK_NEXT:
        return Choose(selection + (key == VK_NEXT ? RowCount() : -RowCount()));
    case VK_HOME:
        return Choose(0);
    case VK_END:
        return Choose(static_cast<int>(list.size()) - 1);
    default:
        break;
    }
}

void CFreeDBSelectCDDialog::Wheel(int notches)
{
    Choose(selection - notches);
}

bool CFreeDBSelectCDDialog::ChooseAt(CPoint point)
{
    for (int at = top; at <= LastSeen(); ++at)
        if (RowRect(at).PtInRect(point)) {
            Choose(at);
            return true;
        }
    return false;
}

void CFreeDBSelectCDDialog::Click(CPoint point)
{
    ChooseAt(point);
}

void CFreeDBSelectCDDialog::DoubleClick(CPoint point)
{
    if (ChooseAt(point))
        End(IDOK);
}

// ---- Painting ------------------------------------------------------------------------------------------------------

CRect CFreeDBSelectCDDialog::RowRect(int ofMatch) const
{
    return CRect(CPoint(margin, margin + (ofMatch - top) * rowHeight),
                 CSize(dialogWidth - 2 * margin - scrollWidth, rowHeight));
}

void CFreeDBSelectCDDialog::PaintRows(CDibDrawing& drawing) const
{
    for (int at = top; at <= LastSeen(); ++at) {
        const CCDDBQueryResult& match = list[static_cast<std::size_t>(at)];
        const CRect rect = RowRect(at);
        if (at == selection)
            drawing.Fill(rect, chosen);
        DrawRowText(drawing, rect.left + indent, rect, CategoryOf(match), line);
        DrawRowText(drawing, titleAt, rect, TitleOf(match), ink);
    }
    if (list.size() > maxRows) { // which part of the list is seen
        const int height = RowCount() * rowHeight;
        const auto down = [&](int match) {
            return margin + static_cast<int>(i64{height} * match / static_cast<i64>(list.size()));
        };
        const int left = dialogWidth - margin - scrollWidth;
        drawing.Fill(CRect(left, margin, left + scrollWidth, margin + height), chosen);
        drawing.Fill(CRect(left, down(top), left + scrollWidth, std::max(down(LastSeen() + 1), down(top) + 2)), line);
    }
}

// ---- When it is shown ----------------------------------------------------------------------------------------------

int AskForMatch(const std::vector<CCDDBQueryResult>& matches)
{
    CWnd* const parent = AfxGetMainWnd();
    if (!parent || WindowsAre() == WindowKind::offScreen)
        return 0;
    CFreeDBSelectCDDialog dialog(matches);
    if (!dialog.CreateOver(parent))
        return 0;
    return dialog.DoModal(parent) == IDOK ? dialog.GetSelection() : -1;
}
