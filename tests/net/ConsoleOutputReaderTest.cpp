// Real child processes that behave well, badly, and not at all.
#include "ConsoleOutputReader.h"

#include "net/LineSplitter.h"
#include "platform/ProcessProbe.h"
#include "support/FakeTool.h"
#include "support/TempFolder.h"

#include <afx.h>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <stdexcept>
#include <thread>

namespace {

using Outcome = CConsoleOutputReader::Outcome;
using std::chrono::milliseconds;

struct Result {
    bool good = false;
    Outcome outcome = Outcome::notStarted;
    int exitCode = -1;
    Lines lines;
    std::string message;
    long long time = 0; // milliseconds
};

Result RunChild(const std::string& commandLine, const CConsoleOutputReader::Settings& settings = {},
                const CConsoleOutputReader::CancelCheck& cancel = {})
{
    Result result;
    CConsoleOutputReader console;
    const auto start = std::chrono::steady_clock::now();
    result.good = console.Run(
        commandLine, [&](const std::string& line) { result.lines.push_back(line); }, cancel, settings);
    result.time = duration_cast<milliseconds>(std::chrono::steady_clock::now() - start).count();
    result.outcome = console.GetOutcome();
    result.exitCode = console.GetExitCode();
    result.message = console.GetErrorMessage();
    return result;
}

CConsoleOutputReader::Settings Limit(int limit)
{
    CConsoleOutputReader::Settings settings;
    settings.timeLimit = limit;
    return settings;
}

} // namespace

TEST(LineSplitter, LinesAreTheSameHoweverTheBytesAreCut)
{
    struct Case {
        const char* text;
        Lines lines;
    };
    const Case cases[] = {
        {"", {}},
        {"one", {"one"}},
        {"a\nb\n", {"a", "b"}},
        {"a\r\nb\r\n\r\nc", {"a", "b", "", "c"}},
        {"\n\n", {"", ""}},
        {"10%\r20%\r30%\r\nend", {"10%", "20%", "30%", "end"}},
        {"\r\r\rx\r", {"x"}},
        {"0123456789abcdef\n", {"01234567", "89abcdef", ""}},
        {"0123456789", {"01234567", "89"}},
    };
    for (const Case& c : cases)
        for (std::size_t piece = 1; piece <= 20; ++piece) {
            SCOPED_TRACE(std::string(c.text) + " in pieces of " + std::to_string(piece));
            Lines lines;
            const auto emit = [&](const std::string& line) { lines.push_back(line); };
            NV::LineSplitter splitter(8);
            for (std::string_view rest = c.text; !rest.empty(); rest.remove_prefix(std::min(piece, rest.size())))
                splitter.Add(rest.substr(0, piece), emit);
            splitter.Finish(emit);
            EXPECT_EQ(lines, c.lines);
        }
}

TEST(ConsoleOutputReader, ArgumentsArriveAsTheyWere)
{
    std::mt19937 random(11);
    const std::string alphabet = "ab \"\\\\\"'$`%*\t;&|<>^()\xC3\xA4";
    Lines arguments = {"", " ", "\\", "\"", "a b\\", "\\\\\"", "C:\\folder\\", "--x=\"y z\"", "'", "~", "*.cpp"};
    for (int i = 0; i < 200; ++i) {
        std::string text;
        for (auto length = random() % 12; length > 0; --length)
            text += alphabet[random() % alphabet.size()];
        arguments.push_back(text);
    }
    Lines expected;
    for (const std::string& argument : arguments)
        expected.push_back("<" + argument + ">");
    const Result result = RunChild(FakeTool("echo " + Quoted(arguments)));
    EXPECT_TRUE(result.good) << result.message;
    EXPECT_EQ(result.lines, expected);
}

TEST(ConsoleOutputReader, TheProgramMayBeAnywhere)
{
    const TempFolder folder;
    const auto name = std::filesystem::path(NVLIB_FAKE_TOOL).filename();
    for (const char* place : {"two blanks  here", "it's", "bad\"quote", "back\\slash"}) {
        SCOPED_TRACE(place);
        std::error_code failure;
        const auto there = std::filesystem::path(folder.Path()) / place;
        if (!std::filesystem::create_directories(there, failure))
            continue; // no name for a folder here
        std::filesystem::copy_file(NVLIB_FAKE_TOOL, there / name);
        CConsoleOutputReader::Settings inFolder;
        inFolder.folder = there.string();
        const Result result = RunChild(FakeTool("out found bytes 3", (there / name).string()), inFolder);
        EXPECT_EQ(result.lines, (Lines{"found", "xxx"})) << result.message;
    }
}

TEST(ConsoleOutputReader, LongCommandLinesWorkOrAreRefusedClearly)
{
    const std::string longText(40000 - FakeTool("echo ").size(), 'x');
    const Result longest = RunChild(FakeTool("echo " + longText));
    if (longest.outcome == Outcome::notStarted) {
        EXPECT_FALSE(longest.message.empty());
        EXPECT_TRUE(RunChild(FakeTool("echo " + longText.substr(0, 32000))).good);
    } else {
        EXPECT_EQ(longest.lines, Lines{"<" + longText + ">"});
    }
}

TEST(ConsoleOutputReader, WhatCannotStartIsTold)
{
    CConsoleOutputReader::Settings nowhere;
    nowhere.folder = "no such folder";
    for (const Result& result : {RunChild("\"/no/such/program\" x"), RunChild(""),
                                 RunChild(FakeTool("exit 0"), nowhere), RunChild(std::string("a\0b", 3))}) {
        EXPECT_EQ(result.outcome, Outcome::notStarted);
        EXPECT_FALSE(result.good);
        EXPECT_FALSE(result.message.empty());
    }
}

TEST(ConsoleOutputReader, EachWayToEndIsKnown)
{
    struct Case {
        const char* script;
        int limit; // milliseconds
        Outcome outcome;
        int exitCode; // -1: whatever the system makes of it
        Lines lines;
    };
    const Case cases[] = {
        {"exit 0", 0, Outcome::ended, 0, {}},
        {"out last exit 3", 0, Outcome::ended, 3, {"last"}},
        {"raw unfinished", 0, Outcome::ended, 0, {"unfinished"}},
        {"close-out close-err sleep 100 exit 4", 0, Outcome::ended, 4, {}},
        {"err seen crash", 0, Outcome::ended, -1, {"seen"}},
        {"out before hang", 300, Outcome::timedOut, -1, {"before"}},
        {"stubborn out stubborn hang", 300, Outcome::timedOut, -1, {"stubborn"}},
        {"close-out close-err hang", 300, Outcome::timedOut, -1, {}},
        {"out ready await-q", 300, Outcome::timedOut, 7, {"ready"}},
        {"leave sleep 4000 ; out parent exit 5", 0, Outcome::ended, 5, {"parent"}},
        {"leave bytes 1000000 hang ; hang", 300, Outcome::timedOut, -1, {std::string(1000000, 'x')}},
    };
    const int handles = OpenHandleCount(), threads = ThreadCount();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.script);
        const Result result = RunChild(FakeTool(c.script), Limit(c.limit));
        EXPECT_EQ(result.outcome, c.outcome);
        if (c.exitCode >= 0) {
            EXPECT_EQ(result.exitCode, c.exitCode);
        } else {
            EXPECT_GT(result.exitCode, 0);
        }
        EXPECT_EQ(result.good, c.outcome == Outcome::ended && c.exitCode == 0);
        EXPECT_EQ(result.lines, c.lines);
        EXPECT_LT(result.time, c.limit + 3000); // a second for each kind of patience, and a busy machine
        EXPECT_TRUE(ThreadsFallTo(threads));
    }
    EXPECT_LE(OpenHandleCount(), handles + SystemHandleCount());
}

TEST(ConsoleOutputReader, MegabytesOnBothStreamsComeWholeAndInOrder)
{
    constexpr int count = 100000;
    const Result result = RunChild(FakeTool("lines " + std::to_string(count)));
    EXPECT_TRUE(result.good);
    int output = 0, errors = 0, strangers = 0;
    for (const std::string& line : result.lines)
        if (line == "out " + std::to_string(output + 1))
            ++output;
        else if (line == "err " + std::to_string(errors + 1))
            ++errors;
        else
            ++strangers;
    EXPECT_EQ(output, count);
    EXPECT_EQ(errors, count);
    EXPECT_EQ(strangers, 0);

    const Result endless = RunChild(FakeTool("bytes 5000000"));
    ASSERT_EQ(endless.lines.size(), 5U);
    EXPECT_EQ(endless.lines[0].size(), CConsoleOutputReader::maxLine);
    EXPECT_EQ(endless.lines[4].size(), 5000000 - 4 * CConsoleOutputReader::maxLine);
}

TEST(ConsoleOutputReader, SlowHandlersLoseNothingToSomebodyWhoHoldsThePipe)
{
    int lines = 0;
    CConsoleOutputReader console;
    console.Run(FakeTool("leave sleep 5000 ; lines 800"), [&](const std::string&) {
        ++lines;
        std::this_thread::sleep_for(milliseconds(1));
    });
    EXPECT_EQ(lines, 1600);
}

TEST(ConsoleOutputReader, CancellingEndsTheProgramAndWhatItHasStarted)
{
    const TempFolder folder;
    const auto beats = [&] { return folder.Read("beats").size(); };
    for (const char* script : {"beat beats", "leave beat beats ; hang", "stubborn leave beat beats ; hang"}) {
        SCOPED_TRACE(script);
        std::filesystem::remove(folder.Path("beats"));
        CConsoleOutputReader::Settings settings;
        settings.folder = folder.Path();
        std::chrono::steady_clock::time_point cancelled;
        const Result result = RunChild(FakeTool(script), settings, [&] {
            cancelled = std::chrono::steady_clock::now();
            return beats() > 3 ? 1 : 0;
        });
        const auto took = duration_cast<milliseconds>(std::chrono::steady_clock::now() - cancelled).count();
        EXPECT_EQ(result.outcome, Outcome::cancelled);
        EXPECT_LT(took, 1000);
        const std::size_t last = beats();
        std::this_thread::sleep_for(milliseconds(100));
        EXPECT_EQ(beats(), last);
    }
}

TEST(ConsoleOutputReader, ExceptionsOfHandlersStayInsideAndThoseOfTheCheckComeOut)
{
    int lines = 0;
    CConsoleOutputReader console;
    EXPECT_TRUE(console.Run(FakeTool("lines 3"), [&](const std::string&) {
        if (++lines % 2 != 0)
            throw std::runtime_error("dropped");
        AfxThrowMemoryException(); // by pointer
    }));
    EXPECT_EQ(lines, 6);

    const int threads = ThreadCount();
    EXPECT_THROW(console.Run(FakeTool("hang"), {}, []() -> int { throw std::domain_error("mine"); }),
                 std::domain_error);
    EXPECT_TRUE(ThreadsFallTo(threads));
}

TEST(ConsoleOutputReader, InputIsFedAndNobodyWaitsForAProgramThatDoesNotRead)
{
    CConsoleOutputReader::Settings settings;
    bool allTaken = false;
    settings.feed = [&](CConsoleOutputReader::Input& input) {
        const std::string piece(300000, 'A');
        allTaken = true;
        for (int i = 0; i < 20; ++i)
            allTaken = input.Write(piece.data(), piece.size()) && allTaken;
    };
    EXPECT_EQ(RunChild(FakeTool("read"), settings).lines, Lines{"read 6000000 bytes, sum 390000000"});
    EXPECT_TRUE(allTaken);

    EXPECT_TRUE(RunChild(FakeTool("exit 0"), settings).good); // gone, with most of it unread
    EXPECT_FALSE(allTaken);
    EXPECT_TRUE(RunChild(FakeTool("leave sleep 5000 ; exit 0"), settings).good); // its input is still open
    EXPECT_FALSE(allTaken);
    settings.timeLimit = 200;
    EXPECT_EQ(RunChild(FakeTool("hang"), settings).outcome, Outcome::timedOut);
    EXPECT_FALSE(allTaken);

    settings.feed = [](CConsoleOutputReader::Input&) { throw std::runtime_error("dropped"); };
    EXPECT_EQ(RunChild(FakeTool("read"), settings).lines, Lines{"read 0 bytes, sum 0"});
}
