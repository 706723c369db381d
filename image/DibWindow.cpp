// CDib's way to windows and back: see Dib.h.
#include "Dib.h"
#include "Window.h"

bool CDib::Show(const CDC& context, const CRect& from, CPoint to) const
{
    if (!IsValid())
        return false;
    // The record serves both directions; nothing is written when showing.
    const NV::PixelRows rows{const_cast<u8*>(GetBits()), width, height, bitCount, colourTable.data()};
    return NV::ShowPixels(context.GetSafeHdc(), to, rows, from);
}

bool CDib::CopyWindow(const CWnd& window)
{
    CRect client;
    window.GetClientRect(client);
    if (!Create(client.Width(), client.Height(), 32))
        return false;
    if (NV::ReadPixels(window.GetSafeHwnd(), {GetBits(), width, height, bitCount, nullptr}))
        return true;
    Destroy();
    return false;
}
