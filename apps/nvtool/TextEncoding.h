// Text of CDDB records for people: databases hold several encodings in one tree and say of no record which it is in.
#pragma once

#include "CommandLineFwd.h"

#include <string>
#include <string_view>

namespace nvtool {

enum class Encoding { automatic, utf8, latin1, cp1251 };

// Adds --encoding.
CLI::Option* AddEncodingOption(CLI::App& command, Encoding& encoding);

// The text as UTF-8. Automatic: as it is when it is UTF-8, otherwise Latin-1. What is no UTF-8 although it should be is
// replaced where it is printed.
std::string Readable(std::string_view text, Encoding encoding);

} // namespace nvtool
