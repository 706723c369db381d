// See TextEncoding.h.
#include "TextEncoding.h"

#include "Utf8.h"

#include <CLI/CLI.hpp>

#include <array>
#include <map>

namespace nvtool {

namespace {

// Windows-1251 from 0x80 to 0xBF; the Cyrillic letters from 0xC0 on follow Unicode's order from U+0410 on.
constexpr std::array<char16_t, 64> kCp1251 = {
    0x0402, 0x0403, 0x201A, 0x0453, 0x201E, 0x2026, 0x2020, 0x2021, 0x20AC, 0x2030, 0x0409, 0x2039, 0x040A,
    0x040C, 0x040B, 0x040F, 0x0452, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0xFFFD, 0x2122,
    0x0459, 0x203A, 0x045A, 0x045C, 0x045B, 0x045F, 0x00A0, 0x040E, 0x045E, 0x0408, 0x00A4, 0x0490, 0x00A6,
    0x00A7, 0x0401, 0x00A9, 0x0404, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x0407, 0x00B0, 0x00B1, 0x0406, 0x0456,
    0x0491, 0x00B5, 0x00B6, 0x00B7, 0x0451, 0x2116, 0x0454, 0x00BB, 0x0458, 0x0405, 0x0455, 0x0457};

void Append(std::string& text, unsigned code)
{
    if (code < 0x80) {
        text += static_cast<char>(code);
    } else if (code < 0x800) {
        text += static_cast<char>(0xC0 | code >> 6);
        text += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        text += static_cast<char>(0xE0 | code >> 12);
        text += static_cast<char>(0x80 | (code >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (code & 0x3F));
    }
}

} // namespace

CLI::Option* AddEncodingOption(CLI::App& command, Encoding& encoding)
{
    static const std::map<std::string, Encoding> names = {{"auto", Encoding::automatic},
                                                          {"utf-8", Encoding::utf8},
                                                          {"latin1", Encoding::latin1},
                                                          {"cp1251", Encoding::cp1251}};
    return command
        .add_option("--encoding", encoding, "How titles are stored: auto (UTF-8, else Latin-1), utf-8, latin1, cp1251")
        ->transform(CLI::CheckedTransformer(names, CLI::ignore_case).description(""))
        ->type_name("NAME");
}

std::string Readable(std::string_view text, Encoding encoding)
{
    if (encoding == Encoding::utf8 || (encoding == Encoding::automatic && NV::IsUtf8(text)))
        return std::string(text);
    std::string readable;
    for (const char c : text) {
        const unsigned byte = static_cast<unsigned char>(c);
        if (encoding == Encoding::cp1251 && byte >= 0x80)
            Append(readable, byte < 0xC0 ? kCp1251[byte - 0x80] : byte - 0xC0 + 0x410);
        else
            Append(readable, byte);
    }
    return readable;
}

} // namespace nvtool
