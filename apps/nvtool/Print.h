// Thumbprints: what tells whether two streams show the same graphics.
#pragma once

#include "CommandLineFwd.h"
#include "NVTypes.h"

#include <filesystem>
#include <optional>
#include <vector>

namespace nvtool {

// A plain value, as the library serializes it; the layout is in docs/formats.md.
class Print {
public:
    // Of a stream. Throws Error when the file cannot be read or holds no graphics.
    static Print OfStream(const std::filesystem::path& file);
    // Of a stream, or read from a file that 'nvtool thumbprint' made, as the contents have it. Throws Error.
    static Print OfAny(const std::filesystem::path& file);
    // Nothing when the bytes are no thumbprint.
    static std::optional<Print> FromBytes(std::vector<u8> bytes);

    const std::vector<u8>& Bytes() const { return bytes; }
    // Writes them to a file, whole or not at all. Throws Error.
    void Save(const std::filesystem::path& target) const;
    // In how many bits the two differ.
    int Difference(const Print& other) const;
    // How many bits are set: visible pixels with something on them, added up over an image every 20 seconds. 0 for a
    // stream that is too short for an image, or blank at all of them: there is nothing to know it by.
    int Ink() const;

private:
    explicit Print(std::vector<u8> serialized) : bytes(std::move(serialized)) {}
    static Print OfPath(const char* path, const std::string& name);

    std::vector<u8> bytes;
};

// Whether two thumbprints are of the same graphics, and by what.
struct PrintMatch {
    int differingBits = 0;
    int ink = 0, otherInk = 0;
    bool same = false;
    bool AnyInk() const { return ink > 0 || otherInk > 0; }
};

// By how many bits the same graphics may differ, unless --same says otherwise. A few dozen packs lost on a disc change
// some hundred bits of a track, a shift of a tenth of a second a thousand, other words tens of thousands.
constexpr int kSameBits = 500;
// The same is what differs by no more than `sameBits`, and by less than either shows: of two streams that show hardly
// anything both say nothing of the other.
PrintMatch Match(const Print& print, const Print& other, int sameBits);

void AddSameOption(CLI::App& command, int& bits);

} // namespace nvtool
