// Taking answers and records apart without copying: lines, words, numbers. Any thread.
#pragma once

#include "NVTypes.h"

#include <afx.h>
#include <optional>
#include <string_view>

namespace NV {

inline bool IsBlank(char c)
{
    return c == ' ' || c == '\t';
}

inline std::string_view TrimmedBlanks(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

inline char SmallLetter(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline bool SameWithoutCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (SmallLetter(a[i]) != SmallLetter(b[i]))
            return false;
    }
    return true;
}

/// A hexadecimal digit's value, -1 for other characters.
inline int HexDigit(char c)
{
    const char small = SmallLetter(c);
    return c >= '0' && c <= '9' ? c - '0' : small >= 'a' && small <= 'f' ? small - 'a' + 10 : -1;
}

/// The number that the leading hexadecimal digits make, eight of them at most; 0 without any.
inline u32 LeadingHex(std::string_view text)
{
    u32 value = 0;
    for (std::size_t i = 0; i < text.size() && i < 8 && HexDigit(text[i]) >= 0; ++i)
        value = value << 4 | static_cast<u32>(HexDigit(text[i]));
    return value;
}

/// The number of eight hexadecimal digits and nothing else.
inline std::optional<u32> DiscIdOf(std::string_view text)
{
    if (text.size() != 8)
        return std::nullopt;
    for (const char c : text) {
        if (HexDigit(c) < 0)
            return std::nullopt;
    }
    return LeadingHex(text);
}

/// The number that the text begins with, blanks skipped; nothing when there is none. Too large ones become the largest.
inline std::optional<i32> LeadingNumber(std::string_view text, std::string_view* rest = nullptr)
{
    text = TrimmedBlanks(text);
    i64 value = 0;
    std::size_t digits = 0;
    for (; digits < text.size() && text[digits] >= '0' && text[digits] <= '9'; ++digits)
        value = value < 0x7FFFFFFF ? value * 10 + (text[digits] - '0') : value;
    if (digits == 0)
        return std::nullopt;
    if (rest)
        *rest = text.substr(digits);
    return static_cast<i32>(value > 0x7FFFFFFF ? 0x7FFFFFFF : value);
}

/// The part up to the next blank; it and the blanks behind it are taken off `text`.
inline std::string_view TakeWord(std::string_view& text)
{
    std::size_t length = 0;
    while (length < text.size() && !IsBlank(text[length]))
        ++length;
    const std::string_view word = text.substr(0, length);
    text.remove_prefix(length);
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    return word;
}

/// The lines of a text, split at "\r\n" when it has any and at "\n" otherwise. What follows the last line end counts as
/// a line only when it is not empty.
class Lines {
public:
    explicit Lines(std::string_view text)
        : rest(text), lineEnd(text.find("\r\n") != std::string_view::npos ? "\r\n" : "\n")
    {
    }
    bool Next(std::string_view& line)
    {
        if (rest.empty())
            return false;
        const std::size_t length = rest.find(lineEnd);
        line = rest.substr(0, length);
        rest.remove_prefix(length == std::string_view::npos ? rest.size() : length + lineEnd.size());
        return true;
    }

private:
    std::string_view rest, lineEnd;
};

/// Takes the next line off a text whose lines may end in "\n" or "\r\n", mixed. False at the end.
inline bool TakeLine(std::string_view& text, std::string_view& line)
{
    if (text.empty())
        return false;
    const std::size_t length = text.find('\n');
    line = text.substr(0, length);
    text.remove_prefix(length == std::string_view::npos ? text.size() : length + 1);
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    return true;
}

inline CString ToCString(std::string_view text)
{
    return CString(text.data(), static_cast<int>(text.size()));
}

inline std::string_view ViewOf(const CString& text)
{
    return {text.GetString(), static_cast<std::size_t>(text.GetLength())};
}

} // namespace NV
