// The page of 'nvtool process': see ProcessPage.h.
#include "ProcessPage.h"

#include "Commands.h"
#include "Html.h"

#include <algorithm>
#include <cstdio>

namespace nvtool {

namespace {

std::string Row(const std::string& name, const std::string& value)
{
    return "<tr><th>" + EscapedHtml(name) + "</th><td>" + EscapedHtml(value) + "</td></tr>\n";
}

std::string Card(const std::string& title, const std::string& rows)
{
    return "<div class=\"card\"><h3>" + EscapedHtml(title) + "</h3><table>\n" + rows + "</table></div>\n";
}

std::string Song(const SongFacts& song)
{
    std::string text;
    for (const std::string& part : {song.title, song.artist, song.album})
        if (!part.empty())
            text += (text.empty() ? "<b>" : " &middot; ") + EscapedHtml(part) + (text.empty() ? "</b>" : "");
    return text.empty() ? text : "<p class=\"lead\">" + text + "</p>\n";
}

std::string Heading(const TrackResults& results)
{
    std::string text = "<h1>" + EscapedHtml(results.title) + "</h1>\n" + (results.song ? Song(*results.song) : "") +
                       "<p class=\"lead\">" + TimeText(results.Seconds());
    if (results.graphics)
        text += " &middot; " + CountText(results.pages.pages.size(), "page", "pages");
    text += " &middot; " + EscapedHtml(results.Description()) + "</p>\n";
    for (const std::string& remark : results.remarks)
        text += "<p class=\"note\">Note: " + EscapedHtml(remark) + ".</p>\n";
    return text;
}

// The screen, if the graphics play, and under it the sound or, where there is none, the controls of a clock.
std::string Player(const TrackResults& results)
{
    const std::string& sound = results.mp3.empty() ? results.wav : results.mp3;
    std::string text;
    if (!results.script.empty())
        text += "<div class=\"stage\"><canvas width=\"300\" height=\"216\" title=\"Click to play and pause, twice for "
                "the full screen\"></canvas></div>\n";
    if (!sound.empty())
        text += "<audio controls preload=\"metadata\" src=\"" + EscapedHtml(sound) + "\"></audio>\n";
    else if (!results.script.empty())
        text += "<div class=\"clock\"></div>\n";
    return text;
}

// One strip for the whole track: the sound's picture where there is one, silences in grey, a mark for each page.
std::string Timeline(const TrackResults& results)
{
    const double all = results.Seconds();
    if (all <= 0)
        return {};
    const auto place = [&](double seconds) { return NumberText(std::clamp(seconds / all, 0.0, 1.0) * 1000, 2); };
    const bool hasWave = !results.waveform.empty();
    const std::string within = hasWave ? "y=\"12\" height=\"140\"" : "y=\"8\" height=\"24\"";
    std::string text = std::string("<svg class=\"bar") + (hasWave ? " wave" : "") + "\" viewBox=\"0 0 1000 " +
                       (hasWave ? "160" : "40") + "\" data-seconds=\"" + NumberText(all, 3) +
                       "\" preserveAspectRatio=\"none\" role=\"img\" aria-label=\"The track from start to end\">\n"
                       "<rect class=\"all\" x=\"0\" width=\"1000\" " +
                       within + "/>\n";
    if (hasWave) // may end before the graphics do
        text += "<image href=\"" + EscapedHtml(results.waveform) + "\" x=\"0\" width=\"" +
                place(results.sound->seconds) + "\" " + within + " preserveAspectRatio=\"none\"/>\n";
    if (results.sound)
        for (const auto& [start, end] : results.sound->silences) {
            const double from = results.sound->Seconds(start), to = results.sound->Seconds(end);
            text += "<rect class=\"quiet\" x=\"" + place(from) + "\" width=\"" + place(to - from) + "\" " + within +
                    "><title>silence " + TimeText(from) + " to " + TimeText(to) + "</title></rect>\n";
        }
    for (size_t i = 0; i < results.pages.pages.size(); ++i) {
        const double seconds = CCDGInputFile::PackToTime(results.pages.pages[i].pack);
        const std::string number = std::to_string(i + 1);
        // Over a waveform a thin line with a broad head, so that the sound stays to be seen.
        const std::string left = place(std::max(0.0, seconds - all * 0.002));
        const std::string head = hasWave ? "y=\"0\" height=\"12\"/><rect class=\"page\" x=\"" +
                                               place(std::max(0.0, seconds - all * 0.0005)) +
                                               "\" width=\"1\" y=\"12\" height=\"148\""
                                         : "y=\"2\" height=\"36\"";
        text += "<a href=\"#page-" + number + "\"><title>page " + number + " at " + TimeText(seconds) +
                "</title><rect class=\"page\" x=\"" + left + "\" width=\"4\" " + head + "/></a>\n";
    }
    text += "<rect class=\"head\" x=\"-1\" y=\"0\" width=\"2\" height=\"160\"/>\n";
    return text + "</svg>\n<div class=\"scale\"><span>" + TimeText(0) + "</span><span>" + TimeText(all / 2) +
           "</span><span>" + TimeText(all) + "</span></div>\n";
}

std::string SoundCard(const SoundReport& sound)
{
    const auto place = [&](int frame) { return frame < 0 ? std::string("none") : TimeText(sound.Seconds(frame)); };
    std::string rows = Row("Length", TimeText(sound.seconds)) + Row("Frames", std::to_string(sound.frames)) +
                       Row("Format", FormatText(sound.format));
    if (sound.scanned)
        rows += Row("First sound", place(sound.firstSound)) + Row("Last sound", place(sound.lastSound)) +
                Row("Silences", std::to_string(sound.silences.size()));
    return Card("Sound", rows);
}

std::string GraphicsCard(const CDGStreamInfo& graphics)
{
    const auto place = [](const std::optional<int>& pack) {
        return pack ? TimeText(CCDGInputFile::PackToTime(*pack)) : std::string("none");
    };
    return Card("Graphics", Row("Length", TimeText(CCDGInputFile::PackToTime(graphics.packs))) +
                                Row("Packs", std::to_string(graphics.packs)) +
                                Row("First graphics", place(graphics.firstGraphics)) +
                                Row("Last change", place(graphics.lastChange)));
}

std::string PacksCard(const CDGStreamInfo& graphics)
{
    std::string rows;
    for (const auto& row : graphics.instructions)
        if (row.packs > 0)
            rows += Row(row.name, std::to_string(row.packs));
    if (graphics.otherGraphics > 0)
        rows += Row("Other graphics", std::to_string(graphics.otherGraphics));
    if (graphics.otherCommands > 0)
        rows += Row("Other commands", std::to_string(graphics.otherCommands));
    return Card("Packs by instruction", rows + Row("Empty", std::to_string(graphics.empty)));
}

std::string PrintCard(const PrintFacts& print)
{
    return Card("Thumbprint", Row("File", print.name) + Row("Bytes", std::to_string(print.bytes)) +
                                  Row("Bits set", std::to_string(print.bitsSet)));
}

std::string TrackFacts(const TrackResults& results)
{
    std::string text = "<h2>Facts</h2>\n<div class=\"facts\">\n";
    if (results.sound)
        text += SoundCard(*results.sound);
    if (results.graphics)
        text += GraphicsCard(*results.graphics) + PacksCard(*results.graphics);
    if (results.print)
        text += PrintCard(*results.print);
    text += "</div>\n";
    std::string files;
    for (const std::string& name :
         {results.wav, results.mp3, results.cdg, results.print ? results.print->name : std::string()})
        if (!name.empty())
            files +=
                (files.empty() ? "" : ", ") + ("<a href=\"" + EscapedHtml(name) + "\">" + EscapedHtml(name) + "</a>");
    return files.empty() ? text : text + "<p class=\"note\">Files: " + files + "</p>\n";
}

std::string PageFigures(const TrackResults& results)
{
    if (!results.graphics)
        return {};
    std::string text = "<h2>Pages</h2>\n";
    if (results.pages.pages.empty())
        return text + "<p class=\"note\">The screen stays blank throughout.</p>\n";
    text += "<div class=\"pages\">\n";
    for (size_t i = 0; i < results.pages.pages.size(); ++i) {
        const Page& page = results.pages.pages[i];
        const std::string number = std::to_string(i + 1), picture = EscapedHtml(results.pictures[i]);
        const double from = CCDGInputFile::PackToTime(page.startPack), to = CCDGInputFile::PackToTime(page.pack);
        text += "<figure id=\"page-" + number + "\"><a href=\"" + picture + "\"><img loading=\"lazy\" src=\"" +
                picture + "\" alt=\"Page " + number + "\"></a><figcaption><b>" + number + "</b><button data-from=\"" +
                NumberText(from, 3) + "\" title=\"Play from here\">&#9654;</button>" + "<span class=\"when\">" +
                TimeText(from) + " &ndash; " + TimeText(to) + "</span></figcaption></figure>\n";
    }
    text += "</div>\n";
    if (results.pages.cut)
        text += "<p class=\"note\">Only the first " + std::to_string(kMaxPages) + " pages are shown.</p>\n";
    return text;
}

std::string ScreenFigure(const ScreenRun& run)
{
    const std::string picture = EscapedHtml(run.picture);
    std::string number = std::to_string(run.firstNumber);
    if (run.lastNumber != run.firstNumber)
        number += "&ndash;" + std::to_string(run.lastNumber);
    std::string text = "<figure><a href=\"" + picture + "\"><img loading=\"lazy\" src=\"" + picture +
                       "\" alt=\"Screen " + number + "\"></a><figcaption><b>" + number + "</b><button data-from=\"" +
                       NumberText(CCDGInputFile::PackToTime(run.firstPack), 3) +
                       "\" title=\"Play from here\">&#9654;</button><span class=\"when\">" +
                       TimeText(CCDGInputFile::PackToTime(run.firstPack)) + " &ndash; " +
                       TimeText(CCDGInputFile::PackToTime(run.lastPack)) + "</span></figcaption><div class=\"lines\">" +
                       CountText(run.shown.lines.size(), "line", "lines") + ", rows " + LinesText(run.shown.lines) +
                       "; packs " + std::to_string(run.firstPack) + "&ndash;" + std::to_string(run.lastPack) +
                       "</div><div class=\"palette\">";
    for (const std::string& colour : run.palette)
        text += "<span style=\"background: " + colour + "\" title=\"" + colour + "\"></span>";
    return text + "</div></figure>\n";
}

std::string ScreenFigures(const TrackResults& results)
{
    if (!results.graphics)
        return {};
    std::string text =
        "<h2>Screens and text lines</h2>\n<p class=\"note\">" + CountText(results.screenCount, "screen", "screens") +
        ". Each goes from where the one before was erased to where it is erased itself, and is shown as it "
        "was just before that: its text lines framed, those that have faded by then drawn faintly, its sixteen "
        "colours below. Screens of less than half a second in a row, the steps of a scroll or a wipe, "
        "share a picture; screens without lines have none."
        "</p>\n<div class=\"pages\">\n";
    for (const ScreenRun& run : results.screens)
        if (!run.picture.empty())
            text += ScreenFigure(run);
    text += "</div>\n";
    if (results.screensCut)
        text += "<p class=\"note\">Only the first " + std::to_string(kMaxScreenRuns) + " pictures are shown.</p>\n";
    return text;
}

std::string Silences(const TrackResults& results)
{
    if (!results.sound)
        return {};
    const SoundReport& sound = *results.sound;
    std::string text = "<h2>Silences</h2>\n";
    if (!sound.scanned)
        return text + "<p class=\"note\">Silence is looked for in 16-bit mono or stereo only.</p>\n";
    text += "<p class=\"note\">At least " + NumberText(sound.options.minSeconds, 3) + " s below " +
            NumberText(sound.options.threshold * 100, 2) + " % of full scale.</p>\n";
    if (sound.silences.empty())
        return text + "<p>None.</p>\n";
    text +=
        "<table class=\"silences\"><tr><th>from</th><th>to</th><th>seconds</th><th>frame</th><th>to frame</th></tr>\n";
    for (const auto& [start, end] : sound.silences)
        text += "<tr><td>" + TimeText(sound.Seconds(start)) + "</td><td>" + TimeText(sound.Seconds(end)) + "</td><td>" +
                NumberText(sound.Seconds(end - start), 3) + "</td><td>" + std::to_string(start) + "</td><td>" +
                std::to_string(end) + "</td></tr>\n";
    return text + "</table>\n";
}

std::string ContactSheetSection(const TrackResults& results)
{
    if (results.sheet.empty())
        return {};
    const std::string sheet = EscapedHtml(results.sheet);
    return "<h2>The whole track</h2>\n<p class=\"sheet\"><a href=\"" + sheet + "\"><img loading=\"lazy\" src=\"" +
           sheet + "\" alt=\"Contact sheet\"></a></p>\n";
}

} // namespace

double TrackResults::Seconds() const
{
    return std::max(sound ? sound->seconds : 0.0, graphics ? CCDGInputFile::PackToTime(graphics->packs) : 0.0);
}

std::string TrackResults::Description() const
{
    return identity.kind == StreamKind::Unknown && sound ? kOtherSound : StreamKindName(identity.kind);
}

std::string BuildProcessPage(const TrackResults& results)
{
    std::string body = Heading(results) + Player(results) + Timeline(results) +
                       (results.titles ? DiscTitlesHtml(*results.titles) : std::string()) + PageFigures(results) +
                       ScreenFigures(results) + Silences(results) + TrackFacts(results) + ContactSheetSection(results) +
                       kPageFooter;
    if (!results.script.empty())
        body += "<script src=\"" + EscapedHtml(results.script) + "\"></script>\n";
    return HtmlPage(results.title, body + "<script>\n" + kPageScript + "</script>\n");
}

} // namespace nvtool
