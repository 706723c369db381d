// EncodeMP3: one thread straight into the file; several into a stretch each, which are then joined (MP3Stretches.h).
#include "MP3Encoding.h"

#include "MP3OutFile.h"
#include "MP3Stretches.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

using namespace NV;

namespace {

constexpr int toWrite = CFile::modeCreate | CFile::modeReadWrite;
constexpr int framesEncodedAtOnce = 1 << 15;

/// A result on its way out.
struct Outcome {
    MP3EncodingResult result = MP3EncodingResult::done;
    CString problem;
    explicit operator bool() const { return result == MP3EncodingResult::done; }
};

Outcome Failure(MP3EncodingResult result, const char* problem)
{
    return {result, problem};
}

/// Encodes frames `from` to `to`. `go(done)` tells how far it is and says whether to go on.
Outcome EncodeRange(CSoundFile& sound, const char* path, const BE_CONFIG& config, i64 from, i64 to,
                    const std::function<bool(i64)>& go)
{
    CMP3OutFile mp3;
    if (!mp3.IsEncoderAvailable())
        return Failure(MP3EncodingResult::noEncoder, mp3.GetEncoderProblem());
    mp3.SetParameters(config);
    mp3.SetFormat(sound.GetFormat());
    if (!mp3.IsEncodable())
        return Failure(MP3EncodingResult::noEncoder, "only PCM with one or two channels can be encoded");
    if (!mp3.Open(path, toWrite)) {
        return mp3.GetEncoderError() ? Failure(MP3EncodingResult::noEncoder, "the encoder refuses these settings")
                                     : Failure(MP3EncodingResult::badTarget, "the file cannot be created");
    }
    // Whatever ends this before the last line, also an exception of the caller's, leaves no file.
    struct Abandoning {
        CMP3OutFile& file;
        bool armed = true;
        ~Abandoning()
        {
            if (armed)
                file.Abandon();
        }
    } abandoning{mp3};
    if (sound.Seek(from, 0) != from)
        return Failure(MP3EncodingResult::badSource, "the sound cannot be read from there");
    std::vector<u8> piece(static_cast<std::size_t>(framesEncodedAtOnce) *
                          static_cast<std::size_t>(sound.GetBlockAlign()));
    for (i64 at = from; at < to;) {
        if (!go(at - from))
            return Failure(MP3EncodingResult::cancelled, "cancelled");
        const int asked = static_cast<int>(std::min<i64>(framesEncodedAtOnce, to - at));
        if (sound.Read(piece.data(), asked) != asked)
            return Failure(MP3EncodingResult::badSource, "the sound cannot be read to its end");
        if (mp3.Write(piece.data(), asked) != asked)
            return Failure(MP3EncodingResult::badTarget, "the file cannot be written; is the disk full?");
        at += asked;
    }
    abandoning.armed = false;
    return mp3.Close() ? Outcome{}
                       : Failure(MP3EncodingResult::badTarget, "the file cannot be finished; is the disk full?");
}

Outcome EncodeInOne(const MP3EncodingJob& job, CSoundFile& sound)
{
    const i64 length = sound.GetLength();
    return EncodeRange(sound, job.path, job.config, 0, length, [&](i64 done) {
        return !job.progress || !job.progress(static_cast<double>(done) / static_cast<double>(length));
    });
}

/// One thread's part.
struct Part {
    std::unique_ptr<CSoundFile> sound;
    MP3Stretch stretch;
    Outcome outcome;
    std::thread thread;
};

/// The threads, ended and waited for whatever happens.
class Parts {
public:
    explicit Parts(std::size_t count) : all(count) {}
    ~Parts()
    {
        stop = true;
        for (Part& part : all)
            if (part.thread.joinable())
                part.thread.join();
    }
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    void Start(const BE_CONFIG& config)
    {
        for (Part& part : all)
            part.thread = std::thread([this, &part, config] {
                i64 before = 0;
                part.outcome = EncodeRange(*part.sound, part.stretch.path.c_str(), config, part.stretch.fromSample,
                                           part.stretch.toSample, [&](i64 now) {
                                               done += now - before;
                                               before = now;
                                               return !stop;
                                           });
                ++ended;
            });
    }
    std::vector<Part> all;
    std::atomic<i64> done = 0; // frames of all
    std::atomic<std::size_t> ended = 0;
    std::atomic<bool> stop = false;
};

Outcome EncodeSideBySide(const MP3EncodingJob& job, CSoundFile& sound, const std::vector<MP3Stretch>& stretches)
{
    Parts parts(stretches.size());
    i64 frames = 0;
    for (std::size_t k = 0; k < stretches.size(); ++k) {
        parts.all[k].stretch = stretches[k];
        parts.all[k].sound = job.open();
        if (!parts.all[k].sound || parts.all[k].sound->GetLength() != sound.GetLength())
            return Failure(MP3EncodingResult::badSource, "the sound cannot be opened more than once");
        frames += stretches[k].toSample - stretches[k].fromSample;
    }
    parts.Start(job.config);
    while (parts.ended < parts.all.size()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        const double part = static_cast<double>(parts.done) / static_cast<double>(frames);
        parts.stop = parts.stop || (job.progress && job.progress(std::min(part, 1.0)));
    }
    for (Part& part : parts.all) {
        part.thread.join();
        if (!part.outcome)
            return part.outcome;
    }
    return {};
}

Outcome Encode(const MP3EncodingJob& job)
{
    const std::unique_ptr<CSoundFile> sound = job.open();
    if (!sound)
        return Failure(MP3EncodingResult::badSource, "the sound cannot be opened");
    if (job.threads > 1) {
        MP3Stretches stretches;
        if (stretches.Plan(*sound, job.config, job.path, job.threads)) {
            Outcome outcome = EncodeSideBySide(job, *sound, stretches.All());
            if (!outcome)
                return outcome;
            switch (stretches.Join()) {
            case MP3Stretches::Joining::done:
                return {};
            case MP3Stretches::Joining::failed:
                return Failure(MP3EncodingResult::badTarget, "the file cannot be written; is the disk full?");
            case MP3Stretches::Joining::noPlace:
                break; // the encoder's states agree nowhere near a joint: once more, in one
            }
        }
    }
    return EncodeInOne(job, *sound);
}

} // namespace

MP3EncodingResult EncodeMP3(const MP3EncodingJob& job, CString* problem)
{
    const Outcome outcome = Encode(job);
    if (problem)
        *problem = outcome.problem;
    return outcome.result;
}
