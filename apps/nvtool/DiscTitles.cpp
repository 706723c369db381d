// See DiscTitles.h.
#include "DiscTitles.h"

#include "Commands.h"
#include "Html.h"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

constexpr int kLeadIn = 150; // frames in front of an image's first

} // namespace

void AddDiscTitlesOptions(CLI::App& command, DiscTitlesOptions& options)
{
    command
        .add_option("--db", options.db, "Local CDDB database to look for titles in, by the cue sheet beside the image")
        ->type_name("DIR");
    AddEncodingOption(command, options.encoding);
}

std::optional<DiscTitles> FindDiscTitles(const fs::path& image, const DiscTitlesOptions& options, std::string& remark)
{
    std::error_code ignored;
    if (!fs::is_directory(options.db, ignored))
        throw Error(options.db, "there is no such folder");
    fs::path table;
    for (const char* const ending : {".cue", ".CUE", ".toc", ".nrg"}) {
        const fs::path candidate = fs::path(image).replace_extension(ending);
        if (table.empty() && fs::is_regular_file(candidate, ignored))
            table = candidate;
    }
    if (table.empty()) {
        remark = "there is no table of contents beside it (" +
                 PathText(fs::path(image).replace_extension(".cue").filename()) + "), so no titles were looked for";
        return std::nullopt;
    }
    DiscOptions named;
    named.images = {table.string()};
    DiscTitles titles;
    try {
        titles.disc = ReadDiscs(named).front();
    } catch (const Error& error) { // the rest of the job can be done
        remark = PathText(table.filename()) + ": " + error.what();
        return std::nullopt;
    }
    titles.encoding = options.encoding;
    CCDDB client;
    std::vector<CCDDBRecord> records;
    CString category;
    if (client.QueryLocal(options.db.c_str(), titles.disc.id, titles.disc.offsets, records))
        titles.record = records.front();
    else if (!client.Read(options.db.c_str(), titles.disc.id, false, titles.record, category)) {
        remark = "the database holds no record of disc " + DiscIdText(titles.disc.id);
        return std::nullopt;
    }
    return titles;
}

std::string DiscTitlesHtml(const DiscTitles& titles)
{
    const auto text = [&](const CString& value) {
        return EscapedHtml(Readable({value.GetString(), size_t(value.GetLength())}, titles.encoding));
    };
    const CCDDBRecord& record = titles.record;
    std::string html = "<h2>" + text(record.artist) + " &ndash; " + text(record.title) + "</h2>\n<p class=\"note\">" +
                       text(record.category) + " " + DiscIdText(titles.disc.id);
    if (record.year != 0)
        html += ", " + std::to_string(record.year);
    if (!record.genre.IsEmpty())
        html += ", " + text(record.genre);
    html += "</p>\n<table class=\"silences\">\n";
    for (size_t i = 0; i < titles.disc.offsets.size(); ++i) {
        const double seconds = (titles.disc.offsets[i] - kLeadIn) / 75.0;
        char from[32];
        std::snprintf(from, sizeof(from), "%.3f", seconds);
        html += "<tr><th>" + std::to_string(i + 1) + "</th><td>" +
                (i < record.trackTitles.size() ? text(record.trackTitles[i]) : std::string()) + "</td><td>" +
                TimeText(seconds) + "</td><td><button data-from=\"" + from +
                "\" title=\"Play from here\">&#9654;</button></td></tr>\n";
    }
    return html + "</table>\n";
}

} // namespace nvtool
