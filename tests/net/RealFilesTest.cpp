// Records and server answers of public databases, against what another reader says of them.
#include "CDDB.h"
#include "TestServer.h"
#include "net/TextParts.h"
#include "support/WholeFile.h"

#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

namespace {

const std::string folder = NVLIB_TEST_DATA "/";

std::string Unescaped(const std::string& text)
{
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string pair = text.substr(i, 2);
        const bool escape = pair == "\\n" || pair == "\\t" || pair == "\\\\";
        plain += pair == "\\n" ? '\n' : pair == "\\t" ? '\t' : text[i];
        i += escape;
    }
    return plain;
}

std::vector<std::vector<std::string>> ReadTable(const std::string& path)
{
    std::ifstream file(path);
    std::vector<std::vector<std::string>> rows;
    std::string line;
    for (std::getline(file, line); std::getline(file, line);) {
        std::istringstream cells(line);
        rows.emplace_back();
        for (std::string cell; std::getline(cells, cell, '\t');)
            rows.back().push_back(cell);
        rows.back().resize(9);
    }
    return rows;
}

} // namespace

TEST(RealFiles, PublishedDiscIdsComeOut)
{
    int checked = 0;
    for (const auto& row : ReadTable(folder + "discids.tsv")) {
        SCOPED_TRACE(row[0]);
        std::vector<CCDDBTrackPosition> positions;
        std::istringstream offsets(row[2] + " " + row[3]);
        for (i32 at; offsets >> at;)
            positions.push_back({at / 4500, at / 75 % 60, at % 75});
        u32 id = static_cast<u32>(std::stoul(row[0], nullptr, 16));
        // Kept as is: minutes of the first track count as seconds. Others multiply them by 60.
        id += static_cast<u32>(59 * std::stoi(row[5])) << 8;
        EXPECT_EQ(CCDDB::ComputeDiscID(positions), id);
        ++checked;
    }
    EXPECT_GT(checked, 10);
}

TEST(RealFiles, RecordsGiveTheirManifest)
{
    std::ifstream manifest(folder + "expected_xmcd.jsonl");
    int valid = 0, invalid = 0;
    for (std::string line; std::getline(manifest, line);) {
        const auto row = nlohmann::json::parse(line);
        const std::string name = row["file"];
        SCOPED_TRACE(name);
        const auto& joined = row["joined"];
        const auto& values = joined["values"];
        const auto text = [&](const std::string& key) { return Unescaped(values.value(key, "")); };
        CCDDB client;
        CCDDBRecord record;
        const bool hasAll = joined["header_seen"].get<bool>() && !joined["length"].is_null() &&
                            !joined["offsets"].empty() && joined["submitted_via"].is_string() &&
                            values.contains("DISCID") && values.contains("DTITLE");
        EXPECT_EQ(client.ParseRecord(WholeFile(folder + name).c_str(), record), hasAll);
        hasAll ? ++valid : ++invalid;
        if (!hasAll)
            continue;
        EXPECT_EQ(record.frameOffsets, joined["offsets"].get<std::vector<i32>>());
        EXPECT_EQ(record.discLength, joined["length"].get<i32>());
        EXPECT_EQ(record.revision, joined["revision"].get<i32>());
        const CString via = record.clientName + " " + record.clientVersion + " " + record.clientComment;
        EXPECT_EQ(CString(via).Trim().GetString(), joined["submitted_via"].get<std::string>());
        EXPECT_EQ(record.genre.GetString(), text("DGENRE"));
        EXPECT_EQ(record.extendedData.GetString(), text("EXTD"));
        EXPECT_EQ(record.playOrder.GetString(), text("PLAYORDER"));
        ASSERT_EQ(record.trackTitles.size(), record.extendedTrackData.size());
        for (std::size_t i = 0; i < record.trackTitles.size(); ++i) {
            EXPECT_EQ(record.trackTitles[i].GetString(), text("TTITLE" + std::to_string(i)));
            EXPECT_EQ(record.extendedTrackData[i].GetString(), text("EXTT" + std::to_string(i)));
        }
        const std::string artist = row["cddb_file_pm"]["artist"], title = row["cddb_file_pm"]["title"];
        EXPECT_EQ(NV::TrimmedBlanks(NV::ViewOf(record.artist)), NV::TrimmedBlanks(artist));
        EXPECT_EQ(NV::TrimmedBlanks(NV::ViewOf(record.title)), NV::TrimmedBlanks(title));

        // Submitted and read again it is the same.
        client.SetProductName(record.clientName);
        client.SetProductVersion(record.clientVersion);
        const CString written = client.FormRecordText(record);
        CCDDBRecord again;
        ASSERT_TRUE(client.ParseRecord(written, again));
        EXPECT_EQ(client.FormRecordText(again), written);
        EXPECT_EQ(again.frameOffsets, record.frameOffsets);
        EXPECT_EQ(again.trackTitles, record.trackTitles);
        EXPECT_EQ(again.extendedData, record.extendedData);
        EXPECT_EQ(again.clientComment, record.clientComment);
    }
    EXPECT_GE(valid, 9);
    EXPECT_GE(invalid, 9);
}

TEST(RealFiles, ServerAnswersGiveTheirManifest)
{
    std::string answer;
    TestServer server([&](Connection& c) {
        c.ReadRequest();
        c.Send("HTTP/1.0 200 OK\r\n\r\n" + answer);
    });
    CCDDBSite site;
    site.host = "127.0.0.1";
    site.port = server.Port();
    CCDDB client;
    for (const auto& row : ReadTable(folder + "expected_transcripts.tsv")) {
        SCOPED_TRACE(row[0]);
        answer = WholeFile(folder + row[0]);
        if (row[0].find("query") != std::string::npos) {
            std::vector<CCDDBQueryResult> results;
            ASSERT_TRUE(client.Query(site, 1, {{0, 2, 0}, {1, 0, 0}}, results));
            ASSERT_EQ(std::to_string(results.size()), row[2]);
            std::string lines;
            for (const CCDDBQueryResult& r : results) {
                CString line;
                line.Format("%s%s %08x %s / %s", lines.empty() ? "" : " | ", r.category.GetString(), r.discId,
                            r.artist.GetString(), r.title.GetString());
                lines += line;
            }
            EXPECT_EQ(lines, row[5]);
        } else if (row[0].find("sites") != std::string::npos) {
            std::vector<CCDDBSite> sites;
            ASSERT_TRUE(client.Sites(sites, site));
            ASSERT_EQ(sites.size(), 3u) << "those that speak HTTP";
            EXPECT_EQ(sites[1].host, "ca.us.cddb.com");
            EXPECT_EQ(sites[1].longitude, 122 * 60 + 1);
        } else if (row[1] == "210") {
            CCDDBRecord record;
            ASSERT_TRUE(client.Read(site, 0x7d0b170a, "blues", record));
            EXPECT_EQ(record.title, "El Rojo");
            EXPECT_EQ(record.trackTitles.size(), 10u);
        }
    }
    EXPECT_EQ(server.Taken(), 6);
}
