// Seeded bytes for tests.
#pragma once

#include <random>
#include <string>

inline std::string Noise(unsigned seed, std::size_t bytes)
{
    std::mt19937 random(seed);
    std::string text(bytes, '\0');
    for (char& c : text)
        c = static_cast<char>(random());
    return text;
}
