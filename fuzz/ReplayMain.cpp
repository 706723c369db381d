// Runs a fuzz target over files, where there is no fuzzer to run it: every file that is named, and every file of a
// folder that is named. An input that breaks something ends the program as it would end the fuzzer.
#include "NVTypes.h"

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const u8* bytes, size_t size);

namespace {

bool Replay(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    if (!file)
        return false;
    std::printf("%s\n", path.string().c_str());
    std::fflush(stdout); // so that the last name told is the one that broke it
    LLVMFuzzerTestOneInput(reinterpret_cast<const u8*>(bytes.data()), bytes.size());
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        std::vector<std::filesystem::path> files{argv[i]};
        if (std::filesystem::is_directory(argv[i])) {
            files.clear();
            for (const auto& entry : std::filesystem::directory_iterator(argv[i]))
                files.push_back(entry.path());
        }
        for (const auto& file : files) {
            if (!Replay(file)) {
                std::fprintf(stderr, "%s: cannot be read\n", file.string().c_str());
                return 1;
            }
            ++replayed;
        }
    }
    if (replayed == 0) {
        std::fprintf(stderr, "no inputs\n");
        return 1;
    }
    std::printf("%d inputs\n", replayed);
    return 0;
}
