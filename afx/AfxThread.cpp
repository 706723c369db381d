// CWinThread: threads with a message loop. Each runs its own object; the object may be gone before the thread is.
#include "SystemThread.h"

#include <afxwin.h>
#include <memory>
#include <mutex>

using namespace NV;

IMPLEMENT_DYNAMIC(CWinThread, CObject)

namespace {

thread_local CWinThread* ownThread = nullptr; // null again once it is destroyed

/// What a new thread is given. It begins when the lock is free: by then its object knows its handle.
struct Launch {
    CWinThread* thread;
    std::mutex known;
};

} // namespace

CWinThread::~CWinThread()
{
    SystemThread::Release(m_hThread);
    if (ownThread == this)
        ownThread = nullptr;
}

BOOL CWinThread::CreateThread()
{
    if (m_hThread)
        return FALSE;
    const auto launch = std::make_shared<Launch>();
    launch->thread = this;
    auto given = std::make_unique<std::shared_ptr<Launch>>(launch);
    const std::lock_guard hold(launch->known);
    const HANDLE handle = SystemThread::Start(&CWinThread::Entry, given.get(), m_nThreadID);
    m_hThread = handle;
    if (handle)
        static_cast<void>(given.release()); // the thread has it
    return handle != nullptr;
}

void CWinThread::Entry(void* given)
{
    CWinThread* const thread = [given] {
        const std::unique_ptr<std::shared_ptr<Launch>> launch(static_cast<std::shared_ptr<Launch>*>(given));
        const std::lock_guard wait((*launch)->known);
        return (*launch)->thread;
    }();
    ownThread = thread;
    if (thread->InitInstance())
        thread->Run();
    else
        thread->ExitInstance();
    if (ownThread == thread)
        thread->Delete();
    ownThread = nullptr;
}

BOOL CWinThread::PostThreadMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    return SystemThread::Post(m_nThreadID, message, wParam, lParam);
}

BOOL CWinThread::InitInstance()
{
    return FALSE;
}

int CWinThread::Run()
{
    while (PumpMessage()) {
    }
    return ExitInstance(); // the object may be gone now
}

BOOL CWinThread::PumpMessage()
{
    SystemThread::Next(current);
    MSG message = current; // a handler's own loop takes others
    if (message.message == WM_QUIT)
        return FALSE;
    if (!PreTranslateMessage(&message))
        SystemThread::Dispatch(message);
    return TRUE;
}

BOOL CWinThread::PreTranslateMessage(MSG* message)
{
    if (message->hwnd)
        return FALSE;
    for (const AFX_MSGMAP* map = GetMessageMap(); map; map = map->pfnGetBaseMap ? map->pfnGetBaseMap() : nullptr) {
        for (const AFX_MSGMAP_ENTRY* entry = map->lpEntries; entry->pfnCall; ++entry) {
            LRESULT none = 0;
            if (entry->nMessage == message->message && entry->pfnCall(this, message->wParam, message->lParam, none))
                return TRUE;
        }
    }
    return FALSE;
}

int CWinThread::ExitInstance()
{
    return static_cast<int>(current.wParam);
}

void CWinThread::Delete()
{
    if (m_bAutoDelete)
        delete this;
}

const AFX_MSGMAP* CWinThread::GetThisMessageMap()
{
    static const AFX_MSGMAP_ENTRY none[] = {{WM_NULL, nullptr}};
    static const AFX_MSGMAP map = {nullptr, none};
    return &map;
}

const AFX_MSGMAP* CWinThread::GetMessageMap() const
{
    return GetThisMessageMap();
}

CWinThread* AfxBeginThread(CRuntimeClass* threadClass)
{
    std::unique_ptr<CObject> made(threadClass->CreateObject());
    if (!made || !made->IsKindOf(RUNTIME_CLASS(CWinThread)))
        return nullptr;
    auto* const thread = static_cast<CWinThread*>(made.release());
    if (thread->CreateThread()) // its own from here on, perhaps gone already
        return thread;
    made.reset(thread);
    return nullptr;
}

CWinThread* AfxGetThread()
{
    return ownThread;
}
