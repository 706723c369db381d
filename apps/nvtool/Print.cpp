// Thumbprints: see Print.h.
#include "Print.h"

#include "CDGScanner.h"
#include "Commands.h"
#include "Inputs.h"
#include "NamedStream.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLargestPrint = 64 << 20; // a day of noise takes half of it

std::optional<std::vector<u8>> ReadWhole(const fs::path& path, u64 length)
{
    if (length > kLargestPrint)
        return {};
    std::ifstream file(path, std::ios::binary);
    std::vector<u8> bytes(static_cast<size_t>(length));
    if (!file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(length)))
        return {};
    return bytes;
}

} // namespace

Print Print::OfPath(const char* path, const std::string& name)
{
    u8* buffer = nullptr;
    int size = 0;
    if (!CCDGScanner::GetCDGThumbprint(path, buffer, size))
        throw Error(name, "cannot be read");
    const std::unique_ptr<u8, void (*)(u8*)> owner(buffer, CCDGScanner::ReleaseCDGThumbprint);
    return Print(std::vector<u8>(buffer, buffer + size));
}

Print Print::OfStream(const fs::path& file)
{
    const NamedStream stream(file);
    return OfPath(stream.Path(), PathText(file));
}

void Print::Save(const fs::path& target) const
{
    OutputFile::WriteWhole(target, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

Print Print::OfAny(const fs::path& file)
{
    const StreamIdentity identity = Identify(file);
    if (identity.kind == StreamKind::Graphics || identity.kind == StreamKind::DiscImage)
        return OfStream(file);
    if (auto bytes = ReadWhole(file, identity.length))
        if (auto print = FromBytes(std::move(*bytes)))
            return std::move(*print);
    throw Error(PathText(file), "is neither CD+G graphics nor a thumbprint: " + KindText(identity));
}

std::optional<Print> Print::FromBytes(std::vector<u8> bytes)
{
    Print print(std::move(bytes));
    if (print.bytes.empty() || print.Difference(print) < 0)
        return {};
    return print;
}

int Print::Difference(const Print& other) const
{
    // The library changes neither buffer, whatever its signature allows.
    const auto data = [](const Print& print) { return const_cast<u8*>(print.bytes.data()); };
    return CCDGScanner::GetCDGThumbprintDiff(data(*this), static_cast<int>(bytes.size()), data(other),
                                             static_cast<int>(other.bytes.size()));
}

int Print::Ink() const
{
    // Against a stream without packs, whose images count as blank.
    static const Print blank = [] {
        const OutputFile empty(TemporaryName());
        return OfPath(empty.Temporary().string().c_str(), "an empty stream");
    }();
    return Difference(blank);
}

PrintMatch Match(const Print& print, const Print& other, int sameBits)
{
    PrintMatch match{print.Difference(other), print.Ink(), other.Ink(), false};
    match.same = match.differingBits <= sameBits && match.differingBits < std::min(match.ink, match.otherInk);
    return match;
}

void AddSameOption(CLI::App& command, int& bits)
{
    command
        .add_option("--same", bits, "By how many bits the same graphics may differ; never by as many as either shows")
        ->check(CLI::Range(0, std::numeric_limits<int>::max()))
        ->capture_default_str()
        ->type_name("BITS");
}

} // namespace nvtool
