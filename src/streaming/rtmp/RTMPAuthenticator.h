#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tavorin {

// Answers a server that rejected `connect` for want of credentials (Adobe's
// scheme: first announce the user, then prove the password with salted MD5
// hashes). The credentials are the user and password of the configured URL.
class RTMPAuthenticator {
 public:
  // Gives the client challenge of each answer.
  using ChallengeSource = std::function<std::uint32_t()>;

  RTMPAuthenticator();
  explicit RTMPAuthenticator(ChallengeSource challengeSource);

  // The URL to connect with next, given the URL just tried and the
  // description of the rejection; nothing when the rejection offers no way
  // in (no known method, or the URL lacks the user or password it needs).
  std::optional<std::string> makeCommand(std::string_view uri, std::string_view statusDescription) const;

 private:
  std::optional<std::string> response(std::string_view uri, std::string_view statusDescription) const;

  ChallengeSource challengeSource_;
};

// The base64 of the MD5 digest of `text`.
std::string md5Base64(std::string_view text);

}  // namespace tavorin
