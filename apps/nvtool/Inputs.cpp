// Opening inputs by their contents: see Inputs.h.
#include "Inputs.h"

#include "Commands.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

std::string ErrorText(const CFileException& error)
{
    char text[256];
    return error.GetErrorMessage(text, sizeof(text)) ? text : "cannot be read";
}

StreamKind KindByName(const StreamIdentity& identity, const fs::path& path)
{
    const std::string extension = LowerExtension(path);
    if (extension == ".cdg" && identity.length >= kPackSize)
        return StreamKind::Graphics;
    if (extension == ".bin" && identity.length % kBinRecordSize == 0)
        return StreamKind::DiscImage;
    if (extension == ".bin" && identity.length % kSectorAudioSize == 0)
        return StreamKind::AudioImage;
    return identity.kind;
}

} // namespace

std::string LowerExtension(const fs::path& path)
{
    std::string extension = PathText(path.extension());
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

StreamIdentity Identify(const fs::path& path)
{
    RequireReadable(path);
    StreamIdentity identity;
    CFileException error;
    if (!IdentifyStream(path.string().c_str(), identity, &error))
        throw Error(PathText(path), ErrorText(error));
    if (identity.onlyZeros)
        identity.kind = KindByName(identity, path);
    if (const auto size = static_cast<ULONGLONG>(StreamRecordSize(identity.kind)); size != 0) {
        identity.records = identity.length / size;
        identity.restBytes = static_cast<int>(identity.length % size);
    }
    return identity;
}

std::string KindText(const StreamIdentity& identity)
{
    if (identity.kind != StreamKind::Unknown)
        return StreamKindName(identity.kind);
    if (identity.onlyZeros)
        return "unknown: only zero bytes";
    if (identity.looksLikeAudio)
        return "unknown: perhaps bare 16-bit stereo sound, but not in whole sectors";
    std::string text = "unknown: begins with";
    const size_t shown = static_cast<size_t>(std::min<ULONGLONG>(identity.length, 8));
    for (size_t i = 0; i < shown; ++i) {
        char byte[4];
        std::snprintf(byte, sizeof(byte), " %02x", identity.head[i]);
        text += byte;
    }
    return text;
}

std::string NameRemark(const StreamIdentity& identity, const fs::path& path)
{
    struct Promise {
        const char* extension;
        const char* text;
        StreamKind kinds[2];
    };
    static constexpr Promise promises[] = {
        {".cdg", "plain CD+G graphics", {StreamKind::Graphics, StreamKind::Graphics}},
        {".bin", "a disc image", {StreamKind::DiscImage, StreamKind::AudioImage}},
        {".wav", "WAV sound", {StreamKind::Wave, StreamKind::Wave}},
        {".kma", "a KMA package", {StreamKind::KmaPackage, StreamKind::KmaPackage}},
    };
    const StreamKind kind = identity.kind;
    const std::string extension = LowerExtension(path);
    for (const Promise& promise : promises)
        if (extension == promise.extension && kind != promise.kinds[0] && kind != promise.kinds[1])
            return std::string("the name says ") + promise.text + ", the contents do not";
    return {};
}

GraphicsInput::GraphicsInput(const fs::path& path) : name(PathText(path)), identity(Identify(path))
{
    const StreamKind kind = identity.kind;
    if (kind != StreamKind::Graphics && kind != StreamKind::DiscImage)
        throw Error(name, "holds no CD+G graphics: " + KindText(identity));
    CFileException error;
    if (!file.Open(path.string().c_str(), kOpenToRead, &error))
        throw Error(name, ErrorText(error));
}

void GraphicsInput::Attach(CCDGRenderer& renderer)
{
    if (!renderer.Open(name.c_str(), &file, IsPlain()))
        throw Error(name, "cannot be read");
}

} // namespace nvtool
