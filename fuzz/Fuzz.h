// What the fuzz targets share. A target is one function that takes bytes and ends the program if one of its properties
// does not hold for them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

inline std::string_view Bytes(const std::uint8_t* data, std::size_t size) noexcept {
  return {reinterpret_cast<const char*>(data), size};
}

/// The bytes before the first NUL, which is all that a C string can hold.
inline std::string_view TextIn(std::string_view bytes) noexcept { return bytes.substr(0, bytes.find('\0')); }

inline void Require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: a required property does not hold\n", file, line);
  std::abort();
}

}  // namespace fuzz
