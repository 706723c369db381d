// What the subcommands of nvtool share: how they are registered, how they fail, how they report and how they write.
// Everything here runs on the main thread. Times are seconds, positions bytes, unless a name says otherwise.
#pragma once

#include "CommandLineFwd.h"
#include "NVTypes.h"

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace nvtool {

// Exit codes, also told in --help: everything worked, the work failed, the command line was wrong, Ctrl-C.
enum ExitCode { kExitOk = 0, kExitFailure = 1, kExitUsage = 2, kExitInterrupted = 130 };

// A failure that ends the command. main() prints it as "nvtool: FILE: message" and exits with kExitFailure.
class Error : public std::runtime_error {
public:
    // `file` is the file as the person typed it; `message` says what is wrong with it, without a full stop.
    Error(std::string fileName, const std::string& message) : std::runtime_error(message), file(std::move(fileName)) {}
    const std::string& File() const { return file; }

private:
    std::string file;
};

// Ends the command after Ctrl-C: main() says so and exits with kExitInterrupted.
class Interruption : public std::exception {
public:
    const char* what() const noexcept override { return "interrupted"; }
};

// Ends the command with kExitFailure when what failed has been told already.
class AlreadyTold : public std::exception {};

// Each adds one subcommand with its options and a callback that does the work or throws Error.
void AddInfo(CLI::App& app);
void AddSplit(CLI::App& app);
void AddJoin(CLI::App& app);
void AddFrame(CLI::App& app);
void AddSheet(CLI::App& app);
void AddSilence(CLI::App& app);
void AddTag(CLI::App& app);
void AddPeaks(CLI::App& app);
void AddLevels(CLI::App& app);
void AddMakeSample(CLI::App& app);
void AddMp3(CLI::App& app);
void AddPlay(CLI::App& app);
void AddProcess(CLI::App& app);
void AddScan(CLI::App& app);
void AddThumbprint(CLI::App& app);
void AddCompare(CLI::App& app);
void AddFind(CLI::App& app);
void AddPalette(CLI::App& app);
void AddClean(CLI::App& app);
void AddView(CLI::App& app);
void AddWaveform(CLI::App& app);
void AddDiscId(CLI::App& app);
void AddCddb(CLI::App& app);
void AddVideo(CLI::App& app);

// Adds the --json flag that every reporting command has.
CLI::Option* AddJsonFlag(CLI::App& command, bool& json);

// Prints one report on standard output, indented, with a line end. Text that is not UTF-8 (a file's name may be
// anything) is replaced, never thrown at.
void PrintJson(const nlohmann::ordered_json& report);

// The same text that PrintJson prints, for a report that goes into a file.
std::string JsonText(const nlohmann::ordered_json& report);

// A remark on standard error, "nvtool: FILE: message"; the work goes on.
void Warn(const std::string& file, const std::string& message);

// "3:07.480" for 187.48 seconds: minutes, seconds, milliseconds.
std::string TimeText(double seconds);

// A path as UTF-8 text, for messages and reports.
std::string PathText(const std::filesystem::path& path);
// The same with slashes on every system.
std::string SlashedText(const std::filesystem::path& path);

// A bar on standard error for work that takes more than a second. Draws only when standard error is a terminal, and
// removes itself at the end, so nothing of it lands in a log. On other threads than the main one it draws nothing: what
// they work for has a bar of its own.
class Progress {
public:
    // `total` in any unit; 0 draws nothing.
    Progress(std::string_view label, u64 total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // `done` of the total is done. Cheap enough for once a piece; draws at most ten times a second. Throws Interruption
    // after Ctrl-C in commands that catch it.
    void Update(u64 done);
    // Only the latter.
    static void Check();
    // Makes room for a line of text; the next Update draws the bar again.
    void Hide();
    // So many seconds are done of nobody knows how many.
    void UpdateUnknown(double seconds);

private:
    std::string label;
    u64 total;
    bool terminal;
    bool drawn = false;
    std::chrono::steady_clock::time_point start, last;

    bool IsDue();
};

// A file in the making: written under a temporary name in the folder where it will live, and renamed into place by
// Commit when it is whole. Without Commit the temporary file is removed and what was there before stays as it was.
class OutputFile {
public:
    // Throws Error when `target` is a folder or its folder does not exist or takes no new file. Creates an empty
    // temporary file.
    explicit OutputFile(std::filesystem::path target);
    ~OutputFile();
    OutputFile(OutputFile&& other) noexcept;
    OutputFile& operator=(OutputFile&&) = delete;

    // Where to write until Commit.
    const std::filesystem::path& Temporary() const { return temporary; }
    const std::filesystem::path& Target() const { return target; }

    // Replaces the file's contents in one go; throws Error when not all bytes could be written.
    void Write(const void* data, size_t size);

    // Puts the file in place; throws Error when that fails.
    void Commit();

    // All three at once: the file with these bytes, or as it was. Throws Error.
    static void WriteWhole(const std::filesystem::path& target, std::string_view bytes);

private:
    std::filesystem::path target; // as given
    std::filesystem::path place;  // where it really is, links followed
    std::filesystem::path temporary;
};

// Throws Error when `output` names the same file as `input`, however the two are spelled or linked.
void RefuseSameFile(const std::filesystem::path& input, const std::filesystem::path& output);

// Throws Error unless `path` is a file that can be opened for reading: missing, a folder, no permission.
void RequireReadable(const std::filesystem::path& path);

} // namespace nvtool
