// See PlainLetters.h.
#include "PlainLetters.h"

#include "SmallText.h"
#include "Utf8.h"

#include <algorithm>

namespace NV {
namespace {

constexpr const char* unknown = "\x7F";
static_assert(unknown[0] == unknownLetter);

// clang-format off
/// U+00A0 to U+00FF.
constexpr const char* latin1[] = {
    " ", "!", "c", unknown, unknown, unknown, "|", unknown, "\"", "(c)", "a", "<<", unknown, "-", "(r)", "-",
    "o", "+-", "2", "3", "'", "u", unknown, ".", ",", "1", "o", ">>", "1/4", "1/2", "3/4", "?",
    "A", "A", "A", "A", "A", "A", "AE", "C", "E", "E", "E", "E", "I", "I", "I", "I",
    "D", "N", "O", "O", "O", "O", "O", "x", "O", "U", "U", "U", "U", "Y", "Th", "ss",
    "a", "a", "a", "a", "a", "a", "ae", "c", "e", "e", "e", "e", "i", "i", "i", "i",
    "d", "n", "o", "o", "o", "o", "o", "/", "o", "u", "u", "u", "u", "y", "th", "y",
};
/// U+0410 to U+044F.
constexpr const char* cyrillic[] = {
    "A", "B", "V", "G", "D", "E", "Zh", "Z", "I", "J", "K", "L", "M", "N", "O", "P",
    "R", "S", "T", "U", "F", "Kh", "Ts", "Ch", "Sh", "Shch", "\"", "Y", "'", "E", "Yu", "Ya",
    "a", "b", "v", "g", "d", "e", "zh", "z", "i", "j", "k", "l", "m", "n", "o", "p",
    "r", "s", "t", "u", "f", "kh", "ts", "ch", "sh", "shch", "\"", "y", "'", "e", "yu", "ya",
};
// clang-format on
static_assert(std::size(latin1) == 0x60 && std::size(cyrillic) == 0x40);

/// U+0100 to U+017F.
constexpr std::string_view latinExtended = "AaAaAaCcCcCcCcDdDdEeEeEeEeEeGgGgGgGgHhHhIiIiIiIiIiJjJjKkkLlLlLlLlLl"
                                           "NnNnNnnNnOoOoOoOoRrRrRrSsSsSsSsTtTtTtUuUuUuUuUuUuWwYyYZzZzZzs";
static_assert(latinExtended.size() == 0x80);

void Append(std::string& letters, char32_t code)
{
    if (code < 0x80)
        letters += code < 0x20 || code == 0x7F ? ' ' : static_cast<char>(code);
    else if (code < 0xA0)
        letters += ' ';
    else if (code < 0x100)
        letters += latin1[code - 0xA0];
    else if (code < 0x180)
        letters += latinExtended[code - 0x100];
    else if (code >= 0x410 && code < 0x450)
        letters += cyrillic[code - 0x410];
    else if (code == 0x401 || code == 0x451)
        letters += code == 0x401 ? "Yo" : "yo";
    else if (code >= 0x2010 && code <= 0x2015) // hyphens and dashes
        letters += '-';
    else if (code >= 0x2018 && code <= 0x201F) // quotation marks
        letters += code < 0x201C ? '\'' : '"';
    else if (code == 0x2026)
        letters += "...";
    else
        letters += unknownLetter;
}

} // namespace

std::string PlainLetters(std::string_view bytes)
{
    std::string letters;
    letters.reserve(bytes.size());
    if (!IsUtf8(bytes)) {
        for (const char byte : bytes)
            Append(letters, static_cast<unsigned char>(byte));
        return letters;
    }
    while (!bytes.empty())
        Append(letters, *TakeCharacter(bytes));
    return letters;
}

} // namespace NV
