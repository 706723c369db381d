// CMemFile: a file in a block of memory. The block comes from malloc and is freed with free, since Attach and Detach
// pass such blocks in and out.
#include <afx.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

IMPLEMENT_DYNAMIC(CMemFile, CFile)

namespace {

// Positions stay where signed 64-bit offsets can reach them.
constexpr ULONGLONG lastPosition = static_cast<ULONGLONG>(std::numeric_limits<LONGLONG>::max());

} // namespace

CMemFile::~CMemFile()
{
    Release();
}

void CMemFile::Release()
{
    if (m_bAutoDelete)
        std::free(m_lpBuffer);
    m_lpBuffer = nullptr;
    m_bAutoDelete = true;
    m_nGrowBytes = 0;
    m_nPosition = m_nBufferSize = m_nFileSize = 0;
}

void CMemFile::Attach(BYTE* buffer, UINT bufferSize, UINT growBytes)
{
    Release();
    m_lpBuffer = buffer;
    m_bAutoDelete = false;
    m_nGrowBytes = growBytes;
    m_nBufferSize = buffer ? bufferSize : 0;
    m_nFileSize = growBytes == 0 ? m_nBufferSize : 0;
}

BYTE* CMemFile::Detach()
{
    BYTE* const buffer = m_lpBuffer;
    m_bAutoDelete = false;
    Release();
    return buffer;
}

ULONGLONG CMemFile::GetPosition() const
{
    return m_nPosition;
}

ULONGLONG CMemFile::GetLength() const
{
    return m_nFileSize;
}

ULONGLONG CMemFile::Seek(LONGLONG offset, UINT from)
{
    if (from > end)
        AfxThrowFileException(CFileException::badSeek);
    const ULONGLONG origin = from == begin ? 0 : from == current ? m_nPosition : m_nFileSize;
    const ULONGLONG distance = offset < 0 ? 0 - static_cast<ULONGLONG>(offset) : static_cast<ULONGLONG>(offset);
    if (offset < 0 ? distance > origin : distance > lastPosition - origin)
        AfxThrowFileException(CFileException::badSeek);
    m_nPosition = offset < 0 ? origin - distance : origin + distance;
    return m_nPosition;
}

/// Makes the memory hold `newLength` bytes, in whole steps, what is new being zero. The length stays.
void CMemFile::GrowFile(ULONGLONG newLength)
{
    if (newLength <= m_nBufferSize)
        return;
    constexpr ULONGLONG largest = std::numeric_limits<std::size_t>::max() / 2;
    if (m_nGrowBytes == 0 || newLength > largest - m_nGrowBytes)
        AfxThrowMemoryException();
    const ULONGLONG steps = (newLength - m_nBufferSize + m_nGrowBytes - 1) / m_nGrowBytes;
    const ULONGLONG newSize = m_nBufferSize + steps * m_nGrowBytes;
    void* const grown = std::realloc(m_lpBuffer, static_cast<std::size_t>(newSize));
    if (!grown)
        AfxThrowMemoryException();
    m_lpBuffer = static_cast<BYTE*>(grown);
    m_nBufferSize = newSize;
}

void CMemFile::SetLength(ULONGLONG newLength)
{
    GrowFile(newLength);
    if (newLength > m_nFileSize)
        std::memset(m_lpBuffer + m_nFileSize, 0, static_cast<std::size_t>(newLength - m_nFileSize));
    m_nFileSize = newLength;
    m_nPosition = std::min(m_nPosition, newLength);
}

UINT CMemFile::Read(void* buffer, UINT count)
{
    if (m_nPosition >= m_nFileSize)
        return 0;
    const UINT done = static_cast<UINT>(std::min<ULONGLONG>(count, m_nFileSize - m_nPosition));
    if (done > 0)
        std::memcpy(buffer, m_lpBuffer + m_nPosition, done);
    m_nPosition += done;
    return done;
}

void CMemFile::Write(const void* buffer, UINT count)
{
    if (count == 0)
        return;
    if (count > lastPosition - m_nPosition)
        AfxThrowMemoryException();
    GrowFile(m_nPosition + count);
    if (m_nPosition > m_nFileSize) // the gap after a seek past the end
        std::memset(m_lpBuffer + m_nFileSize, 0, static_cast<std::size_t>(m_nPosition - m_nFileSize));
    std::memcpy(m_lpBuffer + m_nPosition, buffer, count);
    m_nPosition += count;
    m_nFileSize = std::max(m_nFileSize, m_nPosition);
}

void CMemFile::Abort()
{
    Release();
}

void CMemFile::Flush() {}

void CMemFile::Close()
{
    Release();
}

BOOL CMemFile::GetStatus(CFileStatus& status) const
{
    status = CFileStatus();
    status.m_size = m_nFileSize;
    return TRUE;
}
