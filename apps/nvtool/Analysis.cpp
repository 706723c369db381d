// Loading the analyser: see Analysis.h.
#include "Analysis.h"

#include "Commands.h"
#include "Interrupt.h"

namespace nvtool {

Analysis::Analysis(const std::filesystem::path& path) : stream(path)
{
    constexpr u64 questionsPerUpdate = 4096;
    const std::string name = PathText(path);
    if (!file.Open(stream.Path(), CFile::modeRead | CFile::shareDenyNone, nullptr))
        throw Error(name, "cannot be read");
    // The analyser asks once for each pack, and for each sector of an image.
    const auto packs = static_cast<u64>(stream.Packs());
    Progress progress("analysing", packs + (stream.IsImage() ? packs / kPacksPerRecord : 0));
    u64 questions = 0;
    const bool loaded = analyzer.ReadFromFile(&file, -1, [&] {
        if (++questions % questionsPerUpdate == 0)
            progress.Update(questions);
        return IsInterrupted();
    });
    Progress::Check();
    if (!loaded)
        throw Error(name, "cannot be read, or is too long to be analysed");
}

} // namespace nvtool
