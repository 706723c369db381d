// What the framework throws.
#include "File.h"

#include <afx.h>
#include <algorithm>
#include <cstring>
#include <iterator>

IMPLEMENT_DYNAMIC(CException, CObject)
IMPLEMENT_DYNAMIC(CMemoryException, CException)
IMPLEMENT_DYNAMIC(CFileException, CException)

namespace {

BOOL CopyMessage(const CString& message, LPTSTR error, UINT maxError, UINT* helpContext)
{
    if (helpContext)
        *helpContext = 0;
    if (!error || maxError == 0)
        return FALSE;
    const UINT length = std::min(static_cast<UINT>(message.GetLength()), maxError - 1);
    std::memcpy(error, message.GetString(), length);
    error[length] = 0;
    return !message.IsEmpty();
}

// One for each cause, in their order.
constexpr const char* causeTexts[] = {
    "nothing went wrong",           "the file could not be used, for a reason not known",
    "there is no such file",        "the folder does not exist, or the name is not a valid one",
    "too many files are open",      "access was denied",
    "the file is not open",         "the current folder cannot be removed",
    "the folder is full",           "the position cannot be reached",
    "the device reported an error", "the file is in use",
    "a part of the file is locked", "the disk is full",
    "the file ends too early",
};

} // namespace

void CException::Delete()
{
    if (m_bAutoDelete)
        delete this;
}

BOOL CException::GetErrorMessage(LPTSTR error, UINT maxError, UINT* helpContext) const
{
    return CopyMessage(CString(), error, maxError, helpContext);
}

BOOL CMemoryException::GetErrorMessage(LPTSTR error, UINT maxError, UINT* helpContext) const
{
    return CopyMessage("there is not enough memory", error, maxError, helpContext);
}

BOOL CFileException::GetErrorMessage(LPTSTR error, UINT maxError, UINT* helpContext) const
{
    const bool known = m_cause >= 0 && m_cause < static_cast<int>(std::size(causeTexts));
    CString message(causeTexts[known ? m_cause : genericException]);
    if (!m_strFileName.IsEmpty())
        message = m_strFileName + ": " + message;
    return CopyMessage(message, error, maxError, helpContext);
}

int CFileException::OsErrorToException(LONG osError)
{
    return static_cast<int>(NV::SystemFile::FaultOf(osError));
}

void CFileException::ThrowOsError(LONG osError, LPCTSTR fileName)
{
    AfxThrowFileException(OsErrorToException(osError), osError, fileName);
}

void AfxThrowFileException(int cause, LONG osError, LPCTSTR fileName)
{
    throw new CFileException(cause, osError, fileName); // the catcher owns it and calls Delete()
}

void AfxThrowMemoryException()
{
    static CMemoryException exception(FALSE); // made ahead: now there may be no memory for one
    throw &exception;
}
