// FolderTime.h for POSIX.
#include "FolderTime.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>

bool SetFolderTimeBack(const char* path, int seconds)
{
    timespec times[2] = {};
    times[0].tv_nsec = UTIME_OMIT;
    clock_gettime(CLOCK_REALTIME, &times[1]);
    times[1].tv_sec -= seconds;
    return utimensat(AT_FDCWD, path, times, 0) == 0;
}
