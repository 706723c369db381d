// What a window is painted through.
#include "WindowSystem.h"

#include <afxwin.h>

IMPLEMENT_DYNAMIC(CDC, CObject)
IMPLEMENT_DYNAMIC(CPaintDC, CDC)

CPaintDC::CPaintDC(CWnd* window) : m_hWnd(window->GetSafeHwnd())
{
    m_hDC = NV::WindowSystem().BeginPaint(m_hWnd, m_ps);
}

CPaintDC::~CPaintDC()
{
    if (m_hDC)
        NV::WindowSystem().EndPaint(m_hWnd, m_ps);
}
