// CFile over the platform's files: MFC's flags and causes, and exceptions thrown by pointer.
#include "File.h"

#include <afx.h>
#include <cstring>

using NV::FileError;
namespace SystemFile = NV::SystemFile;

IMPLEMENT_DYNAMIC(CFile, CObject)

const HANDLE CFile::hFileNull = INVALID_HANDLE_VALUE;

static_assert(int(NV::FileFault::badSeek) == int(CFileException::badSeek) &&
              int(NV::FileFault::endOfFile) == int(CFileException::endOfFile));

namespace {

constexpr UINT accessBits = 0x0003;
constexpr UINT shareBits = 0x0070;

void ThrowOn(const FileError& error, LPCTSTR fileName)
{
    if (error)
        AfxThrowFileException(static_cast<int>(error.fault), error.system, fileName);
}

void ThrowIfClosed(HANDLE file)
{
    if (file == INVALID_HANDLE_VALUE)
        AfxThrowFileException(CFileException::invalidFile);
}

/// False for flags that name no access or no sharing.
bool TranslateFlags(UINT flags, NV::FileOpening& how)
{
    const UINT access = flags & accessBits;
    const UINT share = flags & shareBits;
    how.read = access != CFile::modeWrite;
    how.write = access != CFile::modeRead;
    how.shareRead = share == CFile::shareDenyNone || share == CFile::shareDenyWrite;
    how.shareWrite = share == CFile::shareDenyNone || share == CFile::shareDenyRead;
    how.create = (flags & CFile::modeCreate) != 0;
    how.empty = how.create && (flags & CFile::modeNoTruncate) == 0;
    how.writeThrough = (flags & CFile::osWriteThrough) != 0;
    how.sequential = (flags & CFile::osSequentialScan) != 0;
    how.random = (flags & CFile::osRandomAccess) != 0;
    return access <= CFile::modeReadWrite && share <= CFile::shareDenyNone;
}

bool FillStatus(const NV::FileState& state, const char* fullName, CFileStatus& status)
{
    const std::size_t length = std::strlen(fullName);
    if (length >= sizeof status.m_szFullName)
        return false;
    status = CFileStatus();
    status.m_ctime = CTime(state.created.seconds);
    status.m_mtime = CTime(state.written.seconds);
    status.m_atime = CTime(state.read.seconds);
    status.m_size = state.length;
    status.m_attribute =
        static_cast<BYTE>((state.readOnly ? CFile::readOnly : 0) | (state.directory ? CFile::directory : 0));
    std::memcpy(status.m_szFullName, fullName, length + 1);
    return true;
}

} // namespace

CFile::CFile(LPCTSTR fileName, UINT openFlags)
{
    CFileException error;
    if (!CFile::Open(fileName, openFlags, &error))
        AfxThrowFileException(error.m_cause, error.m_lOsError, error.m_strFileName);
}

CFile::~CFile()
{
    CFile::Abort();
}

BOOL CFile::Open(LPCTSTR fileName, UINT openFlags, CFileException* error)
{
    CFile::Abort();
    const LPCTSTR name = fileName ? fileName : "";
    NV::FileOpening how;
    FileError failure{NV::FileFault::generic};
    if (TranslateFlags(openFlags, how))
        failure = SystemFile::Open(name, how, m_hFile);
    if (failure) {
        if (error) {
            error->m_cause = static_cast<int>(failure.fault);
            error->m_lOsError = failure.system;
            error->m_strFileName = name;
        }
        return FALSE;
    }
    m_strFileName = SystemFile::FullPath(name).c_str();
    return TRUE;
}

ULONGLONG CFile::GetPosition() const
{
    ThrowIfClosed(m_hFile);
    u64 position = 0;
    ThrowOn(SystemFile::Seek(m_hFile, 0, NV::FileOrigin::current, position), m_strFileName);
    return position;
}

CString CFile::GetFileName() const
{
    return SystemFile::NamePart(m_strFileName);
}

CString CFile::GetFilePath() const
{
    return m_strFileName;
}

void CFile::SetFilePath(LPCTSTR newName)
{
    m_strFileName = newName;
}

ULONGLONG CFile::Seek(LONGLONG offset, UINT from)
{
    ThrowIfClosed(m_hFile);
    if (from > end)
        AfxThrowFileException(CFileException::badSeek, -1, m_strFileName);
    u64 position = 0;
    ThrowOn(SystemFile::Seek(m_hFile, offset, static_cast<NV::FileOrigin>(from), position), m_strFileName);
    return position;
}

void CFile::SetLength(ULONGLONG newLength)
{
    ThrowIfClosed(m_hFile);
    ThrowOn(SystemFile::SetLength(m_hFile, newLength), m_strFileName);
    CFile::Seek(0, end);
}

ULONGLONG CFile::GetLength() const
{
    ThrowIfClosed(m_hFile);
    u64 length = 0;
    ThrowOn(SystemFile::Length(m_hFile, length), m_strFileName);
    return length;
}

UINT CFile::Read(void* buffer, UINT count)
{
    ThrowIfClosed(m_hFile);
    u32 done = 0;
    ThrowOn(SystemFile::Read(m_hFile, buffer, count, done), m_strFileName);
    return done;
}

void CFile::Write(const void* buffer, UINT count)
{
    ThrowIfClosed(m_hFile);
    ThrowOn(SystemFile::Write(m_hFile, buffer, count), m_strFileName);
}

void CFile::Abort()
{
    if (m_hFile != INVALID_HANDLE_VALUE)
        SystemFile::Close(m_hFile);
    m_hFile = INVALID_HANDLE_VALUE;
    m_strFileName.Empty();
}

void CFile::Flush()
{
    if (m_hFile != INVALID_HANDLE_VALUE)
        ThrowOn(SystemFile::Flush(m_hFile), m_strFileName);
}

void CFile::Close()
{
    if (m_hFile == INVALID_HANDLE_VALUE)
        return;
    const CString name = m_strFileName;
    const FileError error = SystemFile::Close(m_hFile);
    m_hFile = INVALID_HANDLE_VALUE;
    m_strFileName.Empty();
    ThrowOn(error, name);
}

BOOL CFile::GetStatus(CFileStatus& status) const
{
    NV::FileState state;
    return m_hFile != INVALID_HANDLE_VALUE && !SystemFile::State(m_hFile, state) &&
           FillStatus(state, m_strFileName, status);
}

BOOL CFile::GetStatus(LPCTSTR fileName, CFileStatus& status)
{
    NV::FileState state;
    return fileName && !SystemFile::State(fileName, state) &&
           FillStatus(state, SystemFile::FullPath(fileName).c_str(), status);
}

void CFile::Remove(LPCTSTR fileName)
{
    ThrowOn(SystemFile::Remove(fileName ? fileName : ""), fileName);
}

void CFile::Rename(LPCTSTR oldName, LPCTSTR newName)
{
    ThrowOn(SystemFile::Rename(oldName ? oldName : "", newName ? newName : ""), oldName);
}
