// Text of unknown encoding for letters that are ASCII only (SmallText.h). Any thread.
#pragma once

#include <string>
#include <string_view>

namespace NV {

/// UTF-8 when all of it is, otherwise Latin-1. Latin letters lose their accents, Cyrillic ones are written in Latin,
/// controls are blanks, and whatever else is not ASCII is `unknownLetter`.
std::string PlainLetters(std::string_view bytes);

} // namespace NV
