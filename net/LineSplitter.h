// Cuts a stream of bytes into lines. One thread at a time.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace NV {

/// A line ends with a line feed, a carriage return, or the two together. A carriage return in front of anything but a
/// line feed ends a line only if there is something on it.
class LineSplitter {
public:
    /// Lines longer than `longest` bytes come in pieces of that length.
    explicit LineSplitter(std::size_t longest) : limit(longest) {}

    /// Passes every line that these bytes complete to `emit(const std::string&)`.
    template <class Emit>
    void Add(std::string_view bytes, Emit&& emit)
    {
        while (!bytes.empty()) {
            if (returned) {
                returned = false;
                if (bytes.front() == '\n') {
                    bytes.remove_prefix(1);
                    Pass(emit);
                    continue;
                }
                PassRest(emit);
            }
            const std::size_t room = limit - line.size();
            const std::size_t end = bytes.substr(0, room).find_first_of("\r\n");
            const std::size_t taken = end == std::string_view::npos ? bytes.substr(0, room).size() : end;
            line.append(bytes.substr(0, taken));
            bytes.remove_prefix(taken);
            if (end == std::string_view::npos) {
                if (line.size() == limit)
                    Pass(emit);
                continue;
            }
            returned = bytes.front() == '\r';
            bytes.remove_prefix(1);
            if (!returned)
                Pass(emit);
        }
    }
    /// At the end of the stream: what is left is a line too.
    template <class Emit>
    void Finish(Emit&& emit)
    {
        returned = false;
        PassRest(emit);
    }

private:
    template <class Emit>
    void Pass(Emit&& emit)
    {
        const std::string whole = std::move(line);
        line.clear();
        emit(whole);
    }
    template <class Emit>
    void PassRest(Emit&& emit)
    {
        if (!line.empty())
            Pass(emit);
    }

    const std::size_t limit;
    std::string line;
    bool returned = false; // a carriage return came, and what follows it did not yet
};

} // namespace NV
