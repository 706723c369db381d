// nvtool tag: the ID3v1 tag of an MP3 file, shown, changed or taken off.
#include "Commands.h"
#include "Mp3Report.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <memory>
#include <optional>

namespace nvtool {

namespace {

struct TagArguments {
    std::string file;
    std::optional<std::string> title, artist, album, year, comment, genre;
    std::optional<int> track;
    bool remove = false;
    bool json = false;
    bool Changes() const { return title || artist || album || year || comment || genre || track; }
};

constexpr int kNoGenre = 255;

// A number from 0 to 255, or a name without regard to case. Empty for none.
int ParseGenre(const std::string& text)
{
    if (text.empty())
        return kNoGenre;
    int index = -1;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), index);
    if (error == std::errc() && rest == text.data() + text.size() && index >= 0 && index <= kNoGenre)
        return index;
    for (index = 0; index < CMP3Info::c_nGenres; ++index)
        if (CMP3Info::GetGenreString(index).CompareNoCase(text.c_str()) == 0)
            return index;
    throw CLI::ValidationError("--genre", "'" + text + "' is neither one of the 148 names nor a number up to 255");
}

// What does not fit is cut, which the person is told.
void WarnOfCuts(const std::string& file, const CMP3Info& info)
{
    const auto check = [&](const char* what, const CString& text, int most) {
        if (text.GetLength() > most)
            Warn(file, std::string("the ") + what + " is cut to " + std::to_string(most) + " bytes");
    };
    check("title", info.GetTitle(), 30);
    check("artist", info.GetArtist(), 30);
    check("album", info.GetAlbum(), 30);
    check("year", info.GetYear(), 4);
    check("comment", info.GetComment(), info.GetTrack() > 0 ? 28 : 30);
    if (info.GetComment().GetLength() > 28 && info.GetTrack() == 0 && info.GetGenreIndex() != kNoGenre)
        Warn(file,
             "the genre will not be read again: the comment has more than 28 bytes, and there is no track number");
}

void Change(const TagArguments& options, CMP3Info& info, int genre)
{
    if (options.title)
        info.SetTitle(options.title->c_str());
    if (options.artist)
        info.SetArtist(options.artist->c_str());
    if (options.album)
        info.SetAlbum(options.album->c_str());
    if (options.year)
        info.SetYear(options.year->c_str());
    if (options.comment)
        info.SetComment(options.comment->c_str());
    if (options.track)
        info.SetTrack(*options.track);
    if (options.genre)
        info.SetGenreIndex(genre);
    WarnOfCuts(options.file, info);
}

void RunTag(const TagArguments& options)
{
    const int genre = options.genre ? ParseGenre(*options.genre) : kNoGenre;
    RequireReadable(options.file);
    std::optional<Mp3Report> report = ReadMp3(options.file);
    if (!report)
        throw Error(options.file, "is no MP3 file");
    if (options.remove || options.Changes()) {
        if (options.Changes())
            Change(options, report->info, genre);
        const int operation = options.remove ? CMP3Info::removeTag : CMP3Info::writeTag;
        if (!report->info.WriteID3V1(options.file.c_str(), operation) || !report->info.Open(options.file.c_str()))
            throw Error(options.file, "cannot be written and is as it was; is there room on the disk?");
    }
    if (options.json)
        return PrintJson({{"file", options.file}, {"tag", TagJson(report->info)}});
    std::printf("%s: %s\n", options.file.c_str(),
                report->info.GetValidity() & CMP3Info::validTag ? "ID3v1 tag" : "no ID3v1 tag");
    PrintTag(report->info);
}

} // namespace

void AddTag(CLI::App& app)
{
    auto options = std::make_shared<TagArguments>();
    CLI::App& command = *app.add_subcommand("tag", "Show, change or remove the ID3v1 tag of an MP3 file");
    command.add_option("FILE", options->file, "MP3 file")->required()->type_name("");
    CLI::Option* const remove = command.add_flag("--remove", options->remove, "Take the tag off");
    const auto text = [&](const char* name, std::optional<std::string>& value, const char* help) {
        command.add_option(name, value, help)->excludes(remove)->type_name("TEXT");
    };
    text("--title", options->title, "Up to 30 bytes");
    text("--artist", options->artist, "Up to 30 bytes");
    text("--album", options->album, "Up to 30 bytes");
    text("--year", options->year, "Up to 4 bytes");
    text("--comment", options->comment, "Up to 30 bytes, 28 with a track number");
    text("--genre", options->genre, "A name of the usual list, or a number; '' for none");
    command.add_option("--track", options->track, "Track number, 0 for none")
        ->check(CLI::Range(0, 255))
        ->excludes(remove)
        ->type_name("N");
    AddJsonFlag(command, options->json);
    command.footer(
        "\nWithout an option that changes it the tag is shown. What is not named stays, and so does the rest of\n"
        "the file, which is replaced only when its successor is whole.\n\n"
        "Example:\n  nvtool tag song.mp3 --title 'Auld Lang Syne' --track 3 --genre Folk");
    command.callback([options] { RunTag(*options); });
}

} // namespace nvtool
