// Message maps, as MFC has them: which message of a window class goes to which member. <afxwin.h> includes this.
//
//     class CView : public CWnd {
//         ...
//         void OnPaint();                                  BEGIN_MESSAGE_MAP(CView, CWnd)
//         LRESULT OnTold(WPARAM code, LPARAM);                 ON_WM_PAINT()
//         DECLARE_MESSAGE_MAP()                                ON_MESSAGE(WM_USER + 401, &CView::OnTold)
//     };                                                   END_MESSAGE_MAP()
#pragma once

/// One message and who handles it.
struct AFX_MSGMAP_ENTRY {
    UINT nMessage;
    /// Takes the message apart and calls the member. FALSE: the message is handed on.
    BOOL (*pfnCall)(CObject* target, WPARAM wParam, LPARAM lParam, LRESULT& result);
};

/// The messages of one class; a null pfnCall ends them.
struct AFX_MSGMAP {
    const AFX_MSGMAP* (*pfnGetBaseMap)(); ///< Null at the root.
    const AFX_MSGMAP_ENTRY* lpEntries;
};

namespace NV::MessageMap {

inline CPoint PointOf(LPARAM lParam) // coordinates may be negative while the pointer is captured
{
    return CPoint(static_cast<short>(LOWORD(static_cast<DWORD>(lParam))),
                  static_cast<short>(HIWORD(static_cast<DWORD>(lParam))));
}

// What the members of each kind of message get. `Call` calls one, which is a member of T.
struct Message {
    template <class T>
    static LRESULT Call(T& w, auto member, WPARAM wParam, LPARAM lParam)
    {
        return (w.*member)(wParam, lParam);
    }
};
struct Nothing {
    template <class T>
    static LRESULT Call(T& w, auto member, WPARAM, LPARAM)
    {
        (w.*member)();
        return 0;
    }
};
struct Creation {
    template <class T>
    static LRESULT Call(T& w, auto member, WPARAM, LPARAM lParam)
    {
        return (w.*member)(reinterpret_cast<LPCREATESTRUCT>(lParam));
    }
};
struct Place {
    template <class T>
    static LRESULT Call(T& w, auto member, WPARAM, LPARAM lParam)
    {
        const CPoint at = PointOf(lParam);
        (w.*member)(at.x, at.y);
        return 0;
    }
};
struct Size {
    template <class T>
    static LRESULT Call(T& w, auto member, WPARAM wParam, LPARAM lParam)
    {
        const auto size = static_cast<DWORD>(lParam);
        (w.*member)(static_cast<UINT>(wParam), LOWORD(size), HIWORD(size));
        return 0;
    }
};
struct Showing {
    template <class T>
    static LRESULT Call(T& w, auto member, WPARAM wParam, LPARAM lParam)
    {
        (w.*member)(wParam != 0, static_cast<UINT>(lParam));
        return 0;
    }
};
struct Enabling {
    template <class T>
    static LRESULT Call(T& w, auto member, WPARAM wParam, LPARAM)
    {
        (w.*member)(wParam != 0);
        return 0;
    }
};
struct Erasing {
    template <class T>
    static LRESULT Call(T& w, auto member, WPARAM wParam, LPARAM)
    {
        CDC context;
        context.m_hDC = reinterpret_cast<HDC>(wParam);
        return (w.*member)(&context);
    }
};
struct Other { // the other window, from or to which something goes
    template <class T>
    static LRESULT Call(T& w, auto member, WPARAM wParam, LPARAM)
    {
        (w.*member)(CWnd::FromHandlePermanent(reinterpret_cast<HWND>(wParam)));
        return 0;
    }
};
struct CaptureGone {
    template <class T>
    static LRESULT Call(T& w, auto member, WPARAM, LPARAM lParam)
    {
        (w.*member)(CWnd::FromHandlePermanent(reinterpret_cast<HWND>(lParam)));
        return 0;
    }
};
struct Key {
    template <class T>
    static LRESULT Call(T& w, auto member, WPARAM wParam, LPARAM lParam)
    {
        const auto bits = static_cast<DWORD>(lParam);
        (w.*member)(static_cast<UINT>(wParam), LOWORD(bits), HIWORD(bits));
        return 0;
    }
};
struct Pointer {
    template <class T>
    static LRESULT Call(T& w, auto member, WPARAM wParam, LPARAM lParam)
    {
        (w.*member)(static_cast<UINT>(wParam), PointOf(lParam));
        return 0;
    }
};
struct Cursor {
    template <class T>
    static LRESULT Call(T& w, auto member, WPARAM wParam, LPARAM lParam)
    {
        const auto what = static_cast<DWORD>(lParam);
        return (w.*member)(CWnd::FromHandlePermanent(reinterpret_cast<HWND>(wParam)), LOWORD(what), HIWORD(what));
    }
};
struct Timer {
    template <class T>
    static LRESULT Call(T& w, auto member, WPARAM wParam, LPARAM)
    {
        (w.*member)(static_cast<UINT_PTR>(wParam));
        return 0;
    }
};

template <class Kind, class T, auto member>
BOOL Call(CObject* target, WPARAM wParam, LPARAM lParam, LRESULT& result)
{
    result = Kind::Call(*static_cast<T*>(target), member, wParam, lParam);
    return TRUE;
}
/// Of the wheel: what the member does not want goes on to the parent, by way of DefWindowProc.
template <class T, auto member>
BOOL CallWheel(CObject* target, WPARAM wParam, LPARAM lParam, LRESULT& result)
{
    const auto bits = static_cast<DWORD>(wParam);
    result = (static_cast<T*>(target)->*member)(LOWORD(bits), static_cast<short>(HIWORD(bits)), PointOf(lParam));
    return result != 0;
}

} // namespace NV::MessageMap

#define DECLARE_MESSAGE_MAP()                                                                                          \
protected:                                                                                                             \
    static const AFX_MSGMAP* GetThisMessageMap();                                                                      \
    const AFX_MSGMAP* GetMessageMap() const override;

#define BEGIN_MESSAGE_MAP(class_name, base_class_name)                                                                 \
    const AFX_MSGMAP* class_name::GetMessageMap() const                                                                \
    {                                                                                                                  \
        return GetThisMessageMap();                                                                                    \
    }                                                                                                                  \
    const AFX_MSGMAP* class_name::GetThisMessageMap()                                                                  \
    {                                                                                                                  \
        using ThisClass = class_name;                                                                                  \
        using TheBaseClass = base_class_name;                                                                          \
        static const AFX_MSGMAP_ENTRY entries[] = {

#define END_MESSAGE_MAP()                                                                                              \
    {                                                                                                                  \
        WM_NULL, nullptr                                                                                               \
    }                                                                                                                  \
    }                                                                                                                  \
    ;                                                                                                                  \
    static const AFX_MSGMAP map = {&TheBaseClass::GetThisMessageMap, entries};                                         \
    return &map;                                                                                                       \
    }

#define AFX_HANDLER(message, kind, member) {message, &NV::MessageMap::Call<NV::MessageMap::kind, ThisClass, member>},

/// `member` is LRESULT member(WPARAM, LPARAM).
#define ON_MESSAGE(message, member) AFX_HANDLER(message, Message, member)

#define ON_WM_CREATE() AFX_HANDLER(WM_CREATE, Creation, &ThisClass::OnCreate)
#define ON_WM_DESTROY() AFX_HANDLER(WM_DESTROY, Nothing, &ThisClass::OnDestroy)
#define ON_WM_NCDESTROY() AFX_HANDLER(WM_NCDESTROY, Nothing, &ThisClass::OnNcDestroy)
#define ON_WM_CLOSE() AFX_HANDLER(WM_CLOSE, Nothing, &ThisClass::OnClose)
#define ON_WM_MOVE() AFX_HANDLER(WM_MOVE, Place, &ThisClass::OnMove)
#define ON_WM_SIZE() AFX_HANDLER(WM_SIZE, Size, &ThisClass::OnSize)
#define ON_WM_SHOWWINDOW() AFX_HANDLER(WM_SHOWWINDOW, Showing, &ThisClass::OnShowWindow)
#define ON_WM_ENABLE() AFX_HANDLER(WM_ENABLE, Enabling, &ThisClass::OnEnable)
#define ON_WM_PAINT() AFX_HANDLER(WM_PAINT, Nothing, &ThisClass::OnPaint)
#define ON_WM_ERASEBKGND() AFX_HANDLER(WM_ERASEBKGND, Erasing, &ThisClass::OnEraseBkgnd)
#define ON_WM_SETFOCUS() AFX_HANDLER(WM_SETFOCUS, Other, &ThisClass::OnSetFocus)
#define ON_WM_KILLFOCUS() AFX_HANDLER(WM_KILLFOCUS, Other, &ThisClass::OnKillFocus)
#define ON_WM_KEYDOWN() AFX_HANDLER(WM_KEYDOWN, Key, &ThisClass::OnKeyDown)
#define ON_WM_KEYUP() AFX_HANDLER(WM_KEYUP, Key, &ThisClass::OnKeyUp)
#define ON_WM_CHAR() AFX_HANDLER(WM_CHAR, Key, &ThisClass::OnChar)
#define ON_WM_MOUSEMOVE() AFX_HANDLER(WM_MOUSEMOVE, Pointer, &ThisClass::OnMouseMove)
#define ON_WM_LBUTTONDOWN() AFX_HANDLER(WM_LBUTTONDOWN, Pointer, &ThisClass::OnLButtonDown)
#define ON_WM_LBUTTONUP() AFX_HANDLER(WM_LBUTTONUP, Pointer, &ThisClass::OnLButtonUp)
#define ON_WM_LBUTTONDBLCLK() AFX_HANDLER(WM_LBUTTONDBLCLK, Pointer, &ThisClass::OnLButtonDblClk)
#define ON_WM_RBUTTONDOWN() AFX_HANDLER(WM_RBUTTONDOWN, Pointer, &ThisClass::OnRButtonDown)
#define ON_WM_RBUTTONUP() AFX_HANDLER(WM_RBUTTONUP, Pointer, &ThisClass::OnRButtonUp)
#define ON_WM_MBUTTONDOWN() AFX_HANDLER(WM_MBUTTONDOWN, Pointer, &ThisClass::OnMButtonDown)
#define ON_WM_MBUTTONUP() AFX_HANDLER(WM_MBUTTONUP, Pointer, &ThisClass::OnMButtonUp)
#define ON_WM_MOUSEWHEEL() {WM_MOUSEWHEEL, &NV::MessageMap::CallWheel<ThisClass, &ThisClass::OnMouseWheel>},
#define ON_WM_SETCURSOR() AFX_HANDLER(WM_SETCURSOR, Cursor, &ThisClass::OnSetCursor)
#define ON_WM_CAPTURECHANGED() AFX_HANDLER(WM_CAPTURECHANGED, CaptureGone, &ThisClass::OnCaptureChanged)
#define ON_WM_TIMER() AFX_HANDLER(WM_TIMER, Timer, &ThisClass::OnTimer)
