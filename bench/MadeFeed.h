// An update feed as servers make them, of any size, for the benchmarks.
#pragma once

#include <cstddef>
#include <string>

namespace bench {

/// An RSS document of about so many bytes, the same at every call: items of some 4 KB, most of it HTML in a
/// CDATA section. Every XML reader takes it. Its lines end with a line feed alone, so that readers who fold
/// line ends find the same texts as those who don't.
[[nodiscard]] std::string MakeFeed(std::size_t bytes);

}  // namespace bench
