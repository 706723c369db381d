// The dialog of the encoder's settings, off-screen: keys and clicks, and what comes of them.
#include "audio/MP3SettingsDialog.h"
#include "Dib.h"
#include "MP3OutFile.h"
#include "Window.h"

#include <gtest/gtest.h>

namespace {

using Quenalib_MP3SettingsDialog::CMP3SettingsDialog;

class MP3SettingsDialog : public testing::Test {
protected:
    MP3SettingsDialog()
    {
        NV::ChooseWindows(NV::WindowKind::offScreen);
        CMP3OutFile::InitBEConfig(&config);
    }
    /// Shows it with these keys waiting; the settings as they are afterwards.
    int Edit(std::initializer_list<int> keys)
    {
        CMP3SettingsDialog dialog(config);
        EXPECT_TRUE(dialog.CreateOver(nullptr));
        for (const int key : keys)
            dialog.PostMessage(WM_KEYDOWN, static_cast<WPARAM>(key), 1);
        const int result = dialog.DoModal(nullptr);
        config = dialog.GetConfig();
        EXPECT_EQ(dialog.m_hWnd, nullptr);
        return result;
    }
    BE_CONFIG config;
    const BE_CONFIG_LHV1& lame = config.format.LHV1;
};

TEST_F(MP3SettingsDialog, KeysChangeEverySetting)
{
    EXPECT_EQ(Edit({VK_RIGHT, VK_DOWN, VK_RIGHT, VK_RIGHT, VK_LEFT, VK_DOWN, VK_DOWN, VK_RIGHT, VK_DOWN, VK_RIGHT,
                    VK_RETURN}),
              IDOK);
    EXPECT_EQ(lame.nMode, BE_MP3_MODE_JSTEREO);
    EXPECT_EQ(lame.dwBitrate, 224U);
    EXPECT_EQ(lame.nVBRQuality, 5); // idle while the bit rate is constant
    EXPECT_EQ(lame.dwReSampleRate, 8000U);
    EXPECT_EQ(Edit({VK_DOWN, VK_DOWN, VK_RIGHT, VK_DOWN, VK_LEFT, VK_UP, VK_UP, VK_RIGHT, VK_RETURN}), IDOK);
    EXPECT_TRUE(lame.bEnableVBR);
    EXPECT_EQ(lame.nVBRQuality, 4);
    EXPECT_EQ(lame.dwBitrate, 224U);
    EXPECT_EQ(Edit({VK_ESCAPE}), IDCANCEL);
}

TEST_F(MP3SettingsDialog, ClicksDoWhatIsShown)
{
    CMP3SettingsDialog dialog(config);
    ASSERT_TRUE(dialog.CreateOver(nullptr));
    CRect client;
    dialog.GetClientRect(client);
    EXPECT_TRUE(client.PtInRect(dialog.CancelRect().BottomRight())); // all of it is there
    const auto click = [&](CPoint at) { dialog.SendMessage(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(at.x, at.y)); };
    const CRect bitrate = CMP3SettingsDialog::RowRect(CMP3SettingsDialog::bitrateRow);
    dialog.UpdateWindow();
    CDib before, after;
    ASSERT_TRUE(before.CopyWindow(dialog));
    click(CPoint(260, bitrate.top + 5));
    EXPECT_EQ(dialog.GetConfig().format.LHV1.dwBitrate, 160U);
    EXPECT_EQ(dialog.ValueOf(CMP3SettingsDialog::bitrateRow), "160 kbit/s");
    click(CPoint(bitrate.right - 5, bitrate.top + 5));
    click(CPoint(bitrate.right - 5, bitrate.top + 5));
    EXPECT_EQ(dialog.ValueOf(CMP3SettingsDialog::bitrateRow), "224 kbit/s");
    dialog.UpdateWindow();
    ASSERT_TRUE(after.CopyWindow(dialog));
    int changed = 0;
    for (int y = bitrate.top; y < bitrate.bottom; ++y)
        for (int x = 290; x < 400; ++x) // the figures
            changed += before.GetPixelColor(x, y) != after.GetPixelColor(x, y);
    EXPECT_GT(changed, 100);
    click(dialog.OkRect().TopLeft());
    EXPECT_EQ(dialog.DoModal(nullptr), IDOK);
}

} // namespace
