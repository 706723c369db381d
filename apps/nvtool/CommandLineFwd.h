// The command line's classes, for headers that only name them.
#pragma once

namespace CLI {
class App;
class Option;
} // namespace CLI
