// UTF-8 taken apart.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace NV {

/// Takes the first character off a text that is not empty. None when it is not well-formed: shortest forms, no
/// surrogates, nothing above U+10FFFF.
inline std::optional<char32_t> TakeCharacter(std::string_view& text)
{
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xC0 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length == 0 || length > text.size() || lead > 0xF4)
        return std::nullopt;
    char32_t code = length == 1 ? lead : lead & (0x7FU >> length);
    for (const char next : text.substr(1, length - 1)) {
        if ((static_cast<unsigned char>(next) & 0xC0) != 0x80)
            return std::nullopt;
        code = code << 6 | (static_cast<unsigned char>(next) & 0x3FU);
    }
    constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < least[length] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000))
        return std::nullopt;
    text.remove_prefix(length);
    return code;
}

/// Whether all of a text is well-formed.
inline bool IsUtf8(std::string_view text)
{
    while (!text.empty())
        if (!TakeCharacter(text))
            return false;
    return true;
}

} // namespace NV
