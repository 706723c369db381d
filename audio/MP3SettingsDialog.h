// The window in which a user edits the encoder's settings: a row for each, changed with the arrow keys or a click.
// Coordinates are pixels. The thread of the windows makes all calls.
#pragma once

#include "LameConfig.h"

#include <afxwin.h>
#include <string>

class CDibDrawing;

namespace Quenalib_MP3SettingsDialog {

/// Edits a copy. Up and down choose a row, left and right change it, Return confirms, Escape and closing cancel.
class CMP3SettingsDialog : public CWnd {
public:
    enum Row { modeRow, bitrateRow, vbrRow, qualityRow, rateRow, rowCount };

    explicit CMP3SettingsDialog(const BE_CONFIG& initial) : config(initial) {}

    /// Makes the window, over `parent` when there is one. False when that fails.
    bool CreateOver(CWnd* parent);
    /// Makes the window unless it is there, and returns when the user is done: IDOK or IDCANCEL. `parent` takes no
    /// input meanwhile.
    int DoModal(CWnd* parent);

    const BE_CONFIG& GetConfig() const { return config; }
    int GetRow() const { return row; }
    /// What a row shows.
    std::string ValueOf(int ofRow) const;
    /// The other settings make this one idle.
    bool IsIdle(int ofRow) const;
    static CRect RowRect(int ofRow);
    static CRect OkRect();
    static CRect CancelRect();

protected:
    void OnPaint();
    BOOL OnEraseBkgnd(CDC* dc);
    void OnKeyDown(UINT key, UINT repeats, UINT flags);
    void OnLButtonDown(UINT flags, CPoint point);
    void OnClose();
    DECLARE_MESSAGE_MAP()

private:
    void Step(int by);
    void Choose(int newRow);
    void Paint(CDibDrawing& drawing) const;

    BE_CONFIG config;
    int row = modeRow;
    int result = 0; // 0: still open
};

} // namespace Quenalib_MP3SettingsDialog
