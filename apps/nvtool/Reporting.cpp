// Messages, reports and the progress bar of nvtool: see Commands.h.
#include "Commands.h"

#include "Console.h"
#include "Interrupt.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <thread>

namespace nvtool {

namespace {

const std::thread::id kMainThread = std::this_thread::get_id();

} // namespace

CLI::Option* AddJsonFlag(CLI::App& command, bool& json)
{
    return command.add_flag("--json", json, "Report as JSON, for programs");
}

std::string JsonText(const nlohmann::ordered_json& report)
{
    return report.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

void PrintJson(const nlohmann::ordered_json& report)
{
    std::fputs(JsonText(report).c_str(), stdout);
}

void Warn(const std::string& file, const std::string& message)
{
    std::fprintf(stderr, "nvtool: %s: %s\n", file.c_str(), message.c_str());
}

std::string TimeText(double seconds)
{
    const long long milliseconds = std::llround(seconds * 1000);
    char text[48];
    std::snprintf(text, sizeof(text), "%lld:%02lld.%03lld", milliseconds / 60000, milliseconds / 1000 % 60,
                  milliseconds % 1000);
    return text;
}

std::string PathText(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

std::string SlashedText(const std::filesystem::path& path)
{
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
}

Progress::Progress(std::string_view what, u64 all)
    : label(what), total(all), terminal(all > 0 && std::this_thread::get_id() == kMainThread && IsErrorTerminal()),
      start(std::chrono::steady_clock::now()), last(start)
{
}

Progress::~Progress()
{
    Hide();
}

void Progress::Check()
{
    if (IsInterrupted())
        throw Interruption();
}

void Progress::Hide()
{
    if (drawn)
        std::fprintf(stderr, "\r%*s\r", ErrorTerminalWidth() - 1, "");
    drawn = false;
}

bool Progress::IsDue()
{
    using namespace std::chrono_literals;
    Check();
    const auto now = std::chrono::steady_clock::now();
    if (!terminal || now - start < 1s || now - last < 100ms)
        return false;
    last = now;
    drawn = true;
    return true;
}

void Progress::Update(u64 done)
{
    if (!IsDue())
        return;
    const double fraction = double(std::min(done, total)) / double(total);
    const int room = std::clamp(ErrorTerminalWidth() - int(label.size()) - 10, 0, 50);
    const int filled = int(room * fraction);
    std::fprintf(stderr, "\r%s [%s%s] %3d%%", label.c_str(), std::string(size_t(filled), '#').c_str(),
                 std::string(size_t(room - filled), '.').c_str(), int(fraction * 100));
    std::fflush(stderr);
}

void Progress::UpdateUnknown(double seconds)
{
    if (!IsDue())
        return;
    std::fprintf(stderr, "\r%s: %s of an unknown length ", label.c_str(), TimeText(std::max(seconds, 0.0)).c_str());
    std::fflush(stderr);
}

} // namespace nvtool
