// Integer types with the widths that the stored formats are written in.
#pragma once

#include <cstdint>

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = unsigned long long;
using i16 = std::int16_t;
using i32 = std::int32_t;
using i64 = long long; // positions and lengths of the sound-file interface; one type on every product
