// Images split, joined and converted: whole round trips, and what is left on disk when something goes wrong.
#include "BinFile.h"
#include "WaveFile.h"
#include "support/Links.h"
#include "support/Noise.h"
#include "support/SmallDisk.h"

#include <gtest/gtest.h>
#include <random>
#include <set>

namespace {

constexpr std::size_t sectorBytes = 2448;

/// What of an image lies at bytes `from` to `to` of its whole sectors.
std::string Parts(const std::string& image, std::size_t from, std::size_t to)
{
    std::string parts;
    for (std::size_t k = 0; k + sectorBytes <= image.size(); k += sectorBytes)
        parts += image.substr(k + from, to - from);
    return parts;
}

std::string Audio(const std::string& image)
{
    return Parts(image, 0, 2352);
}

std::string Packs(const std::string& image)
{
    return Parts(image, 2352, sectorBytes);
}

/// A WAV file as CWaveFile writes it.
std::string Wav(const TempFolder& folder, std::string audio)
{
    CWaveFile file;
    EXPECT_TRUE(file.Open(folder.Path("reference.wav").c_str(), CFile::modeCreate | CFile::modeReadWrite));
    EXPECT_EQ(file.Write(audio.data(), static_cast<int>(audio.size() / 4)), static_cast<int>(audio.size() / 4));
    file.Close();
    std::string bytes = folder.Read("reference.wav");
    std::filesystem::remove(folder.Path("reference.wav"));
    return bytes;
}

std::set<std::string> FilesIn(const TempFolder& folder)
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
        names.insert(entry.path().filename().string());
    return names;
}

int Split(const TempFolder& folder, const char* bin, const char* wav, const char* cdg)
{
    return SplitBIN(folder.Path(bin).c_str(), folder.Path(wav).c_str(), folder.Path(cdg).c_str());
}

} // namespace

TEST(BinTransfers, SplitAndJoinGiveTheImageBack)
{
    for (const std::size_t bytes :
         {std::size_t(0), std::size_t(1), sectorBytes - 1, sectorBytes, 2 * sectorBytes + 2400, 127 * sectorBytes,
          128 * sectorBytes, 512 * sectorBytes, 513 * sectorBytes + 1, 1400 * sectorBytes}) {
        SCOPED_TRACE(bytes);
        const TempFolder folder;
        const std::string image = Noise(static_cast<unsigned>(bytes), bytes),
                          whole = image.substr(0, bytes / sectorBytes * sectorBytes);
        folder.Write("a.bin", image);
        ASSERT_EQ(Split(folder, "a.bin", "a.wav", "a.cdg"), 1);
        EXPECT_TRUE(folder.Read("a.wav") == Wav(folder, Audio(image)));
        EXPECT_TRUE(folder.Read("a.cdg") == Packs(image));
        EXPECT_EQ(FilesIn(folder), (std::set<std::string>{"a.bin", "a.cdg", "a.wav"}));

        folder.Write("b.bin", "");
        EXPECT_TRUE(CBinFile::WriteWavToBin(folder.Path("a.wav").c_str(), folder.Path("b.bin").c_str()));
        EXPECT_TRUE(Packs(folder.Read("b.bin")) == std::string(whole.size() / sectorBytes * 96, '\0'));
        EXPECT_EQ(WriteCDGToBIN(folder.Path("a.cdg").c_str(), folder.Path("b.bin").c_str()), 0);
        EXPECT_TRUE(folder.Read("b.bin") == whole);

        EXPECT_TRUE(CBinFile::ConvertBinToWav(folder.Path("b.bin").c_str(), folder.Path("c.wav").c_str()));
        EXPECT_TRUE(folder.Read("c.wav") == folder.Read("a.wav"));
    }
}

TEST(BinTransfers, ConvertingCountsAPartialSectorOnlyWhereARequestEndsInIt)
{
    // A request is 1,048,576 frames: 1783 sectors and 172 frames.
    struct Case {
        std::size_t extra, frames;
    };
    for (const Case c : {Case{687, 1783 * 588}, Case{688, 1783 * 588 + 172}, Case{2351, 1783 * 588 + 172}}) {
        const TempFolder folder;
        folder.Write("a.bin", Noise(1, 1783 * sectorBytes + c.extra));
        EXPECT_TRUE(CBinFile::ConvertBinToWav(folder.Path("a.bin").c_str(), folder.Path("a.wav").c_str()));
        EXPECT_EQ(folder.Read("a.wav").size(), 44 + 4 * c.frames) << c.extra;
    }
}

TEST(BinTransfers, PacksGoIntoTheSubcodeOnly)
{
    const TempFolder folder;
    const std::string image = Noise(1, 2 * sectorBytes + 10), packs = Noise(2, 3 * 96 + 24);
    folder.Write("a.bin", image);
    folder.Write("a.cdg", packs);
    WriteCDGToBIN(folder.Path("a.cdg").c_str(), folder.Path("a.bin").c_str());
    const std::string now = folder.Read("a.bin");
    ASSERT_EQ(now.size(), 4 * sectorBytes) << "as long as the last packs reach";
    EXPECT_TRUE(Audio(now) == Audio(image) + image.substr(2 * sectorBytes) + std::string(2 * 2352 - 10, '\0'));
    EXPECT_TRUE(Packs(now) == packs + std::string(72, '\0'));
}

TEST(BinTransfers, AudioFromAForeignWavIsRefused)
{
    const TempFolder folder;
    folder.Write("a.bin", Noise(1, sectorBytes));
    std::string wav = Wav(folder, Noise(2, 4000));
    wav[32] = 6; // block alignment: frames of 24-bit stereo
    folder.Write("a.wav", wav);
    EXPECT_FALSE(CBinFile::WriteWavToBin(folder.Path("a.wav").c_str(), folder.Path("a.bin").c_str()));
    EXPECT_TRUE(folder.Read("a.bin") == Noise(1, sectorBytes));
}

TEST(BinTransfers, RefusedRequestsHarmNothing)
{
    const std::string image = Noise(1, 3 * sectorBytes);
    struct Case {
        const char *name, *bin, *wav, *cdg;
    };
    const Case cases[] = {
        {"no image", "none.bin", "new.wav", "new.cdg"},
        {"the image is a folder", "folder", "new.wav", "new.cdg"},
        {"WAV is the image", "a.bin", "a.bin", "new.cdg"},
        {"CD+G is the image", "a.bin", "new.wav", "a.bin"},
        {"the same new output", "a.bin", "new", "new"},
        {"the same old output", "a.bin", "old.wav", "old.wav"},
        {"no such folder", "a.bin", "x/new.wav", "new.cdg"},
        {"CD+G into a folder", "a.bin", "new.wav", "folder"},
        {"WAV is read-only", "a.bin", "locked.wav", "new.cdg"},
        {"a link to the image", "a.bin", "link.bin", "new.cdg"},
        {"a device that is full", "a.bin", "full", "old.cdg"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const TempFolder folder;
        folder.Write("a.bin", image);
        for (const char* name : {"old.wav", "old.cdg", "locked.wav", "old.wav.~0"})
            folder.Write(name, name);
        std::filesystem::create_directory(folder.Path("folder"));
        if (c.wav == std::string("link.bin") && !MakeLink("a.bin", folder.Path("link.bin")))
            continue;
        if (c.wav == std::string("full") && !MakeFullDevice(folder.Path("full")))
            continue;
        std::filesystem::permissions(folder.Path("locked.wav"), std::filesystem::perms::owner_read);
        const auto before = FilesIn(folder);
        EXPECT_EQ(Split(folder, c.bin, c.wav, c.cdg), 0);
        EXPECT_EQ(FilesIn(folder), before);
        EXPECT_TRUE(folder.Read("a.bin") == image);
        for (const char* name : {"old.wav", "old.cdg", "locked.wav", "old.wav.~0"})
            EXPECT_EQ(folder.Read(name), name);
    }
    const TempFolder folder;
    const std::string bin = folder.Write("a.bin", image), wav = folder.Write("a.wav", "none");
    EXPECT_FALSE(CBinFile::ConvertBinToWav(bin.c_str(), bin.c_str()));
    EXPECT_FALSE(CBinFile::ConvertBinToWav(folder.Path("none").c_str(), wav.c_str()));
    EXPECT_FALSE(CBinFile::WriteWavToBin(wav.c_str(), bin.c_str()));
    EXPECT_FALSE(CBinFile::WriteWavToBin(bin.c_str(), folder.Path("none").c_str()));
    EXPECT_EQ(WriteCDGToBIN(bin.c_str(), bin.c_str()), 0) << "would never end";
    EXPECT_EQ(WriteCDGToBIN(wav.c_str(), folder.Path("none").c_str()), 0);
    EXPECT_TRUE(folder.Read("a.bin") == image && folder.Read("a.wav") == "none");
    EXPECT_EQ(FilesIn(folder), (std::set<std::string>{"a.bin", "a.wav"}));
}

TEST(BinTransfers, SplittingReplacesOldFilesAndKeepsLinksAndPermissions)
{
    const TempFolder folder;
    const std::string image = Noise(1, 700 * sectorBytes);
    folder.Write("a.bin", image);
    folder.Write("old.wav", Noise(2, 5'000'000));
    folder.Write("old.cdg", "short");
    const bool links = MakeLink("old.cdg", folder.Path("link.cdg"));
    const auto ownerOnly = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
    std::filesystem::permissions(folder.Path("old.wav"), ownerOnly);
    ASSERT_EQ(Split(folder, "a.bin", "old.wav", links ? "link.cdg" : "old.cdg"), 1);
    EXPECT_TRUE(folder.Read("old.wav") == Wav(folder, Audio(image)));
    EXPECT_TRUE(folder.Read("old.cdg") == Packs(image));
    EXPECT_EQ(std::filesystem::is_symlink(folder.Path("link.cdg")), links);
    EXPECT_TRUE(!links || std::filesystem::status(folder.Path("old.wav")).permissions() == ownerOnly);
}

TEST(BinTransfers, TooLongForAWavFileIsRefused)
{
    const TempFolder folder;
    folder.Write("a.bin", "");
    std::filesystem::resize_file(folder.Path("a.bin"),
                                 u64(1'826'093) * sectorBytes); // one sector past 4 GiB of audio; a sparse file
    EXPECT_EQ(Split(folder, "a.bin", "a.wav", "a.cdg"), 0);
    EXPECT_EQ(FilesIn(folder), std::set<std::string>{"a.bin"});
}

TEST(BinTransfers, AFullDiskLeavesWhatWasThere)
{
    const SmallDisk disk(400);
    if (!disk.Works())
        GTEST_SKIP() << "no right to mount a small disk";
    const TempFolder& folder = disk.Folder();
    const TempFolder elsewhere;
    const std::string image = Noise(1, 400 * sectorBytes), bin = elsewhere.Write("a.bin", image);
    for (const bool wavFits : {false, true}) { // else the packs do not
        folder.Write("old.wav", "old");
        const std::string wav = wavFits ? elsewhere.Path("new.wav") : folder.Path("old.wav");
        const std::string filler = wavFits ? Noise(2, 380 * 1024) : "";
        folder.Write("filler", filler);
        EXPECT_EQ(SplitBIN(bin.c_str(), wav.c_str(), folder.Path("new.cdg").c_str()), 0);
        EXPECT_EQ(FilesIn(folder), (std::set<std::string>{"filler", "old.wav"}));
        EXPECT_EQ(folder.Read("old.wav"), "old");
        EXPECT_EQ(FilesIn(elsewhere), std::set<std::string>{"a.bin"});
    }
    folder.Write("filler", "");
    folder.Write("b.bin", "");
    const std::string wav = elsewhere.Write("a.wav", Wav(elsewhere, Audio(image)));
    EXPECT_TRUE(CBinFile::WriteWavToBin(wav.c_str(), folder.Path("b.bin").c_str()));
    const std::string part = folder.Read("b.bin");
    EXPECT_TRUE(part.size() > 100 * sectorBytes &&
                Audio(part) == Audio(image).substr(0, part.size() / sectorBytes * 2352));
    EXPECT_FALSE(CBinFile::ConvertBinToWav(bin.c_str(), folder.Path("c.wav").c_str()));
    EXPECT_FALSE(FilesIn(folder).contains("c.wav")) << "not even room for a header";
    folder.Write("b.bin", "");
    EXPECT_TRUE(CBinFile::ConvertBinToWav(bin.c_str(), folder.Path("c.wav").c_str()));
    const std::string fitted = folder.Read("c.wav");
    EXPECT_TRUE(fitted.size() > 300'000 && fitted == Wav(elsewhere, Audio(image).substr(0, fitted.size() - 44)));
}

TEST(BinTransfers, ArchivesComeOutOfKmaPackages)
{
    std::string header = Noise(1, 256);
    header[169] = 6;
    const std::string archive = Noise(2, 700'000);
    std::string other = header;
    other[169] = 5;
    struct Case {
        const char* name;
        std::string bytes;
        bool isZip, written;
    };
    const TempFolder folder;
    const std::string zip = folder.Path("a.zip");
    for (const Case& c :
         {Case{"a package", header + archive, true, true}, Case{"an empty archive", header, true, true},
          Case{"another kind", other + archive, false, false},
          Case{"shorter than its header", header.substr(0, 255), false, false}, Case{"empty", "", false, false},
          Case{"one byte short of too long", header + std::string(49'999'743, 'x'), true, true},
          Case{"too long", header + std::string(49'999'744, 'x'), true, false}}) {
        const std::string kma = folder.Write("a.kma", c.bytes);
        EXPECT_EQ(IsKMAZIP(kma.c_str(), zip.c_str()), c.isZip) << c.name;
        ASSERT_EQ(std::filesystem::exists(zip), c.written) << c.name;
        EXPECT_TRUE(!c.written || folder.Read("a.zip") == c.bytes.substr(256)) << c.name;
        std::filesystem::remove(zip);
    }
    EXPECT_FALSE(IsKMAZIP(folder.Path().c_str(), zip.c_str()));
    const std::string kma = folder.Write("a.kma", header + archive);
    EXPECT_TRUE(IsKMAZIP(kma.c_str(), kma.c_str())) << "onto itself";
    EXPECT_TRUE(folder.Read("a.kma") == header + archive);
}
