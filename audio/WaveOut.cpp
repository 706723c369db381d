// CWaveOut, as callers see it: each operation is a message to the worker and a wait. See WaveOutHandlers.cpp for the
// other half.
#include "WaveOut.h"

#include "ScopedLock.h"
#include "SoundFile.h"
#include "SystemThread.h"
#include "WaveDevice.h"
#include "WaveOutRequests.h"

#include <chrono>
#include <thread>

using namespace NV;

IMPLEMENT_DYNCREATE(CWaveOut, CWinThread)

BEGIN_MESSAGE_MAP(CWaveOut, CWinThread)
ON_THREAD_MESSAGE(openDeviceMessage, &CWaveOut::OnOpenWaveDeviceMessage)
ON_THREAD_MESSAGE(closeDeviceMessage, &CWaveOut::OnCloseWaveDeviceMessage)
ON_THREAD_MESSAGE(addBufferMessage, &CWaveOut::OnAddBufferMessage)
ON_THREAD_MESSAGE(setFormatMessage, &CWaveOut::OnSetFormatMessage)
ON_THREAD_MESSAGE(flushMessage, &CWaveOut::OnFlushMessage)
ON_THREAD_MESSAGE(deleteBufferMessage, &CWaveOut::OnDeleteBufferMessage)
END_MESSAGE_MAP()

static_assert(WM_USER + 500 == 1524); // applications post and spy these by number

int CWaveOut::c_nMaxBuffersOut = 8;

// ---- The worker's life ---------------------------------------------------------------------------------------------

CWaveOut::CWaveOut() : waiters(std::make_shared<Waiters>())
{
    CSoundFile::SetDefaultFormat(&format);
}

CWaveOut::~CWaveOut() = default;

CWaveOut* CWaveOut::CreateNew()
{
    return static_cast<CWaveOut*>(AfxBeginThread(RUNTIME_CLASS(CWaveOut)));
}

bool CWaveOut::HasDevice()
{
    return WaveDevice().Count() > 0;
}

BOOL CWaveOut::InitInstance()
{
    return TRUE;
}

int CWaveOut::ExitInstance()
{
    OnCloseWaveDevice();
    const int result = CWinThread::ExitInstance();
    const std::shared_ptr<Waiters> left = waiters;
    delete this;
    left->End();
    return result;
}

void CWaveOut::Delete()
{
    if (AfxGetThread() == this) {
        PostThreadMessage(WM_QUIT, 0, 0);
        return;
    }
    const HANDLE worker = SystemThread::Share(m_hThread); // this object's own handle goes with it
    PostThreadMessage(WM_QUIT, 0, 0);
    if (worker)
        SystemThread::WaitFor(worker);
    SystemThread::Release(worker);
}

// ---- Requests ------------------------------------------------------------------------------------------------------

int CWaveOut::Request(UINT message, void* request)
{
    const std::shared_ptr<Waiters> place = waiters; // there also when this object no longer is
    bool done = false;
    const auto to = reinterpret_cast<WPARAM>(request);
    const auto signal = reinterpret_cast<LPARAM>(&done);
    if (place->HasEnded() || !PostThreadMessage(message, to, signal) || !place->Wait(done))
        return 0;
    return static_cast<WaveOutRequest*>(request)->result;
}

int CWaveOut::OpenWaveDevice(const WAVEFORMATEX& newFormat)
{
    WaveOutFormatRequest request(newFormat);
    return Request(openDeviceMessage, &request);
}

int CWaveOut::SetFormat(WAVEFORMATEX newFormat)
{
    WaveOutFormatRequest request(newFormat);
    return Request(setFormatMessage, &request);
}

int CWaveOut::AddBuffer(void* data, int bytes, CWaveOutUserData* user)
{
    WaveOutAddRequest request(data, bytes, user);
    return Request(addBufferMessage, &request);
}

void CWaveOut::Flush(i64 position)
{
    WaveOutFlushRequest request(position);
    Request(flushMessage, &request);
}

int CWaveOut::CloseWaveDevice()
{
    WaveOutRequest request;
    return Request(closeDeviceMessage, &request);
}

int CWaveOut::DeleteBuffer(WAVEHDR* header)
{
    WaveOutDeleteRequest request(header);
    return Request(deleteBufferMessage, &request);
}

// ---- What is known -------------------------------------------------------------------------------------------------

WAVEFORMATEX CWaveOut::GetFormat() const
{
    const ScopedLock hold(deviceLock);
    return format;
}

bool CWaveOut::GetCurrentUserData(CWaveOutUserData& record) const
{
    const ScopedLock hold(returnedLock);
    if (currentUser)
        record = *currentUser;
    return currentUser != nullptr;
}
