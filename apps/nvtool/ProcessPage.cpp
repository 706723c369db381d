// The page of 'nvtool process': see ProcessPage.h.
#include "ProcessPage.h"

#include "Commands.h"

#include <algorithm>
#include <cstdio>

namespace nvtool {

namespace {

constexpr char kStyle[] = R"css(
:root { color-scheme: light dark; --ink: #1d1d22; --dim: #66666f; --paper: #f6f5f2; --card: #ffffff; --line: #dddbd5;
  --accent: #7a3fd1; --quiet: #c9c6bd; }
@media (prefers-color-scheme: dark) { :root { --ink: #ececf0; --dim: #9b9ba6; --paper: #17171b; --card: #212127;
  --line: #34343c; --accent: #b892ff; --quiet: #4a4a55; } }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 2rem 1.5rem 4rem; max-width: 76rem; background: var(--paper); color: var(--ink);
  font: 16px/1.5 system-ui, sans-serif; }
h1 { margin: 0; font-size: 1.9rem; overflow-wrap: anywhere; }
h2 { margin: 2.5rem 0 .8rem; font-size: 1.2rem; }
p.lead, .note { color: var(--dim); margin: .2rem 0 0; } .note + div { margin-top: 1rem; }
a { color: var(--accent); }
audio { width: 100%; margin-top: 1.2rem; }
.bar { display: block; width: 100%; height: 3.2rem; margin-top: 1rem; }
.bar .all { fill: var(--card); stroke: var(--line); } .bar .quiet { fill: var(--quiet); }
.bar .page { fill: var(--accent); } .bar .page:hover { fill: var(--ink); }
.wave { height: 10rem; } .wave image { image-rendering: auto; } .wave .quiet { fill: #fff; opacity: .13; }
.wave .page { fill: #ffb23e; } .wave .page:hover { fill: #fff; }
.scale { display: flex; justify-content: space-between; color: var(--dim); font-size: .85rem; }
.facts { display: grid; grid-template-columns: repeat(auto-fit, minmax(17rem, 1fr)); gap: 1rem; }
.card { background: var(--card); border: 1px solid var(--line); border-radius: .6rem; padding: 1rem 1.2rem; }
.card h3 { margin: 0 0 .4rem; font-size: 1rem; }
table { border-collapse: collapse; width: 100%; font-variant-numeric: tabular-nums; }
th { text-align: left; font-weight: 500; color: var(--dim); } td, th { padding: .15rem 0; } td { text-align: right; }
.silences { max-width: 40rem; } .silences td, .silences th { text-align: right; padding: .25rem .4rem;
  border-bottom: 1px solid var(--line); }
.pages { display: grid; grid-template-columns: repeat(auto-fill, minmax(17rem, 1fr)); gap: 1.1rem; }
figure { margin: 0; background: var(--card); border: 1px solid var(--line); border-radius: .6rem; overflow: hidden; }
figure:target { outline: 3px solid var(--accent); }
figure img { display: block; width: 100%; height: auto; aspect-ratio: 300 / 216; }
figcaption { display: flex; gap: .6rem; align-items: center; padding: .45rem .8rem; font-variant-numeric: tabular-nums; }
figcaption b { white-space: nowrap; }
figcaption .when { margin-left: auto; color: var(--dim); font-size: .9rem; }
button { font: inherit; color: var(--accent); background: none; border: 1px solid var(--line); border-radius: .4rem;
  padding: 0 .55rem; cursor: pointer; }
.lines { padding: 0 .8rem .4rem; color: var(--dim); font-size: .85rem; }
.palette { display: flex; padding: 0 .8rem .7rem; } .palette span { flex: 1; height: 1rem; border: 1px solid var(--line); }
.sheet img { max-width: 100%; border-radius: .6rem; }
footer { margin-top: 3rem; color: var(--dim); font-size: .85rem; }
)css";

constexpr char kScript[] = R"js(
const sound = document.querySelector('audio');
for (const button of document.querySelectorAll('button[data-from]')) {
  if (!sound) { button.remove(); continue; }
  button.onclick = () => { sound.currentTime = Number(button.dataset.from); sound.play(); };
}
)js";

// Text for HTML, also inside of attributes. Bytes that are no UTF-8 would only show as odd characters.
std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char c : text) {
        if (c == '&')
            escaped += "&amp;";
        else if (c == '<')
            escaped += "&lt;";
        else if (c == '>')
            escaped += "&gt;";
        else if (c == '"')
            escaped += "&quot;";
        else
            escaped += c;
    }
    return escaped;
}

std::string Number(double value, int decimals)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%.*f", decimals, value);
    return text;
}

std::string Row(const std::string& name, const std::string& value)
{
    return "<tr><th>" + Escaped(name) + "</th><td>" + Escaped(value) + "</td></tr>\n";
}

std::string Card(const std::string& title, const std::string& rows)
{
    return "<div class=\"card\"><h3>" + Escaped(title) + "</h3><table>\n" + rows + "</table></div>\n";
}

std::string Count(size_t count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string Heading(const TrackResults& results)
{
    std::string text = "<h1>" + Escaped(results.title) + "</h1>\n<p class=\"lead\">" + TimeText(results.Seconds());
    if (results.graphics)
        text += " &middot; " + Count(results.pages.pages.size(), "page", "pages");
    text += " &middot; " + Escaped(StreamKindName(results.identity.kind)) + "</p>\n";
    for (const std::string& remark : results.remarks)
        text += "<p class=\"note\">Note: " + Escaped(remark) + ".</p>\n";
    return text;
}

std::string Player(const TrackResults& results)
{
    const std::string& sound = results.mp3.empty() ? results.wav : results.mp3;
    if (sound.empty())
        return {};
    return "<audio controls preload=\"metadata\" src=\"" + Escaped(sound) + "\"></audio>\n";
}

// One strip for the whole track: the sound's picture where there is one, silences in grey, a mark for each page.
std::string Timeline(const TrackResults& results)
{
    const double all = results.Seconds();
    if (all <= 0)
        return {};
    const auto place = [&](double seconds) { return Number(std::clamp(seconds / all, 0.0, 1.0) * 1000, 2); };
    const bool hasWave = !results.waveform.empty();
    const std::string within = hasWave ? "y=\"12\" height=\"140\"" : "y=\"8\" height=\"24\"";
    std::string text = std::string("<svg class=\"bar") + (hasWave ? " wave" : "") + "\" viewBox=\"0 0 1000 " +
                       (hasWave ? "160" : "40") +
                       "\" preserveAspectRatio=\"none\" role=\"img\" aria-label=\"The track from start to end\">\n"
                       "<rect class=\"all\" x=\"0\" width=\"1000\" " +
                       within + "/>\n";
    if (hasWave) // may end before the graphics do
        text += "<image href=\"" + Escaped(results.waveform) + "\" x=\"0\" width=\"" + place(results.sound->seconds) +
                "\" " + within + " preserveAspectRatio=\"none\"/>\n";
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

std::string Facts(const TrackResults& results)
{
    std::string text = "<h2>Facts</h2>\n<div class=\"facts\">\n";
    if (results.sound)
        text += SoundCard(*results.sound);
    if (results.graphics)
        text += GraphicsCard(*results.graphics) + PacksCard(*results.graphics);
    text += "</div>\n";
    std::string files;
    for (const std::string& name : {results.wav, results.mp3, results.cdg})
        if (!name.empty())
            files += (files.empty() ? "" : ", ") + ("<a href=\"" + Escaped(name) + "\">" + Escaped(name) + "</a>");
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
        const std::string number = std::to_string(i + 1), picture = Escaped(results.pictures[i]);
        const double from = CCDGInputFile::PackToTime(page.startPack), to = CCDGInputFile::PackToTime(page.pack);
        text += "<figure id=\"page-" + number + "\"><a href=\"" + picture + "\"><img loading=\"lazy\" src=\"" +
                picture + "\" alt=\"Page " + number + "\"></a><figcaption><b>" + number + "</b><button data-from=\"" +
                Number(from, 3) + "\" title=\"Play from here\">&#9654;</button>" + "<span class=\"when\">" +
                TimeText(from) + " &ndash; " + TimeText(to) + "</span></figcaption></figure>\n";
    }
    text += "</div>\n";
    if (results.pages.cut)
        text += "<p class=\"note\">Only the first " + std::to_string(kMaxPages) + " pages are shown.</p>\n";
    return text;
}

std::string ScreenFigure(const ScreenRun& run)
{
    const std::string picture = Escaped(run.picture);
    std::string number = std::to_string(run.firstNumber);
    if (run.lastNumber != run.firstNumber)
        number += "&ndash;" + std::to_string(run.lastNumber);
    std::string text = "<figure><a href=\"" + picture + "\"><img loading=\"lazy\" src=\"" + picture +
                       "\" alt=\"Screen " + number + "\"></a><figcaption><b>" + number + "</b><button data-from=\"" +
                       Number(CCDGInputFile::PackToTime(run.firstPack), 3) +
                       "\" title=\"Play from here\">&#9654;</button><span class=\"when\">" +
                       TimeText(CCDGInputFile::PackToTime(run.firstPack)) + " &ndash; " +
                       TimeText(CCDGInputFile::PackToTime(run.lastPack)) + "</span></figcaption><div class=\"lines\">" +
                       Count(run.shown.lines.size(), "line", "lines") + ", rows " + LinesText(run.shown.lines) +
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
        "<h2>Screens and text lines</h2>\n<p class=\"note\">" + Count(results.screenCount, "screen", "screens") +
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
    text += "<p class=\"note\">At least " + Number(sound.options.minSeconds, 3) + " s below " +
            Number(sound.options.threshold * 100, 2) + " % of full scale.</p>\n";
    if (sound.silences.empty())
        return text + "<p>None.</p>\n";
    text +=
        "<table class=\"silences\"><tr><th>from</th><th>to</th><th>seconds</th><th>frame</th><th>to frame</th></tr>\n";
    for (const auto& [start, end] : sound.silences)
        text += "<tr><td>" + TimeText(sound.Seconds(start)) + "</td><td>" + TimeText(sound.Seconds(end)) + "</td><td>" +
                Number(sound.Seconds(end - start), 3) + "</td><td>" + std::to_string(start) + "</td><td>" +
                std::to_string(end) + "</td></tr>\n";
    return text + "</table>\n";
}

std::string ContactSheetSection(const TrackResults& results)
{
    if (results.sheet.empty())
        return {};
    const std::string sheet = Escaped(results.sheet);
    return "<h2>The whole track</h2>\n<p class=\"sheet\"><a href=\"" + sheet + "\"><img loading=\"lazy\" src=\"" +
           sheet + "\" alt=\"Contact sheet\"></a></p>\n";
}

} // namespace

double TrackResults::Seconds() const
{
    return std::max(sound ? sound->seconds : 0.0, graphics ? CCDGInputFile::PackToTime(graphics->packs) : 0.0);
}

std::string BuildProcessPage(const TrackResults& results)
{
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
           Escaped(results.title) + "</title>\n<style>" + kStyle + "</style>\n</head>\n<body>\n" + Heading(results) +
           Player(results) + Timeline(results) + PageFigures(results) + ScreenFigures(results) + Silences(results) +
           Facts(results) + ContactSheetSection(results) +
           "<footer>Made by nvtool " NVTOOL_VERSION
           "; the same facts for programs are in <a href=\"report.json\">report.json</a>.</footer>\n<script>" +
           kScript + "</script>\n</body>\n</html>\n";
}

} // namespace nvtool
