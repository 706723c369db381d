// Threads with a message loop, as MFC has them. <afxwin.h> includes this.
//
//     class CWorker : public CWinThread {                  IMPLEMENT_DYNCREATE(CWorker, CWinThread)
//         DECLARE_DYNCREATE(CWorker)                       BEGIN_MESSAGE_MAP(CWorker, CWinThread)
//         BOOL InitInstance() override { return TRUE; }        ON_THREAD_MESSAGE(WM_USER + 1, &CWorker::OnWork)
//         void OnWork(WPARAM what, LPARAM);                END_MESSAGE_MAP()
//         DECLARE_MESSAGE_MAP()
//     }; AfxBeginThread(RUNTIME_CLASS(CWorker))->PostThreadMessage(...)
#pragma once

/// A thread of its own and the loop that hands out its messages, those posted to the thread and those of its windows.
/// The object is made by one thread; what is virtual runs on its own thread.
class NVLIB_API CWinThread : public CObject {
    DECLARE_DYNAMIC(CWinThread)
public:
    CWinThread() = default;
    ~CWinThread() override;

    BOOL m_bAutoDelete = TRUE;  ///< Delete destroys the object.
    HANDLE m_hThread = nullptr; ///< The thread's, closed with the object; null before CreateThread.
    DWORD m_nThreadID = 0;

    /// Starts the thread; messages may be posted when this returns. FALSE when there is none to be had.
    BOOL CreateThread();
    /// Any thread. FALSE when the thread has ended. WM_QUIT ends its loop when the messages before it are done.
    BOOL PostThreadMessage(UINT message, WPARAM wParam, LPARAM lParam);

    /// Runs first. FALSE: ExitInstance is next, and the thread ends. FALSE here, so that a class without a loop of
    /// its own has to say what it does.
    virtual BOOL InitInstance();
    /// Hands out messages until WM_QUIT and returns what ExitInstance does.
    virtual int Run();
    /// Every message comes here first; TRUE: it needs nothing more. Those that were posted to the thread itself go to
    /// their handlers, the others to their windows.
    virtual BOOL PreTranslateMessage(MSG* message);
    /// Waits for a message and hands it out. FALSE when it was WM_QUIT.
    virtual BOOL PumpMessage();
    /// Runs last, and may destroy the object. Returns what WM_QUIT brought.
    virtual int ExitInstance();
    /// Called when the thread is over, unless the object is gone already: destroys it if m_bAutoDelete says so.
    virtual void Delete();

protected:
    static const AFX_MSGMAP* GetThisMessageMap();
    virtual const AFX_MSGMAP* GetMessageMap() const;

private:
    static void Entry(void* thread);

    MSG current{}; // the last one taken
};

/// Makes an object of a class that derives from CWinThread and starts its thread. Null when that fails.
NVLIB_API CWinThread* AfxBeginThread(CRuntimeClass* threadClass);

/// The object of the calling thread; null on a thread that has none.
NVLIB_API CWinThread* AfxGetThread();

namespace NV::MessageMap {

struct ThreadMessage {
    template <class T>
    static LRESULT Call(T& thread, auto member, WPARAM wParam, LPARAM lParam)
    {
        (thread.*member)(wParam, lParam);
        return 0;
    }
};

} // namespace NV::MessageMap

/// `member` is void member(WPARAM, LPARAM).
#define ON_THREAD_MESSAGE(message, member) AFX_HANDLER(message, ThreadMessage, member)
