/// What the fuzz targets share. Each is fed inputs by libFuzzer, which steers them by the code that
/// they reach; a target ends the process when what it is there to promise does not hold.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

inline void Require(bool holds, const char *promise) {
  if (holds) return;
  (void)std::fprintf(stderr, "Does not hold: %s\n", promise);
  std::abort();
}

inline std::string_view TextOfInput(const std::uint8_t *data, std::size_t size) {
  return {reinterpret_cast<const char *>(data), size};
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
