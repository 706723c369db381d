// See ArchiveDownload.h.
#include "ArchiveDownload.h"

#include "CurlHandle.h"
#include "TextParts.h"
#include "audio/FileCalls.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace NV {
namespace {

constexpr long connectSeconds = 30;
constexpr long stallSeconds = 30; // without a byte
constexpr long partialContent = 206;
constexpr long rangeRefused = 416;
constexpr long plainAnswer = 200;

} // namespace

/// What libcurl calls. No exception may pass through it.
struct ArchiveDownload::Calls {
    ArchiveDownload* download;
    const CurlHandle* curl;

    static std::size_t Header(char* bytes, std::size_t size, std::size_t count, void* self)
    {
        static_cast<Calls*>(self)->download->TakeHeader({bytes, size * count});
        return size * count;
    }
    static std::size_t Body(char* bytes, std::size_t size, std::size_t count, void* self)
    {
        const Calls& calls = *static_cast<Calls*>(self);
        return calls.download->TakeBytes(bytes, size * count, calls.curl->ResponseCode()) ? size * count : 0;
    }
    static int Progress(void* self, curl_off_t total, curl_off_t now, curl_off_t, curl_off_t)
    {
        ArchiveDownload& own = *static_cast<Calls*>(self)->download;
        try {
            return own.ShouldStop(static_cast<double>(total), static_cast<double>(now));
        } catch (...) {
            own.thrown = std::current_exception();
            return 1;
        }
    }
};

/// What the bytes that are there are a part of: the address, then what the server called that state of it.
std::string ArchiveDownload::ReadNote() const
{
    std::ifstream note(NotePath(), std::ios::binary);
    std::string address, state;
    std::getline(note, address);
    std::getline(note, state);
    return address == url ? state : "";
}

bool ArchiveDownload::TakeHeader(std::string_view line)
{
    line = line.substr(0, line.find_first_of("\r\n"));
    if (line.substr(0, 5) == "HTTP/")
        validator.clear(); // the answer to a redirected request follows
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos)
        return true;
    const std::string_view name = line.substr(0, colon);
    const std::string_view value = TrimmedBlanks(line.substr(colon + 1));
    const bool strong = SameWithoutCase(name, "ETag") && value.substr(0, 2) != "W/";
    if (strong || (validator.empty() && SameWithoutCase(name, "Last-Modified")))
        validator = value;
    return true;
}

bool ArchiveDownload::TakeBytes(const char* bytes, std::size_t count, long code)
{
    return Succeeds([&] {
        if (!begun) {
            begun = true;
            offset = code == partialContent ? offset : 0;
            if (code != partialContent && code != plainAnswer)
                AfxThrowFileException(CFileException::genericException);
            file.SetLength(offset);
            file.Seek(static_cast<LONGLONG>(offset), CFile::begin);
            std::ofstream(NotePath(), std::ios::binary) << url << "\n" << validator << "\n";
        }
        if (file.GetPosition() + count > most)
            AfxThrowFileException(CFileException::genericException);
        WriteBytes(file, bytes, static_cast<i64>(count));
    });
}

bool ArchiveDownload::ShouldStop(double total, double now)
{
    if (*progress && total > 0)
        (*progress)((static_cast<double>(offset) + now) / (static_cast<double>(offset) + total));
    return *cancelled && (*cancelled)();
}

/// One request.
ArchiveDownload::Outcome ArchiveDownload::Attempt()
{
    begun = false;
    const std::string state = ReadNote();
    const bool isOpen = file.Open(path.c_str(), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeReadWrite |
                                                    CFile::shareExclusive) != FALSE;
    offset = 0;
    if (!isOpen || !Succeeds([&] { offset = state.empty() ? 0 : file.GetLength(); })) {
        failure = path + " cannot be written";
        return Outcome::failed;
    }
    const CurlHandle curl(url.c_str());
    if (!curl) {
        failure = "no transfer can be made";
        return Outcome::failed;
    }
    Calls calls{this, &curl};
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers(nullptr, &curl_slist_free_all);
    const std::string range = std::to_string(offset) + "-";
    if (offset > 0) {
        headers.reset(curl_slist_append(nullptr, ("If-Range: " + state).c_str()));
        curl.Set(CURLOPT_HTTPHEADER, headers.get());
        curl.Set(CURLOPT_RANGE, range.c_str());
    }
    curl.Set(CURLOPT_CONNECTTIMEOUT, connectSeconds);
    curl.Set(CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl.Set(CURLOPT_LOW_SPEED_TIME, stallSeconds);
    curl.Set(CURLOPT_FAILONERROR, 1L);
    curl.Set(CURLOPT_HEADERFUNCTION, &Calls::Header);
    curl.Set(CURLOPT_HEADERDATA, &calls);
    curl.Set(CURLOPT_WRITEFUNCTION, &Calls::Body);
    curl.Set(CURLOPT_WRITEDATA, &calls);
    curl.Set(CURLOPT_NOPROGRESS, 0L);
    curl.Set(CURLOPT_XFERINFOFUNCTION, &Calls::Progress);
    curl.Set(CURLOPT_XFERINFODATA, &calls);
    const CURLcode result = curl.Perform();
    const bool closed = Succeeds([&] { file.Close(); });
    if (result == CURLE_OK && closed && begun)
        return Outcome::complete;
    failure = result == CURLE_OK ? "nothing came" : curl_easy_strerror(result);
    // As much is here as the server has, or more: some servers refuse then, others send an empty rest.
    const bool nothingLeft = curl.ResponseCode() == rangeRefused || (result == CURLE_OK && !begun);
    return offset > 0 && nothingLeft ? Outcome::nothingLeft : Outcome::failed;
}

bool ArchiveDownload::Run(const std::function<void(double)>& progressCallback,
                          const std::function<bool()>& cancelCallback)
{
    progress = &progressCallback;
    cancelled = &cancelCallback;
    Outcome outcome = Attempt();
    if (outcome == Outcome::nothingLeft) {
        file.Abort();
        Forget();
        outcome = Attempt();
    }
    file.Abort();
    if (thrown)
        std::rethrow_exception(thrown);
    return outcome == Outcome::complete;
}

void ArchiveDownload::Forget() const
{
    std::error_code ignored;
    fs::remove(path, ignored);
    fs::remove(NotePath(), ignored);
}

} // namespace NV
