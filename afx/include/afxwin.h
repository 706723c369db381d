// Points, sizes and rectangles, windows and what they are painted through, as MFC has them. Coordinates are pixels; a
// rectangle's right and bottom are the first column and row outside of it. Points, sizes and rectangles are plain
// values; any thread may use its own. Windows belong to one thread.
//
//   AfxWindow.cpp    CWnd, window classes, the message loop
//   AfxMessages.cpp  the way from a message to its handler
//   AfxDC.cpp        CDC, CPaintDC
#pragma once

#include <afx.h>

/// Width and height.
class CSize : public tagSIZE {
public:
    CSize() : tagSIZE{0, 0} {}
    CSize(int width, int height) : tagSIZE{width, height} {}
    CSize(const SIZE& other) : tagSIZE(other) {}

    friend bool operator==(const CSize& a, const CSize& b) { return a.cx == b.cx && a.cy == b.cy; }
    CSize operator+(const SIZE& other) const { return CSize(cx + other.cx, cy + other.cy); }
    CSize operator-(const SIZE& other) const { return CSize(cx - other.cx, cy - other.cy); }
};

class CPoint : public tagPOINT {
public:
    CPoint() : tagPOINT{0, 0} {}
    CPoint(int atX, int atY) : tagPOINT{atX, atY} {}
    CPoint(const POINT& other) : tagPOINT(other) {}

    void Offset(int byX, int byY)
    {
        x += byX;
        y += byY;
    }
    friend bool operator==(const CPoint& a, const CPoint& b) { return a.x == b.x && a.y == b.y; }
    // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult): records of the system have no initial values
    CPoint operator+(const SIZE& by) const { return CPoint(x + by.cx, y + by.cy); }
    CPoint operator-(const SIZE& by) const { return CPoint(x - by.cx, y - by.cy); }
    CSize operator-(const POINT& other) const { return CSize(x - other.x, y - other.y); }
};

/// A rectangle is empty when it has no width or no height, a negative one included; several operations treat all empty
/// rectangles alike, so normalise one whose corners may be the wrong way round.
class CRect : public tagRECT {
public:
    CRect() : tagRECT{0, 0, 0, 0} {}
    CRect(int l, int t, int r, int b)
    {
        // One by one: the static analyser does not follow values into a base's braces.
        left = l;
        top = t;
        right = r;
        bottom = b;
    }
    CRect(const RECT& other) : tagRECT(other) {}
    CRect(LPCRECT other) : tagRECT(*other) {}
    // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult): records of the system have no initial values
    CRect(POINT topLeft, SIZE size) : tagRECT{topLeft.x, topLeft.y, topLeft.x + size.cx, topLeft.y + size.cy} {}
    CRect(POINT topLeft, POINT bottomRight) : tagRECT{topLeft.x, topLeft.y, bottomRight.x, bottomRight.y} {}

    operator LPRECT() { return this; }
    operator LPCRECT() const { return this; }

    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
    CSize Size() const { return CSize(Width(), Height()); }
    CPoint TopLeft() const { return CPoint(left, top); }
    CPoint BottomRight() const { return CPoint(right, bottom); }

    BOOL IsRectEmpty() const { return left >= right || top >= bottom; }
    /// All four sides are 0.
    BOOL IsRectNull() const { return left == 0 && top == 0 && right == 0 && bottom == 0; }
    BOOL PtInRect(POINT p) const { return p.x >= left && p.x < right && p.y >= top && p.y < bottom; }

    void SetRect(int l, int t, int r, int b) { *this = CRect(l, t, r, b); }
    void SetRectEmpty() { *this = CRect(); }
    /// Exchanges sides so that width and height are not negative.
    void NormalizeRect()
    {
        *this = CRect(left < right ? left : right, top < bottom ? top : bottom, left < right ? right : left,
                      top < bottom ? bottom : top);
    }
    void OffsetRect(int x, int y) { SetRect(left + x, top + y, right + x, bottom + y); }
    void OffsetRect(SIZE by) { OffsetRect(by.cx, by.cy); }
    void OffsetRect(POINT by) { OffsetRect(by.x, by.y); }
    void InflateRect(int l, int t, int r, int b) { SetRect(left - l, top - t, right + r, bottom + b); }
    void InflateRect(int x, int y) { InflateRect(x, y, x, y); }
    void InflateRect(SIZE by) { InflateRect(by.cx, by.cy); }
    void DeflateRect(int l, int t, int r, int b) { InflateRect(-l, -t, -r, -b); }
    void DeflateRect(int x, int y) { InflateRect(-x, -y); }
    void DeflateRect(SIZE by) { InflateRect(-by.cx, -by.cy); }

    /// Makes this the part that both have. FALSE, and all sides 0, when there is none.
    BOOL IntersectRect(LPCRECT a, LPCRECT b)
    {
        // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult): the system's records begin unset
        const CRect common(a->left > b->left ? a->left : b->left, a->top > b->top ? a->top : b->top,
                           a->right < b->right ? a->right : b->right, a->bottom < b->bottom ? a->bottom : b->bottom);
        const bool any = !common.IsRectEmpty(); // nor is there one with an empty rectangle
        *this = any ? common : CRect();
        return any;
    }
    /// Makes this the smallest rectangle around both, of which empty ones do not count. FALSE, and all sides 0, when
    /// both are empty.
    BOOL UnionRect(LPCRECT a, LPCRECT b)
    {
        const bool hasA = !CRect(a).IsRectEmpty();
        const bool hasB = !CRect(b).IsRectEmpty();
        if (hasA && hasB) {
            *this = CRect(a->left < b->left ? a->left : b->left, a->top < b->top ? a->top : b->top,
                          a->right > b->right ? a->right : b->right, a->bottom > b->bottom ? a->bottom : b->bottom);
        } else {
            *this = hasA ? CRect(a) : hasB ? CRect(b) : CRect();
        }
        return hasA || hasB;
    }

    void operator&=(const RECT& other) { IntersectRect(this, &other); }
    void operator|=(const RECT& other) { UnionRect(this, &other); }
    CRect operator&(const RECT& other) const
    {
        CRect result;
        result.IntersectRect(this, &other);
        return result;
    }
    CRect operator|(const RECT& other) const
    {
        CRect result;
        result.UnionRect(this, &other);
        return result;
    }
    /// Compares the sides: two empty rectangles may differ.
    friend bool operator==(const CRect& a, const CRect& b)
    {
        return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
    }
};

// ---- What a window is painted through ------------------------------------------------------------------------------

class CWnd;

/// A device context: what pixels go to. Here it only carries the handle; CDib::Show puts a picture there.
class NVLIB_API CDC : public CObject {
    DECLARE_DYNAMIC(CDC)
public:
    HDC m_hDC = nullptr;
    HDC GetSafeHdc() const { return m_hDC; }
};

/// The context of a window that is being painted, for the time that this object stands: made first thing in OnPaint,
/// gone at its end, whereupon the window is no longer out of date.
class NVLIB_API CPaintDC : public CDC {
    DECLARE_DYNAMIC(CPaintDC)
public:
    explicit CPaintDC(CWnd* window);
    ~CPaintDC() override;

    PAINTSTRUCT m_ps{}; ///< rcPaint: what is to be painted, in client coordinates.

protected:
    HWND m_hWnd;
};

// ---- Windows -------------------------------------------------------------------------------------------------------

struct AFX_MSGMAP;

/// Where the messages of every window come in. Not for calling.
LRESULT CALLBACK AfxWndProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

/// A window, with the message map that its class declares. The object and the system's window are two things: the
/// window comes with Create and goes with DestroyWindow, with its parent, or with the object. One thread makes windows,
/// calls them and gets their messages; PostMessage alone may be called by any.
///
/// What the framework leaves to functions of the system (ReleaseCapture, GetKeyState, SetCursor) are members here, so
/// that inside a window class the unqualified call is right with either framework.
class NVLIB_API CWnd : public CObject {
    DECLARE_DYNCREATE(CWnd)
public:
    CWnd() = default;
    ~CWnd() override;

    HWND m_hWnd = nullptr; ///< Null while there is no window.
    HWND GetSafeHwnd() const { return m_hWnd; }

    /// The object that a window was made with or attached to, or null.
    static CWnd* FromHandlePermanent(HWND window);

    /// Makes a child window of a registered class (see AfxRegisterClass). `rect` is in the parent's client area. FALSE
    /// when the class is none, there is no parent, or OnCreate gave -1; PostNcDestroy has been called then.
    virtual BOOL Create(LPCTSTR className, LPCTSTR windowName, DWORD style, const RECT& rect, CWnd* parent, UINT id,
                        void* context = nullptr);
    /// Makes a window of any kind: with WS_CHILD as above, otherwise one of its own on the screen that `parent`, when
    /// given, owns. CW_USEDEFAULT as x or width leaves it to the system.
    BOOL CreateEx(DWORD exStyle, LPCTSTR className, LPCTSTR windowName, DWORD style, int x, int y, int width,
                  int height, HWND parent, HMENU idOrMenu, LPVOID parameter = nullptr);
    BOOL CreateEx(DWORD exStyle, LPCTSTR className, LPCTSTR windowName, DWORD style, const RECT& rect, CWnd* parent,
                  UINT id, LPVOID parameter = nullptr);
    /// FALSE when there is no window.
    virtual BOOL DestroyWindow();

    /// Takes a window over that something else made; its messages do not come here. FALSE for null or when either side
    /// is taken.
    BOOL Attach(HWND window);
    /// Ends that, and gives the window back.
    HWND Detach();

    // Place and looks
    void GetClientRect(LPRECT rect) const;
    void GetWindowRect(LPRECT rect) const; ///< On the screen.
    void ClientToScreen(LPPOINT point) const;
    void ScreenToClient(LPPOINT point) const;
    /// Widens a client rectangle to that of the whole window.
    virtual void CalcWindowRect(LPRECT clientRect, UINT adjustType = 0);
    void MoveWindow(int x, int y, int width, int height, BOOL repaint = TRUE);
    void MoveWindow(LPCRECT rect, BOOL repaint = TRUE);
    /// SW_HIDE hides, everything else shows; TRUE when it was visible before.
    BOOL ShowWindow(int show);
    BOOL IsWindowVisible() const;
    /// TRUE when it was disabled before.
    BOOL EnableWindow(BOOL enable = TRUE);
    BOOL IsWindowEnabled() const;
    void SetWindowText(LPCTSTR text);
    DWORD GetStyle() const;
    int GetDlgCtrlID() const; ///< The number that a child window was made with.
    /// The parent, or the owner of a window without one.
    CWnd* GetParent() const;

    // Painting
    void Invalidate(BOOL erase = TRUE);
    void InvalidateRect(LPCRECT rect, BOOL erase = TRUE);
    /// Has what is out of date painted now, here and in child windows.
    void UpdateWindow();

    // Messages
    LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const;
    /// Any thread. FALSE when there is no such window.
    BOOL PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const;

    // Pointer, keys and timers
    CWnd* SetCapture(); ///< The pointer's messages come here until ReleaseCapture; gives who had them before.
    static BOOL ReleaseCapture();
    static CWnd* GetCapture();
    CWnd* SetFocus(); ///< Keys come here; gives who had them before.
    static CWnd* GetFocus();
    static short GetKeyState(int virtualKey); ///< Negative while the key is down.
    static HCURSOR SetCursor(HCURSOR cursor); ///< In OnSetCursor; gives the one before.
    /// Sends WM_TIMER every `milliseconds` (10 at least); gives `id`, or 0.
    UINT_PTR SetTimer(UINT_PTR id, UINT milliseconds, void* noCallback);
    BOOL KillTimer(UINT_PTR id);

protected:
    /// May change how the window is going to be made; FALSE makes none.
    virtual BOOL PreCreateWindow(CREATESTRUCT& how);
    /// The last that is called for a window. An object that belongs to nobody deletes itself here.
    virtual void PostNcDestroy();
    /// Every message comes through here, to the message map and, unless it is handled there, to DefWindowProc.
    virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    virtual BOOL OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result);
    virtual LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    /// What DefWindowProc does with the message that is being handled; handlers call it for what they do not want.
    LRESULT Default();

    // Handlers of messages, for those who derive. A class that has one of these names it in its message map.
    int OnCreate(LPCREATESTRUCT how); ///< -1: there shall be no window.
    void OnDestroy();
    void OnNcDestroy();
    void OnClose(); ///< Destroys the window unless it is handled.
    void OnMove(int x, int y);
    void OnSize(UINT type, int width, int height); ///< Of the client area.
    void OnShowWindow(BOOL show, UINT status);
    void OnEnable(BOOL enable);
    void OnPaint();
    BOOL OnEraseBkgnd(CDC* dc); ///< TRUE: it is erased.
    void OnSetFocus(CWnd* old);
    void OnKillFocus(CWnd* next);
    void OnKeyDown(UINT key, UINT repeats, UINT flags);
    void OnKeyUp(UINT key, UINT repeats, UINT flags);
    void OnChar(UINT character, UINT repeats, UINT flags);
    void OnMouseMove(UINT flags, CPoint point); ///< MK_ flags, and where in the client area; so for all buttons.
    void OnLButtonDown(UINT flags, CPoint point);
    void OnLButtonUp(UINT flags, CPoint point);
    void OnLButtonDblClk(UINT flags, CPoint point); ///< Classes with CS_DBLCLKS only.
    void OnRButtonDown(UINT flags, CPoint point);
    void OnRButtonUp(UINT flags, CPoint point);
    void OnMButtonDown(UINT flags, CPoint point);
    void OnMButtonUp(UINT flags, CPoint point);
    BOOL OnMouseWheel(UINT flags, short delta, CPoint screenPoint); ///< 120 a notch, away from the user is positive.
    BOOL OnSetCursor(CWnd* window, UINT hitTest, UINT message);     ///< TRUE: the shape is set.
    void OnCaptureChanged(CWnd* next);
    void OnTimer(UINT_PTR id);

    static const AFX_MSGMAP* GetThisMessageMap();
    virtual const AFX_MSGMAP* GetMessageMap() const;

private:
    friend LRESULT CALLBACK AfxWndProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT Receive(UINT message, WPARAM wParam, LPARAM lParam);
    void Gone();
};

// ---- Window classes and the message loop ---------------------------------------------------------------------------

/// Makes a window class known; TRUE also when one of its name is known already. lpfnWndProc is to be ::DefWindowProc:
/// messages go to the window's object. ::UnregisterClass forgets a class.
NVLIB_API BOOL AfxRegisterClass(WNDCLASS* windowClass);
/// The module that window classes belong to.
NVLIB_API HINSTANCE AfxGetInstanceHandle();
/// The program's main window: of those that the calling thread has made with neither parent nor owner, the oldest that
/// stands. Null when there is none. Any thread.
NVLIB_API CWnd* AfxGetMainWnd();

/// Waits for a message and handles it, as the calling thread's CWinThread does if it has one. FALSE when it was the
/// request to quit.
NVLIB_API BOOL AfxPumpMessage();
/// Has the message loop end once it has handled what waits.
NVLIB_API void AfxPostQuitMessage(int exitCode);

#include <afxmsg_.h>
#include <afxthrd_.h>
