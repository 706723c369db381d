// The page of many tracks: see BatchPage.h.
#include "BatchPage.h"

#include "Commands.h"
#include "Html.h"

namespace nvtool {

namespace {

std::string Card(const BatchEntry& entry)
{
    const std::string folder = FileReference(entry.reference) + "/";
    std::string text = "<figure><a href=\"" + folder + "index.html\"><div class=\"cover\">";
    if (!entry.cover.empty())
        text += "<img loading=\"lazy\" src=\"" + folder + EscapedHtml(entry.cover) + "\" alt=\"\">";
    text += "</div><figcaption><b>" + EscapedHtml(entry.reference) + "</b><br><span>" + TimeText(entry.seconds);
    if (entry.pages > 0)
        text += ", " + CountText(entry.pages, "page", "pages");
    if (entry.silences > 0)
        text += ", " + CountText(entry.silences, "silence", "silences");
    return text + "</span></figcaption></a></figure>\n";
}

} // namespace

BatchEntry MakeBatchEntry(const std::string& name, const std::string& reference, const TrackResults& results)
{
    return {name,
            reference,
            results.pictures.empty() ? std::string() : results.pictures.front(),
            results.Seconds(),
            results.pages.pages.size(),
            results.sound ? results.sound->silences.size() : 0};
}

std::string BuildBatchPage(const std::vector<BatchEntry>& entries, const std::vector<BatchFailure>& failures)
{
    double seconds = 0;
    for (const BatchEntry& entry : entries)
        seconds += entry.seconds;
    std::string body = "<h1>" + CountText(entries.size(), "track", "tracks") + "</h1>\n<p class=\"lead\">" +
                       TimeText(seconds) + " in all";
    if (!failures.empty())
        body += " &middot; " + std::to_string(failures.size()) + " failed";
    body += "</p>\n";
    if (!failures.empty()) {
        body += "<div class=\"card failures\"><h3>What failed</h3><table>\n";
        for (const BatchFailure& failure : failures)
            body +=
                "<tr><td>" + EscapedHtml(failure.file) + "</td><td>" + EscapedHtml(failure.message) + "</td></tr>\n";
        body += "</table></div>\n";
    }
    body += "<div class=\"tracks\">\n";
    for (const BatchEntry& entry : entries)
        body += Card(entry);
    body += "</div>\n";
    body += kPageFooter;
    return HtmlPage("Tracks", body);
}

} // namespace nvtool
