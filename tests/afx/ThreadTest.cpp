// CWinThread: the way of a thread from its start to its end, and of messages to it.
#include "SystemThread.h"
#include "Window.h"

#include <afxwin.h>
#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <thread>

namespace {

std::atomic<int> standing = 0, exitCode = -1;
std::atomic<bool> ready = false;
std::string log; // of the one thread that runs at a time; read when it has ended

class CBaseWorker : public CWinThread {
    DECLARE_DYNCREATE(CBaseWorker)
public:
    CBaseWorker() { ++standing; }
    ~CBaseWorker() override { --standing; }
    BOOL InitInstance() override
    {
        log += AfxGetThread() == this ? "init " : "lost ";
        return TRUE;
    }
    int ExitInstance() override
    {
        exitCode = CWinThread::ExitInstance();
        log += "exit";
        return exitCode;
    }
    void OnBase(WPARAM what, LPARAM more) { log += "base" + std::to_string(what) + std::to_string(more) + " "; }
    DECLARE_MESSAGE_MAP()
};

class CWorker : public CBaseWorker {
    DECLARE_DYNCREATE(CWorker)
public:
    void OnOwn(WPARAM what, LPARAM) { log += "own" + std::to_string(what) + " "; }
    DECLARE_MESSAGE_MAP()
};

class CUnwilling : public CBaseWorker {
    DECLARE_DYNCREATE(CUnwilling)
public:
    BOOL InitInstance() override { return FALSE; }
};

IMPLEMENT_DYNCREATE(CBaseWorker, CWinThread)
BEGIN_MESSAGE_MAP(CBaseWorker, CWinThread)
ON_THREAD_MESSAGE(WM_USER + 1, &CBaseWorker::OnBase)
ON_THREAD_MESSAGE(WM_USER + 2, &CBaseWorker::OnBase)
END_MESSAGE_MAP()

IMPLEMENT_DYNCREATE(CWorker, CBaseWorker)
BEGIN_MESSAGE_MAP(CWorker, CBaseWorker)
ON_THREAD_MESSAGE(WM_USER + 2, &CWorker::OnOwn)
END_MESSAGE_MAP()

IMPLEMENT_DYNCREATE(CUnwilling, CBaseWorker)

/// Has a window until it is told to close it; the end of that is the thread's.
class CWindowWorker : public CBaseWorker {
    DECLARE_DYNCREATE(CWindowWorker)
public:
    class Pane : public CWnd {
    public:
        static constexpr UINT told = WM_USER + 401;

    protected:
        LRESULT OnTold(WPARAM what, LPARAM)
        {
            log += "window" + std::to_string(what) + " ";
            return 0;
        }
        void OnDestroy() { AfxPostQuitMessage(7); }
        DECLARE_MESSAGE_MAP()
    };

    BOOL InitInstance() override
    {
        WNDCLASS plain{};
        plain.lpfnWndProc = ::DefWindowProc;
        plain.hInstance = AfxGetInstanceHandle();
        plain.lpszClassName = "NVLibThreadTest";
        PostThreadMessage(WM_USER + 1, 1, 0); // from before there is a window
        EXPECT_TRUE(AfxRegisterClass(&plain));
        EXPECT_TRUE(pane.CreateEx(0, plain.lpszClassName, "", WS_POPUP, CRect(0, 0, 50, 50), nullptr, 0));
        PostThreadMessage(WM_USER + 1, 2, 0);
        pane.PostMessage(Pane::told, 3);
        PostThreadMessage(WM_USER + 1, 4, 0);
        pane.PostMessage(Pane::told, 5);
        ready = true;
        return CBaseWorker::InitInstance();
    }
    BOOL PreTranslateMessage(MSG* message) override
    {
        if (message->message != WM_USER + 9)
            return CBaseWorker::PreTranslateMessage(message);
        log += message->hwnd ? "kept " : "own ";
        return TRUE;
    }
    void OnEnd(WPARAM, LPARAM)
    {
        pane.PostMessage(WM_USER + 9);
        PostThreadMessage(WM_USER + 9, 0, 0);
        while (log.find("own") == std::string::npos) // a loop of its own, as dialogs have
            EXPECT_TRUE(AfxPumpMessage());
        PostThreadMessage(WM_USER + 1, 6, 0);
        pane.PostMessage(Pane::told, 7); // lost with the window
        PostThreadMessage(WM_USER + 1, 8, 0);
        pane.DestroyWindow();
        EXPECT_TRUE(PumpMessage()); // no window is left to wait for
    }
    DECLARE_MESSAGE_MAP()

private:
    Pane pane;
};

BEGIN_MESSAGE_MAP(CWindowWorker::Pane, CWnd)
ON_MESSAGE(told, &CWindowWorker::Pane::OnTold)
ON_WM_DESTROY()
END_MESSAGE_MAP()

IMPLEMENT_DYNCREATE(CWindowWorker, CBaseWorker)
BEGIN_MESSAGE_MAP(CWindowWorker, CBaseWorker)
ON_THREAD_MESSAGE(WM_USER + 4, &CWindowWorker::OnEnd)
END_MESSAGE_MAP()

TEST(WinThread, HandsOutMessagesInOrderUntilQuit)
{
    log.clear();
    CWinThread* const thread = AfxBeginThread(RUNTIME_CLASS(CWorker));
    ASSERT_TRUE(thread);
    const DWORD id = thread->m_nThreadID;
    const HANDLE handle = NV::SystemThread::Share(thread->m_hThread);
    EXPECT_TRUE(thread->PostThreadMessage(WM_USER + 2, 5, 0)); // the derived class comes first
    EXPECT_TRUE(thread->PostThreadMessage(WM_USER + 1, 6, -7));
    EXPECT_TRUE(thread->PostThreadMessage(WM_USER + 3, 0, 0)); // nobody's
    EXPECT_TRUE(thread->PostThreadMessage(WM_QUIT, 42, 0));
    NV::SystemThread::WaitFor(handle);
    NV::SystemThread::Release(handle);
    EXPECT_EQ(log, "init own5 base6-7 exit");
    EXPECT_EQ(exitCode, 42);
    EXPECT_EQ(standing, 0);
    EXPECT_FALSE(NV::SystemThread::Post(id, WM_USER, 0, 0));
    EXPECT_EQ(AfxGetThread(), nullptr);
}

TEST(WinThread, MessagesOfItAndOfItsWindowsShareOneQueue)
{
    for (const NV::WindowKind kind : {NV::WindowKind::offScreen, NV::WindowKind::display}) {
        if (!NV::ChooseWindows(kind))
            continue; // no display
        log.clear();
        CWinThread* const thread = AfxBeginThread(RUNTIME_CLASS(CWindowWorker));
        ASSERT_TRUE(thread);
        const HANDLE handle = NV::SystemThread::Share(thread->m_hThread);
        while (!ready)
            std::this_thread::yield();
        ready = false;
        EXPECT_TRUE(thread->PostThreadMessage(WM_USER + 4, 0, 0)); // from outside
        NV::SystemThread::WaitFor(handle);
        NV::SystemThread::Release(handle);
        EXPECT_EQ(log, "init base10 base20 window3 base40 window5 kept own base60 base80 exit");
        EXPECT_EQ(exitCode, 7);
    }
}

TEST(WinThread, OneThatDoesNotWantToBeginEnds)
{
    log.clear();
    CUnwilling thread;
    thread.m_bAutoDelete = FALSE;
    ASSERT_TRUE(thread.CreateThread());
    EXPECT_FALSE(thread.CreateThread()); // a second time
    NV::SystemThread::WaitFor(thread.m_hThread);
    EXPECT_EQ(log, "exit");
    EXPECT_EQ(AfxBeginThread(RUNTIME_CLASS(CObject)), nullptr);
}

} // namespace
