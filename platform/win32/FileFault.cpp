// Which fault stands for an error number of Windows, as MFC sorts them.
#include "File.h"

namespace NV::SystemFile {

FileFault FaultOf(i32 systemError)
{
    switch (systemError) {
    case ERROR_SUCCESS:
        return FileFault::none;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_NO_MORE_FILES:
    case ERROR_OPEN_FAILED:
        return FileFault::notFound;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_NOT_SAME_DEVICE:
    case ERROR_WRONG_DISK:
    case ERROR_DUP_NAME:
    case ERROR_DEV_NOT_EXIST:
    case ERROR_BUFFER_OVERFLOW:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_DIRECTORY:
    case ERROR_FILENAME_EXCED_RANGE:
    case ERROR_CANT_RESOLVE_FILENAME:
        return FileFault::badPath;
    case ERROR_TOO_MANY_OPEN_FILES:
    case ERROR_SHARING_BUFFER_EXCEEDED:
        return FileFault::tooManyOpen;
    case ERROR_ACCESS_DENIED:
    case ERROR_INVALID_ACCESS:
    case ERROR_WRITE_PROTECT:
    case ERROR_WRITE_FAULT:
    case ERROR_BAD_NETPATH:
    case ERROR_NETWORK_BUSY:
    case ERROR_BAD_NET_RESP:
    case ERROR_NETWORK_ACCESS_DENIED:
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
    case ERROR_CANNOT_MAKE:
    case ERROR_PIPE_BUSY:
        return FileFault::accessDenied;
    case ERROR_INVALID_HANDLE: // MFC calls this one "not found"; here it says what the handle is, as everywhere else
    case ERROR_BAD_FORMAT:
    case ERROR_NOT_DOS_DISK:
    case ERROR_BAD_REM_ADAP:
        return FileFault::invalidFile;
    case ERROR_CURRENT_DIRECTORY:
    case ERROR_DIR_NOT_EMPTY:
        return FileFault::currentDirectory;
    case ERROR_SEEK:
    case ERROR_SECTOR_NOT_FOUND:
    case ERROR_READ_FAULT:
    case ERROR_NEGATIVE_SEEK:
    case ERROR_SEEK_ON_DEVICE:
        return FileFault::badSeek;
    case ERROR_BAD_UNIT:
    case ERROR_NOT_READY:
    case ERROR_BAD_COMMAND:
    case ERROR_CRC:
    case ERROR_BAD_LENGTH:
    case ERROR_ADAP_HDW_ERR:
    case ERROR_UNEXP_NET_ERR:
    case ERROR_IO_DEVICE:
        return FileFault::hardIO;
    case ERROR_SHARING_VIOLATION:
    case ERROR_USER_MAPPED_FILE:
        return FileFault::sharing;
    case ERROR_LOCK_VIOLATION:
        return FileFault::lock;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case ERROR_FILE_TOO_LARGE:
        return FileFault::diskFull;
    case ERROR_HANDLE_EOF:
        return FileFault::endOfFile;
    default:
        return FileFault::generic;
    }
}

} // namespace NV::SystemFile
