// nvtool: every capability of the library from the command line. One subcommand a file; this one only puts them
// together and turns failures into messages and exit codes.
#include "Commands.h"
#include "Console.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

namespace {

constexpr char kFooter[] = R"(
Examples:
  nvtool make-sample track.bin              make a karaoke track to play with
  nvtool info track.bin                     what is this file?
  nvtool process track.bin -o out           do everything; then open out/index.html
  nvtool video track.bin -o track.mp4       a video of it (with ffmpeg)
  nvtool frame track.bin --at 1:30 -o p.png the screen at one and a half minutes
  nvtool COMMAND --help                     more about one command

Files are told apart by what they hold, not by their names. Results go to standard output (--json for programs),
messages to standard error. Exit codes: 0 all is well, 1 the work failed, 2 the command line was wrong,
130 ended by Ctrl-C.)";

std::string UsageMessage(const CLI::App* app, const CLI::Error& error)
{
    std::string command = "nvtool";
    for (const CLI::App* sub : app->get_subcommands())
        command += " " + sub->get_name();
    return "nvtool: " + std::string(error.what()) + "\nTry '" + command + " --help'.\n";
}

void Fail(const std::string& what)
{
    std::fprintf(stderr, "nvtool: %s\n", what.c_str());
}

} // namespace

int main(int argc, char** argv)
{
    using namespace nvtool;
    PassOutputUnchanged();
    CLI::App app("Works on karaoke tracks: disc images, CD+G graphics, WAV and MP3 sound.", "nvtool");
    app.set_version_flag("--version", "nvtool " NVTOOL_VERSION);
    app.allow_windows_style_options(false); // a path that begins with a slash is a path, on Windows too
    app.require_subcommand(0, 1);
    app.footer(kFooter);
    app.failure_message(UsageMessage);
    app.get_formatter()->column_width(32);
    AddProcess(app);
    AddInfo(app);
    AddScan(app);
    AddFrame(app);
    AddSheet(app);
    AddPalette(app);
    AddClean(app);
    AddThumbprint(app);
    AddCompare(app);
    AddFind(app);
    AddVideo(app);
    AddSilence(app);
    AddWaveform(app);
    AddView(app);
    AddTag(app);
    AddPeaks(app);
    AddLevels(app);
    AddSplit(app);
    AddJoin(app);
    AddMakeSample(app);
    AddPlay(app);
    AddMp3(app);
    AddDiscId(app);
    AddCddb(app);

    try {
        app.parse(argc, argv);
        if (app.get_subcommands().empty()) {
            std::fputs(app.help().c_str(), stderr);
            return kExitUsage;
        }
        if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
            Fail("standard output: could not be written");
            return kExitFailure;
        }
        return kExitOk;
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kExitOk : kExitUsage;
    } catch (const Error& error) {
        Fail(error.File() + ": " + error.what());
    } catch (const AlreadyTold&) {
        return kExitFailure;
    } catch (const Interruption& end) {
        Fail(end.what());
        return kExitInterrupted;
    } catch (const std::bad_alloc&) {
        Fail("out of memory");
    } catch (const std::exception& error) {
        Fail(error.what());
    }
    return kExitFailure;
}
