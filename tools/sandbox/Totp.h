// Time-based one-time passwords as authenticator apps make them: RFC 6238 with SHA-1, steps of 30 seconds.
//
// Pure functions; any thread. The key is the raw bytes; seed files and apps write it in base32 (RFC 4648).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sandbox {

inline constexpr std::int64_t kTotpStepSeconds = 30;
inline constexpr int kTotpDigits = 6;

// Nothing for a text with a byte outside the alphabet. Lower case, blanks and '=' padding are accepted, since
// people copy these texts by hand.
[[nodiscard]] std::optional<std::string> decodeBase32(std::string_view text);

[[nodiscard]] std::int64_t totpStep(std::int64_t unixSeconds);

// The code of one step (RFC 4226, 5.3), zero-padded to `digits`.
[[nodiscard]] std::string totpCode(std::string_view key, std::int64_t step, int digits = kTotpDigits);

// The step whose code `code` is, out of the step of `unixSeconds` and its two neighbours; steps up to
// `lastUsedStep` are refused, so that a code works once (RFC 6238, 5.2).
[[nodiscard]] std::optional<std::int64_t> acceptedTotpStep(std::string_view key, std::string_view code,
                                                           std::int64_t unixSeconds,
                                                           std::int64_t lastUsedStep);

}  // namespace sandbox
