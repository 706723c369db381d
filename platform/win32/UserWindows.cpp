// Windows of user32, painted with GDI. Windows are what CreateWindowEx makes; their messages go to the framework's
// procedure from the first one on, and the class's own procedure gets what nobody handles.
#include "WindowSystem.h"
#include "platform/RectTools.h"

#include <cstring>
#include <utility>
#include <vector>

namespace NV {

namespace {

/// The procedure that a window had before: what its class does with messages.
constexpr const char* defaultProperty = "NVLib.DefaultProcedure";

WNDPROC FromProperty(HWND window)
{
    return reinterpret_cast<WNDPROC>(reinterpret_cast<void (*)()>(GetPropA(window, defaultProperty)));
}

/// Whose window comes next on this thread: CreateWindowEx sends messages before it returns a handle.
thread_local WNDPROC awaiting = nullptr;

LRESULT CALLBACK TakeOver(int code, WPARAM wParam, LPARAM lParam)
{
    if (code == HCBT_CREATEWND && awaiting) {
        const HWND window = reinterpret_cast<HWND>(wParam);
        const LONG_PTR before =
            SetWindowLongPtrA(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(std::exchange(awaiting, nullptr)));
        SetPropA(window, defaultProperty, reinterpret_cast<HANDLE>(before));
    }
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

/// A bitmap in memory with a context of its own.
class MemoryPicture {
public:
    MemoryPicture(HDC like, int width, int height) : context(CreateCompatibleDC(like))
    {
        BITMAPINFO form{};
        form.bmiHeader.biSize = sizeof form.bmiHeader;
        form.bmiHeader.biWidth = width;
        form.bmiHeader.biHeight = height;
        form.bmiHeader.biPlanes = 1;
        form.bmiHeader.biBitCount = 32;
        void* memory = nullptr;
        bitmap = CreateDIBSection(like, &form, DIB_RGB_COLORS, &memory, nullptr, 0);
        bits = static_cast<const u8*>(memory);
        if (context && bitmap)
            before = SelectObject(context, bitmap);
    }
    ~MemoryPicture()
    {
        if (before)
            SelectObject(context, before);
        if (bitmap)
            DeleteObject(bitmap);
        if (context)
            DeleteDC(context);
    }
    MemoryPicture(const MemoryPicture&) = delete;
    MemoryPicture& operator=(const MemoryPicture&) = delete;

    explicit operator bool() const { return before != nullptr; }
    HDC Context() const { return context; }
    const u8* Bits() const { return bits; }

private:
    HDC context;
    HBITMAP bitmap = nullptr;
    HGDIOBJ before = nullptr;
    const u8* bits = nullptr;
};

class UserWindows : public IWindowSystem {
public:
    HWND Create(const CREATESTRUCTA& how, WNDPROC procedure) override
    {
        const HHOOK hook = SetWindowsHookExA(WH_CBT, TakeOver, nullptr, GetCurrentThreadId());
        if (!hook)
            return nullptr;
        awaiting = procedure;
        const HWND window =
            CreateWindowExA(how.dwExStyle, how.lpszClass, how.lpszName, static_cast<DWORD>(how.style), how.x, how.y,
                            how.cx, how.cy, how.hwndParent, how.hMenu, how.hInstance, how.lpCreateParams);
        awaiting = nullptr;
        UnhookWindowsHookEx(hook);
        if (window)
            made.push_back(window);
        return window;
    }
    bool Destroy(HWND window) override { return DestroyWindow(window) != FALSE; }
    bool IsWindow(HWND window) override { return ::IsWindow(window) != FALSE; }
    bool AnyWindow() override
    {
        std::erase_if(made, [](HWND window) { return !::IsWindow(window); });
        return !made.empty();
    }

    LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override
    {
        return SendMessageA(window, message, wParam, lParam);
    }
    bool Post(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override
    {
        return window && PostMessageA(window, message, wParam, lParam);
    }
    LRESULT Default(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override
    {
        const WNDPROC own = FromProperty(window);
        if (message == WM_NCDESTROY)
            RemovePropA(window, defaultProperty);
        return own ? CallWindowProcA(own, window, message, wParam, lParam)
                   : DefWindowProcA(window, message, wParam, lParam);
    }

    bool Next(MSG& message, bool wait) override
    {
        if (!wait)
            return PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != FALSE;
        GetMessageA(&message, nullptr, 0, 0);
        return true;
    }
    void Dispatch(const MSG& message) override
    {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    void PostQuit(int exitCode) override { PostQuitMessage(exitCode); }

    void Show(HWND window, int how) override { ShowWindow(window, how); }
    bool IsVisible(HWND window) override { return IsWindowVisible(window) != FALSE; }
    bool Enable(HWND window, bool enable) override { return EnableWindow(window, enable) != FALSE; }
    bool IsEnabled(HWND window) override { return IsWindowEnabled(window) != FALSE; }
    bool Move(HWND window, const RECT& to, bool repaint) override
    {
        return MoveWindow(window, to.left, to.top, Width(to), Height(to), repaint) != FALSE;
    }
    RECT ClientRect(HWND window) override
    {
        RECT client{};
        GetClientRect(window, &client);
        return client;
    }
    RECT WindowRect(HWND window) override
    {
        RECT all{};
        GetWindowRect(window, &all);
        return all;
    }
    POINT ClientOrigin(HWND window) override
    {
        POINT origin{};
        ClientToScreen(window, &origin);
        return origin;
    }
    RECT FrameAround(const RECT& client, DWORD style, DWORD exStyle) override
    {
        RECT all = client;
        AdjustWindowRectEx(&all, style, FALSE, exStyle);
        return all;
    }

    HWND Parent(HWND window) override { return GetParent(window); }
    int Id(HWND window) override { return GetDlgCtrlID(window); }
    DWORD Style(HWND window) override { return static_cast<DWORD>(GetWindowLongPtrA(window, GWL_STYLE)); }
    void SetTitle(HWND window, const char* title) override { SetWindowTextA(window, title); }

    void Invalidate(HWND window, const RECT* area, bool erase) override
    {
        if (window) // null would be the whole screen
            InvalidateRect(window, area, erase);
    }
    void Update(HWND window) override { UpdateWindow(window); }
    HDC BeginPaint(HWND window, PAINTSTRUCT& paint) override { return ::BeginPaint(window, &paint); }
    void EndPaint(HWND window, const PAINTSTRUCT& paint) override { ::EndPaint(window, &paint); }
    bool ShowPixels(HDC context, POINT to, const PixelRows& picture, const RECT& from) override;
    bool ReadPixels(HWND window, const PixelRows& picture) override;

    HWND SetCapture(HWND window) override
    {
        if (window)
            return ::SetCapture(window);
        const HWND before = ::GetCapture();
        ReleaseCapture();
        return before;
    }
    HWND GetCapture() override { return ::GetCapture(); }
    HWND SetFocus(HWND window) override { return ::SetFocus(window); }
    HWND GetFocus() override { return ::GetFocus(); }
    short KeyState(int virtualKey) override { return GetKeyState(virtualKey); }
    HCURSOR SetCursor(HCURSOR cursor) override { return ::SetCursor(cursor); }

    bool SetTimer(HWND window, UINT_PTR id, UINT milliseconds) override
    {
        return window && ::SetTimer(window, id, milliseconds, nullptr);
    }
    bool KillTimer(HWND window, UINT_PTR id) override { return ::KillTimer(window, id) != FALSE; }

private:
    std::vector<HWND> made;
};

bool UserWindows::ShowPixels(HDC context, POINT to, const PixelRows& picture, const RECT& from)
{
    if (!context || GetObjectType(context) == 0)
        return false;
    const RECT part = Common(from, {0, 0, picture.width, picture.height});
    if (Empty(part))
        return true;
    struct {
        BITMAPINFOHEADER header;
        RGBQUAD colours[256];
    } form{};
    form.header.biSize = sizeof form.header;
    form.header.biWidth = picture.width;
    form.header.biHeight = picture.height; // bottom-up
    form.header.biPlanes = 1;
    form.header.biBitCount = static_cast<WORD>(picture.bitCount);
    if (picture.bitCount == 8)
        std::memcpy(form.colours, picture.colours, sizeof form.colours);
    const void* const described = &form; // a BITMAPINFO with room for its colours
    SetDIBitsToDevice(context, to.x + part.left - from.left, to.y + part.top - from.top,
                      static_cast<DWORD>(Width(part)), static_cast<DWORD>(Height(part)), part.left,
                      picture.height - part.bottom, 0, static_cast<UINT>(picture.height), picture.bits,
                      static_cast<const BITMAPINFO*>(described), DIB_RGB_COLORS);
    return true;
}

bool UserWindows::ReadPixels(HWND window, const PixelRows& picture)
{
    const RECT client = ClientRect(window);
    if (!::IsWindow(window) || picture.bitCount != 32 || client.right != picture.width ||
        client.bottom != picture.height)
        return false;
    const HDC shown = GetDC(window);
    bool read = false;
    if (const MemoryPicture copy(shown, picture.width, picture.height); copy) {
        read = BitBlt(copy.Context(), 0, 0, picture.width, picture.height, shown, 0, 0, SRCCOPY) != FALSE;
        GdiFlush();
        const int pixels = read ? picture.width * picture.height : 0;
        for (int i = 0; i < pixels; ++i) { // without the byte that nobody defines
            std::memcpy(picture.bits + 4 * i, copy.Bits() + 4 * i, 3);
            picture.bits[4 * i + 3] = 0;
        }
    }
    ReleaseDC(window, shown);
    return read;
}

} // namespace

std::unique_ptr<IWindowSystem> MakeDisplayWindows()
{
    // A session may have no desktop, and then no window can be made.
    const HWND probe = CreateWindowExA(0, "STATIC", "", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    if (!probe)
        return nullptr;
    DestroyWindow(probe);
    return std::make_unique<UserWindows>();
}

HINSTANCE ModuleInstance()
{
    HMODULE module = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCSTR>(reinterpret_cast<void (*)()>(&MakeDisplayWindows)), &module);
    return module;
}

} // namespace NV
