// FileReplace.h for Win32.
#include "FileReplace.h"

#include "LastFailure.h"
#include "OpenedHandle.h"

#include <cstring>

namespace NV {
namespace {

constexpr int mostAttempts = 1000;

bool StartsWith(const std::string& text, const char* start)
{
    return text.compare(0, std::strlen(start), start) == 0;
}

/// Names of pipes and devices. Opening one, even only to ask, could take the place of the one it waits for.
bool IsDeviceName(const char* path)
{
    return StartsWith(path, R"(\\.\)") || StartsWith(path, "//./");
}

} // namespace

std::string FinalPath(const char* path)
{
    if (IsDeviceName(path))
        return "";
    const OpenedHandle opened = OpenToAsk(path);
    if (!opened)
        return "";
    std::string final(_MAX_PATH, '\0');
    DWORD length = GetFinalPathNameByHandleA(opened.Get(), final.data(), _MAX_PATH, FILE_NAME_NORMALIZED);
    if (length >= final.size()) {
        final.resize(length + 1);
        length = GetFinalPathNameByHandleA(opened.Get(), final.data(), length + 1, FILE_NAME_NORMALIZED);
    }
    if (length == 0 || length >= final.size())
        return "";
    final.resize(length);
    // The form with \\?\ in front is not understood everywhere, and the common one is short enough nearly always.
    if (StartsWith(final, R"(\\?\UNC\)"))
        return R"(\\)" + final.substr(8);
    return StartsWith(final, R"(\\?\)") ? final.substr(4) : final;
}

bool IsPlainFile(const char* path)
{
    if (IsDeviceName(path))
        return false;
    const OpenedHandle opened = OpenToAsk(path);
    FileState state;
    return opened && GetFileType(opened.Get()) == FILE_TYPE_DISK && !SystemFile::State(opened.Get(), state) &&
           !state.directory;
}

FileError MakeTemporaryBeside(const char* path, std::string& temporary)
{
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        const std::string candidate = path + (".~" + std::to_string(attempt));
        const OpenedHandle made(
            CreateFileA(candidate.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (made) {
            temporary = candidate;
            return {};
        }
        const FileError error = LastFailure();
        if (error.system != ERROR_FILE_EXISTS && error.system != ERROR_ALREADY_EXISTS)
            return error;
        if (RemoveLeftover(candidate))
            --attempt; // the name is free now
    }
    return {FileFault::accessDenied, ERROR_FILE_EXISTS};
}

FileError PutInPlace(const char* from, const char* to)
{
    // Hands the old file's attributes and rights over to the new one. Where the file system keeps none of them it says
    // no.
    constexpr DWORD lenient = REPLACEFILE_IGNORE_MERGE_ERRORS;
    if (ReplaceFileA(to, from, nullptr, lenient, nullptr, nullptr))
        return {};
    const FileError error = LastFailure();
    const bool isAnswer = error.fault == FileFault::accessDenied || error.fault == FileFault::sharing ||
                          error.fault == FileFault::notFound || error.fault == FileFault::badPath;
    if (isAnswer)
        return error;
    return MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING) ? FileError{} : LastFailure();
}

} // namespace NV
