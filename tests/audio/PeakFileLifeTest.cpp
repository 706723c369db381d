// Peak files as things that come and go: what is made, kept, refused and removed, in memory and on disk; the task of a
// sound file.
#include "BinFile.h"
#include "ProgressDialog.h"
#include "WaveFile.h"
#include "support/NotCancelled.h"
#include "support/PeakReference.h"
#include "support/TempFolder.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>

namespace fs = std::filesystem;

namespace {

constexpr SampleFormat stereo{16, 2};

/// A folder with "a.wav", and objects that keep their peaks beside it.
struct PeakFolder : TempFolder {
    std::mt19937 random{7};
    Bytes audio;

    explicit PeakFolder(i64 frames = 3000) : audio(RandomFrames(random, stereo, frames)) { WriteWave(); }
    void WriteWave()
    {
        CWaveFile file;
        ASSERT_TRUE(file.Open(Wave(), CFile::modeCreate | CFile::modeReadWrite));
        file.Write(audio.data(), static_cast<int>(audio.size()) / 4);
    }
    CString Wave() const { return Path("a.wav").c_str(); }
    int Create(CPeakFile& peaks, const std::function<bool()>& cancel = NotCancelled) const
    {
        peaks.SetMemoryOnly(false);
        return peaks.Create(Wave(), nullptr, -1, false, cancel);
    }
    std::string Wanted(int sectorSize = 100) const
    {
        const Bytes bytes = PlainPeakFile(audio, stereo, sectorSize);
        return std::string(bytes.begin(), bytes.end());
    }
    /// Makes the peak file so many seconds older than the audio.
    void Age(int seconds) const
    {
        // Both are set, since a system may set times more coarsely than it keeps them.
        const auto heard = fs::last_write_time(Path("a.wav"));
        fs::last_write_time(Path("a.wav"), heard);
        fs::last_write_time(Path("a.fpr"), heard - std::chrono::seconds(seconds));
    }
    /// The names of all files but the audio.
    std::vector<std::string> Others() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(Path()))
            if (entry.path().filename() != "a.wav")
                names.push_back(entry.path().filename().string());
        return names;
    }
};

using Names = std::vector<std::string>;

} // namespace

TEST(PeakFileLife, PathsOfPeakFiles)
{
    EXPECT_EQ(CPeakFile::CreatePeakFilename("song.wav"), "song.fpr");
    EXPECT_EQ(CPeakFile::CreatePeakFilename("a.b/song.x.wav"), "a.b/song.x.fpr");
    EXPECT_EQ(CPeakFile::CreatePeakFilename("song"), "fpr");
}

TEST(PeakFileLife, MemoryStaysInMemory)
{
    const PeakFolder folder;
    CPeakFile peaks;
    EXPECT_TRUE(peaks.IsMemoryOnly());
    EXPECT_EQ(peaks.Initialize(folder.Wave()), -1); // nothing there yet
    EXPECT_EQ(peaks.Create(folder.Wave(), nullptr, 7, false, NotCancelled), 1);
    EXPECT_EQ(peaks.Create("", nullptr, 0, false, {}), 1); // at once, whatever is asked for
    EXPECT_EQ(peaks.Initialize(folder.Wave()), 5);
    EXPECT_EQ(folder.Others(), Names());
    peaks.Close();
    EXPECT_FALSE(peaks.HasPeaks());
    EXPECT_EQ(peaks.Create(folder.Wave(), nullptr, -1, false, NotCancelled), 1);
    const Bytes bytes = BytesOf(peaks);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), folder.Wanted());
    CPeakFile read; // what was written or attached is read like a file
    read.Write(bytes.data(), static_cast<UINT>(bytes.size()));
    EXPECT_EQ(read.Initialize(folder.Wave()), 1);
    EXPECT_EQ(read.GetSectorCount(), 30);
}

TEST(PeakFileLife, FilesAreMadeKeptAndRenewed)
{
    const PeakFolder folder;
    const auto create = [&](int sectorSize) {
        CPeakFile peaks;
        peaks.SetMemoryOnly(false);
        EXPECT_EQ(peaks.Create(folder.Wave(), nullptr, sectorSize, false, NotCancelled), 1);
        EXPECT_FALSE(peaks.IsInTemporaryFolder());
        EXPECT_EQ(peaks.GetPeakPath(), folder.Path("a.fpr").c_str());
        return peaks.GetSectorSize();
    };
    EXPECT_EQ(create(7), 7);
    EXPECT_EQ(folder.Others(), Names{"a.fpr"});
    EXPECT_EQ(folder.Read("a.fpr"), folder.Wanted(7));
    EXPECT_EQ(create(100), 7); // as young as the audio, or younger: kept
    folder.Age(0);
    EXPECT_EQ(create(100), 7);
    folder.Age(1);
    EXPECT_EQ(create(100), 100);
    EXPECT_EQ(folder.Read("a.fpr"), folder.Wanted(100));

    CPeakFile held; // two objects on one file
    held.SetMemoryOnly(false);
    EXPECT_EQ(held.Initialize(folder.Wave()), 1);
    EXPECT_EQ(create(7), 100);
    fs::remove(folder.Path("a.wav")); // an audio file that is away makes nothing stale
    EXPECT_EQ(create(7), 100);
}

TEST(PeakFileLife, ShortAudioIsNotJudgedByItsAge)
{
    PeakFolder folder(200); // 844 bytes
    folder.Write("a.fpr", folder.Wanted(7));
    folder.Age(100);
    CPeakFile peaks;
    EXPECT_EQ(folder.Create(peaks), 1);
    EXPECT_EQ(peaks.GetSectorSize(), 7);
}

TEST(PeakFileLife, HeadersAreChecked)
{
    struct Case {
        const char* name;
        std::size_t length;
        int offset;
        char value;
        bool accepted;
    };
    for (const Case& c :
         {Case{"whole", 99, 0, 8, true}, Case{"no records", 8, 0, 8, true}, Case{"cut header", 7, 0, 8, false},
          Case{"size", 99, 0, 10, false}, Case{"version", 99, 2, 2, false}, Case{"sector size 0", 99, 6, 0, false},
          Case{"no channels", 99, 5, 0, false}, Case{"three channels", 99, 5, 3, false},
          Case{"any depth", 99, 4, 24, true}}) {
        SCOPED_TRACE(c.name);
        const PeakFolder folder;
        std::string bytes = folder.Wanted().substr(0, c.length);
        bytes[static_cast<std::size_t>(c.offset)] = c.value;
        folder.Write("a.fpr", bytes);
        CPeakFile peaks;
        peaks.SetMemoryOnly(false);
        EXPECT_EQ(peaks.Initialize(folder.Wave()), c.accepted ? 1 : -1);
        if (c.accepted) {
            EXPECT_EQ(peaks.GetSectorCount(), (static_cast<i64>(bytes.size()) - 8) / 16);
            continue;
        }
        EXPECT_EQ(folder.Create(peaks), 0); // young enough to be kept, and no peak file
        EXPECT_EQ(folder.Others(), Names());
        EXPECT_EQ(folder.Create(peaks), 1);
        EXPECT_EQ(folder.Read("a.fpr"), folder.Wanted());
    }
    const PeakFolder folder;
    folder.Write("a.fpr", ""); // a name that a killed program had claimed
    CPeakFile peaks;
    EXPECT_EQ(folder.Create(peaks), 1);
}

TEST(PeakFileLife, WhatIsRefusedChangesNothing)
{
    const PeakFolder folder;
    const std::string before = "not for us to remove";
    folder.Write("a.fpr", before);
    folder.Age(10);
    const auto refused = [&](SampleFormat format, int sectorSize) {
        ByteSound sound(format, Bytes(4000));
        CPeakFile peaks;
        return peaks.Create(folder.Wave(), &sound, sectorSize, false, NotCancelled) == 0 && !peaks.HasPeaks();
    };
    EXPECT_TRUE(refused(stereo, 0));
    EXPECT_TRUE(refused(stereo, -2));
    EXPECT_TRUE(refused({16, 3}, -1));
    CPeakFile peaks;
    peaks.SetMemoryOnly(false);
    EXPECT_EQ(peaks.Create(folder.Wave(), nullptr, 0, false, NotCancelled), 0);
    EXPECT_EQ(folder.Read("a.fpr"), before);
    EXPECT_EQ(peaks.Create(folder.Path("a.fpr").c_str(), nullptr, -1, false, NotCancelled),
              0); // audio in the peaks' place
    EXPECT_EQ(folder.Read("a.fpr"), before);
    EXPECT_EQ(peaks.Create(folder.Path("none.wav").c_str(), nullptr, -1, false, NotCancelled), 0);
    EXPECT_EQ(folder.Others(), Names{"a.fpr"});
}

TEST(PeakFileLife, FailuresAndCancelsLeaveNoFile)
{
    for (const int after : {0, 1, 5}) {
        const PeakFolder folder;
        CPeakFile::c_nPFMaxInBufSize = 400; // many buffers
        folder.Write("a.fpr", folder.Wanted(7));
        folder.Age(10);
        CPeakFile peaks;
        int asked = 0;
        EXPECT_EQ(folder.Create(peaks, [&] { return asked++ == after; }), 0);
        EXPECT_EQ(asked, after + 1);
        EXPECT_EQ(folder.Others(), Names());

        ByteSound sound(stereo, folder.audio);
        sound.readsLeft = after;
        EXPECT_EQ(peaks.Create(folder.Wave(), &sound, -1, false, NotCancelled), 0);
        EXPECT_EQ(folder.Others(), Names());
        sound.readsLeft = -1;
        sound.seekFails = true;
        EXPECT_EQ(peaks.Create(folder.Wave(), &sound, -1, false, NotCancelled), 0);

        asked = -after;
        EXPECT_THROW(folder.Create(peaks, [&]() -> bool { return asked++ == 0 ? throw 1 : false; }), int);
        EXPECT_THROW(folder.Create(peaks, {}), std::bad_function_call);
        EXPECT_EQ(folder.Others(), Names());
        EXPECT_EQ(folder.Create(peaks), 1); // and it can be tried again
        EXPECT_EQ(folder.Read("a.fpr"), folder.Wanted());
        CPeakFile::c_nPFMaxInBufSize = 10'000'000;
    }
}

TEST(PeakFileLife, AudioThatIsShorterOrLongerThanItSaid)
{
    std::mt19937 random(8);
    ByteSound sound(stereo, RandomFrames(random, stereo, 1234));
    for (const i64 claimed : {500, -333}) {
        sound.claimedFrames = claimed;
        const auto there = static_cast<std::size_t>(std::min<i64>(1234, sound.GetLength())) * 4;
        CPeakFile peaks;
        ASSERT_EQ(peaks.Create("a.wav", &sound, -1, false, NotCancelled), 1);
        EXPECT_EQ(BytesOf(peaks), PlainPeakFile(std::span(sound.audio).first(there), stereo, 100));
    }
}

TEST(PeakFileLife, TheFolderForTemporaryFilesTakesOver)
{
    const PeakFolder folder;
    fs::create_directory(folder.Path("a.fpr")); // cannot be written to
    fs::last_write_time(folder.Path("a.wav"), fs::last_write_time(folder.Path("a.fpr")) + std::chrono::seconds(10));
    std::string place;
    {
        CPeakFile peaks;
        EXPECT_EQ(folder.Create(peaks), 1);
        EXPECT_TRUE(peaks.IsInTemporaryFolder());
        place = peaks.GetPeakPath();
        EXPECT_EQ(fs::path(place).parent_path(), fs::path(fs::temp_directory_path() / "").parent_path());
        EXPECT_EQ(fs::path(place).extension(), ".fpr");
        EXPECT_EQ(fs::file_size(place), folder.Wanted().size());
        EXPECT_EQ(peaks.Insert(100), 1);
    }
    EXPECT_FALSE(fs::exists(place));
    EXPECT_TRUE(fs::is_directory(folder.Path("a.fpr")));
}

TEST(PeakFileLife, ProgressIsShownByTheApplication)
{
    struct Shown {
        std::string status;
        std::vector<double> percents;
        int cancelAfter = 1000;
    };
    static Shown shown;
    struct Display : CProgressDialog {
        void Open(const char* status) override { shown.status = status; }
        void SetProgress(double percent) override { shown.percents.push_back(percent); }
        bool IsCancelled() override { return int(shown.percents.size()) > shown.cancelAfter; }
    };
    CProgressDialog::c_pCreate = [] { return std::make_unique<Display>(); };
    std::mt19937 random(9);
    ByteSound sound(stereo, RandomFrames(random, stereo, 600'000));
    CPeakFile peaks;
    EXPECT_EQ(peaks.Create("a.wav", &sound, -1, true, NotCancelled), 1);
    EXPECT_EQ(shown.status, "Scanning audio file");
    EXPECT_GT(shown.percents.size(), 5U);
    EXPECT_TRUE(std::is_sorted(shown.percents.begin(), shown.percents.end()));
    EXPECT_EQ(shown.percents.back(), 100);
    peaks.Close();
    shown = {};
    shown.cancelAfter = 3;
    EXPECT_EQ(peaks.Create("a.wav", &sound, -1, true, NotCancelled), 0);
    EXPECT_EQ(shown.percents.size(), 4U);
    CProgressDialog::c_pCreate = nullptr;
}

TEST(SoundFilePeaks, ViewsTakeThemByZoom)
{
    const PeakFolder folder(40'000);
    CWaveFile file;
    file.SetPeakFileOption(PeakFileOption::inMemory);
    ASSERT_TRUE(file.Open(folder.Wave(), CFile::modeReadWrite | CFile::shareDenyNone));
    ASSERT_TRUE(file.WaitForPeakFile());
    const Bytes peaks = PlainPeakFile(folder.audio, stereo, 100);
    std::vector<i16> low(2 * 300), high = low;
    for (const int density : {200, 201, 777}) {
        for (const i64 start : {0, 13, 39'000, 50'000}) {
            const int rows = file.GetData(start, low.data(), high.data(), 300, density);
            ASSERT_EQ(rows, std::clamp<i64>((40'000 - start) / density, 0, 300));
            if (density == 200) { // the frames themselves
                for (int k = 0; k < rows; ++k) {
                    i16 max[2], min[2];
                    file.GetMaxMinSample(folder.audio.data() + 4 * (start + k * density), density, max, min);
                    ASSERT_EQ(std::pair(low[std::size_t(2 * k)], high[std::size_t(2 * k)]), std::pair(min[0], max[0]));
                }
                continue;
            }
            auto [minima, maxima] = PlainPoints(peaks, start, rows, density);
            ASSERT_TRUE(std::equal(minima.begin(), minima.end(), low.begin()));
            ASSERT_TRUE(std::equal(maxima.begin(), maxima.end(), high.begin()));
        }
    }
    std::vector<i16> frames(2 * 4000, 32000);
    file.Seek(40'000, 0); // a file that grew is no longer covered, until the peaks know
    ASSERT_EQ(file.Write(frames.data(), 4000), 4000);
    EXPECT_EQ(file.GetData(43'000, low.data(), high.data(), 1, 1000), 1);
    EXPECT_EQ(low[0], 32000);
    EXPECT_EQ(file.GetPeakFile()->Insert(40'000), 1);
    EXPECT_EQ(file.GetData(42'999, low.data(), high.data(), 1, 1001), 1);
    EXPECT_EQ(high[0], 32000);
    file.Close();
    EXPECT_EQ(file.GetPeakFile(), nullptr);
}

TEST(SoundFilePeaks, FilesOnDiskAreMadeAndFound)
{
    const PeakFolder folder;
    CSoundFile::c_bCreatePeakFiles = false;
    CWaveFile file;
    file.SetPeakFileOption(PeakFileOption::onDisk);
    ASSERT_TRUE(file.Open(folder.Wave(), CFile::modeRead | CFile::shareDenyNone));
    EXPECT_FALSE(file.WaitForPeakFile());
    EXPECT_EQ(folder.Others(), Names());
    CSoundFile::c_bCreatePeakFiles = true;
    folder.Write("a.fpr", "rubbish");
    EXPECT_TRUE(file.OpenPeakFile() && file.WaitForPeakFile());
    EXPECT_EQ(folder.Read("a.fpr"), folder.Wanted());
    CSoundFile::c_bCreatePeakFiles = false;
    EXPECT_TRUE(file.OpenPeakFile() && file.WaitForPeakFile());
    CSoundFile::c_bCreatePeakFiles = true;
    file.Close();
    ASSERT_TRUE(file.Open(folder.Wave(), CFile::modeRead)); // shared with nobody, the task included
    EXPECT_FALSE(file.WaitForPeakFile());
    std::vector<i16> low(20), high(20);
    EXPECT_EQ(file.GetData(0, low.data(), high.data(), 10, 300), 10);
    EXPECT_FALSE(ByteSound(stereo, Bytes(4000)).OpenPeakFile()); // has no name
}

TEST(SoundFilePeaks, TasksEndWithTheirOwner)
{
    const PeakFolder folder(1'500'000);
    for (int round = 0; round < 30; ++round) {
        auto file = std::make_unique<CWaveFile>();
        file->SetPeakFileOption(round % 2 ? PeakFileOption::onDisk : PeakFileOption::inMemory);
        ASSERT_TRUE(file->Open(folder.Wave(), CFile::modeRead | CFile::shareDenyNone));
        if (round % 3 == 0) {
            file->TerminatePeakfileThread();
            const bool whole = file->GetPeakFile() != nullptr;
            EXPECT_EQ(file->WaitForPeakFile(), whole); // nothing goes on behind one's back
        } else if (round % 3 == 1) {
            file->OpenPeakFile(); // once more, in the middle of the first
        }
        file.reset();
        const std::string left = folder.Read("a.fpr");
        EXPECT_TRUE(left.empty() || left == folder.Wanted()) << left.size();
    }
}
