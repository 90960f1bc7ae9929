// An update feed as a content system makes it: RSS 2.0 with namespaces, comments and HTML in CDATA.
//
// Clients of this service read feeds with a small reader of their own, and the feeds keep to what it takes:
// names without hyphen, underscore or dot, the five named entities and no others, no document type, text and
// CDATA directly behind the tag that opens their element.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "tools/sandbox/Accounts.h"

namespace sandbox {

using BuildVersion = std::array<int, 3>;

// Three numbers with dots between them, the first at least 1; nothing for any other text.
[[nodiscard]] std::optional<BuildVersion> buildVersion(std::string_view text);

// Each build is there for Windows (x64 and x86) and Linux. The order is that of publication, in which a build
// of an older line may come behind a newer one: the first item is not the newest. On top there are a preview
// for Linux alone, whose version is the highest of all, and a notice that is no build.
// The texts are German in the language "de" and English in any other.
[[nodiscard]] std::string feedDocument(const ProductFeed& product, const std::string& language);
[[nodiscard]] std::string feedWithoutItems(const ProductFeed& product, const std::string& language);

}  // namespace sandbox
