// Root of the class framework: objects with run-time class information, strings, exceptions and files, under MFC's
// names and with MFC's documented behaviour, for compilers that ship no MFC. It holds what the library calls and no
// more. Files are counted in bytes, positions and lengths are 64-bit; text is narrow (8-bit) and paths are taken as
// they are. Objects belong to one thread at a time unless a class says otherwise.
//
//   AfxObject.cpp     CObject, CRuntimeClass
//   AfxString.cpp     CString
//   AfxException.cpp  CException, CMemoryException, CFileException
//   AfxFile.cpp       CFile, CFileStatus
//   AfxMemFile.cpp    CMemFile
#pragma once

#ifndef NOMINMAX
#    define NOMINMAX // before <windows.h>, whose min and max would replace those of the standard library
#endif

#include "NVExport.h"

#include <cstdarg>
#include <cstddef>
#include <string>
#include <windows.h>

// Has the compiler check a format against its arguments; positions count `this` as 1.
#if defined(__clang__)
#    define AFX_PRINTF_LIKE(position, first) __attribute__((format(printf, position, first)))
#elif defined(__GNUC__)
#    define AFX_PRINTF_LIKE(position, first) __attribute__((format(gnu_printf, position, first)))
#else
#    define AFX_PRINTF_LIKE(position, first)
#endif

class CObject;

// ---- Run-time class information ------------------------------------------------------------------------------------

/// What is known of a class at run time. One static object for each class, made by the IMPLEMENT_ macros and linked
/// into one list; never created otherwise. Any thread may use it.
struct NVLIB_API CRuntimeClass {
    LPCSTR m_lpszClassName;
    int m_nObjectSize;               ///< Bytes of one object.
    UINT m_wSchema;                  ///< 0xFFFF: not serialisable.
    CObject* (*m_pfnCreateObject)(); ///< Null for classes that cannot be created by name.
    CRuntimeClass* m_pBaseClass;     ///< Null for CObject only.
    CRuntimeClass* m_pNextClass;     ///< Next in the list of all classes.

    /// Creates an object with its default constructor; the caller deletes it. Null when the class is not declared
    /// DYNCREATE or there is no memory.
    CObject* CreateObject();
    /// True for the class itself too.
    BOOL IsDerivedFrom(const CRuntimeClass* baseClass) const;
    /// The class of that name (without its namespace), or null.
    static CRuntimeClass* FromName(LPCSTR className);
};

/// Links a class into the list that FromName searches, when the program or a module of it starts.
struct NVLIB_API AFX_CLASSINIT {
    explicit AFX_CLASSINIT(CRuntimeClass* newClass);
};

#define RUNTIME_CLASS(class_name) (&class_name::class##class_name)

#define DECLARE_DYNAMIC(class_name)                                                                                    \
public:                                                                                                                \
    static CRuntimeClass class##class_name;                                                                            \
    CRuntimeClass* GetRuntimeClass() const override;

#define DECLARE_DYNCREATE(class_name)                                                                                  \
    DECLARE_DYNAMIC(class_name)                                                                                        \
    static CObject* CreateObject();

#define IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, create)                                                    \
    CRuntimeClass class_name::class##class_name = {#class_name, static_cast<int>(sizeof(class_name)), 0xFFFF,          \
                                                   create,      RUNTIME_CLASS(base_class_name),       nullptr};        \
    static const AFX_CLASSINIT init##class_name(RUNTIME_CLASS(class_name));                                            \
    CRuntimeClass* class_name::GetRuntimeClass() const                                                                 \
    {                                                                                                                  \
        return RUNTIME_CLASS(class_name);                                                                              \
    }

/// In the namespace of the class, once, in one source file.
#define IMPLEMENT_DYNAMIC(class_name, base_class_name) IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, nullptr)

#define IMPLEMENT_DYNCREATE(class_name, base_class_name)                                                               \
    CObject* class_name::CreateObject()                                                                                \
    {                                                                                                                  \
        return new class_name;                                                                                         \
    }                                                                                                                  \
    IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, class_name::CreateObject)

/// Base of the framework's classes: knows its class at run time, is destroyed through a base pointer, is not copied.
class NVLIB_API CObject {
public:
    static CRuntimeClass classCObject;

    virtual CRuntimeClass* GetRuntimeClass() const;
    virtual ~CObject() = default;
    /// True when the object's class is `runtimeClass` or derived from it.
    BOOL IsKindOf(const CRuntimeClass* runtimeClass) const;

    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;

protected:
    CObject() = default;
};

// ---- Strings -------------------------------------------------------------------------------------------------------

/// Narrow string of bytes with a closing zero. Indices and counts are bytes. Case and white space are those of ASCII.
/// A null pointer counts as an empty string. Running out of memory raises std::bad_alloc.
class NVLIB_API CString {
public:
    CString() = default;
    CString(LPCTSTR source) : text(source ? source : "") {}
    CString(LPCTSTR source, int length) : text(source ? source : "", source && length > 0 ? Count(length) : 0) {}
    explicit CString(char character, int repeat = 1) : text(repeat > 0 ? Count(repeat) : 0, character) {}

    CString& operator=(LPCTSTR other);
    CString& operator=(char character);

    int GetLength() const { return static_cast<int>(text.size()); }
    bool IsEmpty() const { return text.empty(); }
    void Empty() { text.clear(); }
    LPCTSTR GetString() const { return text.c_str(); }
    operator LPCTSTR() const { return text.c_str(); }
    /// `index` is from 0 to the length (the closing zero).
    char GetAt(int index) const { return text[Count(index)]; }
    char operator[](int index) const { return text[Count(index)]; }
    /// `index` is below the length.
    void SetAt(int index, char character) { text[Count(index)] = character; }

    /// A buffer of at least `minimumLength` characters and a closing zero, which holds the string and may be written
    /// to until ReleaseBuffer tells the new length.
    LPTSTR GetBuffer(int minimumLength = 0);
    /// Ends writing to the buffer: the string has `newLength` characters, or ends at its first zero when negative.
    void ReleaseBuffer(int newLength = -1);

    CString& operator+=(const CString& other);
    CString& operator+=(LPCTSTR other);
    CString& operator+=(char character);

    /// Below, equal to or above 0, comparing bytes as unsigned.
    int Compare(LPCTSTR other) const;
    /// The same with the letters A to Z as their small ones.
    int CompareNoCase(LPCTSTR other) const;

    /// Counts and starts out of range are clipped to the string.
    CString Left(int count) const;
    CString Right(int count) const;
    CString Mid(int first) const;
    CString Mid(int first, int count) const;

    /// Index of the first occurrence at or behind `start`, or -1.
    int Find(char character, int start = 0) const;
    int Find(LPCTSTR part, int start = 0) const;
    /// Index of the last occurrence, or -1.
    int ReverseFind(char character) const;

    CString& MakeLower();
    CString& MakeUpper();
    /// Removes white space, one character's repetition, or any of a set's characters from the ends.
    CString& Trim();
    CString& TrimLeft();
    CString& TrimRight();
    CString& Trim(char character);
    CString& TrimLeft(char character);
    CString& TrimRight(char character);
    CString& Trim(LPCTSTR set);
    CString& TrimLeft(LPCTSTR set);
    CString& TrimRight(LPCTSTR set);
    /// Replaces every occurrence, from the left, without looking at what was put in; returns how many.
    int Replace(char from, char to);
    int Replace(LPCTSTR from, LPCTSTR to);

    /// As printf. The arguments may point into this string. Empty (appended: nothing) when the format cannot be
    /// converted.
    void Format(LPCTSTR format, ...) AFX_PRINTF_LIKE(2, 3);
    void AppendFormat(LPCTSTR format, ...) AFX_PRINTF_LIKE(2, 3);
    void FormatV(LPCTSTR format, va_list arguments) AFX_PRINTF_LIKE(2, 0);

private:
    static std::size_t Count(int value) { return static_cast<std::size_t>(value); }
    std::string text;
};

NVLIB_API CString operator+(const CString& a, const CString& b);
NVLIB_API CString operator+(const CString& a, LPCTSTR b);
NVLIB_API CString operator+(LPCTSTR a, const CString& b);
NVLIB_API CString operator+(const CString& a, char b);
NVLIB_API CString operator+(char a, const CString& b);

inline bool operator==(const CString& a, const CString& b)
{
    return a.Compare(b) == 0;
}
inline bool operator==(const CString& a, LPCTSTR b)
{
    return a.Compare(b) == 0;
}
inline bool operator==(LPCTSTR a, const CString& b)
{
    return b.Compare(a) == 0;
}
inline bool operator!=(const CString& a, const CString& b)
{
    return a.Compare(b) != 0;
}
inline bool operator!=(const CString& a, LPCTSTR b)
{
    return a.Compare(b) != 0;
}
inline bool operator!=(LPCTSTR a, const CString& b)
{
    return b.Compare(a) != 0;
}
inline bool operator<(const CString& a, const CString& b)
{
    return a.Compare(b) < 0;
}
inline bool operator>(const CString& a, const CString& b)
{
    return a.Compare(b) > 0;
}
inline bool operator<=(const CString& a, const CString& b)
{
    return a.Compare(b) <= 0;
}
inline bool operator>=(const CString& a, const CString& b)
{
    return a.Compare(b) >= 0;
}

/// A moment in whole seconds since 1970-01-01 00:00 UTC; 0 when unknown.
class CTime {
public:
    CTime() = default;
    CTime(__time64_t time) : seconds(time) {}
    __time64_t GetTime() const { return seconds; }
    bool operator==(const CTime& other) const = default;
    auto operator<=>(const CTime& other) const = default;

private:
    __time64_t seconds = 0;
};

// ---- Exceptions ----------------------------------------------------------------------------------------------------

/// Base of what the framework throws. Thrown by pointer: whoever catches one and does not throw it on calls Delete().
class NVLIB_API CException : public CObject {
    DECLARE_DYNAMIC(CException)
public:
    CException() = default;
    /// `autoDelete` FALSE: the object is not on the heap, and Delete() leaves it.
    explicit CException(BOOL autoDelete) : m_bAutoDelete(autoDelete) {}
    void Delete();
    /// Puts a sentence for the user into `error`, cut to `maxError` characters with the closing zero. FALSE, and an
    /// empty text, when there is none.
    virtual BOOL GetErrorMessage(LPTSTR error, UINT maxError, UINT* helpContext = nullptr) const;

protected:
    BOOL m_bAutoDelete = TRUE;
};

/// There was not enough memory.
class NVLIB_API CMemoryException : public CException {
    DECLARE_DYNAMIC(CMemoryException)
public:
    CMemoryException() = default;
    explicit CMemoryException(BOOL autoDelete) : CException(autoDelete) {}
    BOOL GetErrorMessage(LPTSTR error, UINT maxError, UINT* helpContext = nullptr) const override;
};

/// What went wrong with a file. Also used as a record that CFile::Open fills.
class NVLIB_API CFileException : public CException {
    DECLARE_DYNAMIC(CFileException)
public:
    enum {
        none = 0,
        genericException = 1,
        fileNotFound = 2,
        badPath = 3, ///< The folder is missing, or the name cannot be a file's.
        tooManyOpenFiles = 4,
        accessDenied = 5, ///< Also: a folder opened as a file, a write to a file opened for reading.
        invalidFile = 6,  ///< The file is not open.
        removeCurrentDir = 7,
        directoryFull = 8,
        badSeek = 9,
        hardIO = 10,
        sharingViolation = 11, ///< Another opening of the file excludes this one.
        lockViolation = 12,
        diskFull = 13,
        endOfFile = 14
    };

    explicit CFileException(int cause = none, LONG osError = -1, LPCTSTR fileName = nullptr)
        : m_cause(cause), m_lOsError(osError), m_strFileName(fileName)
    {
    }

    int m_cause;
    LONG m_lOsError; ///< The system's own error number (errno, GetLastError), -1 when no system call failed.
    CString m_strFileName;

    /// The cause that stands for an error number of the system.
    static int OsErrorToException(LONG osError);
    /// Throws with the cause that stands for the error.
    [[noreturn]] static void ThrowOsError(LONG osError, LPCTSTR fileName = nullptr);
    BOOL GetErrorMessage(LPTSTR error, UINT maxError, UINT* helpContext = nullptr) const override;
};

[[noreturn]] NVLIB_API void AfxThrowMemoryException();
[[noreturn]] NVLIB_API void AfxThrowFileException(int cause, LONG osError = -1, LPCTSTR fileName = nullptr);

// ---- Files ---------------------------------------------------------------------------------------------------------

/// What GetStatus tells of a file.
struct CFileStatus {
    CTime m_ctime; ///< Created.
    CTime m_mtime; ///< Last written to.
    CTime m_atime; ///< Last read.
    ULONGLONG m_size = 0;
    BYTE m_attribute = 0; ///< Of CFile::Attribute.
    char m_szFullName[_MAX_PATH] = {};
};

/// An unbuffered file of the system. Operations on an open file that go wrong throw CFileException by pointer; on a
/// closed one they throw with the cause invalidFile. The object owns its handle and closes it in its destructor.
///
/// Sharing: openings of one file by this program are held against each other as Windows does it. Another program is
/// held to it on Windows only; other systems have nothing of the kind.
class NVLIB_API CFile : public CObject {
    DECLARE_DYNAMIC(CFile)
public:
    enum OpenFlags {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareCompat = 0x0000, ///< As shareExclusive. A plain modeRead opening therefore excludes all others.
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        shareDenyRead = 0x0030,
        shareDenyNone = 0x0040,
        modeNoInherit = 0x0080,  ///< No effect: child processes never inherit our files.
        modeCreate = 0x1000,     ///< Creates the file, or empties an existing one.
        modeNoTruncate = 0x2000, ///< With modeCreate: an existing file keeps its contents.
        typeText = 0x4000,       ///< No effect: bytes pass unchanged.
        typeBinary = 0x8000,
        osNoBuffer = 0x10000, ///< No effect: it would ask for aligned buffers.
        osWriteThrough = 0x20000,
        osRandomAccess = 0x40000,
        osSequentialScan = 0x80000
    };
    /// Bits of CFileStatus::m_attribute; there may be more of the system's own.
    enum Attribute {
        normal = 0x00,
        readOnly = 0x01, ///< Where there is no such attribute: nobody has the permission to write.
        directory = 0x10
    };
    enum SeekPosition { begin = 0, current = 1, end = 2 };

    static const HANDLE hFileNull; ///< The value of m_hFile in a closed file.

    CFile() = default;
    /// Opens; throws where Open returns FALSE.
    CFile(LPCTSTR fileName, UINT openFlags);
    ~CFile() override;

    HANDLE m_hFile = INVALID_HANDLE_VALUE; ///< The system's handle, opaque; owned by this object.

    virtual ULONGLONG GetPosition() const;
    /// The name without its folders; empty for a closed file.
    virtual CString GetFileName() const;
    /// The absolute path; empty for a closed file.
    virtual CString GetFilePath() const;
    virtual void SetFilePath(LPCTSTR newName);
    /// Opens `fileName` as `openFlags` say; a file that this object held is closed first. FALSE when that fails: the
    /// object is closed, `error` (when given) has the cause, the system's error and the name, and nothing on disk has
    /// changed. A file that nobody may write to is not opened for writing, whoever asks.
    virtual BOOL Open(LPCTSTR fileName, UINT openFlags, CFileException* error = nullptr);
    /// Moves to `offset` bytes from the origin (of SeekPosition) and returns the new position. Positions past the end
    /// are fine; a position before the first byte throws badSeek and moves nothing.
    virtual ULONGLONG Seek(LONGLONG offset, UINT from);
    /// Cuts the file or extends it with zeros. The position afterwards is the new end.
    virtual void SetLength(ULONGLONG newLength);
    virtual ULONGLONG GetLength() const;
    /// Reads up to `count` bytes and returns how many; fewer only at the end of the file.
    virtual UINT Read(void* buffer, UINT count);
    /// Writes all bytes or throws (diskFull when only a part found room). What lies between the old end and the
    /// position becomes zeros.
    virtual void Write(const void* buffer, UINT count);
    /// Closes whatever happens, and throws nothing.
    virtual void Abort();
    /// Has the system put everything on the medium. Nothing on a closed file.
    virtual void Flush();
    /// Closes; nothing on a closed file. Throws when the system reports a loss; the file is closed then too.
    virtual void Close();
    /// Fills the record for this file; FALSE when the system does not tell.
    virtual BOOL GetStatus(CFileStatus& status) const;

    void SeekToBegin() { Seek(0, begin); }
    ULONGLONG SeekToEnd() { return Seek(0, end); }

    /// The same for a file or folder of that name; FALSE also when there is none or its full path is too long.
    static BOOL GetStatus(LPCTSTR fileName, CFileStatus& status);
    /// Removes a file. Throws, also when this program has it open (sharingViolation) or it is a folder.
    static void Remove(LPCTSTR fileName);
    /// Renames a file or folder within its file system. Throws, also when the new name exists already (accessDenied)
    /// or this program has the file open.
    static void Rename(LPCTSTR oldName, LPCTSTR newName);

protected:
    CString m_strFileName; ///< The absolute path.
};

/// A file in memory, which begins empty and grows in steps.
class NVLIB_API CMemFile : public CFile {
    DECLARE_DYNAMIC(CMemFile)
public:
    /// Memory grows by `growBytes` at a time; with 0 it cannot grow.
    explicit CMemFile(UINT growBytes = 1024) : m_nGrowBytes(growBytes) {}
    /// As Attach.
    CMemFile(BYTE* buffer, UINT bufferSize, UINT growBytes = 0) { Attach(buffer, bufferSize, growBytes); }
    ~CMemFile() override;

    /// Uses the caller's memory, which stays the caller's and outlives its use here. With `growBytes` 0 the memory is
    /// the file's contents, and a write or SetLength past it throws CMemoryException. Otherwise the file begins empty,
    /// and memory from malloc is needed, since growing reallocates it.
    void Attach(BYTE* buffer, UINT bufferSize, UINT growBytes = 0);
    /// Hands over the memory, which the caller frees with free(), and leaves an empty file that cannot grow. Null when
    /// nothing was ever written.
    BYTE* Detach();

    ULONGLONG GetPosition() const override;
    ULONGLONG Seek(LONGLONG offset, UINT from) override;
    /// As in CFile, but the position changes only when it would lie behind the end.
    void SetLength(ULONGLONG newLength) override;
    ULONGLONG GetLength() const override;
    UINT Read(void* buffer, UINT count) override;
    /// Throws CMemoryException when the memory cannot grow; nothing is written then.
    void Write(const void* buffer, UINT count) override;
    void Abort() override;
    void Flush() override;
    /// Frees the memory (attached memory is left) and leaves an empty file that cannot grow; Attach begins anew.
    void Close() override;
    /// The length; no times.
    BOOL GetStatus(CFileStatus& status) const override;
    using CFile::GetStatus;

private:
    void GrowFile(ULONGLONG newLength);
    void Release();

    UINT m_nGrowBytes = 0;
    ULONGLONG m_nPosition = 0;
    ULONGLONG m_nBufferSize = 0; // bytes of memory
    ULONGLONG m_nFileSize = 0;   // bytes of the file, at most m_nBufferSize
    BYTE* m_lpBuffer = nullptr;  // from malloc, or attached
    bool m_bAutoDelete = true;   // the memory is ours
};
