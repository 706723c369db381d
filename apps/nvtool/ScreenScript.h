// The packs of a stream as a script that a page loads from the file beside it, for page/screen.js to play.
#pragma once

#include "Inputs.h"

#include <string>

namespace nvtool {

// Above this many packs, two hours, a page would take too long to load.
constexpr int kMaxScriptPacks = 2 * 3600 * kPacksPerSecond;

// const screenPacks = {packs: <all>, data: "<text>"}. Every character of the text is six bits, as in a pack, written
// with the digits of Base64. For each pack that draws: how far it is from the one before (from pack -1 for the first),
// five bits a digit, lowest first, 32 added when another digit follows; its instruction; its sixteen operands. The rest
// of the stream is padding. Throws Error when reading fails, Interruption after Ctrl-C.
std::string ScreenScript(GraphicsInput& input, const std::string& name);

} // namespace nvtool
