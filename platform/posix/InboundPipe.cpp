// A pipe with a name, on POSIX a FIFO in a folder that nobody else may enter: see Pipe.h.
#include "PipeEnds.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>

namespace NV {

namespace {

constexpr int kLargeBuffer = 16777216;

// Milliseconds since the system was started, as a number that this process has not used yet.
unsigned long long UnusedTick()
{
    static std::atomic<unsigned long long> last = 0;
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const auto tick =
        static_cast<unsigned long long>(now.tv_sec) * 1000 + static_cast<unsigned long long>(now.tv_nsec) / 1000000;
    unsigned long long before = last.load();
    while (!last.compare_exchange_weak(before, std::max(before + 1, tick))) {
    }
    return std::max(before + 1, tick);
}

// A folder of this user's own with a FIFO in it; both are gone with it.
class PrivateFifo {
public:
    explicit PrivateFifo(const std::string& fileName)
    {
        std::error_code noFolder;
        folder = (std::filesystem::temp_directory_path(noFolder) / (fileName + "-XXXXXX")).string();
        if (noFolder || !mkdtemp(folder.data())) { // with rights for its owner only
            folder.clear();
            return;
        }
        path = folder + "/" + fileName;
        if (mkfifo(path.c_str(), S_IRUSR | S_IWUSR) != 0)
            path.clear();
    }
    ~PrivateFifo()
    {
        const int error = errno; // the caller's failure
        if (!path.empty())
            unlink(path.c_str());
        if (!folder.empty())
            rmdir(folder.c_str());
        errno = error;
    }
    PrivateFifo(const PrivateFifo&) = delete;
    PrivateFifo& operator=(const PrivateFifo&) = delete;

    const std::string& Path() const { return path; }

private:
    std::string folder, path;
};

class FifoSource : public DescriptorSource {
public:
    FifoSource(std::unique_ptr<PrivateFifo> fifo, OwnedDescriptor readEnd)
        : DescriptorSource(std::move(readEnd)), place(std::move(fifo))
    {
    }

private:
    std::unique_ptr<PrivateFifo> place;
};

} // namespace

std::unique_ptr<PipeSource> MakeInboundPipe(const std::string& prefix, std::string& name, SystemFailure& failure)
{
    auto fifo = std::make_unique<PrivateFifo>(prefix + std::to_string(UnusedTick()));
    // Not waiting for a writer. Until one has come and gone, the system reports no end of the bytes.
    OwnedDescriptor end(fifo->Path().empty() ? -1 : open(fifo->Path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!end) {
        failure = LastSystemFailure();
        return nullptr;
    }
    fcntl(end.Get(), F_SETPIPE_SZ, kLargeBuffer); // where the system allows that much
    const std::string path = fifo->Path();
    auto source = std::make_unique<FifoSource>(std::move(fifo), std::move(end));
    if (!source->IsReady()) {
        failure = LastSystemFailure();
        return nullptr;
    }
    name = path;
    return source;
}

} // namespace NV
