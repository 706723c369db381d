// FileReplace.h for POSIX, where rename() replaces.
#include "FileReplace.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace NV {
namespace {

constexpr int mostAttempts = 1000;

FileError LastFailure()
{
    const int system = errno;
    return {SystemFile::FaultOf(system), system};
}

} // namespace

std::string FinalPath(const char* path)
{
    const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path, nullptr), &std::free);
    return resolved ? resolved.get() : "";
}

bool IsPlainFile(const char* path)
{
    struct stat info;
    return stat(path, &info) == 0 && S_ISREG(info.st_mode);
}

FileError MakeTemporaryBeside(const char* path, std::string& temporary)
{
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        const std::string candidate = path + (".~" + std::to_string(attempt));
        const int descriptor = open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor >= 0) {
            close(descriptor);
            temporary = candidate;
            return {};
        }
        if (errno != EEXIST)
            return LastFailure();
        if (RemoveLeftover(candidate))
            --attempt; // the name is free now
    }
    return {FileFault::accessDenied, EEXIST};
}

FileError PutInPlace(const char* from, const char* to)
{
    struct stat info;
    if (stat(to, &info) != 0)
        return LastFailure();
    // Before the rename, so that a private file is never readable by others; a file system without permissions says no.
    chmod(from, info.st_mode & 07777);
    return rename(from, to) == 0 ? FileError{} : LastFailure();
}

} // namespace NV
