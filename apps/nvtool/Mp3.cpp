// nvtool mp3: the sound of a WAV file or a disc image as an MP3 file.
#include "Mp3.h"

#include "Interrupt.h"
#include "MP3Encoding.h"
#include "MP3OutFile.h"
#include "Sound.h"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

struct Mp3Arguments {
    std::string input, output;
    Mp3Options mp3;
};

BE_CONFIG ConfigOf(const Mp3Options& options)
{
    BE_CONFIG config;
    CMP3OutFile::InitBEConfig(&config);
    BE_CONFIG_LHV1& lame = config.format.LHV1;
    lame.nMode = options.mono ? BE_MP3_MODE_MONO : BE_MP3_MODE_JSTEREO;
    lame.dwBitrate = static_cast<DWORD>(options.bitrate);
    lame.bEnableVBR = options.vbr >= 0;
    if (options.vbr >= 0)
        lame.nVBRQuality = options.vbr;
    return config;
}

bool IsEncodable(const CSoundFile& sound)
{
    CMP3OutFile file;
    file.SetFormat(sound.GetFormat());
    return file.IsEncodable();
}

void RunMp3(const Mp3Arguments& options)
{
    CatchInterrupts();
    RequireMp3Encoder();
    RefuseSameFile(options.input, options.output);
    const SoundSource source(options.input, IsEncodable); // throws what a person understands
    source.Tell();
    const auto sound = source.Open();
    const double seconds = sound->SampleToTime(sound->GetLength());
    OutputFile output(options.output);
    MakeMp3([&] { return source.Open(); }, output.Temporary(), options.input, options.output, options.mp3);
    const auto bytes = fs::file_size(output.Temporary());
    output.Commit();
    std::printf("%s: %s, %llu bytes\n", options.output.c_str(), TimeText(seconds).c_str(),
                static_cast<unsigned long long>(bytes));
}

} // namespace

void RequireMp3Encoder()
{
    const CMP3OutFile file;
    if (!file.IsEncoderAvailable())
        throw Error("the MP3 encoder", static_cast<const char*>(file.GetEncoderProblem()));
}

void AddMp3Options(CLI::App& command, Mp3Options& options)
{
    CLI::Option* const bitrate =
        command.add_option("--bitrate", options.bitrate, "Constant bit rate in kbit/s")->capture_default_str();
    bitrate->check(CLI::IsMember({32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}));
    command.add_option("--vbr", options.vbr, "Variable bit rate of this quality, 0 (best) to 9")
        ->check(CLI::Range(0, 9))
        ->excludes(bitrate);
    command.add_flag("--mono", options.mono, "One channel, the mean of both");
    command
        .add_option("--jobs", options.jobs,
                    "Encode so many overlapping stretches side by side. One gives exactly the encoder's own\n"
                    "bytes; with more the frames differ a little, as from another start, and every joint\n"
                    "lies where the two agree")
        ->check(CLI::Range(1, 64))
        ->capture_default_str();
}

void MakeMp3(const std::function<std::unique_ptr<CSoundFile>()>& open, const fs::path& mp3, const std::string& input,
             const std::string& output, const Mp3Options& options)
{
    MP3EncodingJob job;
    job.open = open;
    job.path = mp3.string().c_str();
    job.config = ConfigOf(options);
    job.threads = options.jobs;
    constexpr u64 steps = 10000;
    Progress bar("encoding", steps);
    job.progress = [&bar](double part) {
        bar.Update(static_cast<u64>(part * steps));
        return IsInterrupted();
    };
    CString problem;
    switch (EncodeMP3(job, &problem)) {
    case MP3EncodingResult::done:
        return;
    case MP3EncodingResult::cancelled:
        throw Interruption();
    case MP3EncodingResult::noEncoder:
    case MP3EncodingResult::badSource:
        throw Error(input, static_cast<const char*>(problem));
    case MP3EncodingResult::badTarget:
        throw Error(output, static_cast<const char*>(problem));
    }
}

void AddMp3(CLI::App& app)
{
    auto options = std::make_shared<Mp3Arguments>();
    CLI::App& command = *app.add_subcommand("mp3", "Encode a recording as MP3");
    command.add_option("IN", options->input, kSoundHelp)->required()->type_name("");
    command.add_option("-o,--output", options->output, "MP3 file to make")->required()->type_name("FILE");
    AddMp3Options(command, options->mp3);
    command.footer(
        "\nThe encoder is a module, lame_enc, that lies beside this program. Ctrl-C leaves no file.\n\n"
        "Examples:\n  nvtool mp3 track.bin -o track.mp3\n  nvtool mp3 track.wav -o track.mp3 --vbr 2 --jobs 2");
    command.callback([options] { RunMp3(*options); });
}

} // namespace nvtool
