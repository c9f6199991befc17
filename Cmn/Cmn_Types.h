#pragma once

#include <cstdint>

// Width-named numbers used throughout the library. The long forms exist
// because older code and on-disk record layouts are written with them.
using i8 = std::int8_t;
using i16 = std::int16_t;
using i32 = std::int32_t;
using i64 = std::int64_t;
using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using f32 = float;
using f64 = double;

typedef std::int16_t int16;
typedef std::int32_t int32;
typedef std::int64_t int64;
typedef std::uint32_t uint32;
typedef std::uint64_t uint64;

static_assert(sizeof(f32) == 4 && sizeof(f64) == 8, "f32 and f64 must be IEEE single and double");
