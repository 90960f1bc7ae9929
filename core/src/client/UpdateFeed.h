// The product update feed: an RSS document with an item for each build.
#pragma once

#include "core/src/ResultCode.h"
#include "portable_stl/string.h"

namespace quillmarkclient_core {

/// A build that a feed offers. All texts are the feed's own, unchecked.
struct ProductUpdateInfo {
    portable_stl::string version;
    portable_stl::string description;  // usually HTML
    portable_stl::string url;          // may be empty
};

/// Whether `version` is newer than `other`: compared part by part at the dots, as signed numbers, up to the
/// end of the shorter one. A part that is no number of 32 bits counts as -1. So "2.1.1" and "2.1" are neither
/// newer than the other.
[[nodiscard]] bool IsNewerVersion(const portable_stl::string& version,
                                  const portable_stl::string& other) noexcept;

/// The newest item of the feed that is meant for 64-bit Windows and newer than `currentVersion`.
///
/// An item that wins without an address leaves the address of an earlier, lesser one. `result` comes in
/// empty: a filled one counts as such an earlier one.
///   returns  0; kFeedInvalid for a text that is no feed; kNoUpdate when nothing was chosen
[[nodiscard]] ResultCode ChooseUpdate(const portable_stl::string& feed,
                                      const portable_stl::string& currentVersion, ProductUpdateInfo& result);

/// The feed's name at the service: name, variant and language, in lower case.
[[nodiscard]] portable_stl::string FeedName(const portable_stl::string& feedName,
                                            const portable_stl::string& feedVariant,
                                            const portable_stl::string& language);

/// The text with A-Z folded to a-z.
[[nodiscard]] portable_stl::string LowerCase(const portable_stl::string& text);

}  // namespace quillmarkclient_core
