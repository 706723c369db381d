// The dialog in which a user picks one of several matches for a disc, and when it is shown. Coordinates are pixels. The
// thread of the windows makes all calls but AskForMatch.
#pragma once

#include "CDDBTypes.h"
#include "image/DrawnDialog.h"

#include <string>
#include <vector>

/// A list of the matches, category and "artist / title" of each. The arrow keys, the page keys, Home, End, the wheel
/// and a click choose, Return, OK and a double click confirm; Escape, Cancel and closing take none.
class CFreeDBSelectCDDialog : public NV::CDrawnDialog {
public:
    /// `matches` outlive the dialog; there is at least one.
    explicit CFreeDBSelectCDDialog(const std::vector<CCDDBQueryResult>& matches);

    /// The index of the match that is chosen now.
    int GetSelection() const { return selection; }
    /// Where a match's row is, which may be outside of what is seen.
    CRect RowRect(int ofMatch) const;
    /// What a row shows: the category, and the titles.
    static std::string CategoryOf(const CCDDBQueryResult& match);
    static std::string TitleOf(const CCDDBQueryResult& match);

    static constexpr int maxRows = 12; ///< Seen at once.

protected:
    void PaintRows(CDibDrawing& drawing) const override;
    void Key(UINT key) override;
    void Click(CPoint point) override;
    void DoubleClick(CPoint point) override;
    void Wheel(int notches) override;

private:
    int RowCount() const;
    int LastSeen() const;
    void Choose(int match);
    bool ChooseAt(CPoint point);

    const std::vector<CCDDBQueryResult>& list;
    int selection = 0;
    int top = 0; // the match in the first row
};

/// The index of the match that the user chooses, over the calling thread's main window; -1 for none of them. The first
/// one where there is nobody to ask: the calling thread has no window, or windows are off-screen ones. Any thread.
int AskForMatch(const std::vector<CCDDBQueryResult>& matches);
