#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavorin {

// The Authorization header's value for a request's method and URI.
using RTSPAuthorization = std::function<std::string(const std::string& method, const std::string& uri)>;

// Answers a camera's challenge: Basic for anything that is not Digest, else
// Digest in its plain form (qop, opaque and algorithm are not used).
RTSPAuthorization makeRTSPAuthorization(std::string_view challenge, const std::string& username,
                                        const std::string& password);

// Lower-case hexadecimal MD5 of the bytes.
std::string md5Hex(std::string_view text);
std::string base64Encoded(std::string_view bytes);
// Nothing when `text` is not base64.
std::optional<std::vector<std::uint8_t>> base64Decoded(std::string_view text);

}  // namespace tavorin
