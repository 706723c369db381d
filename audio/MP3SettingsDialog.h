// The window in which a user edits the encoder's settings: a row for each, changed with the arrow keys or a click.
// Coordinates are pixels. The thread of the windows makes all calls.
#pragma once

#include "LameConfig.h"
#include "image/DrawnDialog.h"

#include <string>

namespace Quenalib_MP3SettingsDialog {

/// Edits a copy. Up and down choose a row, left and right change it, Return confirms, Escape and closing cancel.
class CMP3SettingsDialog : public NV::CDrawnDialog {
public:
    enum Row { modeRow, bitrateRow, vbrRow, qualityRow, rateRow, rowCount };

    explicit CMP3SettingsDialog(const BE_CONFIG& initial);

    const BE_CONFIG& GetConfig() const { return config; }
    int GetRow() const { return row; }
    /// What a row shows.
    std::string ValueOf(int ofRow) const;
    /// The other settings make this one idle.
    bool IsIdle(int ofRow) const;
    static CRect RowRect(int ofRow);

protected:
    void PaintRows(CDibDrawing& drawing) const override;
    void Key(UINT key) override;
    void Click(CPoint point) override;

private:
    void Step(int by);
    void Choose(int newRow);

    BE_CONFIG config;
    int row = modeRow;
};

} // namespace Quenalib_MP3SettingsDialog
