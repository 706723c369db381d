// What is stored in a local database is read by other programs' clients too: the library libcddb, and the Perl module
// CDDB::File where it is installed.
#include "CDDB.h"
#include "support/TempFolder.h"

#include <cddb/cddb.h>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>

namespace fs = std::filesystem;

namespace {

constexpr u32 storedDiscId = 0x9a0bed03;

class OtherClients : public testing::Test {
protected:
    void SetUp() override
    {
        record.discId = storedDiscId;
        record.frameOffsets = {150, 20000, 60000};
        record.discLength = 3055;
        record.revision = 4;
        record.artist = "Bj\xC3\xB6rk & others";
        record.title = "AC/DC live";
        record.year = 1999;
        record.genre = "Trip Hop";
        record.trackTitles = {"One", std::string(400, 'x').c_str(), "\xD0\xA2\xD1\x80\xD0\xB8 (live)"};
        record.extendedTrackData = {"", "by nobody", ""};
        record.extendedData = "All of it.";
        // libcddb looks for names in small letters, which new ones get where the others have them.
        fs::create_directories(folder.Path("rock"));
        folder.Write("rock/0a00000b", "");
        ASSERT_TRUE(client.WriteLocal(folder.Path().c_str(), "rock", record));
        ASSERT_TRUE(fs::exists(folder.Path("rock/9a0bed03")));
    }

    TempFolder folder;
    CCDDB client;
    CCDDBRecord record;
};

} // namespace

TEST_F(OtherClients, LibcddbReadsWhatIsWritten)
{
    libcddb_init();
    const std::unique_ptr<cddb_conn_t, decltype(&cddb_destroy)> connection(cddb_new(), &cddb_destroy);
    const std::unique_ptr<cddb_disc_t, decltype(&cddb_disc_destroy)> disc(cddb_disc_new(), &cddb_disc_destroy);
    cddb_cache_set_dir(connection.get(), folder.Path().c_str());
    cddb_cache_only(connection.get());
    cddb_disc_set_category_str(disc.get(), "rock");
    cddb_disc_set_discid(disc.get(), storedDiscId);
    ASSERT_TRUE(cddb_read(connection.get(), disc.get())) << cddb_error_str(cddb_errno(connection.get()));
    EXPECT_STREQ(cddb_disc_get_artist(disc.get()), record.artist);
    EXPECT_STREQ(cddb_disc_get_title(disc.get()), record.title);
    EXPECT_STREQ(cddb_disc_get_genre(disc.get()), record.genre);
    EXPECT_STREQ(cddb_disc_get_ext_data(disc.get()), record.extendedData);
    EXPECT_EQ(cddb_disc_get_year(disc.get()), 1999u);
    EXPECT_EQ(cddb_disc_get_length(disc.get()), 3055u);
    EXPECT_EQ(cddb_disc_get_revision(disc.get()), 4u);
    ASSERT_EQ(cddb_disc_get_track_count(disc.get()), 3);
    for (int i = 0; i < 3; ++i) {
        cddb_track_t* const track = cddb_disc_get_track(disc.get(), i);
        const std::size_t at = static_cast<std::size_t>(i);
        EXPECT_STREQ(cddb_track_get_title(track), record.trackTitles[at]) << i;
        EXPECT_EQ(cddb_track_get_frame_offset(track), record.frameOffsets[at]) << i;
    }
}

TEST_F(OtherClients, PerlReadsWhatIsWritten)
{
    if (std::system("perl -MCDDB::File -e 1 2>/dev/null") != 0)
        GTEST_SKIP() << "CDDB::File is not installed";
    folder.Write("read.pl", "my $d = CDDB::File->new($ARGV[0]);"
                            "print join('|', $d->artist, $d->title, $d->year, $d->genre, $d->length, $d->track_count,"
                            "map { $_->title . ':' . $_->offset } $d->tracks);");
    // Lines end as on Windows, which Perl has to be told elsewhere.
    const std::string command = "PERLIO=:crlf perl -MCDDB::File " + folder.Path("read.pl") + " " +
                                folder.Path("rock/9a0bed03") + " >" + folder.Path("out");
    ASSERT_EQ(std::system(command.c_str()), 0);
    CString wanted = record.artist + "|" + record.title + "|1999|" + record.genre + "|3055|3";
    for (std::size_t i = 0; i < 3; ++i)
        wanted.AppendFormat("|%s:%d", record.trackTitles[i].GetString(), record.frameOffsets[i]);
    EXPECT_EQ(folder.Read("out"), wanted.GetString());
}
