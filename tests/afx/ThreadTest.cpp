// CWinThread: the way of a thread from its start to its end, and of messages to it.
#include "SystemThread.h"

#include <afxwin.h>
#include <atomic>
#include <gtest/gtest.h>
#include <string>

namespace {

std::atomic<int> standing = 0, exitCode = -1;
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
